# Makes the macOS bundle that OBS looks for in a plug-ins folder, and a component package that installs it for every
# user.
set(bundle_id org.reelhouse.obs-reelhouse)
file(GLOB_RECURSE data_files CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/data/*")
set(documents "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/docs/remote.md" "${PROJECT_SOURCE_DIR}/docs/decks.md")
set_target_properties(
  obs-reelhouse
  PROPERTIES BUNDLE ON
             BUNDLE_EXTENSION plugin
             MACOSX_BUNDLE_BUNDLE_NAME "${PROJECT_NAME}"
             MACOSX_BUNDLE_BUNDLE_VERSION "${PROJECT_VERSION}"
             MACOSX_BUNDLE_GUI_IDENTIFIER "${bundle_id}"
             MACOSX_BUNDLE_INFO_PLIST "${PROJECT_SOURCE_DIR}/cmake/package/Info.plist.in"
             # libobs is already loaded, and an install that rewrites the search path would break the signature.
             BUILD_WITH_INSTALL_RPATH ON
             LINK_DEPENDS "${data_files};${pages};${documents};${manifest}")

# Sign last: signed files must not change. arm64 loads only signed code, so an ad-hoc signature is the least.
set(resources "$<TARGET_BUNDLE_CONTENT_DIR:obs-reelhouse>/Resources")
add_custom_command(
  TARGET obs-reelhouse
  POST_BUILD
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${resources}"
  COMMAND "${CMAKE_COMMAND}" -E copy_directory "${PROJECT_SOURCE_DIR}/data" "${resources}"
  COMMAND "${CMAKE_COMMAND}" -E copy ${documents} ${pages} "${manifest}" "${resources}"
  COMMAND codesign --force --sign - "$<TARGET_BUNDLE_DIR:obs-reelhouse>"
  VERBATIM)
install(TARGETS obs-reelhouse LIBRARY DESTINATION .)

# The list of components keeps the installer from updating another copy of the bundle elsewhere.
set(package_root "${PROJECT_BINARY_DIR}/package-root")
add_custom_target(
  component-package
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${package_root}"
  COMMAND "${CMAKE_COMMAND}" --install "${PROJECT_BINARY_DIR}" --prefix "${package_root}"
  COMMAND
    pkgbuild --root "${package_root}" --component-plist "${PROJECT_SOURCE_DIR}/cmake/package/components.plist"
    --install-location "/Library/Application Support/obs-studio/plugins" --identifier "${bundle_id}" --version
    "${PROJECT_VERSION}" "${PROJECT_NAME}-${PROJECT_VERSION}-obs${host_obs_version}-macos-universal.pkg"
  DEPENDS obs-reelhouse
  VERBATIM)

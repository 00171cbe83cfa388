# Where OBS looks for modules. The default component goes below the install prefix of OBS itself; the component "user"
# is laid out for a user's own plug-in folder (~/.config/obs-studio/plugins on Linux).

# For the plug-in manager of OBS 32, which reads it beside the locale files.
set(manifest "${PROJECT_BINARY_DIR}/manifest.json")
configure_file(cmake/package/manifest.json.in "${manifest}" @ONLY)

if(APPLE)
  include(cmake/bundle.cmake)
else()
  include(GNUInstallDirs)
  set(data_folder "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/${PROJECT_NAME}")
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/obs-plugins")
  install(DIRECTORY data/ DESTINATION "${data_folder}")
  install(FILES "${manifest}" DESTINATION "${data_folder}")
  install(FILES README.md docs/remote.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${PROJECT_NAME}/bin/64bit" COMPONENT user EXCLUDE_FROM_ALL)
  install(DIRECTORY data/ DESTINATION "${PROJECT_NAME}/data" COMPONENT user EXCLUDE_FROM_ALL)
  install(FILES "${manifest}" DESTINATION "${PROJECT_NAME}/data" COMPONENT user EXCLUDE_FROM_ALL)
  install(FILES LICENSE README.md docs/remote.md DESTINATION "${PROJECT_NAME}" COMPONENT user EXCLUDE_FROM_ALL)
endif()

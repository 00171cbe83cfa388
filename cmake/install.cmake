# OBS looks for modules in two places. The default component is installed below OBS's own prefix. The component "user"
# has the layout of a user's plug-in folder (~/.config/obs-studio/plugins on Linux).

# The plug-in manager of OBS 32 reads this file beside the locale files.
set(manifest "${PROJECT_BINARY_DIR}/manifest.json")
configure_file(cmake/package/manifest.json.in "${manifest}" @ONLY)

if(APPLE)
  include(cmake/bundle.cmake)
else()
  include(GNUInstallDirs)
  set(data_folder "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/${PROJECT_NAME}")
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/obs-plugins")
  install(DIRECTORY data/ DESTINATION "${data_folder}")
  install(FILES ${pages} "${manifest}" DESTINATION "${data_folder}")
  install(FILES README.md docs/remote.md docs/decks.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${PROJECT_NAME}/bin/64bit" COMPONENT user EXCLUDE_FROM_ALL)
  install(DIRECTORY data/ DESTINATION "${PROJECT_NAME}/data" COMPONENT user EXCLUDE_FROM_ALL)
  install(FILES ${pages} "${manifest}" DESTINATION "${PROJECT_NAME}/data" COMPONENT user EXCLUDE_FROM_ALL)
  install(FILES LICENSE README.md docs/remote.md docs/decks.md DESTINATION "${PROJECT_NAME}" COMPONENT user EXCLUDE_FROM_ALL)
endif()

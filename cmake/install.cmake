# Where OBS looks for modules. The default component goes below the install prefix of OBS itself; the component "user"
# is laid out for a user's own plug-in folder (~/.config/obs-studio/plugins on Linux).
include(GNUInstallDirs)

if(APPLE)
  set_target_properties(
    obs-reelhouse
    PROPERTIES BUNDLE ON
               BUNDLE_EXTENSION plugin
               MACOSX_BUNDLE_BUNDLE_NAME "${PROJECT_NAME}"
               MACOSX_BUNDLE_BUNDLE_VERSION "${PROJECT_VERSION}"
               MACOSX_BUNDLE_SHORT_VERSION_STRING "${PROJECT_VERSION}"
               MACOSX_BUNDLE_GUI_IDENTIFIER org.reelhouse.obs-reelhouse)
  set(locale_file "${PROJECT_SOURCE_DIR}/data/locale/en-US.ini")
  target_sources(obs-reelhouse PRIVATE "${locale_file}")
  set_source_files_properties("${locale_file}" PROPERTIES MACOSX_PACKAGE_LOCATION Resources/locale)
  install(TARGETS obs-reelhouse LIBRARY DESTINATION .)
else()
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/obs-plugins")
  install(DIRECTORY data/ DESTINATION "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/${PROJECT_NAME}")
  install(TARGETS obs-reelhouse LIBRARY DESTINATION "${PROJECT_NAME}/bin/64bit" COMPONENT user EXCLUDE_FROM_ALL)
  install(DIRECTORY data/ DESTINATION "${PROJECT_NAME}/data" COMPONENT user EXCLUDE_FROM_ALL)
endif()

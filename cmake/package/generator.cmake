# CPack reads this for each of its generators: the archive holds the component "user", the Debian package the default one.
if(CPACK_GENERATOR STREQUAL "TXZ")
  set(CPACK_INSTALL_CMAKE_PROJECTS "${CPACK_BUILD_DIRECTORY};${CPACK_PACKAGE_NAME};user;/")
endif()

# CPack makes a Debian package for the installed host, and an archive for a user's own plug-in folder.
set(CPACK_GENERATOR DEB TXZ)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/package/generator.cmake")
set(CPACK_BUILD_DIRECTORY "${PROJECT_BINARY_DIR}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
# Raise it to pack the same version again; set it to 1 with a new version. The file names hold both, so packages for
# several hosts stay beside each other.
set(package_revision 2)
# Another major version of libavformat has another file name, and the archive has no package manager that would find it.
if(LIBAV_FOUND)
  set(libav_name "-libavformat${libavformat_major}")
endif()
set(package_file_name "${PROJECT_NAME}-${PROJECT_VERSION}-${package_revision}-obs${host_obs_version}\
-qt${host_qt_version}${libav_name}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_PACKAGE_FILE_NAME "${package_file_name}")
set(CPACK_DEBIAN_PACKAGE_RELEASE "${package_revision}+obs${host_obs_version}")
set(CPACK_PACKAGE_CONTACT "${project_contact}")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)

# dpkg-shlibdeps finds the libraries. The package manager must also refuse the hosts that the module refuses.
function(depend_on_version package version)
  string(REGEX MATCH "^(.*[.])([0-9]+)$" matched "${version}")
  math(EXPR next_patch "${CMAKE_MATCH_2} + 1")
  list(APPEND depends "${package} (>= ${version})" "${package} (<< ${CMAKE_MATCH_1}${next_patch}~)")
  set(depends "${depends}" PARENT_SCOPE)
endfunction()
depend_on_version(obs-studio "${host_obs_version}")
depend_on_version(libqt6core6t64 "${host_qt_version}")
list(JOIN depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The VLC source and VLC itself.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "obs-plugins, libvlc5, vlc-plugin-base")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "A dock to run a show from: it shows the playlist of a VLC Video Source as a
list of tracks to add, search, reorder and play, with a choice of what happens
when one ends, and brings the right scene on screen.")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# For reproducible packages, SOURCE_DATE_EPOCH sets this time.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/package/debian-changelog.in package/changelog.Debian @ONLY)
configure_file(cmake/package/debian-copyright.in package/copyright @ONLY)
execute_process(COMMAND gzip -9nf changelog.Debian WORKING_DIRECTORY "${PROJECT_BINARY_DIR}/package" COMMAND_ERROR_IS_FATAL ANY)
install(FILES "${PROJECT_BINARY_DIR}/package/changelog.Debian.gz" "${PROJECT_BINARY_DIR}/package/copyright"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}")

include(CPack)

# libavformat reads titles and lengths of media files. OBS is linked with it. Without its development files the module
# works, but has no titles and lengths.
option(REELHOUSE_LIBAV "Read titles and times from media files, if libavformat is there" ON)

# A target that links this library gets libavformat, if there is one, and our sources' definition for it.
add_library(reelhouse-libav INTERFACE)
if(REELHOUSE_LIBAV)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(LIBAV QUIET IMPORTED_TARGET "libavformat>=59" libavcodec libavutil)
  endif()
endif()
if(LIBAV_FOUND)
  string(REGEX MATCH "^[0-9]+" libavformat_major "${LIBAV_libavformat_VERSION}")
  message(STATUS "The module will read titles and times with libavformat ${libavformat_major}")
  target_link_libraries(reelhouse-libav INTERFACE PkgConfig::LIBAV)
  target_compile_definitions(reelhouse-libav INTERFACE REELHOUSE_LIBAV)
else()
  message(STATUS "No libavformat: the module will show file names, and no titles and times from the files")
endif()

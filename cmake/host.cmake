# A build accepts one host: the module refuses every other OBS and Qt when it is loaded. "installed" means the versions
# that this build finds, which suits development.
set(REELHOUSE_OBS_VERSION "32.0.4" CACHE STRING "OBS version that the module accepts, or \"installed\"")
set(REELHOUSE_QT_VERSION "6.8.3" CACHE STRING "Qt runtime version that the module accepts, or \"installed\"")

find_package(libobs REQUIRED)
find_package(obs-frontend-api REQUIRED)
find_package(obs-websocket-api REQUIRED)
find_package(Qt6 6.8 REQUIRED COMPONENTS Widgets)
if(NOT APPLE)
  find_package(Qt6 6.8 REQUIRED COMPONENTS DBus)
endif()

set(host_obs_version "${REELHOUSE_OBS_VERSION}")
if(host_obs_version STREQUAL "installed")
  set(host_obs_version "${libobs_VERSION}")
endif()
set(host_qt_version "${REELHOUSE_QT_VERSION}")
if(host_qt_version STREQUAL "installed")
  set(host_qt_version "${Qt6_VERSION}")
endif()
if(NOT host_qt_version MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "REELHOUSE_QT_VERSION must be MAJOR.MINOR.PATCH or \"installed\", not \"${host_qt_version}\".")
endif()
if(NOT host_obs_version MATCHES "^([0-9]+)\\.([0-9]+)\\.([0-9]+)")
  message(FATAL_ERROR "REELHOUSE_OBS_VERSION must be MAJOR.MINOR.PATCH or \"installed\", not \"${host_obs_version}\".")
endif()
set(host_obs_version "${CMAKE_MATCH_0}")
message(STATUS "The module will accept OBS ${host_obs_version} with Qt ${host_qt_version}")

add_library(reelhouse-host INTERFACE)
target_compile_definitions(
  reelhouse-host
  INTERFACE REELHOUSE_VERSION="${PROJECT_VERSION}"
            HOST_OBS_VERSION="${host_obs_version}"
            HOST_OBS_MAJOR=${CMAKE_MATCH_1}
            HOST_OBS_MINOR=${CMAKE_MATCH_2}
            HOST_OBS_PATCH=${CMAKE_MATCH_3}
            HOST_QT_VERSION="${host_qt_version}")

# The data folder of the module as it is installed: the locale files, and the pages, each of one file. OBS finds it below
# data_root, as if the module were installed.
set(data_root "${PROJECT_BINARY_DIR}/data")
set(module_data "${data_root}/${PROJECT_NAME}")
file(MAKE_DIRECTORY "${module_data}")
file(CREATE_LINK "${PROJECT_SOURCE_DIR}/data/locale" "${module_data}/locale" SYMBOLIC)

file(GLOB page_parts CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/pages/*" "${PROJECT_SOURCE_DIR}/data/locale/*")
set(pages "")
foreach(page control now-playing)
  set(output "${module_data}/${page}.html")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -D "page=${PROJECT_SOURCE_DIR}/src/pages/${page}.html" -D
            "locale=${PROJECT_SOURCE_DIR}/data/locale" -D "output=${output}" -P "${PROJECT_SOURCE_DIR}/cmake/page.cmake"
    DEPENDS ${page_parts} "${PROJECT_SOURCE_DIR}/cmake/page.cmake"
    VERBATIM)
  list(APPEND pages "${output}")
endforeach()
add_custom_target(pages DEPENDS ${pages})
add_dependencies(obs-reelhouse pages)

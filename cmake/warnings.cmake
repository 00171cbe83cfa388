add_library(reelhouse-warnings INTERFACE)
target_compile_options(reelhouse-warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast
                                                    -Wnon-virtual-dtor)
target_compile_definitions(reelhouse-warnings INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
                                                        QT_NO_FOREACH)
# A unity build compiles several sources as one. gcc then warns of classes that use local names of a source, because it
# takes them for classes of a header.
if(CMAKE_UNITY_BUILD)
  target_compile_options(reelhouse-warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()

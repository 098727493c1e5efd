# Compile through ccache where it is installed.
find_program(ZEPHOR_CCACHE ccache)
if(ZEPHOR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # With paths taken relative to the tree, all work trees of a machine share the cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
                                  CCACHE_SLOPPINESS=pch_defines,time_macros ${ZEPHOR_CCACHE})
endif()

# Compile through ccache where it is installed.
find_program(ZEPHOR_CCACHE ccache)
if(ZEPHOR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEPHOR_CCACHE})
endif()

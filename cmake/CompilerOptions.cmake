# Warnings and sanitizers of every target of the project. zephor_options is linked privately by each.
add_library(zephor_options INTERFACE)
target_compile_options(zephor_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# Where it optimises fully g++ 12 sees overlaps in assignments of its own string class (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(zephor_options INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
endif()
# What g++ means by -Wconversion.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(zephor_options INTERFACE -Wno-sign-conversion)
endif()
target_include_directories(zephor_options INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                                    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
if(ZEPHOR_SANITIZE)
  add_compile_options(-fsanitize=${ZEPHOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 takes its own instrumentation for reads out of bounds and of what was never set.
    add_compile_options(-Wno-array-bounds -Wno-maybe-uninitialized -Wno-stringop-overflow)
  endif()
  if(ZEPHOR_SANITIZE STREQUAL "thread")
    # Fences are beyond this sanitizer; Boost.Asio can do without them where it hands work on.
    add_compile_options(-Wno-tsan)
    add_compile_definitions(BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
  add_link_options(-fsanitize=${ZEPHOR_SANITIZE})
endif()

# The second compiler: Clang against the MinGW-w64 headers. GCC's driver links the objects.
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
execute_process(COMMAND ${KELVOR_GXX} -dumpversion OUTPUT_VARIABLE kelvor_gcc_version
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(kelvor_cxx_include /usr/lib/gcc/x86_64-w64-mingw32/${kelvor_gcc_version}/include/c++)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES
  ${kelvor_cxx_include} ${kelvor_cxx_include}/x86_64-w64-mingw32)

set(CMAKE_CXX_COMPILER_WORKS TRUE)  # Clang alone cannot link here; GCC's driver can.
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX ${CMAKE_CURRENT_LIST_DIR}/clang_link_rules.cmake)

# Cross toolchain: Debian's x86_64 MinGW-w64 GCC, win32 threads, Universal CRT.
set(KELVOR_TRIPLE x86_64-w64-mingw32)
set(KELVOR_GXX ${KELVOR_TRIPLE}-g++-win32)
set(CMAKE_C_COMPILER ${KELVOR_TRIPLE}-gcc-win32)

# The compiler links msvcrt.dll by default, whose locales know no UTF-8: its specs are
# rewritten for the Universal CRT. Each try_compile of CMake configures anew and shares the file.
set(KELVOR_SPECS ${CMAKE_BINARY_DIR}/ucrt.specs)
if(DEFINED ENV{KELVOR_SPECS})
  set(KELVOR_SPECS $ENV{KELVOR_SPECS})
else()
  execute_process(COMMAND ${KELVOR_GXX} -dumpspecs OUTPUT_VARIABLE kelvor_specs
    COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "-lmsvcrt" "-lucrt" kelvor_specs "${kelvor_specs}")
  file(WRITE ${KELVOR_SPECS} "${kelvor_specs}")
  set(ENV{KELVOR_SPECS} ${KELVOR_SPECS})
endif()
set(KELVOR_LINK_FLAGS "-specs=\"${KELVOR_SPECS}\" -static")
include(${CMAKE_CURRENT_LIST_DIR}/mingw_target.cmake)

# Cross toolchain: Debian's x86_64 MinGW-w64 GCC, win32 threads, Universal CRT.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KELVOR_GXX x86_64-w64-mingw32-g++-win32)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-win32)
set(CMAKE_CXX_COMPILER ${KELVOR_GXX})
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(KELVOR_DLLTOOL x86_64-w64-mingw32-dlltool)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

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
set(CMAKE_EXE_LINKER_FLAGS_INIT "${KELVOR_LINK_FLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${KELVOR_LINK_FLAGS}")

# Tests whose command is a target run in a Wine prefix of the project's own.
get_filename_component(kelvor_scripts ${CMAKE_CURRENT_LIST_DIR}/../scripts ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${kelvor_scripts}/under_wine --speaking)

# What the MinGW-w64 toolchains have in common. KELVOR_TRIPLE is the prefix of the binutils, KELVOR_GXX
# the compiler, KELVOR_LINK_FLAGS what it links with.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_CXX_COMPILER ${KELVOR_GXX})
set(CMAKE_RC_COMPILER ${KELVOR_TRIPLE}-windres)
set(KELVOR_DLLTOOL ${KELVOR_TRIPLE}-dlltool)
set(CMAKE_FIND_ROOT_PATH /usr/${KELVOR_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT "${KELVOR_LINK_FLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${KELVOR_LINK_FLAGS}")

# Tests whose command is a target run in a Wine prefix of the project's own.
get_filename_component(kelvor_scripts ${CMAKE_CURRENT_LIST_DIR}/../scripts ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${kelvor_scripts}/under_wine --speaking)

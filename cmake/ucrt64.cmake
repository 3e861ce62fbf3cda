# Cross toolchain: the MinGW-w64 GCC of a newer Debian, whose C runtime is the Universal CRT, and whose
# headers have the credential provider framework's own (g++-mingw-w64-ucrt64).
set(KELVOR_TRIPLE x86_64-w64-mingw32ucrt)
set(KELVOR_GXX ${KELVOR_TRIPLE}-g++)
set(CMAKE_C_COMPILER ${KELVOR_TRIPLE}-gcc)
set(KELVOR_LINK_FLAGS -static)
include(${CMAKE_CURRENT_LIST_DIR}/mingw_target.cmake)

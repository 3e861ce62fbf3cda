# How the clang build links, read after CMake's own rules for the platform, which it replaces.
# Clang makes the comparison of two type_infos inline where GCC's prebuilt library holds it, too.
set(kelvor_once -Wl,--allow-multiple-definition)
set(CMAKE_CXX_LINK_EXECUTABLE
  "${KELVOR_GXX} ${kelvor_once} <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_CREATE_SHARED_LIBRARY
  "${KELVOR_GXX} ${kelvor_once} <LINK_FLAGS> -shared -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")

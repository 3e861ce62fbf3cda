# How the clang build links, read after CMake's own rules for the platform, which it replaces.
set(CMAKE_CXX_LINK_EXECUTABLE
  "${KELVOR_GXX} <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_CREATE_SHARED_LIBRARY
  "${KELVOR_GXX} <LINK_FLAGS> -shared -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")

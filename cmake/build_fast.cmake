# kelvor_build_fast(<target> [<other target>]): for what stands around the module and is not shipped.
#
# GCC reads the headers of the library and of Windows once, which are most of what it does for a file,
# and does not optimise: with both it warns falsely of what is in those headers (GCC bug 105651). What
# it has read for another target, compiled with the same options and macros, it need not read again.
# Clang reads what each file includes itself, and tells what is missing.
function(kelvor_build_fast target)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
  endif()
  target_compile_options(${target} PRIVATE -O0)
  if(ARGC EQUAL 2)
    target_precompile_headers(${target} REUSE_FROM ${ARGV1})
  else()
    target_precompile_headers(${target} PRIVATE <windows.h> <algorithm> <array> <atomic> <cstdint>
      <cstdio> <functional> <map> <memory> <optional> <string> <string_view> <vector>)
  endif()
endfunction()

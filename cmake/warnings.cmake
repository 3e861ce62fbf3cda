# What every target of the project is compiled with.
add_library(kelvor_options INTERFACE)
target_compile_definitions(kelvor_options INTERFACE
  UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
if(MSVC)
  target_compile_options(kelvor_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:
    /W4 /WX /permissive- /Zc:__cplusplus /utf-8 /Brepro /guard:cf>)
  target_link_options(kelvor_options INTERFACE /Brepro)
else()
  # The prefix map makes an object the same bytes wherever the tree lies.
  target_compile_options(kelvor_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -Wdate-time>)
  if(WIN32)
    target_link_options(kelvor_options INTERFACE -Wl,--no-insert-timestamp)
  endif()
endif()

# What the builds that trap at undefined behaviour are compiled with besides.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(KELVOR_TRAP_OPTIONS -fsanitize=undefined -fsanitize-trap=undefined)
else()
  set(KELVOR_TRAP_OPTIONS -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()

# How the module is made, and what the benchmark holds against it. It is small before it is fast:
# LogonUI loads it for each sign-in, and what takes time in it are calls of Windows.
set(KELVOR_MODULE_COMPILE_OPTIONS -ffunction-sections -fdata-sections
  $<$<CXX_COMPILER_ID:GNU>:-Os>)
set(KELVOR_MODULE_LINK_OPTIONS
  -Wl,--dynamicbase,--high-entropy-va,--nxcompat -Wl,--image-base,0x180000000
  -Wl,--gc-sections -Wl,--subsystem,windows -s)

# Registers every TEST_CASE of a doctest program with CTest as a test of its own, run in a process
# of its own, because much of what is tested is state of the whole process.
#
#   kelvor_add_doctest_cases(<target> [TIME_LIMIT <seconds>] [PRECOMPILE <header>...])
#
# PRECOMPILE names headers that most of the target's files include; a file compiles in a third of the
# time with them. A program with no main of its own gets doctest's.
#
# The cases are listed when CTest starts, not when the program is built, so that building needs no
# Wine. A case is started by its place in the list: its name may hold any character.

set(KELVOR_DOCTEST_LISTER ${CMAKE_CURRENT_LIST_DIR}/doctest_list_cases.cmake)

function(kelvor_add_doctest_cases target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIME_LIMIT" "PRECOMPILE")
  if(NOT arg_TIME_LIMIT)
    set(arg_TIME_LIMIT 60)
  endif()

  target_link_libraries(${target} PRIVATE kelvor_doctest)
  # Compiles in half the time; and optimised, GCC 12 warns falsely of overlapping copies wherever a
  # literal is added to a std::string (GCC bug 105651).
  target_compile_options(${target} PRIVATE -O0)

  if(arg_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE <windows.h> <doctest.h> ${arg_PRECOMPILE})
  endif()

  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    find_program(KELVOR_WINE NAMES wine wine64)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${KELVOR_WINE})
  endif()

  set(include_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_cases.cmake)
  file(GENERATE OUTPUT ${include_file} CONTENT
"set(program [==[$<TARGET_FILE:${target}>]==])
set(program_name [==[${target}]==])
set(emulator [==[${CMAKE_CROSSCOMPILING_EMULATOR}]==])
set(list_file [==[${CMAKE_CURRENT_BINARY_DIR}/${target}_cases.txt]==])
set(time_limit ${arg_TIME_LIMIT})
include([==[${KELVOR_DOCTEST_LISTER}]==])
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include_file})
endfunction()

# Read by CTest when it starts; `doctest_process_per_case.cmake` sets the variables used here.

if(NOT EXISTS "${program}")
  add_test("${program_name}_is_not_built" "${program}")
  return()
endif()

execute_process(COMMAND ${emulator} "${program}" --list-test-cases --order-by=name --no-version
  OUTPUT_FILE "${list_file}" ERROR_FILE "${list_file}.errors" RESULT_VARIABLE result)
file(READ "${list_file}" lines)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${program} cannot list its test cases (${result}): ${lines}")
endif()

# Wine's own libraries may have something to say first.
string(REPLACE "\r" "" lines "${lines}")
string(FIND "${lines}" "[doctest] listing" begin)
if(begin EQUAL -1)
  message(FATAL_ERROR "${program} does not list its test cases: ${lines}")
endif()
string(SUBSTRING "${lines}" ${begin} -1 lines)
set(number 0)
while(NOT lines STREQUAL "")
  string(FIND "${lines}" "\n" end)
  string(SUBSTRING "${lines}" 0 ${end} name)
  if(end EQUAL -1)
    set(lines "")
  else()
    math(EXPR next "${end} + 1")
    string(SUBSTRING "${lines}" ${next} -1 lines)
  endif()
  if(name STREQUAL "" OR name MATCHES "^\\[doctest\\] " OR name MATCHES "^=+$")
    continue()
  endif()

  math(EXPR number "${number} + 1")
  add_test("${name}" ${emulator} "${program}" --order-by=name
    --first=${number} --last=${number} --no-path-filenames)
  # A process that asserted nothing must not count as a success, nor one that Wine saw crash on
  # another thread than the first: it ends with exit status 0.
  set_tests_properties("${name}" PROPERTIES
    TIMEOUT ${time_limit}
    LABELS "${program_name}"
    FAIL_REGULAR_EXPRESSION "assertions: +0 [|];wine: Unhandled ")
endwhile()

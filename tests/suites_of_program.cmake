# Read by CTest: adds the suites of the GoogleTest program `program`.
execute_process(COMMAND ${program} --gtest_list_tests OUTPUT_VARIABLE listing RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  # Fails, and says why.
  add_test("${program}" "${program}" --gtest_list_tests)
  return()
endif()
string(REGEX MATCHALL "\n[A-Za-z0-9_/]+\\." suites "\n${listing}")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "^\n(.*)\\.$" "\\1" suite "${suite}")
  add_test("${suite}" "${program}" "--gtest_filter=${suite}.*" --gtest_brief=1)
  set_tests_properties("${suite}" PROPERTIES TIMEOUT 900)
endforeach()

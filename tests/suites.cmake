# One test of CTest for each suite of a GoogleTest program: a process for each of some thousand tests
# would take longer to start than the tests run.
#
# discover_suites(TARGET): the suites are asked for when the tests are run.
function(discover_suites target)
  set(listing ${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake)
  file(GENERATE OUTPUT ${listing}
       CONTENT "set(program \"$<TARGET_FILE:${target}>\")\ninclude(\"${CMAKE_CURRENT_FUNCTION_LIST_DIR}/suites_of_program.cmake\")\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${listing})
endfunction()

# Builds KORV32.dll once more, elsewhere, and compares the two files.
# cmake -D SOURCE=<project> -D FIRST=<KORV32.dll> -D BINARY=<folder to build in> -P rebuild.cmake
foreach(command IN ITEMS "--preset;windows95;-B;${BINARY}"
                         "--build;${BINARY};--clean-first;--target;korv32_dll")
  execute_process(COMMAND ${CMAKE_COMMAND} ${command} WORKING_DIRECTORY ${SOURCE}
                  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${output}")
  endif()
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${FIRST} ${BINARY}/KORV32.dll
                COMMAND_ERROR_IS_FATAL ANY)

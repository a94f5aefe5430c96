# Builds KORV32.dll and korvchk.exe once more, elsewhere, and compares the files.
# cmake -D SOURCE=<project> -D FIRST=<folder of both> -D BINARY=<folder to build in> -P rebuild.cmake
foreach(command IN ITEMS "--preset;windows95;-B;${BINARY}"
                         "--build;${BINARY};--clean-first;--target;korv32_dll;korvchk")
  execute_process(COMMAND ${CMAKE_COMMAND} ${command} WORKING_DIRECTORY ${SOURCE}
                  OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${output}")
  endif()
endforeach()
foreach(file IN ITEMS KORV32.dll korvchk.exe)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${FIRST}/${file} ${BINARY}/${file}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()

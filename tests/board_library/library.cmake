# Builds libkorv_board by a preset, installs it into a folder of its own, and uses it from there alone:
# what it exports is what its header declares, the header is C90 and C++98, and the examples, built
# against it by CMake package and by pkg-config, do what they say.
# cmake -D SOURCE=<project> -D PRESET=<preset> -D BINARY=<folder to build in> -D FLAGS=<compiler flags>
#       -D TESTS=ON|OFF -D KORV=<tool> -P library.cmake
cmake_minimum_required(VERSION 3.25)
function(run output)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${BINARY} OUTPUT_VARIABLE text
                  ERROR_VARIABLE errors RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}: ${result}\n${text}${errors}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()
function(expect what got expected)
  if(NOT got STREQUAL expected)
    message(FATAL_ERROR "${what}:\n${got}\ninstead of\n${expected}")
  endif()
endfunction()

file(MAKE_DIRECTORY ${BINARY})
run(ignored ${CMAKE_COMMAND} -S ${SOURCE} --preset ${PRESET} -B ${BINARY}/library
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=${FLAGS} -DBUILD_TESTING=${TESTS})
run(ignored ${CMAKE_COMMAND} --build ${BINARY}/library)
if(TESTS)
  run(ignored ${CMAKE_CTEST_COMMAND} --test-dir ${BINARY}/library --output-on-failure)
endif()
set(prefix ${BINARY}/prefix)
file(REMOVE_RECURSE ${prefix} ${BINARY}/examples ${BINARY}/examples-build)
run(ignored ${CMAKE_COMMAND} --install ${BINARY}/library --prefix ${prefix})
file(COPY ${SOURCE}/examples DESTINATION ${BINARY})
file(GLOB header ${prefix}/include/korv_board.h)

set(machine)
if(PRESET STREQUAL "board-32")
  set(machine -m32)
endif()
set(strict -pedantic -Wall -Wextra -Werror -fsyntax-only)
if(PRESET MATCHES "^board(-32)?$")
  run(ignored gcc -std=c90 ${machine} ${strict} -x c ${header})
  run(ignored g++ -std=c++98 ${machine} ${strict} -x c++ ${header})

  # Function names of the header, against those that the shared library has by symbol version.
  file(READ ${header} text)
  string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" text "${text}")
  string(REGEX MATCHALL "KORV_BOARD_PUBLIC [^;(]*\\(" declared "${text}")
  list(FILTER declared INCLUDE REGEX "[ *]korv_board_[a-z0-9_]+\\($")
  list(TRANSFORM declared REPLACE ".*[ *](korv_board_[a-z0-9_]+)\\($" "\\1@@KORV_BOARD_1")
  list(SORT declared)
  run(exported nm -D --defined-only ${prefix}/lib/libkorv_board.so)
  string(REGEX MATCHALL "[^\n ]+@@[^\n]+" exported "${exported}")
  list(SORT exported)
  list(JOIN declared "\n" declared)
  list(JOIN exported "\n" exported)
  expect("exported names" "${exported}" "${declared}")
  if(NOT declared MATCHES "korv_board_create.*korv_board_write_fifo")
    message(FATAL_ERROR "the header's functions were not found:\n${declared}")
  endif()
endif()

# A flavour of linking each, in a folder that knows nothing of the sources.
set(flavours static)
if(PRESET MATCHES "^board(-32)?$")
  list(APPEND flavours shared)
endif()
foreach(flavour IN LISTS flavours)
  set(static OFF)
  if(flavour STREQUAL "static")
    set(static ON)
  endif()
  set(toolchain)
  if(NOT PRESET MATCHES "^board(-32)?$")
    string(REPLACE "board-" "" target ${PRESET})
    set(toolchain --toolchain ${SOURCE}/packaging/board/toolchain-${target}.cmake)
  endif()
  run(ignored ${CMAKE_COMMAND} -G Ninja ${toolchain} -S ${BINARY}/examples
      -B ${BINARY}/examples-build/${flavour} -DKORV_BOARD_STATIC=${static}
      -Dkorv_board_DIR=${prefix}/lib/cmake/korv_board -DCMAKE_C_FLAGS=${machine}
      -DCMAKE_CXX_FLAGS=${machine})
  run(ignored ${CMAKE_COMMAND} --build ${BINARY}/examples-build/${flavour})
endforeach()
if(NOT PRESET MATCHES "^board(-32)?$")
  return() # nothing here runs them
endif()

set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
run(flags pkg-config --define-variable=prefix=${prefix} --cflags --libs korv_board)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(ignored gcc ${machine} ${BINARY}/examples/pci_device.c -o ${BINARY}/by-pkg-config ${flags}
    -Wl,-rpath,${prefix}/lib)

foreach(program IN ITEMS examples-build/static/pci_device examples-build/shared/pci_device
                         by-pkg-config)
  run(text ${BINARY}/${program})
  # Twenty words at four a microsecond.
  expect("${program}" "${text}"
    "interrupt after 5 microseconds, pin 0, pixel 336699, beside it 000000\n")
endforeach()

# A model as the tool draws it on its own board, and from its words.
run(ignored ${KORV} model torus -o ${BINARY}/torus.obj)
run(ignored ${KORV} render torus.obj --chip permedia --zbuffer --size 64x48 -o tool.png
    --words torus.words)
set(pixels ${SOURCE}/tests/board_library/pixels.py)
run(as_the_tool python3 ${pixels} tool.png)
foreach(flavour IN LISTS flavours)
  # Permedia, 1:5:5:5, behind the screen's own 48 rows of 128 bytes.
  run(faults ${BINARY}/examples-build/${flavour}/play_words 3 torus.words ${flavour}.png 64 48 2 128
      6144)
  expect("faults of the words" "${faults}" "")
  run(drawn python3 ${pixels} ${flavour}.png)
  expect("pixels of the words" "${drawn}" "${as_the_tool}")
endforeach()

# The interpreter has one width.
if(PRESET STREQUAL "board")
  run(text python3 ${BINARY}/examples/triangle.py ${prefix}/lib/libkorv_board.so.1)
  set(expected)
  foreach(y RANGE 19)
    set(row "................................")
    if(y GREATER_EQUAL 2 AND y LESS 18)
      # From column 4 up to column 20, a pixel less with each row.
      math(EXPR width "18 - ${y}")
      string(REPEAT "*" ${width} stars)
      math(EXPR rest "28 - ${width}")
      string(REPEAT "." ${rest} dots)
      set(row "....${stars}${dots}")
    endif()
    string(APPEND expected "${row}\n")
  endforeach()
  string(APPEND expected "StartXDom 00040000\nColor 0000002A\nFBReadMode 00000001\n"
                         "Render 00000040\nInFIFOSpace 00000100\n")
  expect("triangle.py" "${text}" "${expected}")
endif()

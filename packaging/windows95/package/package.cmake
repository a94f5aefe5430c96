# Makes KORV32-VERSION.zip of the library and the program. The same bytes wherever and whenever: files
# have the date of the version's release as their time, fixed rights and a fixed order, and zip is kept
# from adding what belongs to the machine.
# cmake -D SOURCE=<project> -D BUILT=<folder of KORV32.dll and korvchk.exe> -D OUT=<folder>
#       -D VERSION=<version> -P package.cmake
find_program(zip zip)
if(NOT zip)
  message(FATAL_ERROR "zip is missing, which makes the package: apt-get install zip")
endif()
file(READ ${SOURCE}/CHANGELOG.md changes)
string(REPLACE "." "\\." pattern "${VERSION}")
if(NOT changes MATCHES "\n## \\[${pattern}\\] - ([0-9-]+)\n")
  message(FATAL_ERROR "CHANGELOG.md has no release ${VERSION} with a date")
endif()
set(released ${CMAKE_MATCH_1})

set(stage ${OUT}/package)
file(REMOVE_RECURSE ${stage})
set(PROJECT_VERSION ${VERSION})
set(windows95 ${SOURCE}/packaging/windows95)

file(COPY ${BUILT}/KORV32.dll ${BUILT}/korvchk.exe DESTINATION ${stage})
# Texts have the line ends of DOS, and the version in them.
function(add_text from to)
  file(READ ${from} text)
  string(CONFIGURE "${text}" text @ONLY)
  string(REPLACE "\r\n" "\n" text "${text}")
  string(REPLACE "\n" "\r\n" text "${text}")
  file(WRITE ${stage}/${to} "${text}")
endfunction()
foreach(name IN ITEMS README.TXT KORV32.inf remove.inf korv32-off.reg korv32-on.reg)
  add_text(${windows95}/package/${name} ${name})
endforeach()
add_text(${windows95}/korv32.reg korv32.reg)
add_text(${SOURCE}/CHANGELOG.md CHANGES.TXT)
add_text(${SOURCE}/docs/bring-up.md makers/BRING-UP.TXT)
add_text(${SOURCE}/docs/windows95.md makers/WINDOWS95.TXT)
file(GLOB neighbours RELATIVE ${windows95} ${windows95}/include/* ${windows95}/kit/*)
foreach(name IN LISTS neighbours)
  add_text(${windows95}/${name} makers/${name})
endforeach()

file(GLOB_RECURSE names RELATIVE ${stage} ${stage}/*)
list(SORT names)
set(sums)
foreach(name IN LISTS names)
  file(SHA256 ${stage}/${name} sum)
  string(APPEND sums "${sum}  ${name}\r\n")
endforeach()
file(WRITE ${stage}/SHA256.TXT "${sums}")

list(PREPEND names SHA256.TXT)
foreach(name IN LISTS names)
  file(CHMOD ${stage}/${name} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
execute_process(COMMAND touch -d ${released}T12:00:00Z ${names} WORKING_DIRECTORY ${stage}
                COMMAND_ERROR_IS_FATAL ANY)
set(package ${OUT}/KORV32-${VERSION}.zip)
file(REMOVE ${package})
execute_process(COMMAND ${CMAKE_COMMAND} -E env TZ=UTC --unset=ZIPOPT ${zip} -q -9 -X ${package} ${names}
                WORKING_DIRECTORY ${stage} COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "${package}")

# The shared library's defined dynamic symbols must be exactly the plug-in
# surface: the script handshake and functions and the direct entries.
set(expected
  ComputeOverlap InitVerdaneLibrary MultiViewAlignMain ScrivelGetVersion
  ScrivelInitialize ScrivelTerminate ShrinkImage ShutDownVerdaneLibrary
  addImage alignImages demoString resetImages)

execute_process(COMMAND nm -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[0-9a-f]+ [A-Za-z] [^\n]+" lines "${listing}")
set(actual)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^[0-9a-f]+ [A-Za-z] " "" name "${line}")
  list(APPEND actual ${name})
endforeach()
list(SORT actual)
list(SORT expected)
if(NOT "${actual}" STREQUAL "${expected}")
  message(FATAL_ERROR "exports differ\n  found:    ${actual}\n  expected: ${expected}")
endif()

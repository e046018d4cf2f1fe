# The C++ interface's library defines no dynamic name outside the namespace
# lacewright: none of the engine's, and none of the plug-in's exports, which
# would otherwise bind to the plug-in's in a process that loads both.
execute_process(COMMAND nm -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[0-9a-f]+ [A-Za-z] [^\n]+" lines "${listing}")
set(public 0)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^[0-9a-f]+ [A-Za-z] " "" name "${line}")
  if(NOT name MATCHES "^((typeinfo|typeinfo name|vtable) for )?lacewright::")
    message(FATAL_ERROR "the library exports '${name}'")
  endif()
  math(EXPR public "${public} + 1")
endforeach()
if(public LESS 5)
  message(FATAL_ERROR "the library exports only ${public} names:\n${listing}")
endif()

# What the install tests' scripts share: steps that stop the test with what
# the failing command said, and the consumer found by find_package.

# Runs the command; fails the test with its output unless it succeeds.
# Leaves the command's standard output in `step_output`.
function(run_step description)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${out}${err}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_match pattern text what)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what} does not match '${pattern}':\n${text}")
  endif()
endfunction()

# Configures, builds and runs the consumer project against the package
# installed under `prefix`, in `work`; `flags` are extra compile and link
# flags (a sanitized library needs its runtime in the program).
function(run_find_package_consumer prefix work)
  file(REMOVE_RECURSE "${work}")
  run_step("configuring the consumer against ${prefix}"
    "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/consumer" -B "${work}" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}")
  run_step("building the consumer" "${CMAKE_COMMAND}" --build "${work}")
  run_step("running the consumer" "${work}/consumer")
  expect_match("called Lacewright" "${step_output}" "the consumer's output")
  run_step("running the consumer of the C++ interface" "${work}/api_consumer")
  expect_match("aligned through Lacewright: fewer than two distinct images" "${step_output}"
               "the C++ interface consumer's output")
endfunction()

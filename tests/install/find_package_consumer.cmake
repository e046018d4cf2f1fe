# A project of someone else's finds the installed package with
# find_package(Lacewright), builds and runs; a request for another major
# version is refused.
#   cmake -DPREFIX=... -DWORK=... -DCXX=... [-DFLAGS=...] -P find_package_consumer.cmake
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

run_find_package_consumer("${PREFIX}" "${WORK}")

execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${CMAKE_CURRENT_LIST_DIR}/consumer" -B "${WORK}-next" "-DCMAKE_PREFIX_PATH=${PREFIX}"
          "-DCMAKE_CXX_COMPILER=${CXX}" -DWANTED_VERSION=1.0
  RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE err)
file(REMOVE_RECURSE "${WORK}-next")
if(result EQUAL 0 OR NOT err MATCHES "compatible with requested version \"1.0\"")
  message(FATAL_ERROR "a request for version 1.0 was not refused:\n${err}")
endif()

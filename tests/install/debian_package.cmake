# `cpack -G DEB` makes a package with the dependencies its binaries need;
# unpacked into a scratch root with dpkg -x, its tool aligns and its
# library, header and CMake package serve a consumer.
#   cmake -DBUILD=... -DCPACK=... -DWORK=... -DCXX=... -DPYTHON=... [-DFLAGS=...]
#         [-DPYTHON_ENVIRONMENT=...] -P debian_package.cmake
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE "${WORK}")
run_step("making the package" "${CPACK}" -G DEB -B "${WORK}" --config "${BUILD}/CPackConfig.cmake")
file(GLOB package "${WORK}/lacewright_*.deb")
if(NOT package)
  message(FATAL_ERROR "cpack made no lacewright_*.deb in ${WORK}")
endif()

run_step("reading the package's control fields" dpkg-deb -f "${package}" Package Depends)
expect_match("Package: lacewright\n" "${step_output}" "the control fields")
foreach(dependency libc6 libstdc\\+\\+6 libgomp1 libvips42 liblapack3)
  expect_match("Depends:.*${dependency}" "${step_output}" "the dependencies")
endforeach()

run_step("unpacking the package" dpkg -x "${package}" "${WORK}/root")
run_step("running the unpacked tool on its built-in scene" "${WORK}/root/usr/bin/lacewright" --quiet)
expect_match("^\\({'sheetID':\\[0,1,2\\]" "${step_output}" "the unpacked tool's report")
run_find_package_consumer("${WORK}/root/usr" "${WORK}/consumer")

# The Python package, where the system's interpreter finds it under /usr.
run_step("importing the unpacked Python package"
  "${CMAKE_COMMAND}" -E env "PYTHONPATH=${WORK}/root/usr/lib/python3/dist-packages" ${PYTHON_ENVIRONMENT}
  "${PYTHON}" -c "print(__import__('lacewright').__file__)")
expect_match("${WORK}/root/usr/lib/python3/dist-packages/lacewright/__init__.py" "${step_output}"
             "the unpacked package's place")

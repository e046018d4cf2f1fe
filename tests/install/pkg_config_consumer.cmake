# Someone else's program built with nothing but the compiler and
# `pkg-config --cflags --libs lacewright` against the installed package.
#   cmake -DPREFIX=... -DLIBDIR=... -DVERSION=... -DWORK=... -DCXX=... [-DFLAGS=...] -P pkg_config_consumer.cmake
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
run_step("asking pkg-config for the version" pkg-config --modversion lacewright)
expect_match("^${VERSION}\n$" "${step_output}" "pkg-config's version")
run_step("asking pkg-config for the flags" pkg-config --cflags --libs lacewright)
separate_arguments(package_flags UNIX_COMMAND "${step_output}")
run_step("asking pkg-config for the library folder" pkg-config --variable=libdir lacewright)
string(STRIP "${step_output}" libdir)
separate_arguments(extra_flags UNIX_COMMAND "${FLAGS}")

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
run_step("compiling the consumer"
  "${CXX}" -std=c++20 -Wall -Wextra ${extra_flags} "${CMAKE_CURRENT_LIST_DIR}/consumer/consumer.cpp"
  ${package_flags} "-Wl,-rpath,${libdir}" -o "${WORK}/consumer")
run_step("running the consumer" "${WORK}/consumer")
expect_match("called Lacewright" "${step_output}" "the consumer's output")

run_step("asking pkg-config for the C++ interface's flags" pkg-config --cflags --libs lacewright-api)
separate_arguments(api_flags UNIX_COMMAND "${step_output}")
run_step("compiling the consumer of the C++ interface"
  "${CXX}" -std=c++20 -Wall -Wextra ${extra_flags} "${CMAKE_CURRENT_LIST_DIR}/consumer/api_consumer.cpp"
  ${api_flags} "-Wl,-rpath,${libdir}" -o "${WORK}/api_consumer")
run_step("running the consumer of the C++ interface" "${WORK}/api_consumer")
expect_match("aligned through Lacewright" "${step_output}" "the C++ interface consumer's output")

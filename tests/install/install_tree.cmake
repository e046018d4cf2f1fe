# `cmake --install BUILD --prefix PREFIX` puts every file at its GNU place,
# the library with its soname, and the installed tool runs.
#   cmake -DBUILD=... -DPREFIX=... -DVERSION=... -DLIBDIR=... -DBINDIR=...
#         -DINCLUDEDIR=... -DMANDIR=... -P install_tree.cmake
include(${CMAKE_CURRENT_LIST_DIR}/steps.cmake)

file(REMOVE_RECURSE "${PREFIX}")
run_step("installing" "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}")

foreach(file
    "${LIBDIR}/liblacewright.so.${VERSION}"
    "${INCLUDEDIR}/lacewright/lacewright.h"
    "${LIBDIR}/liblacewright-api.so.${VERSION}"
    "${INCLUDEDIR}/lacewright/align.h"
    "${LIBDIR}/pkgconfig/lacewright-api.pc"
    "lib/python3/dist-packages/lacewright/__init__.py"
    "lib/python3/dist-packages/lacewright/py.typed"
    "${BINDIR}/lacewright"
    "${MANDIR}/man1/lacewright.1.gz"
    "${LIBDIR}/cmake/Lacewright/LacewrightConfig.cmake"
    "${LIBDIR}/cmake/Lacewright/LacewrightConfigVersion.cmake"
    "${LIBDIR}/cmake/Lacewright/LacewrightTargets.cmake"
    "${LIBDIR}/pkgconfig/lacewright.pc")
  if(NOT EXISTS "${PREFIX}/${file}")
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()

# The soname link for the loader, the plain name for the linker.
file(READ_SYMLINK "${PREFIX}/${LIBDIR}/liblacewright.so.0" soname_target)
file(READ_SYMLINK "${PREFIX}/${LIBDIR}/liblacewright.so" link_target)
if(NOT soname_target STREQUAL "liblacewright.so.${VERSION}" OR NOT link_target STREQUAL "liblacewright.so.0")
  message(FATAL_ERROR "wrong links: liblacewright.so.0 -> ${soname_target}, liblacewright.so -> ${link_target}")
endif()
run_step("reading the library's dynamic section" readelf -d "${PREFIX}/${LIBDIR}/liblacewright.so.${VERSION}")
expect_match("Library soname: \\[liblacewright\\.so\\.0\\]" "${step_output}" "the dynamic section")

run_step("running the installed tool" "${PREFIX}/${BINDIR}/lacewright" --version)
expect_match("^lacewright ${VERSION}\n$" "${step_output}" "the installed tool's version")
run_step("reading the manual page" gzip -dc "${PREFIX}/${MANDIR}/man1/lacewright.1.gz")
expect_match("\\.TH LACEWRIGHT \"1\".*controlpoints.*%o %s" "${step_output}" "the manual page")

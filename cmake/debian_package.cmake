# `cpack -G DEB` in the build folder makes lacewright_<version>_<arch>.deb
# of everything the install step installs, under /usr. Its dependencies are
# read off the binaries by dpkg-shlibdeps, as Debian's own packages get
# theirs, and it declares the library's soname (a shlibs file) so that
# packages built against it depend on it in turn.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lacewright)
set(CPACK_PACKAGE_CONTACT "Lacewright developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "aligns overlapping photographs")
set(CPACK_PACKAGE_DESCRIPTION
    "Lacewright finds features in every image, matches every pair, estimates how each pair relates (a planar motion or a turn of the camera about its centre), sorts the images into groups and refines each group. The package holds the shared library with its header, CMake package and pkg-config file, and the command-line tool, which also serves Hugin as a control point detector.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "hugin-tools")
include(CPack)

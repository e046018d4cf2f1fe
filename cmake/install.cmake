# Installed like any library of a Linux system, at the GNU places:
#   lib/liblacewright.so.0.1 with its soname link liblacewright.so.0 and the
#     development link liblacewright.so
#   include/lacewright/lacewright.h and the headers it needs
#   lib/liblacewright-api.so.0.1 and its links, the C++ interface, with its
#     headers include/lacewright/align.h and those beside it
#   bin/lacewright and its manual page, share/man/man1/lacewright.1.gz
#   lib/cmake/Lacewright: find_package(Lacewright) with the imported targets
#     Lacewright::lacewright and Lacewright::api and its version file
#   lib/pkgconfig/lacewright.pc and lacewright-api.pc for pkg-config
# Every file finds the others from its own place, so a tree installed with
# any --prefix, or unpacked from the Debian package anywhere, works as it is.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
include(${CMAKE_CURRENT_LIST_DIR}/public_header.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/manual_page.cmake)

# The header compares records with a defaulted operator==.
target_compile_features(lacewright INTERFACE cxx_std_20)

install(TARGETS lacewright lacewright_cxx EXPORT LacewrightTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(TARGETS lacewright_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
lacewright_install_public_header(plugin/lacewright.h)
install(DIRECTORY include/lacewright DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h")

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Lacewright")
install(EXPORT LacewrightTargets NAMESPACE Lacewright:: DESTINATION "${package_folder}")
configure_package_config_file(cmake/LacewrightConfig.cmake.in "${PROJECT_BINARY_DIR}/LacewrightConfig.cmake"
  INSTALL_DESTINATION "${package_folder}")
# The soname's number is the major version: a package answers requests of
# its own major version only.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/LacewrightConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/LacewrightConfig.cmake" "${PROJECT_BINARY_DIR}/LacewrightConfigVersion.cmake"
  DESTINATION "${package_folder}")

# The prefix is found from the file's own folder (pkg-config's pcfiledir).
file(RELATIVE_PATH pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
foreach(package lacewright lacewright-api)
  configure_file(cmake/${package}.pc.in "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()

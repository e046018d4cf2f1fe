# The tool's manual page, made at build time by Debian's help2man from the
# tool's own --help and --version. The page is the help text itself, so it
# can never say something the tool does not do; writing it by hand, or
# formatting the usage text ourselves, would be a second copy to keep in
# step. Installed compressed, as Debian ships manual pages.
find_program(HELP2MAN help2man REQUIRED)
find_program(GZIP gzip REQUIRED)

set(manual_page "${PROJECT_BINARY_DIR}/lacewright.1")
add_custom_command(
  OUTPUT "${manual_page}.gz"
  COMMAND "${HELP2MAN}" --no-info --section=1 "--name=align overlapping photographs"
          "--include=${PROJECT_SOURCE_DIR}/command_line/lacewright.h2m" "--output=${manual_page}"
          "$<TARGET_FILE:lacewright_tool>"
  COMMAND "${GZIP}" -9 -n -f "${manual_page}"
  DEPENDS lacewright_tool "${PROJECT_SOURCE_DIR}/command_line/lacewright.h2m"
  COMMENT "Writing the manual page lacewright(1)"
  VERBATIM)
add_custom_target(lacewright_manual_page ALL DEPENDS "${manual_page}.gz")
install(FILES "${manual_page}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

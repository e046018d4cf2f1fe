# Runs a command under valgrind's memcheck and fails on any memory error or
# leak. Called by tests as
#   cmake -DVALGRIND=<valgrind> -DCOMMAND=<program;arguments> [-DNEEDS=<path>]
#         [-DVIPS_PREFIX=<folder>] -P memcheck.cmake
# Without valgrind, or without the path the command needs, it prints a line
# starting with "skipped:", which the tests declare as their skip.
#
# VIPS_PREFIX names an empty folder that libvips takes for its installation
# prefix, so that it loads none of its optional modules (JPEG XL, HEIF,
# ImageMagick, PDF, OpenSlide). Their codecs choose their kernels by probing
# the processor when they are loaded, and valgrind cannot emulate every
# instruction they pick on every processor; the files memcheck runs on are
# JPEGs, which libvips reads without any module.
if(NOT VALGRIND OR NOT EXISTS "${VALGRIND}")
  message("skipped: valgrind is not installed")
  return()
endif()
if(NEEDS AND NOT EXISTS "${NEEDS}")
  message("skipped: ${NEEDS} is absent")
  return()
endif()
if(VIPS_PREFIX)
  file(MAKE_DIRECTORY "${VIPS_PREFIX}")
  set(ENV{VIPSHOME} "${VIPS_PREFIX}")
endif()
execute_process(
  COMMAND "${VALGRIND}" --leak-check=full --error-exitcode=1
          "--suppressions=${CMAKE_CURRENT_LIST_DIR}/libgomp.supp" ${COMMAND}
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the command failed, or memcheck found errors or leaks (exit ${result})")
endif()

# Warnings and floating-point discipline shared by every target.
#
# -ffp-contract=off: several computations are specified operation by
# operation in single or double precision (grey conversion, kernel taps,
# solver updates); fusing a multiply and an add would change their last bits.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -ffp-contract=off)

# GCC leaves float-cast-overflow out of "undefined": a double too large for
# the integer it is converted to is named here so that it is caught too.
if(LACEWRIGHT_SANITIZE)
  add_compile_options(-fsanitize=address,undefined,float-cast-overflow -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined,float-cast-overflow)
  add_link_options(-fsanitize=address,undefined,float-cast-overflow)
endif()

# Line counts for scripts/coverage, unoptimised so that lines map to code.
if(LACEWRIGHT_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()

# Fuzzing instruments every library for coverage and runs under both
# sanitizers; only the fuzz targets themselves link libFuzzer's main.
if(LACEWRIGHT_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "LACEWRIGHT_BUILD_FUZZ needs clang (libFuzzer)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

// What the processor running us can do, asked once.
#pragma once

namespace host {

// AVX2 kernels are chosen at run time; every kernel has a portable twin that
// gives the same bits.
bool cpu_has_avx2();

}  // namespace host

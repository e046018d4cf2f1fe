// The host's row filter kernels (filt 191 to 194) and plane transposition
// (filt 195), on 32-bit float samples.
#pragma once

#include <cstddef>

namespace host {

// One output per position of the unpadded row: output[x] is the sum over t of
// line[x + t] * taps[t], with t ascending, for x from 0 to
// line_length - taps. The taps are the first row of the kernel table (the
// table holds four shifted copies; the first is the plain kernel). `half`
// is the kernel's half length. Every table width (8, 12, 16, 20 floats)
// takes this same kernel. A long line is shared among the threads.
void convolve_row(const float* line, std::size_t line_length, const float* table, std::size_t taps,
                  std::size_t half, float* output);

// destination[x][y] = source[y][x] for a source of source_width columns and
// source_height rows; row steps are in bytes. A large plane is shared among
// the threads in bands of rows.
void transpose_plane(float* destination, std::size_t destination_row_bytes, const float* source,
                     std::size_t source_row_bytes, std::size_t source_width, std::size_t source_height);

// The portable kernels, which the vector ones must equal bit for bit.
void convolve_row_portable(const float* line, std::size_t width, const float* taps, std::size_t count,
                           float* output);
void transpose_plane_portable(float* destination, std::size_t destination_row_bytes, const float* source,
                              std::size_t source_row_bytes, std::size_t source_width,
                              std::size_t source_height);

}  // namespace host

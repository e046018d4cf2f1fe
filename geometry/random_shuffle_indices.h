// The shuffle of the robust search's random samples: the forward Fisher and
// Yates walk of the classic standard library, on the process's rand() alone
// and 15 bits per call. The generator is never seeded here; the order of
// the rand() calls is part of the pair results.
#pragma once

#include <cstddef>
#include <vector>

// Position p, from 1 to the end, is swapped with position r mod (p + 1).
// r takes 15 bits from one rand() call; for p + 1 of 32768 or more, further
// calls are shifted in, 15 bits at a time, in 32 bits, until their reach
// covers p + 1.
void random_shuffle_indices(std::vector<std::size_t>& array);

#include "platform/rand_15_bits.h"

#include <cstdlib>

uint32_t rand_15_bits() { return static_cast<uint32_t>(std::rand()) & rand_15_bits_max; }

// The second host library, "Hexlet": one function, by ordinal 5, whose result
// identifies the host session to Ostrel.
#pragma once

void* HexletOrdinal5();

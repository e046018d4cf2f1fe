// What a program linking Lacewright sees: the library is built with every
// name hidden but those marked here.
#pragma once

#define LACEWRIGHT_PUBLIC __attribute__((visibility("default")))

// The module _lacewright, which the package lacewright wraps.
#include "python/bindings.h"

PYBIND11_MODULE(_lacewright, module) {
  module.doc() = "Aligns overlapping photographs: the C++ interface of Lacewright.";
  lacewright_python::bind_errors(module);
  lacewright_python::bind_alignment_types(module);
  lacewright_python::bind_align(module);
}

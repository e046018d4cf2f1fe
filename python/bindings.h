// The parts of the module _lacewright, each binding one side of the C++
// interface.
#pragma once

#include <pybind11/pybind11.h>

namespace lacewright_python {

// lacewright.Error and one subclass per kind of failure.
void bind_errors(pybind11::module_& module);

// The answer's classes: Alignment, Group, Image, Pair, Camera and the
// transforms, their numbers as numpy arrays.
void bind_alignment_types(pybind11::module_& module);

// align, Alignment.write and detect_control_points: the engine's work with
// the interpreter's lock released.
void bind_align(pybind11::module_& module);

}  // namespace lacewright_python

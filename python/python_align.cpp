#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <lacewright/align.h>

#include <exception>
#include <filesystem>
#include <optional>

#include "python/bindings.h"

namespace py = pybind11;

namespace lacewright_python {
namespace {

// A picture of numpy's as the interface reads it: rows, then pixels, then
// channels, 8 or 16 bits a sample in the machine's order. An array whose
// channels are apart, or that repeats its samples (a stride of 0, as
// broadcasting makes), is read through a packed copy, which `held` keeps
// for the call, as the caller's list keeps the others.
lacewright::image_pixels pixels_of(py::array array, const std::string& name, std::vector<py::array>& held) {
  const auto refuse = [&](const std::string& why) {
    throw lacewright::unreadable_input_error("cannot read '" + name + "': " + why);
  };
  if (array.ndim() != 2 && array.ndim() != 3) refuse("an array of " + std::to_string(array.ndim()) + " dimensions");
  const py::dtype type = array.dtype();
  if (type.kind() != 'u' || (type.itemsize() != 1 && type.itemsize() != 2) || !type.attr("isnative").cast<bool>()) {
    refuse("an array of " + py::str(py::handle(type)).cast<std::string>() + ", not uint8 or uint16");
  }
  const bool spread = array.ndim() == 3 && array.strides(2) != array.itemsize();
  if (spread || array.strides(0) == 0 || array.strides(1) == 0) {
    array = py::module_::import("numpy").attr("ascontiguousarray")(array);
    held.push_back(array);
  }
  const int channels = array.ndim() == 3 ? static_cast<int>(array.shape(2)) : 1;
  return {array.data(), static_cast<int>(array.shape(1)), static_cast<int>(array.shape(0)), channels,
          static_cast<int>(8 * type.itemsize()), array.strides(1), array.strides(0)};
}

// What the engine's progress tells the interpreter: the caller's callback,
// and a Ctrl-C, which stops the work where the next stage begins (signals
// reach the interpreter on its main thread only). The first Python
// exception, a KeyboardInterrupt or one the callback raised, is kept to be
// raised when the work has stopped.
class python_progress {
 public:
  explicit python_progress(py::object callback) : callback_(std::move(callback)) {}

  lacewright::progress_callback callback() {
    return [this](std::string_view stage, std::size_t done, std::size_t total) { return tell(stage, done, total); };
  }

  // Raises the kept exception, if any: it ended the work, whatever the
  // interface then threw.
  void raise_kept() {
    if (error_) throw std::move(*error_);
  }

 private:
  bool tell(std::string_view stage, std::size_t done, std::size_t total) {
    const py::gil_scoped_acquire interpreter;
    if (error_) return false;
    try {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      if (!callback_.is_none() && callback_(py::str(stage.data(), stage.size()), done, total).is(py::bool_(false))) {
        return false;
      }
      return true;
    } catch (py::error_already_set& error) {
      error_.emplace(std::move(error));
      return false;
    }
  }

  py::object callback_;
  std::optional<py::error_already_set> error_;
};

// The inputs: paths (str or os.PathLike) of files and folders, arrays, and
// arrays with their names; an array without one is named by its place.
std::vector<lacewright::image_input> inputs_of(const py::list& images, std::vector<py::array>& held) {
  const py::object fspath = py::module_::import("os").attr("fspath");
  std::vector<lacewright::image_input> inputs;
  for (std::size_t i = 0; i < images.size(); ++i) {
    const py::handle item = images[i];
    if (py::isinstance<py::tuple>(item)) {
      const auto [name, array] = item.cast<std::pair<std::string, py::array>>();
      inputs.push_back(lacewright::image_input::memory(name, pixels_of(array, name, held)));
    } else if (py::isinstance<py::array>(item)) {
      const std::string name = "array " + std::to_string(i);
      inputs.push_back(lacewright::image_input::memory(name, pixels_of(item.cast<py::array>(), name, held)));
    } else {
      for (lacewright::image_input& file : lacewright::image_files({fspath(item).cast<std::string>()})) {
        inputs.push_back(std::move(file));
      }
    }
  }
  return inputs;
}

using warning_function = std::function<void(std::string)>;

// The interface's options, with the interpreter's callbacks.
lacewright::options options_of(int32_t type, bool level, bool keep_pictures, python_progress& told,
                               const warning_function& warning) {
  return {type, level, keep_pictures, told.callback(), [&warning](std::string_view sentence) {
            const py::gil_scoped_acquire interpreter;
            if (warning) warning(std::string(sentence));
          }};
}

// Runs `work` with the interpreter's lock released; a Python exception
// kept by `told` ended it, whatever the interface then threw.
template <typename Work>
auto engine_works(python_progress& told, Work&& work) {
  try {
    const py::gil_scoped_release unlocked;
    return work();
  } catch (const lacewright::error&) {
    told.raise_kept();
    throw;
  }
}

lacewright::alignment align(const py::list& images, int32_t type, bool level, bool keep_pictures,
                            const py::object& progress, const warning_function& warning) {
  std::vector<py::array> held;
  const std::vector<lacewright::image_input> inputs = inputs_of(images, held);
  python_progress told(progress);
  const lacewright::options options = options_of(type, level, keep_pictures, told, warning);
  return engine_works(told, [&] { return lacewright::align(inputs, options); });
}

using optional_path = std::optional<std::filesystem::path>;

std::vector<std::string> write(const lacewright::alignment& result, const optional_path& json,
                               const optional_path& preview, int preview_size, const optional_path& project) {
  const auto text = [](const optional_path& path) { return path ? path->string() : std::string(); };
  const lacewright::outputs outputs{text(json), text(preview), preview_size, text(project), {}};
  const py::gil_scoped_release unlocked;
  return lacewright::write(result, outputs);
}

lacewright::control_point_summary detect_control_points(const std::string& input, const std::string& output,
                                                        int32_t type, bool level, const py::object& progress,
                                                        const warning_function& warning) {
  python_progress told(progress);
  const lacewright::options options = options_of(type, level, false, told, warning);
  return engine_works(told, [&] { return lacewright::detect_control_points(input, output, options); });
}

}  // namespace

void bind_errors(py::module_& module) {
  const py::object base = py::register_exception<lacewright::error>(module, "Error");
  py::register_exception<lacewright::alignment_error>(module, "AlignmentError", base);
  py::register_exception<lacewright::usage_error>(module, "UsageError", base);
  py::register_exception<lacewright::unreadable_input_error>(module, "UnreadableInputError", base);
  py::register_exception<lacewright::too_few_images_error>(module, "TooFewImagesError", base);
  py::register_exception<lacewright::too_many_images_error>(module, "TooManyImagesError", base);
  py::register_exception<lacewright::unknown_type_error>(module, "UnknownTypeError", base);
  py::register_exception<lacewright::output_error>(module, "OutputError", base);
  py::register_exception<lacewright::cancelled_error>(module, "CancelledError", base);
}

void bind_align(py::module_& module) {
  module.def("_align", &align, py::arg("images"), py::arg("type"), py::arg("level"), py::arg("keep_pictures"),
             py::arg("progress"), py::arg("warning"));
  // Methods of Alignment, whose class the answer's types bind.
  const py::object alignment = module.attr("Alignment");
  alignment.attr("write") = py::cpp_function(
      &write, py::name("write"), py::is_method(alignment), py::sibling(py::getattr(alignment, "write", py::none())),
      py::kw_only(), py::arg("json") = py::none(), py::arg("preview") = py::none(), py::arg("preview_size") = 2000,
      py::arg("project") = py::none(),
      "Writes the JSON, a preview of each group (PNG, JPEG, TIFF or WebP by extension) and a Hugin project of each "
      "turning group, as the tool writes them: all or none. Answers the paths written.");
  alignment.attr("require_aligned") = py::cpp_function(
      &lacewright::require_aligned, py::name("require_aligned"), py::is_method(alignment),
      "Raises AlignmentError, naming each image and why it was left out, unless two images or more aligned.");
  py::class_<lacewright::control_point_summary>(module, "ControlPointSummary")
      .def_readonly("points", &lacewright::control_point_summary::points)
      .def_readonly("pairs", &lacewright::control_point_summary::pairs)
      .def_readonly("images", &lacewright::control_point_summary::images);
  module.def("_detect_control_points", &detect_control_points, py::arg("input"), py::arg("output"),
             py::arg("type"), py::arg("level"), py::arg("progress"), py::arg("warning"));
}

}  // namespace lacewright_python

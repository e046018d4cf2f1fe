#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <lacewright/alignment.h>

#include "python/bindings.h"

namespace py = pybind11;

namespace lacewright_python {
namespace {

py::array_t<double> matrix(const lacewright::matrix3& m) {
  py::array_t<double> out({3, 3});
  std::copy(m.begin(), m.end(), out.mutable_data());
  return out;
}

py::array_t<double> vector2(const lacewright::point& p) {
  py::array_t<double> out(2);
  std::copy(p.begin(), p.end(), out.mutable_data());
  return out;
}

std::optional<py::array_t<double>> optional_matrix(const std::optional<lacewright::matrix3>& m) {
  return m ? std::optional(matrix(*m)) : std::nullopt;
}

// The points of one side of a pair's inliers, one row each.
py::array_t<double> points(const std::vector<lacewright::match>& matches, lacewright::point lacewright::match::*side) {
  py::array_t<double> out({static_cast<py::ssize_t>(matches.size()), py::ssize_t{2}});
  double* to = out.mutable_data();
  for (const lacewright::match& m : matches) {
    *to++ = (m.*side)[0];
    *to++ = (m.*side)[1];
  }
  return out;
}

py::array_t<int32_t> connectivity(const std::vector<std::vector<int32_t>>& rows) {
  const auto n = static_cast<py::ssize_t>(rows.size());
  py::array_t<int32_t> out({n, n});
  int32_t* to = out.mutable_data();
  for (const auto& row : rows) to = std::copy(row.begin(), row.end(), to);
  return out;
}

// The camera of a turning group's image, if it has one.
std::optional<lacewright::camera> camera_of(const lacewright::image& image) {
  if (const auto* t = std::get_if<lacewright::cylindrical_transform>(&image.transform)) return t->camera;
  if (const auto* t = std::get_if<lacewright::spherical_transform>(&image.transform)) return t->camera;
  return std::nullopt;
}

// The homography onto the reference image of a plane group's image, if it
// has one.
std::optional<lacewright::matrix3> homography_of(const lacewright::image& image) {
  if (const auto* t = std::get_if<lacewright::planar_transform>(&image.transform)) return t->homography;
  if (const auto* t = std::get_if<lacewright::planar_lens_transform>(&image.transform)) return t->homography;
  return std::nullopt;
}

const char* kind_of(const lacewright::image_transform& transform) {
  constexpr const char* names[] = {nullptr, "planar", "planar_lens", "cylindrical", "spherical"};
  return names[transform.index()];
}

void bind_transforms(py::module_& m) {
  py::class_<lacewright::camera>(m, "Camera", "A camera turned about its centre, in pixels of its image as given.")
      .def_property_readonly("rotation", [](const lacewright::camera& c) { return matrix(c.rotation); },
                             "camera to the reference camera's axes (x right, y down, z forward), 3 x 3")
      .def_property_readonly("focal_length", [](const lacewright::camera& c) { return vector2(c.focal_length); })
      .def_property_readonly("centre", [](const lacewright::camera& c) { return vector2(c.centre); })
      .def_property_readonly("lens", [](const lacewright::camera& c) { return vector2(c.lens); },
                             "radial distortion k1, k2 on radii in focal lengths");
  py::class_<lacewright::planar_transform>(m, "PlanarTransform")
      .def_property_readonly("homography",
                             [](const lacewright::planar_transform& t) { return optional_matrix(t.homography); })
      .def_property_readonly("quad", [](const lacewright::planar_transform& t) {
        py::array_t<double> out({4, 2});
        for (std::size_t i = 0; i < 4; ++i) std::copy(t.quad[i].begin(), t.quad[i].end(), out.mutable_data(i, 0));
        return out;
      });
  py::class_<lacewright::planar_lens_transform>(m, "PlanarLensTransform")
      .def_property_readonly("homography",
                             [](const lacewright::planar_lens_transform& t) { return optional_matrix(t.homography); })
      .def_property_readonly("centre", [](const lacewright::planar_lens_transform& t) { return vector2(t.centre); })
      .def_property_readonly("lens", [](const lacewright::planar_lens_transform& t) { return vector2(t.lens); });
  py::class_<lacewright::cylindrical_transform>(m, "CylindricalTransform")
      .def_readonly("camera", &lacewright::cylindrical_transform::camera)
      .def_property_readonly("scale", [](const lacewright::cylindrical_transform& t) { return vector2(t.scale); })
      .def_readonly("phase_range", &lacewright::cylindrical_transform::phase_range)
      .def_property_readonly("pixel_shift",
                             [](const lacewright::cylindrical_transform& t) { return vector2(t.pixel_shift); });
  py::class_<lacewright::spherical_transform>(m, "SphericalTransform")
      .def_readonly("camera", &lacewright::spherical_transform::camera);
}

void bind_image(py::module_& m) {
  py::class_<lacewright::image>(m, "Image", "An image as given: its group, role and transform.")
      .def_readonly("file", &lacewright::image::file)
      .def_readonly("width", &lacewright::image::width)
      .def_readonly("height", &lacewright::image::height)
      .def_readonly("orientation", &lacewright::image::orientation)
      .def_readonly("reduction_level", &lacewright::image::reduction_level)
      .def_readonly("group", &lacewright::image::group)
      .def_readonly("reference", &lacewright::image::reference)
      .def_readonly("renderable", &lacewright::image::renderable)
      .def_readonly("transform", &lacewright::image::transform)
      .def_property_readonly("kind", [](const lacewright::image& i) { return kind_of(i.transform); })
      .def_property_readonly("camera", &camera_of)
      .def_property_readonly("homography",
                             [](const lacewright::image& i) { return optional_matrix(homography_of(i)); })
      .def("__repr__", [](const lacewright::image& i) {
        const char* kind = kind_of(i.transform);
        return "<Image " + i.file + (kind ? std::string(" ") + kind : std::string(" left out")) + ">";
      });
}

void bind_group(py::module_& m) {
  py::class_<lacewright::image_pair>(m, "Pair", "A pair whose motion was accepted, with its inlier matches.")
      .def_readonly("first", &lacewright::image_pair::first)
      .def_readonly("second", &lacewright::image_pair::second)
      .def_readonly("matches", &lacewright::image_pair::matches)
      .def_property_readonly("first_points",
                             [](const lacewright::image_pair& p) { return points(p.inliers, &lacewright::match::first); })
      .def_property_readonly(
          "second_points", [](const lacewright::image_pair& p) { return points(p.inliers, &lacewright::match::second); });
  py::class_<lacewright::levelling>(m, "Levelling", "The turn that levels a turning group's horizon.")
      .def_property_readonly("rotation", [](const lacewright::levelling& l) { return matrix(l.rotation); })
      .def_readonly("applied", &lacewright::levelling::applied);
  py::class_<lacewright::group>(m, "Group")
      .def_readonly("number", &lacewright::group::number)
      .def_readonly("transform_type", &lacewright::group::transform_type)
      .def_property_readonly("kind",
                             [](const lacewright::group& g) { return lacewright::transform_type_name(g.transform_type); })
      .def_readonly("reference", &lacewright::group::reference)
      .def_readonly("images", &lacewright::group::images)
      .def_property_readonly("connectivity", [](const lacewright::group& g) { return connectivity(g.connectivity); })
      .def_readonly("level", &lacewright::group::level)
      .def_readonly("pairs", &lacewright::group::pairs)
      .def("__repr__", [](const lacewright::group& g) {
        return "<Group " + std::to_string(g.number) + ": " + std::to_string(g.images.size()) + " images, " +
               lacewright::transform_type_name(g.transform_type) + ">";
      });
}

void bind_alignment(py::module_& m) {
  py::class_<lacewright::left_out_image>(m, "LeftOutImage", "An image in no group of two or more, and why.")
      .def_readonly("file", &lacewright::left_out_image::file)
      .def_readonly("image", &lacewright::left_out_image::image)
      .def_readonly("reason", &lacewright::left_out_image::reason)
      .def_readonly("duplicate_of", &lacewright::left_out_image::duplicate_of)
      .def("__repr__", [](const lacewright::left_out_image& i) { return "<LeftOutImage " + i.file + ": " + i.because() + ">"; });
  py::class_<lacewright::alignment>(m, "Alignment", "An alignment, in pixels of the images as given.")
      .def_readonly("requested_type", &lacewright::alignment::requested_type)
      .def_readonly("report", &lacewright::alignment::report)
      .def_readonly("groups", &lacewright::alignment::groups)
      .def_readonly("images", &lacewright::alignment::images)
      .def_readonly("left_out", &lacewright::alignment::left_out)
      .def_property_readonly("times",
                             [](const lacewright::alignment& a) {
                               py::dict times;
                               for (const lacewright::stage_time& t : a.times) times[py::str(t.name)] = t.seconds;
                               return times;
                             })
      .def_property_readonly("aligned", &lacewright::alignment::aligned)
      .def("__repr__", [](const lacewright::alignment& a) {
        return "<Alignment of " + std::to_string(a.images.size()) + " images in " + std::to_string(a.groups.size()) +
               " groups>";
      });
}

}  // namespace

void bind_alignment_types(py::module_& module) {
  bind_transforms(module);
  bind_image(module);
  bind_group(module);
  bind_alignment(module);
}

}  // namespace lacewright_python

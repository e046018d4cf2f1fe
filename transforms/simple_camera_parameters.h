// A pinhole camera's intrinsic values as the output transforms carry them.
#pragma once

class SimpleCameraParameters {
 public:
  virtual ~SimpleCameraParameters() = default;

  // Each accessor gives the address of a pair: first and second axis.
  double* focal_length() { return focal_length_; }       // pixels
  double* image_center() { return image_center_; }       // pixels
  double* distortion() { return distortion_; }
  const double* focal_length() const { return focal_length_; }
  const double* image_center() const { return image_center_; }
  const double* distortion() const { return distortion_; }

 private:
  double focal_length_[2] = {};
  double image_center_[2] = {};
  double distortion_[2] = {};
};

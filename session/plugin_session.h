// The tool's side of the plug-in interface: it talks to the library exactly
// as the host's script engine does, through the exported script functions.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "photographs/image_file.h"

namespace lacewright_tool {

// A script function answered with a status other than success.
class plugin_status_error : public std::runtime_error {
 public:
  plugin_status_error(const std::string& message, int32_t status)
      : std::runtime_error(message), status_(status) {}
  int32_t status() const { return status_; }

 private:
  int32_t status_;
};

class plugin_session {
 public:
  // Performs the handshake with `plugin_folder` as the host's folder text.
  explicit plugin_session(const std::string& plugin_folder);
  ~plugin_session();
  plugin_session(const plugin_session&) = delete;
  plugin_session& operator=(const plugin_session&) = delete;

  // Hands the image to addImage as four-byte pixels at its real address.
  void add_image(const pixel_image& image, const std::string& name);

  // Runs alignImages and answers the report text. Exceptions of the engine
  // pass through unchanged.
  std::string align(int32_t requested_type);
};

}  // namespace lacewright_tool

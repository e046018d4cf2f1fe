// Collects what is written to the debugger channel while it lives.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/debug_channel.h"

class debug_capture {
 public:
  debug_capture() {
    previous_ = host::attach_debug_listener([this](std::string_view text) { text_ += text; });
  }
  ~debug_capture() { host::attach_debug_listener(std::move(previous_)); }
  debug_capture(const debug_capture&) = delete;
  debug_capture& operator=(const debug_capture&) = delete;

  const std::string& text() const { return text_; }

 private:
  std::string text_;
  host::debug_listener previous_;
};

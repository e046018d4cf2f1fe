// The exception by which the host library's failures travel through the
// engine: it carries the host's status code.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

class OstrelException : public std::exception {
 public:
  explicit OstrelException(int32_t status)
      : status_(status), message_("Ostrel error " + std::to_string(status)) {}
  int32_t status() const noexcept { return status_; }
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  int32_t status_;
  std::string message_;
};

// Every failure of an alignment is one exception of this family: a
// sentence a person can act on, naming the file or the limit concerned,
// and a kind that a program can tell apart by type or by value. The command
// line prints the sentence and exits with a status of the kind's own.
#pragma once

#include <stdexcept>
#include <string>

#include <lacewright/visibility.h>

namespace lacewright {

enum class error_kind {
  alignment_failed,  // the images were read but no alignment came of them
  usage,             // the request contradicts itself (two outputs at one path, say)
  unreadable_input,  // a file or folder that cannot be read as an image or a project
  too_few_images,    // fewer than two usable, distinct images
  too_many_images,   // more than one report can hold
  unknown_type,      // an alignment type without a pipeline
  output_failed,     // an output that cannot be written; nothing was written
  cancelled,         // the progress callback asked to stop
};

class LACEWRIGHT_PUBLIC error : public std::runtime_error {
 public:
  error_kind kind() const noexcept { return kind_; }

 protected:
  error(error_kind kind, const std::string& sentence) : std::runtime_error(sentence), kind_(kind) {}

 private:
  error_kind kind_;
};

// The type of one kind, so that a program catches the failures it can
// handle and lets the others go.
template <error_kind Kind>
class LACEWRIGHT_PUBLIC error_of : public error {
 public:
  explicit error_of(const std::string& sentence) : error(Kind, sentence) {}
};

using alignment_error = error_of<error_kind::alignment_failed>;
using usage_error = error_of<error_kind::usage>;
using unreadable_input_error = error_of<error_kind::unreadable_input>;
using too_few_images_error = error_of<error_kind::too_few_images>;
using too_many_images_error = error_of<error_kind::too_many_images>;
using unknown_type_error = error_of<error_kind::unknown_type>;
using output_error = error_of<error_kind::output_failed>;
using cancelled_error = error_of<error_kind::cancelled>;

}  // namespace lacewright

// What making a rotation camera can throw, and how the refinements take it:
// rodrigues_inv's refusal of a matrix that is no rotation
// (std::runtime_error) and a camera type's refusal of a sharing mode it does
// not handle (std::invalid_argument). A refinement counts either as its own
// failure, as the adjusters count what is thrown inside them; allocation
// failures and over-long vectors (std::bad_alloc, std::length_error) are
// no numeric trouble and leave the stage.
#pragma once

#include <optional>
#include <stdexcept>

// The value of `work`, or nothing when it met one of those refusals.
template <class Work>
auto unless_refused(Work work) -> std::optional<decltype(work())> {
  try {
    return work();
  } catch (const std::runtime_error&) {
    return std::nullopt;
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

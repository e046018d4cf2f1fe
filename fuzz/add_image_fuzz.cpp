// addImage on hostile argument records: wrong counts and tags, zero
// addresses in every spelling, every rotation, four-byte and one-byte
// sources, frames from empty to large enough to be halved, and sizes whose
// product does not fit 32 bits. Each call must end in the status that its
// records call for and leave the image list as that status says.
//
// A source address that is not readable cannot be detected by the plug-in,
// so every non-zero address given here is a real buffer that holds as many
// bytes as the call may read.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/finding.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"

namespace {

using fuzz_support::finding;

constexpr uint32_t reserved_word = 0x5A5A5A5A;
constexpr int32_t argument_tags[5] = {script_uint32, script_uint32, script_uint32, script_int32, script_text};
constexpr int32_t known_tags[] = {script_none, script_boolean, script_text, script_int32, script_uint32, script_source};
constexpr int32_t rotations[] = {0, 90, -90, 180, 270, -180, 45, 1};

enum class sizes { small, halved, overflowing };

struct intake_call {
  std::vector<uint8_t> source;
  std::string address;
  ScriptValue arguments[6];
  int32_t count;
  bool tags_right = true;
  bool address_zero = false;
  bool overflowing = false;

  uint32_t rows() const { return static_cast<uint32_t>(arguments[0].value); }
  uint32_t columns() const { return static_cast<uint32_t>(arguments[1].value); }
  uint32_t row_bytes() const { return static_cast<uint32_t>(arguments[2].value); }
  int32_t rotation() const { return static_cast<int32_t>(static_cast<uint32_t>(arguments[3].value)); }

  // The records as the script engine hands them over, the address text's
  // pointer taken now: the call may have moved since it was made.
  std::array<ScriptValue, 6> records() const {
    std::array<ScriptValue, 6> made;
    std::copy(std::begin(arguments), std::end(arguments), made.begin());
    made[4].value = reinterpret_cast<uintptr_t>(address.c_str());
    return made;
  }
};

int32_t tag_for(FuzzedDataProvider& input, int32_t right) {
  if (input.ConsumeIntegral<uint8_t>() < 232) return right;
  const int32_t wrong = input.ConsumeBool() ? input.PickValueInArray(known_tags) : input.ConsumeIntegral<int32_t>();
  return wrong;
}

void choose_sizes(FuzzedDataProvider& input, uint32_t& rows, uint32_t& columns) {
  // Frames large enough to be halved cost milliseconds each: one call in 16.
  const uint8_t choice = input.ConsumeIntegralInRange<uint8_t>(0, 15);
  switch (choice == 0 ? sizes::halved : choice == 1 ? sizes::overflowing : sizes::small) {
    case sizes::small:
      rows = input.ConsumeIntegralInRange<uint32_t>(0, 64);
      columns = input.ConsumeIntegralInRange<uint32_t>(0, 64);
      break;
    case sizes::halved:
      rows = input.ConsumeIntegralInRange<uint32_t>(700, 1560);
      columns = input.ConsumeIntegralInRange<uint32_t>(700, 1560);
      break;
    case sizes::overflowing:  // at least 2^31 samples: refused before anything is read
      rows = input.ConsumeIntegralInRange<uint32_t>(1u << 16, UINT32_MAX);
      columns = input.ConsumeIntegralInRange<uint32_t>(1u << 15, UINT32_MAX);
      break;
  }
}

// The address of the source in one of the spellings a script may use, or
// one of the spellings of 0.
std::string address_text(FuzzedDataProvider& input, const void* source, bool& zero) {
  char text[40];
  const uint8_t form = input.ConsumeIntegralInRange<uint8_t>(0, 9);
  zero = form >= 5;
  switch (form) {
    case 0: case 1: case 2:
      std::snprintf(text, sizeof text, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(source));
      return text;
    case 3:
      std::snprintf(text, sizeof text, "0x%" PRIXPTR, reinterpret_cast<uintptr_t>(source));
      return text;
    case 4:
      return std::to_string(reinterpret_cast<uintptr_t>(source));
    case 5: return "0";
    case 6: return "0x";  // too short for hexadecimal: the decimal 0 then x
    case 7: return "";
    case 8: return "0x0000";
    default: return "000";
  }
}

intake_call make_call(FuzzedDataProvider& input) {
  intake_call call;
  call.count = input.PickValueInArray({5, 5, 5, 5, 5, 5, 0, 4, 6, -1});
  uint32_t rows = 0, columns = 0;
  choose_sizes(input, rows, columns);
  call.overflowing = static_cast<uint64_t>(rows) * columns > INT32_MAX;
  const bool four_byte = input.ConsumeBool();
  const uint32_t row_bytes = four_byte ? columns * 4 : input.ConsumeIntegral<uint32_t>();
  const int32_t rotation = input.ConsumeBool() ? input.PickValueInArray(rotations) : input.ConsumeIntegral<int32_t>();

  // Enough for either reading: rows of four-byte pixels or packed bytes.
  const std::size_t bytes = call.overflowing ? 1 : std::max<std::size_t>(1, std::size_t{rows} * columns * 4);
  const std::vector<uint8_t> pattern = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange(1, 256));
  // The pattern repeated, by doubling copies.
  call.source.assign(pattern.begin(), pattern.end());
  if (call.source.empty()) call.source.push_back(37);
  std::size_t filled = call.source.size();
  call.source.resize(std::max(bytes, filled));
  while (filled < bytes) {
    const std::size_t copied = std::min(filled, bytes - filled);
    std::memcpy(call.source.data() + filled, call.source.data(), copied);
    filled += copied;
  }
  call.address = address_text(input, call.source.data(), call.address_zero);

  const uint64_t values[5] = {rows, columns, row_bytes, static_cast<uint32_t>(rotation), 0};
  for (int i = 0; i < 5; ++i) {
    const int32_t tag = tag_for(input, argument_tags[i]);
    call.tags_right = call.tags_right && tag == argument_tags[i];
    call.arguments[i] = {values[i], tag, reserved_word};
  }
  call.arguments[5] = {input.ConsumeIntegral<uint64_t>(), input.ConsumeIntegral<int32_t>(), reserved_word};
  return call;
}

int32_t expected_status(const intake_call& call) {
  if (call.count != 5) return status_argument_count;
  if (!call.tags_right || call.address_zero) return status_argument_type;
  if (call.overflowing) return status_no_memory;
  return status_ok;
}

// Halved while both sides are above 760.
void reduce(int32_t& height, int32_t& width) {
  while (height > 760 && width > 760) {
    height /= 2;
    width /= 2;
  }
}

void check_added_frame(const intake_call& call, const AlignFrame& frame, std::size_t position) {
  const bool turned = call.rotation() == 90 || call.rotation() == -90;
  int32_t height = static_cast<int32_t>(turned ? call.columns() : call.rows());
  int32_t width = static_cast<int32_t>(turned ? call.rows() : call.columns());
  reduce(height, width);
  if (frame.index != static_cast<int32_t>(position) || frame.height != height || frame.width != width ||
      frame.stride != width || frame.feature_mode != 0 || frame.reduction_level != 0 || !frame.pixels) {
    finding("frame %zu of %u x %u, rotation %d: index %d, %d x %d, stride %d", position, call.rows(),
            call.columns(), call.rotation(), frame.index, frame.height, frame.width, frame.stride);
  }
  // One-byte sources are copied unchanged when nothing halves them.
  const bool packed = call.columns() * 4 != call.row_bytes();
  const std::size_t samples = std::size_t{call.rows()} * call.columns();
  if (packed && height == static_cast<int32_t>(turned ? call.columns() : call.rows()) &&
      std::memcmp(frame.pixels, call.source.data(), samples) != 0) {
    finding("one-byte source of %u x %u was not copied unchanged", call.rows(), call.columns());
  }
}

void add_one(const intake_call& call) {
  const std::size_t before = imageList.size();
  ScriptValue result{0xDEADBEEF, 99, reserved_word};
  const std::array<ScriptValue, 6> records = call.records();
  const int32_t status = addImage(records.data(), call.count, &result);
  const int32_t expected = expected_status(call);
  if (status != expected) {
    finding("addImage(count %d, %u x %u, row bytes %u, rotation %d, address \"%s\") gave %d, expected %d",
            call.count, call.rows(), call.columns(), call.row_bytes(), call.rotation(), call.address.c_str(),
            status, expected);
  }
  if (result.value != 0 || result.type != script_none || result.reserved != reserved_word) {
    finding("addImage left its result at value %llu, tag %d", static_cast<unsigned long long>(result.value),
            result.type);
  }
  if (imageList.size() != before + (status == status_ok ? 1 : 0)) {
    finding("status %d took the list from %zu to %zu frames", status, before, imageList.size());
  }
  if (status == status_ok) check_added_frame(call, imageList.back(), before);
}

void reset() {
  ScriptValue result{0xDEADBEEF, 99, reserved_word};
  const int32_t status = resetImages(nullptr, 0, &result);
  if (status != status_ok || result.type != script_boolean || result.value != 1 || !imageList.empty()) {
    finding("resetImages gave status %d, tag %d, %zu frames left", status, result.type, imageList.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const int calls = input.ConsumeIntegralInRange(1, 4);
  for (int i = 0; i < calls; ++i) add_one(make_call(input));
  reset();
  return 0;
}

// The engine's results on the shared photograph sets, to the last bit: for
// every set under both pipelines, the report, every value of every
// transform, and hashes of every pyramid plane and every feature record.
// A change meant to keep results leaves shared_sets.golden untouched; a
// change meant to alter them rewrites it (LACEWRIGHT_GOLDEN_UPDATE=1) in a
// commit of its own that says why.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "photographs.h"
#include "platform/host_suites.h"
#include "plugin/align_image_list.h"
#include "plugin/alignment_report.h"
#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "records/frame_features.h"
#include "records/scale_space.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"

namespace {

// FNV-1a, 64 bits: any change of any byte shows.
struct fnv_hash {
  uint64_t value = 0xcbf29ce484222325ULL;
  void add(const void* data, std::size_t size) {
    for (const auto* byte = static_cast<const uint8_t*>(data); size > 0; --size, ++byte) {
      value = (value ^ *byte) * 0x100000001b3ULL;
    }
  }
};

fnv_hash pyramids, features;
host::detect_keypoints_function* detect_keypoints = nullptr;
host::describe_keypoints_function* describe_keypoints = nullptr;

// Every plane of the batch, as the keypoint search receives it.
void hash_pyramids_then_detect(std::vector<scale_space>* batch) {
  for (const scale_space& record : *batch) {
    for (const auto& octave : record.octaves) {
      for (const float_image& plane : octave) {
        pyramids.add(&plane.width, sizeof plane.width);
        pyramids.add(&plane.height, sizeof plane.height);
        pyramids.add(plane.samples, sizeof(float) * plane.width * plane.height);
      }
    }
  }
  detect_keypoints(batch);
}

// Every feature record of the batch, as the description leaves it.
void describe_then_hash_features(std::vector<scale_space>* batch, feature_record* const* records) {
  describe_keypoints(batch, records);
  for (std::size_t i = 0; i < batch->size(); ++i) {
    uint64_t count = 0;
    for (const auto& octave : (*batch)[i].keypoints) count += octave.size();
    features.add(&count, sizeof count);
    if (records[i]) features.add(records[i], sizeof(feature_record) * count);
  }
}

std::string numbers(const double* values, std::size_t count) {
  std::string text;
  char number[32];
  for (std::size_t k = 0; k < count; ++k) {
    std::snprintf(number, sizeof number, " %.17g", values[k]);
    text += number;
  }
  return text;
}

std::string transform_line(const PixelTransform* transform) {
  if (!transform) return "none";
  std::string line = "kind " + std::to_string(transform->kind);
  if (const auto* t = dynamic_cast<const CylindricalTransform*>(transform)) {
    line += " scale" + numbers(t->scale, 2) + " phase_range" + numbers(&t->phase_range, 1) + " pixel_shift" +
            numbers(t->pixel_shift, 2) + " focal" + numbers(t->camera.focal_length(), 2) + " centre" +
            numbers(t->camera.image_center(), 2) + " distortion" + numbers(t->camera.distortion(), 2) +
            " rotation" + numbers(t->rotation, 9);
  } else if (const auto* d = dynamic_cast<const DistortTransform*>(transform)) {
    line += " rect" + numbers(d->rect, 4) + " quad" + numbers(d->quad, 8);
  } else if (const auto* r = dynamic_cast<const DistortRd2Transform*>(transform)) {
    line += " matrix" + numbers(r->matrix, 9) + " size" + numbers(r->size, 2) + " center" + numbers(r->center, 2) +
            " coefficients" + numbers(r->coefficients, 2);
  }
  return line;
}

// One set under one request, from a generator in its starting state.
std::string golden_of(const std::string& set, int32_t type) {
  std::vector<test_support::grey_image> images;
  for (const auto& path : test_support::photograph_set(set)) images.push_back(test_support::read_grey(path));
  for (test_support::grey_image& image : images) {
    char address[32];
    std::snprintf(address, sizeof address, "%llu", static_cast<unsigned long long>(
                                                        reinterpret_cast<uintptr_t>(image.samples.data())));
    const auto rows = static_cast<uint32_t>(image.height), columns = static_cast<uint32_t>(image.width);
    const ScriptValue arguments[5] = {{rows, script_uint32, 0},
                                      {columns, script_uint32, 0},
                                      {columns, script_uint32, 0},  // one byte a pixel
                                      {0, script_int32, 0},
                                      {reinterpret_cast<uintptr_t>(address), script_text, 0}};
    ScriptValue result{};
    EXPECT_EQ(status_ok, addImage(arguments, 5, &result));
  }
  pyramids = {};
  features = {};
  std::srand(1);  // the state of a fresh process, whatever ran before
  const host::scoped_entry detect(host::detect_keypoints_entry, hash_pyramids_then_detect);
  const host::scoped_entry describe(host::describe_keypoints_entry, describe_then_hash_features);
  MultiViewParams params;
  std::vector<char> report(report_capacity);
  EXPECT_EQ(status_ok, align_image_list(type, params, report));

  std::ostringstream text;
  char hashes[96];
  std::snprintf(hashes, sizeof hashes, "pyramids %016llx\nfeatures %016llx\n",
                static_cast<unsigned long long>(pyramids.value), static_cast<unsigned long long>(features.value));
  text << "set " << set << " type " << type << "\nreport " << report.data() << "\n" << hashes;
  for (std::size_t k = 0; k < params.transforms.size(); ++k) {
    text << "transform " << k << " " << transform_line(params.transforms[k].get()) << "\n";
  }
  return text.str();
}

TEST(Golden, the_shared_sets_give_the_recorded_results_to_the_last_bit) {
  if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  detect_keypoints = host::entry(host::detect_keypoints_entry);
  describe_keypoints = host::entry(host::describe_keypoints_entry);
  std::string results;
  for (const char* set : {"hill", "ledge", "pier", "rainier", "uttower"}) {
    for (const int32_t type : {1, -1}) results += golden_of(set, type);
  }
  const std::string path = LACEWRIGHT_GOLDEN_FILE;
  if (const char* update = std::getenv("LACEWRIGHT_GOLDEN_UPDATE"); update && std::string(update) == "1") {
    std::ofstream(path) << results;
    GTEST_SKIP() << "rewrote " << path;
  }
  std::ifstream in(path);
  const std::string recorded((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // Line by line, so that a failure names what moved.
  std::istringstream expected(recorded), actual(results);
  std::string want, got;
  int line = 0;
  while (std::getline(expected, want)) {
    ++line;
    ASSERT_TRUE(std::getline(actual, got)) << "line " << line << " is missing: " << want;
    ASSERT_EQ(want, got) << "line " << line;
  }
  EXPECT_FALSE(std::getline(actual, got)) << "an extra line " << line + 1 << ": " << got;
}

}  // namespace

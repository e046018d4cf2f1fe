#include <lacewright/align.h>

#include <cstdlib>
#include <mutex>

#include "api/run_state.h"
#include "hugin/control_point_detector.h"
#include "outputs/alignment_outputs.h"
#include "photographs/image_inputs.h"
#include "session/alignment_description.h"
#include "session/file_alignment.h"
#include "session/run_progress.h"

namespace lacewright {
namespace {

// The engine's random draws and its image list are the process's own: one
// alignment at a time.
std::mutex& engine_lock() {
  static std::mutex lock;
  return lock;
}

// The engine draws from the C library's rand(), which a program starts in
// the state srand(1) gives. Each alignment starts its draws there, so that
// it answers what the tool, a fresh process, answers on the same images,
// whatever ran before it in this process.
void start_random_draws() { std::srand(1); }

// Runs `work` with `progress`, throwing what the caller's progress callback
// threw in place of the cancellation that carried it out of the engine.
template <typename Work>
auto reporting_to(lacewright_tool::run_progress& progress, Work&& work) {
  try {
    return work();
  } catch (const cancelled_error&) {
    progress.rethrow_callback_failure();
    throw;
  }
}

alignment aligned(const std::vector<image_input>& images, const options& options,
                  lacewright_tool::run_progress& progress) {
  const std::vector<image_input> distinct = lacewright_tool::distinct_inputs(images, progress);
  lacewright_tool::check_image_count(distinct.size());
  auto state = std::make_shared<run_state>();
  lacewright_tool::engine_alignment engine;
  state->pictures = lacewright_tool::add_images(engine, distinct, options.keep_pictures, progress);
  state->run = lacewright_tool::align_images(engine, options.type);
  progress.finish();
  state->level = options.level;
  for (const lacewright_tool::result_group& group : lacewright_tool::groups_of(state->run->results)) {
    state->layouts.push_back(lacewright_tool::lay_out_group(*state->run, group, options.level));
  }
  alignment result = lacewright_tool::describe(*state->run, state->layouts);
  result.times = progress.times();
  result.run = std::move(state);
  return result;
}

}  // namespace

std::vector<image_input> image_files(const std::vector<std::string>& paths) {
  std::vector<image_input> inputs;
  for (std::string& file : lacewright_tool::expand_inputs(paths)) inputs.push_back(image_input::file(std::move(file)));
  return inputs;
}

alignment align(const std::vector<image_input>& images, const options& options) {
  lacewright_tool::check_type(options.type);
  const std::lock_guard one_at_a_time(engine_lock());
  start_random_draws();
  lacewright_tool::run_progress progress(options.progress, options.warning);
  return reporting_to(progress, [&] { return aligned(images, options, progress); });
}

void require_aligned(const alignment& result) {
  if (result.aligned()) return;
  std::string images;
  for (const left_out_image& image : result.left_out) {
    images += (images.empty() ? "" : ", ") + image.file + " (" + image.because() + ")";
  }
  throw alignment_error("no two images overlap enough to align: " + images);
}

std::vector<std::string> write(const alignment& result, const outputs& outputs) {
  if (!result.run) throw usage_error("the alignment holds no run to write: it was not made by align()");
  // The progress of writing goes through the host's reporter, which an
  // alignment on another thread holds.
  const std::lock_guard one_at_a_time(engine_lock());
  lacewright_tool::run_progress progress(outputs.progress, {});
  return reporting_to(progress, [&] {
    return lacewright_tool::write_outputs(*result.run->run, result, result.run->layouts, result.run->pictures,
                                          result.run->level, outputs, progress);
  });
}

control_point_summary detect_control_points(const std::string& input, const std::string& output,
                                            const options& options) {
  const std::lock_guard one_at_a_time(engine_lock());
  start_random_draws();
  return lacewright_tool::detect_control_points(input, output, options);
}

}  // namespace lacewright

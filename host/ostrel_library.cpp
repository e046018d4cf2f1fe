// Start, stop and the function suites of the host library.
#include <omp.h>

#include <algorithm>
#include <array>

#include "host/descriptor_kernels.h"
#include "host/filter_kernels.h"
#include "host/histogram.h"
#include "host/keypoint_jobs.h"
#include "host/match_batch.h"
#include "host/ostrel.h"
#include "host/plane_reduction.h"

namespace {

struct library_state {
  bool started = false;
  int32_t start_mode = 0;
  void* session = nullptr;
  OstrelHandle preferences = nullptr;
  int32_t batch_size = 0;  // 0: follow the worker threads
};

library_state& state() {
  static library_state instance;
  return instance;
}

// Enough items per batch that every worker has work, and a few spare so that
// one large item does not leave the others idle.
int32_t batch_size() {
  const int32_t configured = state().batch_size;
  return configured > 0 ? configured : std::max(1, 2 * omp_get_max_threads());
}

template <std::size_t Count>
struct provided_suite {
  std::array<host::host_function, Count> functions{};
  OstrelSuite header{0, functions.data()};

  template <class Signature>
  void install(host::suite_entry<Signature> entry, Signature* function) {
    functions.at(entry.index) = reinterpret_cast<host::host_function>(function);
  }
};

struct provided_suites {
  provided_suites() {
    core.header.version = host::core_suite.version;
    rsmp.header.version = host::rsmp_suite.version;
    filt.header.version = host::filt_suite.version;
    core.install(host::batch_size_entry, &batch_size);
    rsmp.install(host::reduce_plane_entry, &host::reduce_plane);
    filt.install(host::histogram_entry, &host::histogram);
    for (const auto& entry : host::row_filter_entries) filt.install(entry, &host::convolve_row);
    filt.install(host::transpose_entry, &host::transpose_plane);
    filt.install(host::descriptor_distance_entry, &host::descriptor_distance);
    filt.install(host::match_batch_entry, &host::match_batch);
    filt.install(host::detect_keypoints_entry, &host::detect_keypoints);
    filt.install(host::describe_keypoints_entry, &host::describe_keypoints);
  }
  provided_suite<host::core_suite.count> core;
  provided_suite<host::rsmp_suite.count> rsmp;
  provided_suite<host::filt_suite.count> filt;
};

const provided_suites& suites() {
  static const provided_suites instance;
  return instance;
}

}  // namespace

int32_t OstrelInit(int32_t start_mode, const HostInitRecord* record) {
  library_state& s = state();
  if (s.started) OstrelShutdown();
  s.started = true;
  s.start_mode = start_mode;
  s.session = record ? record->session : nullptr;
  s.preferences = OstrelNewDict();
  if (record && record->preference_callback) return record->preference_callback(s.preferences);
  return ostrel_ok;
}

int32_t OstrelShutdown() {
  library_state& s = state();
  OstrelRelease(s.preferences);
  s.preferences = nullptr;
  s.started = false;
  return ostrel_ok;
}

int32_t OstrelGetExtensionSuite(uint32_t tag, int32_t version, int32_t count,
                                const OstrelSuite** result) {
  if (!result) return ostrel_bad_parameter;
  *result = nullptr;
  const provided_suites& all = suites();
  const auto offer = [&](const host::suite_descriptor& descriptor, const OstrelSuite& suite) {
    if (descriptor.tag != tag) return false;
    if (descriptor.version == version && count >= 0 &&
        static_cast<std::size_t>(count) <= descriptor.count) {
      *result = &suite;
    }
    return true;
  };
  if (offer(host::core_suite, all.core.header) || offer(host::rsmp_suite, all.rsmp.header) ||
      offer(host::filt_suite, all.filt.header)) {
    return *result ? ostrel_ok : ostrel_bad_parameter;
  }
  return ostrel_not_found;
}

OstrelHandle OstrelPreferences() {
  OstrelRetain(state().preferences);
  return state().preferences;
}

int32_t OstrelStartMode() { return state().start_mode; }
void* OstrelSession() { return state().session; }

void OstrelSetBatchSize(int32_t items) { state().batch_size = std::max(0, items); }

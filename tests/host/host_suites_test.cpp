// The host library hands out its three suites by tag, version and count, and
// the engine's copies call through them or fail loudly.
#include <gtest/gtest.h>

#include <stdexcept>

#include "host/engine_suites.h"
#include "host/ostrel.h"
#include "platform/host_suites.h"
#include "records/vector_length.h"

namespace {

const OstrelSuite* fetch(const host::suite_descriptor& suite) {
  const OstrelSuite* result = nullptr;
  EXPECT_EQ(ostrel_ok, OstrelGetExtensionSuite(suite.tag, suite.version,
                                               static_cast<int32_t>(suite.count), &result));
  return result;
}

TEST(HostSuites, suites_are_found_by_their_four_character_tags_and_versions) {
  EXPECT_EQ(0x636F7265u, host::core_suite.tag);  // "core"
  EXPECT_EQ(0x72736D70u, host::rsmp_suite.tag);  // "rsmp"
  EXPECT_EQ(0x66696C74u, host::filt_suite.tag);  // "filt"
  EXPECT_EQ(15u, host::core_suite.count);
  EXPECT_EQ(62u, host::rsmp_suite.count);
  EXPECT_EQ(310u, host::filt_suite.count);
  for (const auto* suite : {&host::core_suite, &host::rsmp_suite, &host::filt_suite}) {
    const OstrelSuite* fetched = fetch(*suite);
    ASSERT_NE(nullptr, fetched);
    EXPECT_EQ(static_cast<uint64_t>(suite->version), fetched->version);
    EXPECT_NE(nullptr, fetched->functions);
  }
}

TEST(HostSuites, wrong_version_unknown_tag_or_too_many_entries_give_no_suite) {
  const OstrelSuite* result = reinterpret_cast<const OstrelSuite*>(1);
  EXPECT_NE(ostrel_ok, OstrelGetExtensionSuite(host::core_suite.tag, 4, 15, &result));
  EXPECT_EQ(nullptr, result);
  EXPECT_NE(ostrel_ok, OstrelGetExtensionSuite(host::core_suite.tag, 3, 16, &result));
  EXPECT_EQ(nullptr, result);
  EXPECT_EQ(ostrel_not_found, OstrelGetExtensionSuite(0x41424344, 1, 1, &result));
  EXPECT_EQ(nullptr, result);
}

TEST(HostSuites, only_implemented_entries_are_filled) {
  const OstrelSuite* core = fetch(host::core_suite);
  for (std::size_t i = 0; i < host::core_suite.count; ++i) {
    EXPECT_EQ(i == host::batch_size_entry.index, core->functions[i] != nullptr) << "core " << i;
  }
  const OstrelSuite* rsmp = fetch(host::rsmp_suite);
  for (std::size_t i = 0; i < host::rsmp_suite.count; ++i) {
    EXPECT_EQ(i == host::reduce_plane_entry.index, rsmp->functions[i] != nullptr) << "rsmp " << i;
  }
  EXPECT_NE(nullptr, fetch(host::filt_suite)->functions[host::histogram_entry.index]);
  EXPECT_EQ(nullptr, fetch(host::filt_suite)->functions[0]);
}

TEST(HostSuites, engine_copies_call_the_host_and_refuse_missing_entries_loudly) {
  host::load_suite(host::suite_id::core);
  OstrelSetBatchSize(3);
  EXPECT_EQ(3, host::entry(host::batch_size_entry)());
  OstrelSetBatchSize(0);
  EXPECT_GE(host::entry(host::batch_size_entry)(), 1);

  constexpr host::suite_entry<void()> absent{host::suite_id::filt, 0};
  host::load_suite(host::suite_id::filt);
  EXPECT_THROW(host::entry(absent), std::logic_error);
  try {
    host::entry(absent);
  } catch (const std::logic_error& error) {
    EXPECT_STREQ("host::entry(): the host suite 'filt' has no entry 0 (is the library initialised?)",
                 error.what());
  }
}

TEST(HostSuites, wrapped_counts_fail_as_over_long_vectors) {
  const uint64_t no_frames = 0;
  EXPECT_EQ(5u, host::checked_length<int>(5));
  try {
    host::checked_length<std::vector<bool>>(no_frames - 1);
    FAIL() << "a wrapped count was accepted";
  } catch (const std::length_error& error) {
    EXPECT_STREQ("vector<T> too long", error.what());
  }
}

}  // namespace

// The host library is started once for the whole test program, as the host
// does before any script call.
#pragma once

#include <gtest/gtest.h>

namespace test_support {

class started_library : public testing::Environment {
 public:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace test_support

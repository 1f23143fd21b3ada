// White-box tests of the frame run on a scratch machine and start, as a newly
// loaded library does, with no product version cached.
#pragma once

#include "machine_test.h"
#include "product.h"

namespace kvil::test {

inline constexpr const char kUninstallKvil[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil";

class FrameTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    ResetKvilVersionCache();
  }
  void TearDown() override {
    ResetKvilVersionCache();
    MachineTest::TearDown();
  }
};

}  // namespace kvil::test

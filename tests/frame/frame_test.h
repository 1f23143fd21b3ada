// White-box tests of the frame run on a scratch machine and start, as a newly
// loaded library does, with no product version cached.
#pragma once

#include <map>
#include <string>

#include "machine_test.h"
#include "product.h"

namespace kvil::test {

inline constexpr const char kUninstallKvil[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil";
inline constexpr const char kSharedSpelling[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal";

// A key's values as DescribeValues shows them.
using Values = std::map<std::string, std::string>;

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

// The product (8.0, Russian and Ukrainian) installed, with its Russian start-up folder at hand.
class InstalledFrameTest : public FrameTest {
 protected:
  void SetUp() override {
    FrameTest::SetUp();
    InstallDefaultProduct();
    startup_ = product().StartupDir(1049);
  }
  std::string InStartup(const std::string& file) const { return startup_ + "\\" + file; }

  std::string startup_;
};

}  // namespace kvil::test

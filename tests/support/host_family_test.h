// The machine every host family's test starts from: the product (8.0, Russian
// and Ukrainian) installed, the DLL loaded, and a folder for the host's own
// files. Calls go through the DLL's exports by name, as the setup tool makes them.
#pragma once

#include <string>

#include "machine_test.h"

namespace kvil::test {

inline constexpr const char kProductRecords[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Products";
inline constexpr const char kSharedProofingTools[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools";

class HostFamilyTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    InstallDefaultProduct();
    office_ = folder().Join("Office");
    startup_ = product().StartupDir(1049);
  }

  HostResult Call(const char* operation, const char* suffix, int kind, int lcid = 1049) const {
    return dll().Call(operation, suffix, kind, lcid);
  }
  // An attachment record, "<products>\<application key>\<version>\<tool>\<lcid>".
  static std::string Record(const std::string& hostAndVersion, const std::string& tool, int lcid = 1049) {
    return std::string(kProductRecords) + "\\" + hostAndVersion + "\\" + tool + "\\" + std::to_string(lcid);
  }
  // A registration in the shared proofing-tools tree.
  static std::string Registration(const std::string& tool, int lcid = 1049) {
    return std::string(kSharedProofingTools) + "\\" + tool + "\\" + std::to_string(lcid) + "\\Normal";
  }
  // A path in the Russian start-up folder as DescribeValues shows it.
  std::string InStartup(const std::string& file) const { return "sz:" + startup_ + "\\" + file; }

  std::string office_;   // where the host's own programs go
  std::string startup_;  // the product's Russian start-up folder
};

}  // namespace kvil::test

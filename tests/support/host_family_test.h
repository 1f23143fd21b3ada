// The machine every host family's test starts from: the product (8.0, Russian
// and Ukrainian) installed, the DLL loaded, and a folder for the host's own
// files. Calls go through the DLL's exports by name, as the setup tool makes them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "machine_test.h"

namespace kvil::test {

using Values = std::map<std::string, std::string>;
inline constexpr KvilResult kNA = KVIL_NOT_APPLICABLE;
inline constexpr const char kProductRecords[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Products";
inline constexpr const char kSharedProofingTools[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools";

// What one host answers, operation by operation, to one tool kind.
struct KindAnswers {
  const char* suffix;
  int kind;
  KvilResult exist, avail, attach, detach, check;
};

class HostFamilyTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    InstallDefaultProduct();
    office_ = folder().Join("Office");
    startup_ = product().StartupDir(1049);
  }

  KvilResult Call(const char* operation, const char* suffix, int kind, int lcid = 1049) const {
    return dll().Call(operation, suffix, kind, lcid);
  }
  void ExpectAnswers(const KindAnswers& expected) const {
    SCOPED_TRACE(testing::Message() << expected.suffix << " kind " << expected.kind);
    EXPECT_EQ(Call("Exist", expected.suffix, expected.kind), expected.exist);
    EXPECT_EQ(Call("Avail", expected.suffix, expected.kind), expected.avail);
    EXPECT_EQ(Call("Attach", expected.suffix, expected.kind), expected.attach);
    EXPECT_EQ(Call("Detach", expected.suffix, expected.kind), expected.detach);
    EXPECT_EQ(Call("Check", expected.suffix, expected.kind), expected.check);
  }
  // Info's list, "<application key>\0<version>\0\0", or "Info failed" when it does not answer 1.
  std::string InfoList(const char* suffix) const {
    char buffer[80] = {};
    std::int32_t length = sizeof buffer;
    if (dll().Info(suffix, 0, 1049, buffer, &length) != 1) return "Info failed";
    return std::string(buffer, length);
  }
  // The Info list of a host filed as "<application key>\<version>".
  static std::string InfoListOf(std::string filedAs) {
    filedAs[filedAs.find('\\')] = '\0';
    return filedAs + std::string(2, '\0');
  }
  // An attachment record, "<products>\<application key>\<version>\<tool>\<lcid>".
  static std::string Record(const std::string& hostAndVersion, const std::string& tool, int lcid = 1049) {
    return std::string(kProductRecords) + "\\" + hostAndVersion + "\\" + tool + "\\" + std::to_string(lcid);
  }
  // A registration in the shared proofing-tools tree.
  static std::string Registration(const std::string& tool, int lcid = 1049) {
    return std::string(kSharedProofingTools) + "\\" + tool + "\\" + std::to_string(lcid) + "\\Normal";
  }
  // The library's added-files list, saved as the setup program saves it at the
  // end of its run ("<scratch>\setup\addfiles.xml"), as text.
  std::string SavedAddedFiles() const {
    const std::string target = folder().Join("setup");
    CreateFolder(target);
    dll().Export<void (*)(const char*)>("extSaveToXml")(target.c_str());
    return ReadFileBytes(target + "\\addfiles.xml");
  }
  // A path in the Russian start-up folder as DescribeValues shows it.
  std::string InStartup(const std::string& file) const { return "sz:" + startup_ + "\\" + file; }

  std::string office_;   // where the host's own programs go
  std::string startup_;  // the product's Russian start-up folder
};

}  // namespace kvil::test

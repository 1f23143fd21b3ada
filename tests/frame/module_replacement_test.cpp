#include "module_replacement.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "frame_test.h"
#include "handles.h"

namespace kvil::test {
namespace {

using ModuleReplacement = FrameTest;

// A host's module, its backup and the product's module as they stand before a
// replacement, and what the replacement leaves; nullopt: no such file.
struct ReplaceCase {
  const char* what;
  std::optional<std::string> host, backup;
  bool result;
  std::optional<std::string> hostAfter, backupAfter;
};

TEST_F(ModuleReplacement, TheHostsOwnFileIsKeptOnceBeforeItIsOverwritten) {
  const std::string product = "product module";
  const ReplaceCase cases[] = {
      {"first replacement", "host module", std::nullopt, true, product, "host module"},
      {"a backup is never overwritten", "host module v2", "host module", true, product, "host module"},
      {"the product's module is not kept as the host's", product, std::nullopt, true, product, std::nullopt},
      {"no host module: nothing to keep", std::nullopt, std::nullopt, true, product, std::nullopt},
  };
  const std::string hostPath = folder().Join("host.dll");
  const std::string backupPath = folder().Join("host.org");
  const std::string productPath = folder().Join("product.dll");
  WriteFile(productPath, product);
  for (const ReplaceCase& c : cases) {
    SCOPED_TRACE(c.what);
    DeleteFileA(hostPath.c_str());
    DeleteFileA(backupPath.c_str());
    if (c.host) WriteFile(hostPath, *c.host);
    if (c.backup) WriteFile(backupPath, *c.backup);
    EXPECT_EQ(ReplaceHostModule(hostPath.c_str(), backupPath.c_str(), productPath.c_str()), c.result);
    EXPECT_EQ(FileExists(hostPath) ? std::optional(ReadFileBytes(hostPath)) : std::nullopt, c.hostAfter);
    EXPECT_EQ(FileExists(backupPath) ? std::optional(ReadFileBytes(backupPath)) : std::nullopt, c.backupAfter);
  }
  // Without the product's module nothing is touched.
  DeleteFileA(productPath.c_str());
  WriteFile(hostPath, "host module");
  DeleteFileA(backupPath.c_str());
  EXPECT_FALSE(ReplaceHostModule(hostPath.c_str(), backupPath.c_str(), productPath.c_str()));
  EXPECT_EQ(ReadFileBytes(hostPath), "host module");
  EXPECT_FALSE(FileExists(backupPath));
}

TEST_F(ModuleReplacement, RestoreMovesTheBackupBackOrLeavesBothAsTheyWere) {
  const std::string hostPath = folder().Join("host.dll");
  const std::string backupPath = folder().Join("host.org");
  WriteFile(hostPath, "product module");
  EXPECT_TRUE(RestoreHostModule(hostPath.c_str(), backupPath.c_str()));
  EXPECT_EQ(ReadFileBytes(hostPath), "product module");

  WriteFile(backupPath, "host module");
  {
    const UniqueFile inUse(
        CreateFileA(hostPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(inUse);
    EXPECT_FALSE(RestoreHostModule(hostPath.c_str(), backupPath.c_str()));
  }
  EXPECT_EQ(ReadFileBytes(hostPath), "product module");
  EXPECT_EQ(ReadFileBytes(backupPath), "host module");

  EXPECT_TRUE(RestoreHostModule(hostPath.c_str(), backupPath.c_str()));
  EXPECT_EQ(ReadFileBytes(hostPath), "host module");
  EXPECT_FALSE(FileExists(backupPath));
}

}  // namespace
}  // namespace kvil::test

#include "module_replacement.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "frame_test.h"
#include "handles.h"

namespace kvil::test {
namespace {

using ModuleReplacement = FrameTest;
using Contents = std::optional<std::string>;  // nullopt: no such file

// The host's module held open the way a running host holds it: no one may write it.
UniqueFile HoldOpen(const std::string& path) {
  return UniqueFile(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
}

TEST_F(ModuleReplacement, TheHostsOwnFileIsKeptOnceBeforeItIsOverwritten) {
  const std::string host = folder().Join("host.dll");
  const std::string backup = folder().Join("host.org");
  const std::string product = folder().Join("product.dll");
  auto contents = [](const std::string& path) { return FileExists(path) ? Contents(ReadFileBytes(path)) : Contents(); };
  const struct {
    const char* what;
    Contents host, backup, product;
    bool hostHeldOpen, result;
    Contents hostAfter, backupAfter;
  } cases[] = {
      {"first replacement", "host", {}, "product", false, true, "product", "host"},
      {"a backup is never overwritten", "host v2", "host", "product", false, true, "product", "host"},
      {"the product's module is not kept as the host's", "product", {}, "product", false, true, "product", {}},
      {"no host module: nothing to keep", {}, {}, "product", false, true, "product", {}},
      {"no product module: nothing is touched", "host", {}, {}, false, false, "host", {}},
      {"a host module in use stays, with no backup left", "host", {}, "product", true, false, "host", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    for (const std::string* path : {&host, &backup, &product}) DeleteFileA(path->c_str());
    if (c.host) WriteFile(host, *c.host);
    if (c.backup) WriteFile(backup, *c.backup);
    if (c.product) WriteFile(product, *c.product);
    {
      const UniqueFile inUse = c.hostHeldOpen ? HoldOpen(host) : UniqueFile();
      EXPECT_EQ(ReplaceHostModule(host.c_str(), backup.c_str(), product.c_str()), c.result);
    }
    EXPECT_EQ(contents(host), c.hostAfter);
    EXPECT_EQ(contents(backup), c.backupAfter);
  }
}

// Without a backup there is nothing to put back, and that is no failure.
TEST_F(ModuleReplacement, RestoreMovesTheBackupBack) {
  const std::string host = folder().Join("host.dll");
  const std::string backup = folder().Join("host.org");
  WriteFile(host, "product");
  EXPECT_TRUE(RestoreHostModule(host.c_str(), backup.c_str()));
  EXPECT_EQ(ReadFileBytes(host), "product");
  WriteFile(backup, "host");
  EXPECT_TRUE(RestoreHostModule(host.c_str(), backup.c_str()));
  EXPECT_EQ(ReadFileBytes(host), "host");
  EXPECT_FALSE(FileExists(backup));
}

}  // namespace
}  // namespace kvil::test

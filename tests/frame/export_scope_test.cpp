#include "export_scope.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame_test.h"
#include "registry.h"

namespace kvil::test {
namespace {

using ExportLookupsTest = FrameTest;

constexpr char kRecord[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\Unknown\\0.0\\Spelling\\1049";
constexpr char kTool[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\Unknown\\0.0\\Spelling";

TEST_F(ExportLookupsTest, TheRegistryViewIsReadOncePerExportAndAgainByTheNext) {
  WriteDword(HKEY_LOCAL_MACHINE, "Software\\Tervane", "Installing", 64);
  {
    const ExportScope exportCall;
    EXPECT_EQ(IsRegistry64(), 1);
    WriteDword(HKEY_LOCAL_MACHINE, "Software\\Tervane", "Installing", 1);
    EXPECT_EQ(IsRegistry64(), 1);
    {
      const ExportScope calledExport;  // an export another export calls shares its lookups
      EXPECT_EQ(IsRegistry64(), 1);
    }
    EXPECT_EQ(IsRegistry64(), 1);
  }
  const ExportScope nextCall;
  EXPECT_EQ(IsRegistry64(), 0);
}

// Each way the frame deletes a key, between two writes to it in one export.
struct DeletionCase {
  const char* name;
  void (*remove)();
};

TEST_F(ExportLookupsTest, AKeyDeletedAndWrittenAgainInOneExportIsANewKey) {
  const DeletionCase cases[] = {
      {"the key itself", [] { RegDeleteKeyTree(HKEY_LOCAL_MACHINE, kRecord, 0); }},
      {"its parent's tree", [] { RegDeleteKeyTree(HKEY_LOCAL_MACHINE, kTool, 1); }},
      {"the key as an empty leaf",
       [] {
         char path[sizeof kRecord];
         std::memcpy(path, kRecord, sizeof kRecord);
         RegDeleteEmptyLeaf(HKEY_LOCAL_MACHINE, path);
       }},
  };
  for (const DeletionCase& c : cases) {
    SCOPED_TRACE(c.name);
    {
      const ExportScope exportCall;
      ASSERT_EQ(RegSetDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", 1), ERROR_SUCCESS);
      DWORD attached = 0;
      ASSERT_TRUE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", &attached));
      c.remove();
      EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, kRecord), 0);
      EXPECT_FALSE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", &attached));
      ASSERT_EQ(RegSetDword(HKEY_LOCAL_MACHINE, kRecord, "Learning", 1), ERROR_SUCCESS);
      DWORD learning = 0;
      EXPECT_TRUE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Learning", &learning));
      EXPECT_EQ(learning, 1u);
    }
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kRecord), (std::map<std::string, std::string>{{"Learning", "1"}}));
    RegDeleteKeyTree(HKEY_LOCAL_MACHINE, kTool, 1);
  }
}

TEST_F(ExportLookupsTest, AKeyMissingWhenFirstReadIsFoundOnceTheExportWritesIt) {
  const ExportScope exportCall;
  DWORD attached = 0;
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, kRecord), 0);
  EXPECT_FALSE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", &attached));
  ASSERT_EQ(RegSetDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", 1), ERROR_SUCCESS);
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, kRecord), 1);
  EXPECT_TRUE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", &attached));
  EXPECT_EQ(attached, 1u);
  EXPECT_EQ(RegDeleteValueAt(HKEY_LOCAL_MACHINE, kRecord, "Attached"), ERROR_SUCCESS);
  EXPECT_FALSE(RegReadDword(HKEY_LOCAL_MACHINE, kRecord, "Attached", &attached));
}

}  // namespace
}  // namespace kvil::test

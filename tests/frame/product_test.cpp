#include "product.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame_test.h"
#include "registry.h"

namespace kvil::test {
namespace {

using ProductLookup = FrameTest;

TEST_F(ProductLookup, VersionIsTheFirstNumericUninstallSubkeyCachedOnceFound) {
  EXPECT_EQ(GetKvilVersion(), 0);  // no uninstall key: nothing cached
  CreateKey(HKEY_LOCAL_MACHINE, kUninstallKvil);
  EXPECT_EQ(GetKvilVersion(), 6);  // a key without versions
  ResetKvilVersionCache();
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUninstallKvil) + "\\abc");
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUninstallKvil) + "\\7.0");
  EXPECT_EQ(GetKvilVersion(), 7);
  EXPECT_STREQ(GetKvilVersionKey(), "Kvil\\7.0");
  EXPECT_STREQ(GetKvilVersionWord(), "7.0");
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, (std::string(kUninstallKvil) + "\\7.0").c_str());
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUninstallKvil) + "\\10.0");
  EXPECT_EQ(GetKvilVersion(), 7);
}

TEST_F(ProductLookup, OnlyInstallingSixtyFourSelectsThe64BitView) {
  EXPECT_EQ(RegistryView(), static_cast<REGSAM>(KEY_WOW64_32KEY));
  const std::pair<DWORD, REGSAM> cases[] = {{64, KEY_WOW64_64KEY}, {1, KEY_WOW64_32KEY}, {65, KEY_WOW64_32KEY}};
  for (const auto& [installing, view] : cases) {
    WriteDword(HKEY_LOCAL_MACHINE, "Software\\Tervane", "Installing", installing);
    EXPECT_EQ(IsRegistry64(), view == KEY_WOW64_64KEY ? 1 : 0) << installing;
    EXPECT_EQ(RegistryView(), view) << installing;
  }
}

TEST_F(ProductLookup, UninstallDirKeepsItsTrailingBackslashOrLeavesTheBufferAlone) {
  char folder[260] = "untouched";
  DWORD length = sizeof folder;
  EXPECT_EQ(GetUninstallDir(folder, &length), 0);
  EXPECT_STREQ(folder, "untouched");
  WriteText(HKEY_LOCAL_MACHINE, std::string(kUninstallKvil) + "\\8.0", "UninstallString",
            "C:\\Program Files\\Kvil\\uninst.exe");
  ASSERT_EQ(GetUninstallDir(folder, &length), 1);
  EXPECT_STREQ(folder, "C:\\Program Files\\Kvil\\");
  EXPECT_EQ(length, 22u);
  char small[22] = "untouched";  // no room for the terminator
  length = sizeof small;
  EXPECT_EQ(GetUninstallDir(small, &length), 0);
  EXPECT_STREQ(small, "untouched");
}

// A product installed for 32-bit hosts sees the folders a 32-bit program sees.
TEST_F(ProductLookup, StartupDirIsPerLanguageAndExpandsAsTheProductsViewSeesIt) {
  const struct {
    bool registry64;
    const char* text;
    const char* expected;
  } cases[] = {
      {false, "%ProgramFiles%\\Kvil", "C:\\Program Files (x86)\\Kvil"},
      {false, "%commonprogramfiles%\\Kvil", "C:\\Program Files (x86)\\Common Files\\Kvil"},
      {false, "%ProgramW6432%\\Kvil", "C:\\Program Files\\Kvil"},
      {true, "%ProgramFiles%\\Kvil", "C:\\Program Files\\Kvil"},
      {true, "%CommonProgramFiles%\\Kvil", "C:\\Program Files\\Common Files\\Kvil"},
  };
  for (const auto& c : cases) {
    ProductOptions options = DefaultProductOptions();
    options.registry64 = c.registry64;
    options.startupDirExpandText = c.text;
    Install(options);
    char startup[260];
    DWORD length = sizeof startup;
    ASSERT_EQ(GetStartupDir(startup, &length, 1049), 1) << c.text;
    EXPECT_STREQ(startup, c.expected) << c.text;
    EXPECT_EQ(length, std::strlen(c.expected)) << c.text;
    EXPECT_EQ(GetStartupDir(startup, &length, 1033), 0);
  }
}

TEST_F(ProductLookup, MalformedStartupDirValuesAreReadWithinTheBuffer) {
  InstallDefaultProduct();
  const struct {
    const char* what;
    DWORD type;
    std::vector<std::uint8_t> bytes;
    int result;
  } cases[] = {
      {"longer than the buffer", REG_SZ, std::vector<std::uint8_t>(300, 'A'), 0},
      {"a number", REG_DWORD, {0x19, 0x04, 0, 0}, 0},
      {"binary", REG_BINARY, {'C', ':', '\\'}, 0},
      {"stored without terminator", REG_SZ, {'D', ':', '\\', 'K', 'v', 'i', 'l'}, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    WriteRaw(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", c.type, c.bytes);
    char startup[260 + 8];
    std::memset(startup, 'g', sizeof startup);
    DWORD length = 260;
    EXPECT_EQ(GetStartupDir(startup, &length, 1049), c.result);
    EXPECT_EQ(std::string(startup + 260, 8), "gggggggg");
    if (c.result == 1) {
      EXPECT_STREQ(startup, "D:\\Kvil");
    }
  }
}

TEST(EngineFileName, BuildsEnginesAndLexiconsPerToolAndLanguage) {
  const struct {
    int kind, lcid;
    const char* style;
    const char* expected;
  } cases[] = {
      {0, 1049, nullptr, "kvilsp3.dll"},  {1, 1049, nullptr, "KVILGR32.DLL"}, {2, 1058, nullptr, "KVILTH32.DLL"},
      {3, 1049, nullptr, "INHY32RU.DLL"}, {4, 1058, nullptr, "INHY32UR.DLL"}, {0, 1049, "NORM", "SPRUNORM.LEX"},
      {0, 1058, "MED", "SPURMED.LEX"},    {1, 1049, "NORM", "GRRUNORM.LEX"},  {3, 1033, "NORM", "HYENNORM.LEX"},
      {5, 1049, nullptr, "untouched"},    {5, 1049, "NORM", "untouched"},
  };
  for (const auto& c : cases) {
    char name[32] = "untouched";
    BuildEngineFileName(c.kind, c.lcid, name, sizeof name, c.style);
    EXPECT_STREQ(name, c.expected) << c.kind << " " << c.lcid;
  }
  EXPECT_STREQ(DictStyleCode(0), "NORM");
  EXPECT_STREQ(DictStyleCode(7), "MED");
  EXPECT_STREQ(DictStyleCode(12), "COML");
  EXPECT_EQ(DictStyleCode(13), nullptr);
  EXPECT_EQ(DictStyleCode(-1), nullptr);
}

}  // namespace
}  // namespace kvil::test

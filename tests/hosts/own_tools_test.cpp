// The Unknown and Editor hosts, called through the DLL's exports.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "machine_test.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr const char kProducts[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Products";
const std::string kOptionsSpeller = std::to_string(0x20000005);

class OwnTools : public LibraryTest {
 protected:
  std::string Record(const std::string& hostAndVersion, const std::string& tool, int lcid) const {
    return std::string(kProducts) + "\\" + hostAndVersion + "\\" + tool + "\\" + std::to_string(lcid);
  }
  std::string InStartup(const std::string& file) const { return "sz:" + product().StartupDir(1049) + "\\" + file; }
};

TEST_F(OwnTools, UnknownIsAlwaysThereAndAvailable) {
  for (int kind : {-1, 0, 1, 2, 3, 4, 100}) {
    EXPECT_EQ(dll().Call("Exist", "Unknown", kind, 1049), 1u) << kind;
    EXPECT_EQ(dll().Call("Avail", "Unknown", kind, 0), 1u) << kind;
  }
}

TEST_F(OwnTools, UnknownAttachWritesTheRecordAndCheckFollowsIt) {
  InstallDefaultProduct();
  EXPECT_EQ(dll().Call("Check", "Unknown", 0, 1049), 0u);
  ASSERT_EQ(dll().Call("Attach", "Unknown", 0, 1049), 1u);
  const Values attached{{"Learning", "1"},    {"StrictYO", "1"}, {"Original LID", "1033"},
                        {"Action", "1"},      {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("Unknown\\0.0", "Spelling", 1049)), attached);
  EXPECT_EQ(dll().Call("Check", "Unknown", 0, 1049), 1u);
  EXPECT_EQ(dll().Call("Check", "Unknown", 0, 1058), 0u);
  EXPECT_EQ(dll().Call("Check", "Unknown", 3, 1049), 0u);

  for (int time = 0; time < 2; ++time) EXPECT_EQ(dll().Call("Detach", "Unknown", 0, 1049), 1u);
  Values detached = attached;
  detached["Attached"] = "0";
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("Unknown\\0.0", "Spelling", 1049)), detached);
  EXPECT_EQ(dll().Call("Check", "Unknown", 0, 1049), 0u);

  ASSERT_EQ(dll().Call("Attach", "Unknown", 3, 1058), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("Unknown\\0.0", "Hyphenate", 1058)),
            (Values{{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Attached", "1"}}));
}

struct RefusalCase {
  const char* suffix;
  HostResult attachAnswer;
};

TEST_F(OwnTools, KindsOutsideTheFourToolsAreRefusedWithoutATrace) {
  InstallDefaultProduct();
  const RefusalCase cases[] = {{"Unknown", 0}, {"Editor", kNotApplicable}};
  const std::string menuLink = product().options.menuDir + "\\Kvil Editor.lnk";
  for (const RefusalCase& c : cases) {
    for (int kind : {4, -1, 0x7fffffff}) {
      SCOPED_TRACE(testing::Message() << c.suffix << " kind " << kind);
      EXPECT_EQ(dll().Call("Attach", c.suffix, kind, 1049), c.attachAnswer);
      EXPECT_EQ(dll().Call("Detach", c.suffix, kind, 1049), 0u);
      EXPECT_EQ(dll().Call("Check", c.suffix, kind, 1049), 0u);
    }
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kProducts));
  EXPECT_TRUE(FileExists(menuLink));
}

TEST_F(OwnTools, WithoutTheProductNothingAttachesAndNoRecordIsMade) {
  for (const char* suffix : {"Unknown", "Editor"}) {
    EXPECT_EQ(dll().Call("Attach", suffix, 0, 1049), 0u) << suffix;
    EXPECT_EQ(dll().Call("Detach", suffix, 3, 1033), 0u) << suffix;
    EXPECT_EQ(dll().Call("Check", suffix, 0, 1049), 0u) << suffix;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane"));
}

TEST_F(OwnTools, AttachForALanguageWithoutStartupFolderFails) {
  InstallDefaultProduct();
  EXPECT_EQ(dll().Call("Attach", "Unknown", 0, 1033), 0u);
  EXPECT_EQ(dll().Call("Attach", "Editor", 0, 1033), 0u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record("Unknown\\0.0", "Spelling", 1033)));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", "Spelling", 1033)));
}

struct EditorCase {
  int kind;
  const char* tool;
  Values extra;  // beyond what the record writer puts there
};

TEST_F(OwnTools, EditorAttachRecordsTheEditorAndEachToolsEngineFiles) {
  InstallDefaultProduct();
  const EditorCase cases[] = {
      {0, "Spelling",
       {{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"}, {"Action", "1"},
        {"Supplement dictionaries", "sz:Normal"}, {"Options", kOptionsSpeller}}},
      {1, "Grammar",
       {{"Action", "1"}, {"Options", "1"}, {"Engine", InStartup("KVILGR32.DLL")},
        {"Dictionary", InStartup("grrunorm.lex")}, {"Interframe", InStartup("gram_mod.dll")}}},
      {2, "Thesaurus",
       {{"Original LID", "1033"}, {"Action", "1"}, {"Options", kOptionsSpeller},
        {"Engine", InStartup("KVILTH32.DLL")}, {"Dictionary", InStartup("thrunorm.lex")},
        {"Interframe", InStartup("thes_mod.dll")}}},
      {3, "Hyphenate",
       {{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Options", kOptionsSpeller},
        {"Engine", InStartup("inhy32ru.dll")}, {"Dictionary", InStartup("hyRUnorm.lex")}}},
  };
  for (const EditorCase& c : cases) {
    SCOPED_TRACE(c.tool);
    ASSERT_EQ(dll().Call("Attach", "Editor", c.kind, 1049), 1u);
    Values expected = c.extra;
    expected["Attached"] = "1";
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", c.tool, 1049)), expected);
    EXPECT_EQ(dll().Call("Check", "Editor", c.kind, 1049), 1u);
  }
  // The editor itself: the product folder keeps its trailing backslash and the
  // program name brings its own.
  const std::string application = std::string(kProducts) + "\\KVILEDITOR\\8.0";
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, application, "Path"),
            SzValue(product().options.productDir + "\\\\KvilEditor.exe", true));
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, application, "Name"), SzValue("Kvil Editor", true));
}

TEST_F(OwnTools, EditorDetachHidesTheMenuShortcutAndAttachDoesNotRestoreIt) {
  InstallDefaultProduct();
  const std::string menuLink = product().options.menuDir + "\\Kvil Editor.lnk";
  const std::string hidden = product().StartupDir(1049) + "\\Kvil Editor.lnk";
  ASSERT_EQ(dll().Call("Attach", "Editor", 0, 1049), 1u);
  EXPECT_TRUE(FileExists(menuLink));

  EXPECT_EQ(dll().Call("Detach", "Editor", 0, 1049), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", "Spelling", 1049), "Attached"), 0u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", "Spelling", 1049), "Options"), 0x20000005u);
  EXPECT_EQ(dll().Call("Check", "Editor", 0, 1049), 0u);
  EXPECT_FALSE(FileExists(menuLink));
  EXPECT_TRUE(FileExists(hidden));

  ASSERT_EQ(dll().Call("Attach", "Editor", 0, 1049), 1u);
  EXPECT_FALSE(FileExists(menuLink));
  EXPECT_EQ(dll().Call("Detach", "Editor", 0, 1049), 1u);  // nothing left in the menu to hide
}

TEST_F(OwnTools, EditorIsAvailableWhenTheEditorAndTheToolsEngineArePresent) {
  InstallDefaultProduct();
  for (int kind = 0; kind < 4; ++kind) EXPECT_EQ(dll().Call("Avail", "Editor", kind, 1049), 1u) << kind;
  EXPECT_EQ(dll().Call("Avail", "Editor", 4, 1049), 0u);
  EXPECT_EQ(dll().Call("Avail", "Editor", 0, 1033), 0u);  // no start-up folder for English
  EXPECT_EQ(dll().Call("Exist", "Editor", 4, 1033), 1u);

  // Interface modules are not needed; engines and the editor are.
  const std::string startup = product().StartupDir(1049);
  ASSERT_TRUE(DeleteFileA((startup + "\\gram_mod.dll").c_str()));
  EXPECT_EQ(dll().Call("Avail", "Editor", 1, 1049), 1u);
  ASSERT_TRUE(DeleteFileA((startup + "\\KVILTH32.DLL").c_str()));
  EXPECT_EQ(dll().Call("Avail", "Editor", 2, 1049), 0u);
  EXPECT_EQ(dll().Call("Avail", "Editor", 3, 1049), 1u);
  ASSERT_TRUE(DeleteFileA((startup + "\\kvileditor.exe").c_str()));
  EXPECT_EQ(dll().Call("Avail", "Editor", 0, 1049), 0u);
}

TEST_F(OwnTools, SeparateStartupFoldersPerLanguage) {
  ProductOptions options = DefaultProductOptions();
  options.startupDirs[1058] = folder().Join("Ukrainian");
  Install(options);
  ASSERT_EQ(dll().Call("Attach", "Editor", 2, 1058), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", "Thesaurus", 1058), "Engine"),
            folder().Join("Ukrainian") + "\\KVILTH32.DLL");
}

TEST_F(OwnTools, ProductInstalledForThe64BitViewAttachesAlike) {
  ProductOptions options = DefaultProductOptions();
  options.registry64 = true;
  Install(options);
  ASSERT_EQ(dll().Call("Attach", "Unknown", 0, 1058), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("Unknown\\0.0", "Spelling", 1058), "Attached"), 1u);
  EXPECT_EQ(dll().Call("Check", "Unknown", 0, 1058), 1u);
}

TEST_F(OwnTools, MalformedStartupFolderValuesFailCleanly) {
  InstallDefaultProduct();
  struct Case {
    const char* what;
    DWORD type;
    std::vector<std::uint8_t> bytes;
  };
  const Case cases[] = {
      {"over-long", REG_SZ, std::vector<std::uint8_t>(1000, 'A')},
      {"a number", REG_DWORD, {1, 0, 0, 0}},
      {"empty binary", REG_BINARY, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteRaw(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", c.type, c.bytes);
    EXPECT_EQ(dll().Call("Attach", "Editor", 1, 1049), 0u);
    EXPECT_EQ(dll().Call("Attach", "Unknown", 0, 1049), 0u);
    EXPECT_EQ(dll().Call("Avail", "Editor", 0, 1049), 0u);
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record("KVILEDITOR\\8.0", "Grammar", 1049)));
}

}  // namespace
}  // namespace kvil::test

// The Unknown, Editor, Agent and Standard speller hosts, called through the
// DLL's exports.

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <array>
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

// The Agent and the Standard speller beside the engines, each with its shortcut
// in the product's Start-menu folder.
class ProductPrograms : public OwnTools {
 protected:
  void SetUp() override {
    OwnTools::SetUp();
    InstallDefaultProduct();
    const std::string startup = product().StartupDir(1049);
    for (const char* file : {"kvlagent.exe", "kvilhook.dll", "kvilxsp3.dll", "kvlstdsp.exe"}) {
      WriteFile(startup + "\\" + file, file);
    }
    CreateShortcut(MenuLink("Kvil Agent.lnk"), product().options.productDir + "\\kvlagent.exe");
    CreateShortcut(MenuLink("Kvil Speller.lnk"), product().options.productDir + "\\kvlstdsp.exe");
  }
  std::string MenuLink(const std::string& name) const { return product().options.menuDir + "\\" + name; }
  std::string Hidden(const std::string& name) const { return product().StartupDir(1049) + "\\" + name; }
};

struct ProgramRequest {
  const char* suffix;
  int kind;
  const char* tool;
  Values values;  // beyond "Attached"
};

TEST_F(ProductPrograms, EveryToolsTypicalRequest) {
  const Values speller{{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"}, {"Action", "1"},
                       {"Supplement dictionaries", "sz:Normal"}, {"Options", kOptionsSpeller}};
  const ProgramRequest requests[] = {
      {"AGENT", 0, "Spelling", speller},
      {"STDSP", 0, "Spelling", speller},
      {"STDSP", 1, "Grammar",
       {{"Action", "1"}, {"Options", "1"}, {"Engine", InStartup("KVILGR32.DLL")},
        {"Dictionary", InStartup("grrunorm.lex")}, {"Interframe", InStartup("gram_mod.dll")}}},
      {"STDSP", 3, "Hyphenate",
       {{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Options", kOptionsSpeller},
        {"Engine", InStartup("inhy32ru.dll")}, {"Dictionary", InStartup("hyRUnorm.lex")}}},
  };
  for (const ProgramRequest& request : requests) {
    SCOPED_TRACE(testing::Message() << request.suffix << " kind " << request.kind);
    const std::string application = std::string(request.suffix) == "AGENT" ? "KVLAGENT" : "KVLSTDSP";
    char info[32] = {};
    std::int32_t length = sizeof info;
    EXPECT_EQ(dll().Info(request.suffix, request.kind, 1049, info, &length), 1u);
    EXPECT_EQ(std::string(info, length), application + '\0' + "8.0" + '\0' + '\0');
    EXPECT_EQ(dll().Call("Exist", request.suffix, request.kind, 1049), 1u);
    EXPECT_EQ(dll().Call("Avail", request.suffix, request.kind, 1049), 1u);
    ASSERT_EQ(dll().Call("Attach", request.suffix, request.kind, 1049), 1u);
    Values expected = request.values;
    expected["Attached"] = "1";
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(application + "\\8.0", request.tool, 1049)), expected);
    EXPECT_EQ(dll().Call("Check", request.suffix, request.kind, 1049), 1u);
    EXPECT_EQ(dll().Call("Detach", request.suffix, request.kind, 1049), 1u);
    EXPECT_EQ(dll().Call("Check", request.suffix, request.kind, 1049), 0u);
  }
}

// The Agent takes the speller only and refuses the others without a trace; its
// attach brings the menu shortcut back even when the record cannot be written.
TEST_F(ProductPrograms, AgentTakesTheSpellerOnlyAndAlwaysRestoresItsShortcut) {
  ASSERT_TRUE(MoveFileA(MenuLink("Kvil Agent.lnk").c_str(), Hidden("Kvil Agent.lnk").c_str()));
  for (int kind : {1, 2, 3, 4, -1}) EXPECT_EQ(dll().Call("Attach", "AGENT", kind, 1049), kNotApplicable) << kind;
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kProducts));
  EXPECT_FALSE(FileExists(MenuLink("Kvil Agent.lnk")));

  WriteRaw(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", REG_DWORD, {1, 0, 0, 0});
  EXPECT_EQ(dll().Call("Attach", "AGENT", 0, 1049), 0u);
  WriteText(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", product().StartupDir(1049));
  EXPECT_FALSE(FileExists(MenuLink("Kvil Agent.lnk")));  // the move itself needs the start-up folder
  EXPECT_EQ(dll().Call("Attach", "AGENT", 0, 1049), 1u);
  EXPECT_TRUE(FileExists(MenuLink("Kvil Agent.lnk")));
}

// The Standard speller's shortcut leaves the menu on a detach only while another
// of its tools is still attached.
TEST_F(ProductPrograms, StandardSpellerHidesItsShortcutOnlyWhileAnotherToolIsAttached) {
  ASSERT_EQ(dll().Call("Attach", "STDSP", 0, 1049), 1u);
  ASSERT_EQ(dll().Call("Attach", "STDSP", 2, 1049), 1u);
  EXPECT_EQ(dll().Call("Detach", "STDSP", 0, 1049), 1u);
  EXPECT_FALSE(FileExists(MenuLink("Kvil Speller.lnk")));
  EXPECT_TRUE(FileExists(Hidden("Kvil Speller.lnk")));
  ASSERT_TRUE(MoveFileA(Hidden("Kvil Speller.lnk").c_str(), MenuLink("Kvil Speller.lnk").c_str()));
  EXPECT_EQ(dll().Call("Detach", "STDSP", 2, 1049), 1u);
  EXPECT_TRUE(FileExists(MenuLink("Kvil Speller.lnk")));
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("KVLSTDSP\\8.0", "Thesaurus", 1049), "Attached"), 0u);
}

// Detaching the Agent takes it out of the all-users Startup folder, under the
// display name the product's "setup32.inf" gives it.
TEST_F(ProductPrograms, AgentDetachDeletesItsStartupEntryNamedBySetup) {
  std::array<char, MAX_PATH> startup{};
  ASSERT_EQ(SHGetFolderPathA(nullptr, CSIDL_COMMON_STARTUP, nullptr, SHGFP_TYPE_CURRENT, startup.data()), S_OK);
  CreateDirectoryA(startup.data(), nullptr);
  const std::string folder = startup.data();
  struct EntryCase {
    const char* what;
    const char* setupFile;  // null: none
    const char* entry;
  };
  const EntryCase cases[] = {
      {"no setup file: the bare extension", nullptr, ".lnk"},
      {"no name in it: the default", "[APPLICATIONS]\r\nEditor=Kvil Editor\r\n", "KVIL Agent.lnk"},
      {"the name it gives", "[APPLICATIONS]\r\nKVIL Agent=Kvil Agent 8\r\n", "Kvil Agent 8.lnk"},
  };
  const std::string setup = product().options.productDir + "\\setup32.inf";
  for (const EntryCase& c : cases) {
    SCOPED_TRACE(c.what);
    DeleteFileA(setup.c_str());
    if (c.setupFile != nullptr) WriteFile(setup, c.setupFile);
    const std::string entry = folder + "\\" + c.entry;
    const std::string other = folder + "\\Other program.lnk";
    WriteFile(entry, "the Agent's entry");
    WriteFile(other, "another program's entry");
    EXPECT_EQ(dll().Call("Detach", "AGENT", 0, 1049), 1u);
    EXPECT_FALSE(FileExists(entry));
    EXPECT_TRUE(FileExists(other));
    DeleteFileA(entry.c_str());
    DeleteFileA(other.c_str());
  }
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("KVLAGENT\\8.0", "Spelling", 1049), "Attached"), 0u);
}

TEST_F(ProductPrograms, AvailWantsEachProgramsOwnFiles) {
  const std::string startup = product().StartupDir(1049);
  EXPECT_EQ(dll().Call("Avail", "AGENT", 2, 1049), 1u);  // any tool: the Agent's files decide
  ASSERT_TRUE(DeleteFileA((startup + "\\kvilhook.dll").c_str()));
  EXPECT_EQ(dll().Call("Avail", "AGENT", 0, 1049), 0u);
  EXPECT_EQ(dll().Call("Avail", "STDSP", 0, 1049), 1u);
  ASSERT_TRUE(DeleteFileA((startup + "\\kvilxsp3.dll").c_str()));
  EXPECT_EQ(dll().Call("Avail", "STDSP", 0, 1049), 0u);  // its own speller module, not kvilsp3.dll
  EXPECT_EQ(dll().Call("Avail", "STDSP", 2, 1049), 1u);
}

}  // namespace
}  // namespace kvil::test

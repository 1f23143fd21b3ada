// The product's own hosts through the DLL's exports: Unknown, the Editor, the
// Agent and the Standard speller, with the programs' shortcuts they move.

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "non_office_host_test.h"

namespace kvil::test {
namespace {

const Values kEngineOptions{{"Options", std::to_string(0x20000005)}};

// The default product with the Agent and the Standard speller beside the
// engines, and each program's shortcut in the product's Start-menu folder.
class OwnTools : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    for (const char* file : {"kvlagent.exe", "kvilhook.dll", "kvilxsp3.dll", "kvlstdsp.exe"}) {
      WriteFile(startup_ + "\\" + file, file);
    }
    CreateShortcut(MenuLink("Kvil Agent.lnk"), product().options.productDir + "\\kvlagent.exe");
    CreateShortcut(MenuLink("Kvil Speller.lnk"), product().options.productDir + "\\kvlstdsp.exe");
  }
  std::string MenuLink(const std::string& name) const { return product().options.menuDir + "\\" + name; }
  std::string Hidden(const std::string& name) const { return startup_ + "\\" + name; }
  // Restoring copies the shortcut back and leaves the hidden copy where it was.
  bool InMenu(const std::string& name) const { return FileExists(MenuLink(name)); }
  bool IsHidden(const std::string& name) const { return !FileExists(MenuLink(name)) && FileExists(Hidden(name)); }
};

struct Request {
  const char* suffix;
  const char* filedAs;
  int kind;
  const char* tool;
  Values attached;
};

TEST_F(OwnTools, EveryHostsTypicalRequestRoundTripsItsRecord) {
  // The programs' records name the files each engine loads.
  const Values grammar{{"Action", "1"}, {"Attached", "1"}, {"Options", "1"}, {"Engine", InStartup("KVILGR32.DLL")},
                       {"Dictionary", InStartup("grrunorm.lex")}, {"Interframe", InStartup("gram_mod.dll")}};
  const Values thesaurus =
      With(kEngineOptions, {{"Original LID", "1033"}, {"Action", "1"}, {"Attached", "1"},
                            {"Engine", InStartup("KVILTH32.DLL")}, {"Dictionary", InStartup("thrunorm.lex")},
                            {"Interframe", InStartup("thes_mod.dll")}});
  const Values hyphenator = With(kHyphenatorRecord, {{"Options", kEngineOptions.at("Options")},
                                                     {"Engine", InStartup("inhy32ru.dll")},
                                                     {"Dictionary", InStartup("hyRUnorm.lex")}});
  const Request requests[] = {
      {"Unknown", "Unknown\\0.0", 0, "Spelling", kSpellerRecord},
      {"Unknown", "Unknown\\0.0", 3, "Hyphenate", kHyphenatorRecord},
      {"Editor", "KVILEDITOR\\8.0", 0, "Spelling", With(kSpellerRecord, kEngineOptions)},
      {"Editor", "KVILEDITOR\\8.0", 1, "Grammar", grammar},
      {"Editor", "KVILEDITOR\\8.0", 2, "Thesaurus", thesaurus},
      {"Editor", "KVILEDITOR\\8.0", 3, "Hyphenate", hyphenator},
      {"AGENT", "KVLAGENT\\8.0", 0, "Spelling", With(kSpellerRecord, kEngineOptions)},
      {"STDSP", "KVLSTDSP\\8.0", 0, "Spelling", With(kSpellerRecord, kEngineOptions)},
      {"STDSP", "KVLSTDSP\\8.0", 2, "Thesaurus", thesaurus},
  };
  for (const Request& r : requests) {
    SCOPED_TRACE(testing::Message() << r.suffix << " kind " << r.kind);
    const std::string record = Record(r.filedAs, r.tool);
    EXPECT_EQ(Call("Exist", r.suffix, r.kind), 1u);
    EXPECT_EQ(Call("Avail", r.suffix, r.kind), 1u);
    ASSERT_EQ(Call("Attach", r.suffix, r.kind), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), r.attached);
    EXPECT_EQ(Call("Check", r.suffix, r.kind), 1u);
    for (int time = 0; time < 2; ++time) EXPECT_EQ(Call("Detach", r.suffix, r.kind), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), With(r.attached, {{"Attached", "0"}}));
    EXPECT_EQ(Call("Check", r.suffix, r.kind), 0u);
  }
  // The two programs name themselves after the installed product.
  EXPECT_EQ(InfoList("AGENT"), std::string("KVLAGENT\0" "8.0\0\0", 14));
  EXPECT_EQ(InfoList("STDSP"), std::string("KVLSTDSP\0" "8.0\0\0", 14));
}

// A kind outside the four tools is refused (by the Editor as not applicable,
// by Unknown with 0) and the Agent takes the speller only; none leaves a trace.
// A language without a start-up folder attaches nothing, though the Editor has
// registered itself: under the product folder as recorded, trailing backslash
// and all, with its own backslash before the program.
TEST_F(OwnTools, RefusedKindsAndLanguagesLeaveNoRecord) {
  for (const KindAnswers& answers : {KindAnswers{"Unknown", 4, 1, 1, 0, 0, 0}, {"Unknown", -1, 1, 1, 0, 0, 0},
                                     {"Editor", 4, 1, 0, kNA, 0, 0}, {"Editor", -1, 1, 0, kNA, 0, 0}}) {
    ExpectAnswers(answers);
  }
  for (int kind : {1, 2, 3, 4}) EXPECT_EQ(Call("Attach", "AGENT", kind), kNA) << kind;
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kProductRecords));
  EXPECT_TRUE(InMenu("Kvil Editor.lnk"));

  EXPECT_EQ(Call("Avail", "Editor", 0, 1033), 0u);
  EXPECT_EQ(Call("Attach", "Unknown", 0, 1033), 0u);
  EXPECT_EQ(Call("Attach", "Editor", 0, 1033), 0u);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kProductRecords),
            (Values{{"", "key"},
                    {"KVILEDITOR", "key"},
                    {"KVILEDITOR\\8.0", "key"},
                    {"KVILEDITOR\\8.0:Path", "sz:" + product().options.productDir + "\\\\KvilEditor.exe"},
                    {"KVILEDITOR\\8.0:Name", "sz:Kvil Editor"}}));
}

// Without the product nothing is recorded, not even the Editor's own registration.
TEST_F(OwnTools, WithoutTheProductNothingIsRecorded) {
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil");
  const Values machine = Machine();
  for (const char* suffix : {"Unknown", "Editor"}) {
    EXPECT_EQ(Call("Attach", suffix, 0), 0u) << suffix;
    EXPECT_EQ(Call("Detach", suffix, 3, 1033), 0u) << suffix;
  }
  EXPECT_EQ(Machine(), machine);
}

// Each program moves its Start-menu shortcut by its own rule: the Editor's
// leaves the menu on every detach and no attach brings it back; the Agent's
// comes back with an attach of the speller; the Standard speller's leaves only
// while another of its tools is still attached, so the last detach keeps it.
TEST_F(OwnTools, EachProgramMovesItsShortcutByItsOwnRule) {
  ASSERT_EQ(Call("Attach", "Editor", 0), 1u);
  EXPECT_TRUE(InMenu("Kvil Editor.lnk"));
  EXPECT_EQ(Call("Detach", "Editor", 0), 1u);
  EXPECT_TRUE(IsHidden("Kvil Editor.lnk"));
  ASSERT_EQ(Call("Attach", "Editor", 0), 1u);
  EXPECT_TRUE(IsHidden("Kvil Editor.lnk"));

  EXPECT_EQ(Call("Detach", "AGENT", 0), 1u);
  EXPECT_TRUE(IsHidden("Kvil Agent.lnk"));
  EXPECT_EQ(Call("Attach", "AGENT", 2), kNA);
  EXPECT_TRUE(IsHidden("Kvil Agent.lnk"));
  ASSERT_EQ(Call("Attach", "AGENT", 0), 1u);
  EXPECT_TRUE(InMenu("Kvil Agent.lnk"));

  ASSERT_EQ(Call("Attach", "STDSP", 0), 1u);
  ASSERT_EQ(Call("Attach", "STDSP", 2), 1u);
  EXPECT_EQ(Call("Detach", "STDSP", 0), 1u);
  EXPECT_TRUE(IsHidden("Kvil Speller.lnk"));
  ASSERT_EQ(Call("Attach", "STDSP", 0), 1u);
  EXPECT_TRUE(InMenu("Kvil Speller.lnk"));
  EXPECT_EQ(Call("Detach", "STDSP", 0), 1u);
  ASSERT_TRUE(MoveFileA(Hidden("Kvil Speller.lnk").c_str(), MenuLink("Kvil Speller.lnk").c_str()));
  EXPECT_EQ(Call("Detach", "STDSP", 2), 1u);
  EXPECT_TRUE(InMenu("Kvil Speller.lnk"));
}

// Detaching the Agent takes it out of the all-users Startup folder, under the
// display name the product's "setup32.inf" gives it.
TEST_F(OwnTools, AgentDetachDeletesItsStartupEntryNamedBySetup) {
  std::array<char, MAX_PATH> startup{};
  ASSERT_EQ(SHGetFolderPathA(nullptr, CSIDL_COMMON_STARTUP, nullptr, SHGFP_TYPE_CURRENT, startup.data()), S_OK);
  CreateDirectoryA(startup.data(), nullptr);
  const struct {
    const char* setupFile;  // null: none
    const char* entry;
  } cases[] = {
      {nullptr, ".lnk"},  // no name at all: the bare extension
      {"[APPLICATIONS]\r\nEditor=Kvil Editor\r\n", "KVIL Agent.lnk"},
      {"[APPLICATIONS]\r\nKVIL Agent=Kvil Agent 8\r\n", "Kvil Agent 8.lnk"},
  };
  const std::string setup = product().options.productDir + "\\setup32.inf";
  const std::string other = std::string(startup.data()) + "\\Other program.lnk";
  for (const auto& c : cases) {
    SCOPED_TRACE(c.entry);
    if (c.setupFile != nullptr) WriteFile(setup, c.setupFile);
    const std::string entry = std::string(startup.data()) + "\\" + c.entry;
    WriteFile(entry, "the Agent's entry");
    WriteFile(other, "another program's entry");
    EXPECT_EQ(Call("Detach", "AGENT", 0), 1u);
    EXPECT_FALSE(FileExists(entry));
    EXPECT_TRUE(FileExists(other));
    DeleteFileA(entry.c_str());
    DeleteFileA(other.c_str());
  }
}

// Avail wants the program and the tool's engine beside it, never an interface
// module; each program has its own files, and the Agent's decide for any tool.
TEST_F(OwnTools, AvailWantsEachProgramsOwnFiles) {
  const struct {
    const char* deleted;  // before asking; null: nothing more
    const char* suffix;
    int kind;
    KvilResult avail;
  } cases[] = {
      {nullptr, "AGENT", 2, 1},        {"gram_mod.dll", "Editor", 1, 1}, {"kvilhook.dll", "AGENT", 0, 0},
      {nullptr, "STDSP", 0, 1},        {"kvilxsp3.dll", "STDSP", 0, 0},  {nullptr, "Editor", 0, 1},
      {nullptr, "STDSP", 2, 1},        {"KVILTH32.DLL", "STDSP", 2, 0},  {nullptr, "Editor", 2, 0},
      {nullptr, "Editor", 3, 1},       {"kvileditor.exe", "Editor", 0, 0}, {"kvlstdsp.exe", "STDSP", 3, 0},
  };
  for (const auto& c : cases) {
    if (c.deleted != nullptr) {
      ASSERT_TRUE(DeleteFileA((startup_ + "\\" + c.deleted).c_str())) << c.deleted;
    }
    EXPECT_EQ(Call("Avail", c.suffix, c.kind), c.avail) << c.suffix << " kind " << c.kind;
  }
}

}  // namespace
}  // namespace kvil::test

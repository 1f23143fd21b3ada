// QuarkXPress through the DLL's exports: the product's XTensions copied into
// QuarkXPress's XTension folder and taken out again.

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "handles.h"
#include "host_family_test.h"
#include "quark_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
using Files = std::map<std::string, std::string>;

constexpr HostResult kNA = kNotApplicable;

class Quark : public HostFamilyTest {
 protected:
  void SetUp() override {
    HostFamilyTest::SetUp();
    quark_ = folder().Join("QuarkXPress");
    xtensions_ = quark_ + "\\XTension";
    InstallProductXTensions(startup_);
  }
  void Install() { InstallQuarkXPress({.folder = quark_}); }
  // The product's files as FolderContents describes them, each name prefixed.
  Files Product(std::initializer_list<const char*> names, const std::string& prefix = "") const {
    const Files all = FolderContents(startup_);
    Files chosen;
    for (const char* name : names) chosen[prefix + name] = all.at(name);
    return chosen;
  }
  std::string Info() const {
    char buffer[64] = {};
    std::int32_t length = sizeof buffer;
    if (dll().Info("QXS40", 0, 1049, buffer, &length) != 1) return "failed";
    return std::string(buffer, length);
  }
  // All the product could change: records, the hosts' keys, every folder.
  std::vector<Values> Machine() const {
    return {DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), DescribeTree(HKEY_CURRENT_USER, "Software"),
            FolderContents(folder().path())};
  }

  std::string quark_;
  std::string xtensions_;
};

struct TypicalCase {
  int kind;
  const char* tool;
  const char* xtension;
  Values record;
};

TEST_F(Quark, SpellerAndHyphenatorTypicalRequestsRoundTripTheXTensionFolder) {
  const TypicalCase cases[] = {
      {0, "Spelling", "xspell.xnt",
       {{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "0"},
        {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}, {"Speller", "sz:" + xtensions_ + "\\xspell.xnt"}}},
      {3, "Hyphenate", "xhyph.xnt",
       {{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Saved LID", "0"}, {"Attached", "1"},
        {"Hyphenator", "sz:" + xtensions_ + "\\xhyph.xnt"}, {"Engine", InStartup("INHY32RU.DLL")}}},
  };
  EXPECT_EQ(Call("Exist", "QXS40", 0), 0u);
  EXPECT_EQ(Info(), "failed");
  InstallQuarkXPress({.folder = quark_, .quotedCommand = false});
  WriteFile(xtensions_ + "\\Kern-Track.xnt", "QuarkXPress's own XTension");
  const Files before = FolderContents(quark_);
  EXPECT_EQ(Info(), std::string("QuarkXPress\0" "4.0\0\0", 17));
  for (const TypicalCase& c : cases) {
    SCOPED_TRACE(c.tool);
    EXPECT_EQ(Call("Exist", "QXS40", c.kind), 1u);
    EXPECT_EQ(Call("Avail", "QXS40", c.kind), 1u);
    ASSERT_EQ(Call("Attach", "QXS40", c.kind), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", c.tool)), c.record);
    Files attached = before;
    attached.merge(Product({c.xtension, "xhotkeys.xnt"}, "XTension\\"));
    EXPECT_EQ(FolderContents(quark_), attached);
    EXPECT_EQ(Call("Check", "QXS40", c.kind), 1u);

    EXPECT_EQ(Call("Detach", "QXS40", c.kind), 1u);
    Values detached = c.record;
    detached["Attached"] = "0";
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", c.tool)), detached);
    EXPECT_EQ(FolderContents(quark_), before);
    EXPECT_EQ(Call("Check", "QXS40", c.kind), 0u);
  }
}

TEST_F(Quark, HotKeysXTensionStaysUntilTheLastToolIsDetached) {
  Install();
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  ASSERT_EQ(Call("Attach", "QXS40", 3), 1u);
  ASSERT_EQ(Call("Detach", "QXS40", 0), 1u);
  EXPECT_EQ(FolderContents(xtensions_), Product({"xhyph.xnt", "xhotkeys.xnt"}));
  EXPECT_EQ(Call("Check", "QXS40", 3), 1u);
  ASSERT_EQ(Call("Detach", "QXS40", 3), 1u);
  EXPECT_EQ(FolderContents(xtensions_), Files{});
}

TEST_F(Quark, XTensionAlreadyInPlaceIsKeptAndCountsAsInstalled) {
  Install();
  WriteFile(xtensions_ + "\\xspell.xnt", "another speller XTension");
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  EXPECT_EQ(ReadFileBytes(xtensions_ + "\\xspell.xnt"), "another speller XTension");
  EXPECT_EQ(ReadFileBytes(xtensions_ + "\\xhotkeys.xnt"), ReadFileBytes(startup_ + "\\xhotkeys.xnt"));
  EXPECT_EQ(Call("Check", "QXS40", 0), 1u);
}

TEST_F(Quark, XTensionFolderIsTheOneThePreferenceNames) {
  Install();
  CreateFolder(quark_ + "\\Plug-ins");
  WriteText(HKEY_CURRENT_USER, kQuarkPreferences, kQuarkXTensionPreference, "Plug-ins");
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", "Spelling"), "Speller"),
            quark_ + "\\Plug-ins\\xspell.xnt");
  EXPECT_EQ(FolderContents(quark_ + "\\Plug-ins"), Product({"xspell.xnt", "xhotkeys.xnt"}));
  EXPECT_EQ(FolderContents(xtensions_), Files{});
}

// A detach while QuarkXPress runs, holding its XTensions open, cannot delete
// them: the record says attached again, so that Check still shows them.
TEST_F(Quark, DetachThatCannotRemoveTheXTensionsKeepsTheHostAttached) {
  Install();
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  {
    std::vector<UniqueFile> inUse;
    for (const char* name : {"xspell.xnt", "xhotkeys.xnt"}) {
      const std::string path = xtensions_ + "\\" + name;
      inUse.emplace_back(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
      ASSERT_TRUE(inUse.back()) << name;
    }
    EXPECT_EQ(Call("Detach", "QXS40", 0), 0u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", "Spelling"), "Attached"), 1u);
    EXPECT_EQ(Call("Check", "QXS40", 0), 1u);
  }
  EXPECT_EQ(Call("Detach", "QXS40", 0), 1u);
  EXPECT_EQ(FolderContents(xtensions_), Files{});
}

struct InstallerCase {
  WORD major;
  std::vector<std::pair<int, const char*>> components;  // component index, copy it names
  const char* expectedCopy;                              // null: QuarkXPress is not found
};

// Three copies are installed, the open command naming "Opened" last. Before
// version 6 that is the one; from 6 on it is the copy named by the first of
// the Installer's components in their order.
TEST_F(Quark, LaterVersionsAreFoundThroughTheInstallersComponents) {
  const InstallerCase cases[] = {
      {5, {{0, "Installed"}}, "Opened"},
      {6, {{0, "Installed"}}, "Installed"},
      {7, {{3, "Installed"}, {1, "Other"}}, "Other"},
      {8, {}, nullptr},
  };
  for (const InstallerCase& c : cases) {
    SCOPED_TRACE(c.major);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer");
    for (const char* copy : {"Installed", "Other", "Opened"}) {
      InstallQuarkXPress({.folder = folder().Join(copy), .major = c.major, .installerComponent = std::nullopt});
    }
    for (const auto& [index, copy] : c.components) RegisterQuarkFolderComponent(index, folder().Join(copy) + "\\");
    const std::string version = std::to_string(c.major) + ".0";
    if (c.expectedCopy == nullptr) {
      const auto before = Machine();
      for (const char* operation : {"Exist", "Attach", "Detach", "Check"}) {
        EXPECT_EQ(Call(operation, "QXS40", 0), 0u) << operation;
        EXPECT_EQ(Call(operation, "QXS40", 3), 0u) << operation;
      }
      EXPECT_EQ(Info(), "failed");
      EXPECT_EQ(Machine(), before);
      continue;
    }
    EXPECT_EQ(Info(), "QuarkXPress" + std::string(1, '\0') + version + std::string(2, '\0'));
    ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
    const std::string expected = folder().Join(c.expectedCopy) + "\\XTension";
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\" + version, "Spelling"), "Speller"),
              expected + "\\xspell.xnt");
    EXPECT_EQ(FolderContents(expected), Product({"xspell.xnt", "xhotkeys.xnt"}));
    ASSERT_EQ(Call("Detach", "QXS40", 0), 1u);
    EXPECT_EQ(FolderContents(expected), Files{});
  }
}

// Host paths too long for a path buffer are refused, never cut into the name of
// another file nor replaced by the default folder.
TEST_F(Quark, OverLongHostPathsAreRefused) {
  const std::string tail(300, ' ');
  const struct {
    HKEY root;
    const char* key;
    const char* name;
    std::string text;
  } cases[] = {
      {HKEY_LOCAL_MACHINE, kQuarkOpenCommand, "", quark_ + "\\QuarkXPress.exe" + tail + "\"%1\""},
      {HKEY_CURRENT_USER, kQuarkPreferences, kQuarkXTensionPreference, "XTension" + tail},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    Install();
    WriteText(c.root, c.key, c.name, c.text);
    const auto before = Machine();
    EXPECT_EQ(Call("Exist", "QXS40", 0), 0u);
    EXPECT_EQ(Call("Attach", "QXS40", 0), 0u);
    EXPECT_EQ(Machine(), before);
  }
}

TEST_F(Quark, ToolKindsQuarkXPressDoesNotTakeGetItsAnswerAndWriteNothing) {
  Install();
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  const auto before = Machine();
  const KindAnswers cases[] = {
      {"QXS40", 1, kNA, kNA, kNA, kNA, kNA},
      {"QXS40", 2, kNA, kNA, kNA, kNA, kNA},
      {"QXS40", 5, 0, kNA, kNA, kNA, kNA},
      {"QXS40", -1, 0, kNA, kNA, kNA, kNA},
  };
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(Machine(), before);
}

}  // namespace
}  // namespace kvil::test

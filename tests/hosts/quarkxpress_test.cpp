// QuarkXPress through the DLL's exports: the product's XTensions copied into
// QuarkXPress's XTension folder and taken out again.

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "non_office_host_test.h"
#include "quark_fixture.h"

namespace kvil::test {
namespace {

using Files = std::map<std::string, std::string>;

class Quark : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    quark_ = folder().Join("QuarkXPress");
    xtensions_ = quark_ + "\\XTension";
    InstallProductXTensions(startup_);
  }
  void Install() { InstallQuarkXPress({.folder = quark_}); }
  // The product's XTensions as FolderContents describes them, each name prefixed.
  Files Product(std::initializer_list<const char*> names, const std::string& prefix = "") const {
    const Files all = FolderContents(startup_);
    Files chosen;
    for (const char* name : names) chosen[prefix + name] = all.at(name);
    return chosen;
  }

  std::string quark_;
  std::string xtensions_;
};

// Both tools round trip; the hot-key XTension both need stays until the last
// of them is detached.
TEST_F(Quark, SpellerAndHyphenatorRoundTripTheXTensionFolder) {
  EXPECT_EQ(InfoList("QXS40"), "Info failed");
  InstallQuarkXPress({.folder = quark_, .quotedCommand = false});
  WriteFile(xtensions_ + "\\Kern-Track.xnt", "QuarkXPress's own XTension");
  const Files before = FolderContents(quark_);
  EXPECT_EQ(InfoList("QXS40"), std::string("QuarkXPress\0" "4.0\0\0", 17));
  for (int kind : {0, 3}) {
    EXPECT_EQ(Call("Exist", "QXS40", kind), 1u) << kind;
    EXPECT_EQ(Call("Avail", "QXS40", kind), 1u) << kind;
    ASSERT_EQ(Call("Attach", "QXS40", kind), 1u) << kind;
    EXPECT_EQ(Call("Check", "QXS40", kind), 1u) << kind;
  }
  const std::pair<std::string, Values> records[] = {
      {Record("QuarkXPress\\4.0", "Spelling"),
       With(kSpellerRecord, {{"Saved LID", "0"}, {"Speller", "sz:" + xtensions_ + "\\xspell.xnt"}})},
      {Record("QuarkXPress\\4.0", "Hyphenate"),
       With(kHyphenatorRecord, {{"Saved LID", "0"},
                                {"Hyphenator", "sz:" + xtensions_ + "\\xhyph.xnt"},
                                {"Engine", InStartup("INHY32RU.DLL")}})},
  };
  for (const auto& [key, values] : records) EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, key), values);
  Files attached = before;
  attached.merge(Product({"xspell.xnt", "xhyph.xnt", "xhotkeys.xnt"}, "XTension\\"));
  EXPECT_EQ(FolderContents(quark_), attached);

  EXPECT_EQ(Call("Detach", "QXS40", 0), 1u);
  EXPECT_EQ(Call("Check", "QXS40", 0), 0u);
  EXPECT_EQ(Call("Check", "QXS40", 3), 1u);
  attached.erase("XTension\\xspell.xnt");
  EXPECT_EQ(FolderContents(quark_), attached);
  EXPECT_EQ(Call("Detach", "QXS40", 3), 1u);
  EXPECT_EQ(FolderContents(quark_), before);
  for (const auto& [key, values] : records) {
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, key), With(values, {{"Attached", "0"}}));
  }
}

// The XTension folder is the one the user's preference names; an XTension of
// the same name already there, whoever put it there, stays and counts as installed.
TEST_F(Quark, ThePreferredFolderIsUsedAndWhatIsThereIsKept) {
  Install();
  const std::string plugins = quark_ + "\\Plug-ins";
  CreateFolder(plugins);
  WriteText(HKEY_CURRENT_USER, kQuarkPreferences, kQuarkXTensionPreference, "Plug-ins");
  WriteFile(plugins + "\\xspell.xnt", "another speller XTension");
  const Files other = FolderContents(plugins);
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", "Spelling"), "Speller"), plugins + "\\xspell.xnt");
  Files attached = other;
  attached.merge(Product({"xhotkeys.xnt"}));
  EXPECT_EQ(FolderContents(plugins), attached);
  EXPECT_EQ(FolderContents(xtensions_), Files{});
  EXPECT_EQ(Call("Check", "QXS40", 0), 1u);
}

// A detach while QuarkXPress runs, holding its XTensions open, cannot delete
// them: the record says attached again, so that Check still shows them.
TEST_F(Quark, DetachThatCannotRemoveTheXTensionsKeepsTheHostAttached) {
  Install();
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  {
    const UniqueFile speller = HoldOpen(xtensions_ + "\\xspell.xnt");
    const UniqueFile hotKeys = HoldOpen(xtensions_ + "\\xhotkeys.xnt");
    ASSERT_TRUE(speller && hotKeys);
    EXPECT_EQ(Call("Detach", "QXS40", 0), 0u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\4.0", "Spelling"), "Attached"), 1u);
    EXPECT_EQ(Call("Check", "QXS40", 0), 1u);
  }
  EXPECT_EQ(Call("Detach", "QXS40", 0), 1u);
  EXPECT_EQ(FolderContents(xtensions_), Files{});
}

// Three copies are installed, the open command naming "Opened" last. Before
// version 6 that is the one; from 6 on it is the copy named by the first of
// the Installer's components in their order, and without one QuarkXPress is
// not found at all.
TEST_F(Quark, LaterVersionsAreFoundThroughTheInstallersComponents) {
  const struct {
    WORD major;
    std::vector<std::pair<int, const char*>> components;  // component index, copy it names
    const char* expectedCopy;                              // null: not found
  } cases[] = {
      {5, {{0, "Installed"}}, "Opened"},
      {6, {{0, "Installed"}}, "Installed"},
      {7, {{3, "Installed"}, {1, "Other"}}, "Other"},
      {8, {}, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.major);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer");
    for (const char* copy : {"Installed", "Other", "Opened"}) {
      InstallQuarkXPress({.folder = folder().Join(copy), .major = c.major, .installerComponent = std::nullopt});
    }
    for (const auto& [index, copy] : c.components) RegisterQuarkFolderComponent(index, folder().Join(copy) + "\\");
    const std::string version = std::to_string(c.major) + ".0";
    if (c.expectedCopy == nullptr) {
      const Values before = Machine();
      for (const char* operation : {"Exist", "Attach", "Detach", "Check"}) {
        for (int kind : {0, 3}) EXPECT_EQ(Call(operation, "QXS40", kind), 0u) << operation << kind;
      }
      EXPECT_EQ(InfoList("QXS40"), "Info failed");
      EXPECT_EQ(Machine(), before);
      continue;
    }
    EXPECT_EQ(InfoList("QXS40"), "QuarkXPress" + std::string(1, '\0') + version + std::string(2, '\0'));
    ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
    const std::string expected = folder().Join(c.expectedCopy) + "\\XTension";
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("QuarkXPress\\" + version, "Spelling"), "Speller"),
              expected + "\\xspell.xnt");
    EXPECT_EQ(FolderContents(expected), Product({"xspell.xnt", "xhotkeys.xnt"}));
    ASSERT_EQ(Call("Detach", "QXS40", 0), 1u);
    EXPECT_EQ(FolderContents(expected), Files{});
  }
}

// Whatever is refused changes nothing: the kinds QuarkXPress does not take, and
// host paths too long for a path buffer, which are never cut into the name of
// another file nor replaced by the default folder.
TEST_F(Quark, RefusalsChangeNothing) {
  Install();
  ASSERT_EQ(Call("Attach", "QXS40", 0), 1u);
  const Values attached = Machine();
  for (const KindAnswers& answers : {KindAnswers{"QXS40", 1, kNA, kNA, kNA, kNA, kNA},
                                     {"QXS40", 2, kNA, kNA, kNA, kNA, kNA},
                                     {"QXS40", 5, 0, kNA, kNA, kNA, kNA},
                                     {"QXS40", -1, 0, kNA, kNA, kNA, kNA}}) {
    ExpectAnswers(answers);
  }
  EXPECT_EQ(Machine(), attached);

  const std::string tail(300, ' ');
  const struct {
    HKEY root;
    const char* key;
    const char* name;
    std::string text;
  } overLong[] = {
      {HKEY_LOCAL_MACHINE, kQuarkOpenCommand, "", quark_ + "\\QuarkXPress.exe" + tail + "\"%1\""},
      {HKEY_CURRENT_USER, kQuarkPreferences, kQuarkXTensionPreference, "XTension" + tail},
  };
  for (const auto& c : overLong) {
    SCOPED_TRACE(c.key);
    WriteText(c.root, c.key, c.name, c.text);
    const Values before = Machine();
    EXPECT_EQ(Call("Exist", "QXS40", 3), 0u);
    EXPECT_EQ(Call("Attach", "QXS40", 3), 0u);
    EXPECT_EQ(Machine(), before);
    RegDeleteKeyValueA(c.root, c.key, c.name);
    Install();
  }
}

}  // namespace
}  // namespace kvil::test

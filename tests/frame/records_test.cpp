#include "records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "frame_test.h"

namespace kvil::test {
namespace {

class AttachmentRecords : public FrameTest {
 protected:
  void SetUp() override {
    FrameTest::SetUp();
    InstallDefaultProduct();
  }

  // An English registration whose lexicon and engine exist, under the product's
  // saved copy of the host's own registrations.
  void SaveOriginalRegistration(const std::string& toolKey, const std::string& lcid, bool engineExists = true) {
    const std::string key = product().productKey + "\\Proofing Tools\\" + toolKey + "\\" + lcid + "\\Original";
    const std::string lexicon = folder().Join("MSSP_" + lcid + ".LEX");
    const std::string engine = folder().Join("MSSP_" + lcid + ".DLL");
    WriteFile(lexicon, "lexicon");
    if (engineExists) WriteVersionedModule(engine, ForeignEngine());
    WriteText(HKEY_LOCAL_MACHINE, key, "Dictionary", lexicon);
    WriteText(HKEY_LOCAL_MACHINE, key, "Engine", engine);
  }
};

struct RecordCase {
  int kind;
  int lcid;
  std::map<std::string, std::string> expected;
};

TEST_F(AttachmentRecords, EachToolGetsItsOwnSetOfValues) {
  const RecordCase cases[] = {
      {0, 1049,
       {{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"}, {"Action", "1"}, {"Attached", "1"},
        {"Supplement dictionaries", "sz:Normal"}}},
      {0, 1058,
       {{"Learning", "1"}, {"Original LID", "1033"}, {"Action", "1"}, {"Attached", "1"},
        {"Supplement dictionaries", "sz:Normal"}}},
      {1, 1049, {{"Action", "1"}, {"Attached", "1"}}},
      {2, 1049, {{"Original LID", "1033"}, {"Action", "1"}, {"Attached", "1"}}},
      {3, 1049, {{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Attached", "1"}}},
  };
  for (const RecordCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind << " lcid " << c.lcid);
    const char* toolKeys[] = {"Spelling", "Grammar", "Thesaurus", "Hyphenate"};
    const std::string key = product().RecordKey("WINWORD", "8.0", toolKeys[c.kind], c.lcid);
    EXPECT_EQ(WriteAttachRecord(key.c_str(), c.kind, c.lcid, 1, 2), 1);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, key), c.expected);
  }
}

TEST_F(AttachmentRecords, SupplementListIsRegSz) {
  const std::string key = product().RecordKey("WINWORD", "8.0", "Spelling", 1058);
  ASSERT_EQ(WriteAttachRecord(key.c_str(), 0, 1058, 1, 2), 1);
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key, "Supplement dictionaries"), SzValue("Normal", true));
}

TEST_F(AttachmentRecords, OriginalLanguageIsTheFirstEnglishRegistrationWithItsFiles) {
  SaveOriginalRegistration("Hyphenate", "1033", /*engineExists=*/false);
  SaveOriginalRegistration("Hyphenate", "1049");
  SaveOriginalRegistration("Hyphenate", "2057");
  SaveOriginalRegistration("Hyphenate", "3081");
  EXPECT_EQ(FindOriginalLID(3, 1, 2), 2057);

  const std::string key = product().RecordKey("WINWORD", "8.0", "Hyphenate", 1049);
  ASSERT_EQ(WriteAttachRecord(key.c_str(), 3, 1049, 1, 2), 1);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "Original LID"), 2057u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "Action"), 1u);
}

TEST_F(AttachmentRecords, OriginalLanguageTreeDependsOnMode) {
  // Mode 0 for the speller: the product's own tree, leaf "Normal".
  const std::string lexicon = folder().Join("english.lex");
  const std::string engine = folder().Join("english.dll");
  WriteFile(lexicon, "x");
  WriteFile(engine, "x");
  WriteText(HKEY_LOCAL_MACHINE, product().productKey + "\\Proofing Tools\\Spelling\\3081\\Normal", "Dictionary",
            lexicon);
  WriteText(HKEY_LOCAL_MACHINE, product().productKey + "\\Proofing Tools\\Spelling\\3081\\Normal", "Engine", engine);
  // Mode 1: Word 95's per-user tree, leaf "Normal".
  WriteText(HKEY_CURRENT_USER, "Software\\Microsoft\\Word\\7.0\\Proofing Tools\\Grammar\\2057\\Normal", "Dictionary",
            lexicon);
  WriteText(HKEY_CURRENT_USER, "Software\\Microsoft\\Word\\7.0\\Proofing Tools\\Grammar\\2057\\Normal", "Engine",
            engine);
  EXPECT_EQ(FindOriginalLID(0, 1, 0), 3081);
  EXPECT_EQ(FindOriginalLID(0, 1, 2), 0);
  EXPECT_EQ(FindOriginalLID(1, 1, 1), 2057);
  EXPECT_EQ(FindOriginalLID(1, 1, 0), 0);
  EXPECT_EQ(FindOriginalLID(4, 1, 2), 0);
}

TEST_F(AttachmentRecords, SavedWriterRecordsTheHostsLanguageAndOutlooksInactiveSpeller) {
  const std::string outlook = product().RecordKey("OUTLOOK", "8.0", "Spelling", 1049);
  ASSERT_EQ(WriteAttachRecordSaved(outlook.c_str(), 0, 1049, 1033, 2), 1);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, outlook), (std::map<std::string, std::string>{{"Learning", "1"},
                                                                        {"StrictYO", "1"},
                                                                        {"Original LID", "1033"},
                                                                        {"Action", "0"},
                                                                        {"Saved LID", "1033"},
                                                                        {"Attached", "1"},
                                                                        {"Supplement dictionaries", "sz:Normal"}}));

  const std::string excel = product().RecordKey("EXCEL", "8.0", "Grammar", 1058);
  ASSERT_EQ(WriteAttachRecordSaved(excel.c_str(), 1, 1058, 1049, 2), 1);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, excel), (std::map<std::string, std::string>{
                                     {"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "1049"}, {"Attached", "1"}}));
}

TEST_F(AttachmentRecords, AttachedFlagAndSavedLanguageRoundTrip) {
  EXPECT_EQ(CheckAttachedFlag(0, 1049, "EXCEL", "8.0", 1), 0u);
  EXPECT_EQ(SetAttachedFlag(0, 1049, "EXCEL", "8.0", 1, 1), 1);
  EXPECT_EQ(CheckAttachedFlag(0, 1049, "EXCEL", "8.0", 1), 1u);
  for (int time = 0; time < 2; ++time) EXPECT_EQ(SetAttachedFlag(0, 1049, "EXCEL", "8.0", 1, 0), 1);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, product().RecordKey("EXCEL", "8.0", "Spelling", 1049), "Attached"), 0u);
  EXPECT_EQ(CheckAttachedFlag(0, 1049, "EXCEL", "8.0", 1), 0u);

  EXPECT_EQ(SetAttachedFlag(3, 1049, "MSPUB", "5.0", 2, 1), 1);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, product().RecordKey("MSPUB", "5.0", "Hyphenation", 1049), "Attached"), 1u);

  // A kind without a key word touches nothing.
  EXPECT_EQ(SetAttachedFlag(4, 1049, "EXCEL", "8.0", 1, 1), 0);
  EXPECT_EQ(CheckAttachedFlag(4, 1049, "EXCEL", "8.0", 1), 0u);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, product().productKey + "\\Products\\EXCEL\\8.0"),
            std::vector<std::string>{"Spelling"});

  EXPECT_EQ(ReadSavedLID("EXCEL", "8.0", "Spelling", 1049), 0u);
  WriteDword(HKEY_LOCAL_MACHINE, product().RecordKey("EXCEL", "8.0", "Spelling", 1049), "Saved LID", 1058);
  EXPECT_EQ(ReadSavedLID("EXCEL", "8.0", "Spelling", 1049), 1058u);
}

TEST_F(AttachmentRecords, RemoveStrictYOAlwaysSucceeds) {
  const std::string key = product().RecordKey("WINWORD", "8.0", "Spelling", 1049);
  ASSERT_EQ(WriteAttachRecord(key.c_str(), 0, 1049, 1, 2), 1);
  EXPECT_EQ(RemoveStrictYO(key.c_str()), 1);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "StrictYO"), std::nullopt);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "Learning"), 1u);
  EXPECT_EQ(RemoveStrictYO(key.c_str()), 1);
  EXPECT_EQ(RemoveStrictYO((key + "\\Missing").c_str()), 1);
}

TEST_F(AttachmentRecords, SupplementListNamesTheFurtherDictionaries) {
  const std::string tree = product().productKey + "\\Proofing Tools\\Spelling\\1049";
  for (const char* style : {"MED", "Normal", "Original", "TECH"}) CreateKey(HKEY_LOCAL_MACHINE, tree + "\\" + style);
  const std::pair<std::size_t, const char*> cases[] = {{260, "Normal,MED,TECH"}, {11, "Normal,MED"}, {8, "Normal"}};
  for (const auto& [capacity, expected] : cases) {
    char list[260];
    BuildSupplementList(0, 1049, list, capacity);
    EXPECT_STREQ(list, expected) << capacity;
  }
  char list[260];
  BuildSupplementList(0, 1058, list, sizeof list);
  EXPECT_STREQ(list, "Normal");
}

TEST_F(AttachmentRecords, AllLanguagesAttachedFailsAtTheFirstDetachedLanguage) {
  const std::string tool = product().productKey + "\\Products\\WINWORD\\15.0\\Spelling";
  EXPECT_EQ(AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str()), 1);
  WriteDword(HKEY_LOCAL_MACHINE, tool + "\\1049", "Attached", 1);
  WriteDword(HKEY_LOCAL_MACHINE, tool + "\\1058", "Attached", 1);
  EXPECT_EQ(AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str()), 1);
  WriteDword(HKEY_LOCAL_MACHINE, tool + "\\1058", "Attached", 2);
  EXPECT_EQ(AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str()), 0);
  WriteDword(HKEY_LOCAL_MACHINE, tool + "\\1058", "Attached", 1);
  CreateKey(HKEY_LOCAL_MACHINE, tool + "\\1033");
  EXPECT_EQ(AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str()), 0);
}

TEST_F(AttachmentRecords, MenuShortcutIsHiddenInTheStartupFolderAndRestored) {
  const std::string menuLink = product().options.menuDir + "\\Kvil Editor.lnk";
  const std::string hidden = product().StartupDir(1049) + "\\Kvil Editor.lnk";
  const std::string bytes = ReadFileBytes(menuLink);
  WriteFile(product().options.menuDir + "\\Other.lnk", "shortcut to kvlagent.exe");

  MoveMenuShortcut("kvlstdsp.exe", 1, 1049);  // no shortcut names it
  EXPECT_TRUE(FileExists(menuLink));
  EXPECT_FALSE(FileExists(hidden));

  MoveMenuShortcut("kvileditor.exe", 1, 1049);
  EXPECT_FALSE(FileExists(menuLink));
  ASSERT_TRUE(FileExists(hidden));
  EXPECT_EQ(ReadFileBytes(hidden), bytes);
  EXPECT_TRUE(FileExists(product().options.menuDir + "\\Other.lnk"));

  MoveMenuShortcut("KVILEDITOR.EXE", 0, 1049);
  EXPECT_EQ(ReadFileBytes(menuLink), bytes);
  EXPECT_TRUE(FileExists(hidden));
}

TEST_F(AttachmentRecords, MenuShortcutStaysWithoutAMenuFolderRecorded) {
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, product().uninstallKey.c_str(), 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
  RegDeleteValueA(key, "MenuLink");
  RegCloseKey(key);
  MoveMenuShortcut("kvileditor.exe", 1, 1049);
  EXPECT_TRUE(FileExists(product().options.menuDir + "\\Kvil Editor.lnk"));
  EXPECT_FALSE(FileExists(product().StartupDir(1049) + "\\Kvil Editor.lnk"));
}

}  // namespace
}  // namespace kvil::test

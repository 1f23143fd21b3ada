#include "records.h"

#include <gtest/gtest.h>

#include <string>

#include "frame_test.h"

namespace kvil::test {
namespace {

class AttachmentRecords : public InstalledFrameTest {
 protected:
  // A registration whose lexicon exists (and its engine, unless told otherwise)
  // in the tree FindOriginalLID reads for the mode: the product's own speller
  // tree (0), Word 95's (1), the saved copies of the host's own (2).
  void SaveRegistration(int mode, const std::string& toolKey, const std::string& lcid, bool engineExists = true) {
    const std::string lexicon = folder().Join("MSSP_" + lcid + ".LEX");
    const std::string engine = folder().Join("MSSP_" + lcid + ".DLL");
    WriteFile(lexicon, "lexicon");
    if (engineExists) WriteFile(engine, "engine");
    const HKEY root = mode == 1 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    const std::string tree = mode == 1 ? "Software\\Microsoft\\Word\\7.0" : product().productKey;
    const std::string key = tree + "\\Proofing Tools\\" + toolKey + "\\" + lcid + (mode == 2 ? "\\Original" : "\\Normal");
    WriteText(root, key, "Dictionary", lexicon);
    WriteText(root, key, "Engine", engine);
  }
  std::string Record(const char* application, const char* toolKey, int lcid) const {
    return product().RecordKey(application, "8.0", toolKey, lcid);
  }
};

TEST_F(AttachmentRecords, OriginalLanguageIsTheFirstEnglishRegistrationWithItsFiles) {
  SaveRegistration(2, "Hyphenate", "1033", /*engineExists=*/false);
  SaveRegistration(2, "Hyphenate", "1049");
  SaveRegistration(2, "Hyphenate", "2057");
  SaveRegistration(2, "Hyphenate", "3081");
  const std::string key = Record("WINWORD", "Hyphenate", 1049);
  ASSERT_EQ(WriteAttachRecord(key.c_str(), 3, 1049, 1, 2), 1);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "Original LID"), 2057u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, key, "Action"), 1u);

  SaveRegistration(0, "Spelling", "3081");
  SaveRegistration(1, "Grammar", "2057");
  EXPECT_EQ(FindOriginalLID(0, 1, 0), 3081);
  EXPECT_EQ(FindOriginalLID(0, 1, 2), 0);
  EXPECT_EQ(FindOriginalLID(1, 1, 1), 2057);
  EXPECT_EQ(FindOriginalLID(1, 1, 0), 0);
  EXPECT_EQ(FindOriginalLID(4, 1, 2), 0);
}

// The record keeps the list as a string with its terminator, as hosts read it.
TEST_F(AttachmentRecords, SupplementListNamesTheFurtherDictionaries) {
  const std::string tree = product().productKey + "\\Proofing Tools\\Spelling\\1049";
  for (const char* style : {"MED", "Normal", "Original", "TECH"}) CreateKey(HKEY_LOCAL_MACHINE, tree + "\\" + style);
  const std::pair<std::size_t, const char*> cases[] = {{260, "Normal,MED,TECH"}, {11, "Normal,MED"}, {8, "Normal"}};
  for (const auto& [capacity, expected] : cases) {
    char list[260];
    BuildSupplementList(0, 1049, list, capacity);
    EXPECT_STREQ(list, expected) << capacity;
  }
  const std::string key = Record("WINWORD", "Spelling", 1049);
  ASSERT_EQ(WriteAttachRecord(key.c_str(), 0, 1049, 1, 2), 1);
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key, "Supplement dictionaries"), SzValue("Normal,MED,TECH", true));
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
  const std::string hidden = InStartup("Kvil Editor.lnk");
  const std::string bytes = ReadFileBytes(menuLink);
  WriteFile(product().options.menuDir + "\\Other.lnk", "shortcut to kvlagent.exe");
  auto where = [&] { return std::make_pair(FileExists(menuLink), FileExists(hidden)); };

  MoveMenuShortcut("kvlstdsp.exe", 1, 1049);  // no shortcut names it
  EXPECT_EQ(where(), std::make_pair(true, false));
  MoveMenuShortcut("kvileditor.exe", 1, 1049);
  EXPECT_EQ(where(), std::make_pair(false, true));
  EXPECT_EQ(ReadFileBytes(hidden), bytes);
  EXPECT_TRUE(FileExists(product().options.menuDir + "\\Other.lnk"));
  MoveMenuShortcut("KVILEDITOR.EXE", 0, 1049);
  EXPECT_EQ(where(), std::make_pair(true, true));
  EXPECT_EQ(ReadFileBytes(menuLink), bytes);

  // Without a menu folder recorded nothing moves.
  DeleteFileA(hidden.c_str());
  RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, product().uninstallKey.c_str(), "MenuLink");
  MoveMenuShortcut("kvileditor.exe", 1, 1049);
  EXPECT_EQ(where(), std::make_pair(true, false));
}

}  // namespace
}  // namespace kvil::test

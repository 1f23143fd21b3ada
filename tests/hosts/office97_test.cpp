// The Office 95 and 97 family through the DLL's exports: Word, Excel,
// PowerPoint, Access, Outlook 97/98 and Publisher 98.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "office_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using HostKeys = std::vector<std::pair<HKEY, std::string>>;

constexpr char kWord95User[] = "Software\\Microsoft\\Word\\7.0\\Proofing Tools";
constexpr char kWord95NewUsers[] = "SOFTWARE\\Microsoft\\New User Settings\\Word\\7.0\\Proofing Tools";
constexpr char kExcel95User[] = "Software\\Microsoft\\Excel\\7.0\\Spell Checker";
constexpr char kExcel95NewUsers[] = "SOFTWARE\\Microsoft\\New User Settings\\Excel\\7.0\\Spell Checker";
constexpr char kExcel97User[] = "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker";
constexpr char kOutlookUser[] = "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling";

class Office97 : public OfficeFamilyTest {
 protected:
  // Every member as its setup leaves it; the hosts that keep their own speller
  // language have British English.
  void InstallAll() {
    InstallWord95();
    InstallWord97(office_);
    InstallExcel95(2057);
    InstallExcel97(office_, 2057);
    InstallPowerPoint95(2057);
    InstallPowerPoint97(office_);
    InstallAccess95(2057);
    InstallAccess97(office_, 2057);
    InstallOutlook97(folder().Join("Outlook"), 2057, 8, 5);
    InstallPublisher98();
  }

  FontSubstituteGuard fontSubstitutes_;
};

// One member's typical request, and where the member keeps its own speller
// language: "Speller" = "<LCID>\Normal", or Access's "Language ID" = LCID.
struct Member {
  const char* suffix;
  int kind;
  const char* applicationKey;
  const char* version;  // Info's and the record's
  const char* tool;
  HostKeys languageKeys;  // empty: nowhere
  const char* languageValue;
  Values record;
};

std::string LanguageText(const char* valueName, int lcid) {
  return std::string(valueName) == "Speller" ? "sz:" + std::to_string(lcid) + "\\Normal" : std::to_string(lcid);
}

const std::vector<Member>& Members() {
  static const std::vector<Member> members{
      {"WW70", 0, "WINWORD", "7.0", "Spelling", {}, "", SpellerRecord(std::nullopt)},
      {"WW80", 0, "WINWORD", "8.0", "Spelling", {}, "", SpellerRecord(std::nullopt)},
      {"EX70", 0, "EXCEL", "7.0", "Spelling", {{HKEY_CURRENT_USER, kExcel95User}, {HKEY_LOCAL_MACHINE, kExcel95NewUsers}},
       "Speller", SpellerRecord(2057)},
      {"EX80", 0, "EXCEL", "8.0", "Spelling",
       {{HKEY_CURRENT_USER, kExcel97User},
        {HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker"}},
       "Speller", SpellerRecord(2057)},
      {"PP70", 0, "POWERPNT", "7.0", "Spelling",
       {{HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\PowerPoint\\7.0\\Spelling\\Speller"}}, "Speller",
       SpellerRecord(2057)},
      {"PP80", 0, "POWERPNT", "8.0", "Spelling", {}, "", SpellerRecord(0)},
      {"ACC70", 0, "MSACCESS", "7.0", "Spelling", {{HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Access\\7.0\\Speller"}},
       "Language ID", SpellerRecord(2057)},
      {"ACC80", 0, "MSACCESS", "8.0", "Spelling",
       {{HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller"}}, "Language ID", SpellerRecord(2057)},
      // Outlook 98 files its records under its program's version; its speller
      // has no English original and is recorded inactive.
      {"OUTL97", 0, "OUTLOOK", "8.5", "Spelling",
       {{HKEY_CURRENT_USER, kOutlookUser},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\New User Settings\\Outlook\\Options\\Spelling"}},
       "Speller", SpellerRecord(2057, "0")},
      // Publisher 98 files its hyphenator under the shared tree's own word.
      {"MSPub98", 3, "MSPUB", "5.0", "Hyphenation", {}, "",
       {{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Saved LID", "0"}, {"Attached", "1"}}},
  };
  return members;
}

std::vector<std::string> Language(const Member& member) {
  std::vector<std::string> values;
  for (const auto& [root, key] : member.languageKeys) values.push_back(DescribeValues(root, key)[member.languageValue]);
  return values;
}

TEST_F(Office97, EveryMembersTypicalRequestRoundTripsItsLanguage) {
  for (const Member& member : Members()) EXPECT_EQ(Call("Avail", member.suffix, member.kind), 0u) << member.suffix;
  InstallAll();
  for (const Member& member : Members()) {
    SCOPED_TRACE(member.suffix);
    const char* suffix = member.suffix;
    const std::vector<std::string> british(member.languageKeys.size(), LanguageText(member.languageValue, 2057));
    EXPECT_EQ(InfoList(suffix), std::string(member.applicationKey) + '\0' + member.version + '\0' + '\0');
    EXPECT_EQ(Call("Exist", suffix, member.kind), 1u);
    EXPECT_EQ(Call("Avail", suffix, member.kind), 1u);
    ASSERT_EQ(Language(member), british);

    ASSERT_EQ(Call("Attach", suffix, member.kind), 1u);
    const std::string record = Record(std::string(member.applicationKey) + "\\" + member.version, member.tool);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), member.record);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(member.tool)), ProductRegistration(member.kind));
    EXPECT_EQ(Language(member),
              std::vector<std::string>(member.languageKeys.size(), LanguageText(member.languageValue, 1049)));
    EXPECT_EQ(Call("Check", suffix, member.kind), 1u);

    // Only the record and the host's language change back: the registration stays the product's.
    EXPECT_EQ(Call("Detach", suffix, member.kind), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
    EXPECT_EQ(Language(member), british);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(member.tool)), ProductRegistration(member.kind));
    EXPECT_EQ(Call("Check", suffix, member.kind), 0u);
  }
  // Avail wants the product's engine and lexicon in the language's start-up folder too.
  ASSERT_TRUE(DeleteFileA((startup_ + "\\SPRUNORM.LEX").c_str()));
  EXPECT_EQ(Call("Avail", "EX80", 0), 0u);
  EXPECT_EQ(Call("Avail", "EX80", 0, 1058), 1u);
}

TEST_F(Office97, KindsNotTakenAndLanguagesWithoutStartupFolderChangeNothing) {
  InstallAll();
  const auto before = RegistrySnapshot();
  const KindAnswers cases[] = {
      {"EX80", 2, kNA, kNA, kNA, kNA, kNA},    {"EX80", 4, 0, kNA, kNA, kNA, kNA},
      {"ACC70", -1, 0, kNA, kNA, kNA, kNA},    {"PP70", 3, kNA, kNA, kNA, kNA, kNA},
      {"OUTL97", 1, kNA, kNA, kNA, kNA, kNA},  {"MSPub98", 1, kNA, kNA, kNA, kNA, kNA},
      {"MSPub98", 2, kNA, kNA, kNA, kNA, kNA}, {"MSPub98", 4, 0, 0, 0, 0, 0},
      {"WW80", 4, 0, 0, 0, 0, 0},              {"WW70", -1, 0, 0, 0, 0, 0},
  };
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  // No start-up folder for English: Attach fails before it changes anything.
  for (const Member& member : Members()) EXPECT_EQ(Call("Attach", member.suffix, member.kind, 1033), 0u);
  EXPECT_EQ(RegistrySnapshot(), before);
}

// Besides its key, Word, Excel and PowerPoint 97 want their install root, Access
// 97 its program, and Outlook a program before version 9 (none read: "8.0").
TEST_F(Office97, ExistWantsEachMembersFurtherTestToo) {
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Word\\Options");
  CreateKey(HKEY_CURRENT_USER, kExcel97User);
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\PowerPoint");
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller");
  CreateKey(HKEY_CURRENT_USER, kOutlookUser);
  for (const char* suffix : {"WW80", "EX80", "PP80", "ACC80"}) EXPECT_EQ(Call("Exist", suffix, 0), 0u) << suffix;
  SetOffice97InstallRoot("Word", office_);
  EXPECT_EQ(Call("Exist", "WW80", 0), 1u);
  EXPECT_EQ(Call("Exist", "EX80", 0), 0u);  // each application has its own install root
  SetOffice97ProgramFolder(office_ + "\\");
  EXPECT_EQ(Call("Exist", "ACC80", 0), 0u);  // no MSACCESS.EXE there
  CreateFolder(office_);
  WriteVersionedModule(office_ + "\\MSACCESS.EXE", HostProgram(8, 0));
  EXPECT_EQ(Call("Exist", "ACC80", 0), 1u);

  EXPECT_EQ(Call("Exist", "OUTL97", 0), 1u);
  EXPECT_EQ(InfoList("OUTL97"), std::string("OUTLOOK\0" "8.0\0\0", 13));
  for (const auto& [major, expected] : {std::pair<WORD, KvilResult>{8, 1u}, {9, 0u}, {10, 0u}}) {
    InstallOutlook97(folder().Join("Outlook"), 1033, major, 0);
    EXPECT_EQ(Call("Exist", "OUTL97", 0), expected) << major;
  }
}

// A second Attach finds the product's language in the speller value and saves
// that; a failed one gives the host its own language back.
TEST_F(Office97, SpellerValueAfterASecondOrAFailedAttach) {
  InstallExcel97(office_, 2057);
  ASSERT_EQ(Call("Attach", "EX80", 0), 1u);
  ASSERT_EQ(Call("Attach", "EX80", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\8.0", "Spelling"), "Saved LID"), 1049u);

  InstallExcel95(2057);
  // A start-up folder so deep that no engine path under it fits.
  WriteText(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", "C:\\" + std::string(250, 'x'));
  EXPECT_EQ(Call("Attach", "EX70", 0), 0u);
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, kExcel95User, "Speller"), "2057\\Normal");
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kExcel95NewUsers, "Speller"), "2057\\Normal");
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("EXCEL\\7.0", "Spelling")), (Values{{"Attached", "0"}}));
}

// Detach puts a language back only from a record that saved one; of a host no
// longer there it only clears the record.
TEST_F(Office97, DetachNeedsASavedLanguageUnlessTheHostIsGone) {
  InstallExcel97(office_, 2057);
  const std::string record = Record("EXCEL\\8.0", "Spelling");
  WriteDword(HKEY_LOCAL_MACHINE, record, "Attached", 1);
  EXPECT_EQ(Call("Detach", "EX80", 0), 0u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 1u);
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, kExcel97User, "Speller"), "2057\\Normal");

  ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Excel"), ERROR_SUCCESS);
  EXPECT_EQ(Call("Detach", "EX80", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
}

// Word 95 keeps its own registration in its user key and in the copy new users
// get: the product's goes into both, Word's own is kept once and comes back.
// The grammar checker and hyphenator go into these keys only.
TEST_F(Office97, Word95OwnRegistrationsRoundTripInBothKeys) {
  InstallWord95();
  const HostKeys keys{{HKEY_CURRENT_USER, kWord95User}, {HKEY_LOCAL_MACHINE, kWord95NewUsers}};
  auto own = [&](const std::string& tool) {
    std::vector<Values> values;
    for (const auto& [root, base] : keys) values.push_back(DescribeValues(root, base + "\\" + tool + "\\1049\\Normal"));
    return values;
  };
  Values word;
  Values attached = ProductRegistration(0);
  for (const auto& [name, path] : {std::pair{"Engine", "C:\\WINWORD\\MSSP2_RU.DLL"}, {"Dictionary", "C:\\WINWORD\\MSSP2_RU.LEX"}}) {
    for (const auto& [root, base] : keys) WriteText(root, base + "\\Spelling\\1049\\Normal", name, path);
    word[name] = std::string("sz:") + path;
    attached[std::string("Saved by Kvil 8:") + name] = word[name];
  }
  for (int round = 1; round <= 2; ++round) {
    ASSERT_EQ(Call("Attach", "WW70", 0), 1u);
    EXPECT_EQ(own("Spelling"), std::vector<Values>(2, attached)) << "attach " << round;
  }
  EXPECT_EQ(Call("Detach", "WW70", 0), 1u);
  EXPECT_EQ(own("Spelling"), std::vector<Values>(2, word));

  for (const auto& [kind, tool] : {std::pair{1, "Grammar"}, {3, "Hyphenate"}}) {
    SCOPED_TRACE(tool);
    ASSERT_EQ(Call("Attach", "WW70", kind), 1u);
    EXPECT_EQ(own(tool), std::vector<Values>(2, ProductRegistration(kind)));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration(tool)));
    EXPECT_EQ(Call("Check", "WW70", kind), 1u);  // from Word's user key
    EXPECT_EQ(Call("Detach", "WW70", kind), 1u);
    EXPECT_EQ(own(tool), std::vector<Values>(2));
  }
}

// Access draws Tahoma with the Cyrillic set while attached. The entry replaced
// is kept in Access 97's own record (at its full 260 bytes) but, as for every
// Access module, put back only from Access 2002's.
TEST_F(Office97, Access97SubstitutesTahomaAndPutsItBackOnlyFromAccess2002sRecord) {
  InstallAccess97(office_, 1033);
  const std::string record = Record("MSACCESS\\8.0", "Spelling");
  std::string stored = "Tahoma,0";
  stored.resize(260, '\0');
  for (const char* entry : {static_cast<const char*>(nullptr), "Tahoma,0"}) {
    WriteTahomaSubstitute(entry);
    ASSERT_EQ(Call("Attach", "ACC80", 0), 1u);
    EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, record, "Tahoma orig setting"),
              entry == nullptr ? std::nullopt : std::optional(RegValue{REG_SZ, {stored.begin(), stored.end()}}));
  }
  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
  WriteText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling"), "Tahoma orig setting", "Tahoma,0");
  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,0");
}

}  // namespace
}  // namespace kvil::test

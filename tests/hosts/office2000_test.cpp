// Office 2000, XP and 2003 through the DLL's exports: Word, Excel, PowerPoint,
// Access, Outlook, Publisher and InfoPath 2003.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>

#include "office_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

struct Member {
  const char* suffix;
  int kind;
  int officeVersion;
  const char* application;  // as the fixture installs it
  const char* applicationKey;
  const char* version;
  KvilResult exist, attach;
  Values record;
  const char* languageKey;  // the host's language (HKCU ...\Office\<v>.0\<key>, DWORD); null: none
  const char* languageValue;
};

// What each member's typical request gives on a machine with every Office 2000
// to 2003 host and Office 2000's Russian speller registered by the Installer.
// Office XP and 2003 have Installer rows for the Russian grammar checker only:
// their speller members answer "not applicable" and write no record.
const Values kGrammarRecord{{"Action", "1"}, {"Attached", "1"}};
const Member kMembers[] = {
    {"WW90", 0, 9, "Word", "WINWORD", "9.0", 1, 1, SpellerRecord(std::nullopt), nullptr, nullptr},
    {"WW100", 1, 10, "Word", "WINWORD", "10.0", 1, 1, kGrammarRecord, nullptr, nullptr},
    {"WW11", 1, 11, "Word", "WINWORD", "11.0", 1, 1, kGrammarRecord, nullptr, nullptr},
    {"EX90", 0, 9, "Excel", "EXCEL", "9.0", 1, 1, SpellerRecord(0), "Excel\\Spell Checker", "Speller"},
    {"EX100", 0, 10, "Excel", "EXCEL", "10.0", 1, kNA, {}, "Excel\\Spell Checker", "Speller"},
    {"EX11", 0, 11, "Excel", "EXCEL", "11.0", 1, kNA, {}, "Excel\\Spell Checker", "Speller"},
    {"PP90", 0, 9, "PowerPoint", "POWERPNT", "9.0", 1, 1, SpellerRecord(0), nullptr, nullptr},
    {"PP100", 0, 10, "PowerPoint", "POWERPNT", "10.0", 1, kNA, {}, nullptr, nullptr},
    {"PP11", 0, 11, "PowerPoint", "POWERPNT", "11.0", 1, kNA, {}, nullptr, nullptr},
    {"ACC90", 0, 9, "Access", "MSACCESS", "9.0", 1, 1, SpellerRecord(0), "Access\\Speller", "Language ID"},
    {"ACC100", 0, 10, "Access", "MSACCESS", "10.0", 1, kNA, {}, "Access\\Speller", "Language ID"},
    {"ACC11", 0, 11, "Access", "MSACCESS", "11.0", 1, kNA, {}, "Access\\Speller", "Language ID"},
    // No English original: the Outlook speller's record is inactive.
    {"OUTL2000", 0, 9, "Outlook", "OUTLOOK", "9.0", 1, 1, SpellerRecord(0, "0"), nullptr, nullptr},
    {"OUTL2002", 0, 10, "Outlook", "OUTLOOK", "10.0", 1, kNA, {}, nullptr, nullptr},
    {"OUTL11", 0, 11, "Outlook", "OUTLOOK", "11.0", 1, kNA, {}, nullptr, nullptr},
    {"MSPub90", 0, 9, "Publisher", "MSPUB", "6.0", 1, 1, SpellerRecord(0), nullptr, nullptr},
    {"MSPub100", 0, 10, "Publisher", "MSPUB", "10.0", kNA, kNA, {}, nullptr, nullptr},
    {"MSPub11", 0, 11, "Publisher", "MSPUB", "11.0", 1, kNA, {}, nullptr, nullptr},
    {"InfoPath11", 0, 11, "InfoPath", "INFOPATH", "11.0", 1, kNA, {}, "Infopath\\Speller", "DefaultLanguage"},
};
// Office 2003 also records the application itself under these names.
const std::map<std::string, std::string> kOffice2003Names{
    {"WINWORD", "Microsoft Word 2003"},       {"EXCEL", "Microsoft Excel 2003"},
    {"POWERPNT", "Microsoft PowerPoint 2003"}, {"MSACCESS", "Microsoft Access 2003"},
    {"OUTLOOK", "Microsoft Outlook 2003"},     {"MSPUB", "Microsoft Publisher 2003"},
    {"INFOPATH", "Microsoft InfoPath 2003"}};

class Office2000 : public OfficeFamilyTest {
 protected:
  void InstallAll() {
    for (const Member& member : kMembers) InstallOfficeApplication(member.officeVersion, member.application, office_);
    RegisterOffice2000RussianSpeller(office_ + "\\Proof");
  }
  std::optional<DWORD> Language(const Member& member) const {
    return ReadDword(HKEY_CURRENT_USER,
                     "Software\\Microsoft\\Office\\" + std::string(member.version) + "\\" + member.languageKey,
                     member.languageValue);
  }

  FontSubstituteGuard fontSubstitutes_;
};

TEST_F(Office2000, EveryMembersTypicalRequest) {
  InstallAll();
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.suffix);
    const std::string host = std::string(member.applicationKey) + "\\" + member.version;
    const std::string record = Record(host, member.kind == 0 ? "Spelling" : "Grammar");
    EXPECT_EQ(InfoList(member.suffix), std::string(member.applicationKey) + '\0' + member.version + '\0' + '\0');
    EXPECT_EQ(Call("Exist", member.suffix, member.kind), member.exist);
    ASSERT_EQ(Call("Attach", member.suffix, member.kind), member.attach);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), member.record);
    EXPECT_EQ(Call("Check", member.suffix, member.kind), member.attach == 1 ? 1u : 0u);
    Values application;
    if (member.officeVersion == 11) {
      application = {{"Path", "sz:" + office_ + "\\" + member.applicationKey + ".exe"},
                     {"Name", "sz:" + kOffice2003Names.at(member.applicationKey)}};
    }
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + host), application);

    // Detach clears the record and leaves the host's language the product's.
    EXPECT_EQ(Call("Detach", member.suffix, member.kind), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
    EXPECT_EQ(Call("Check", member.suffix, member.kind), 0u);
    if (member.languageKey != nullptr) {
      EXPECT_EQ(Language(member), 1049u);
    }
  }
  // Office keeps the product's engine after Detach; the Installer's path is kept beside it.
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kLocalSystemComponents) + "\\" + kRussianSpellerEngineComponent),
            (Values{{kOffice2000RussianPacked, InStartup("kvilsp3.dll")},
                    {std::string("Saved by Kvil 8:") + kOffice2000RussianPacked, "sz:" + office_ + "\\Proof\\MSSP3RU.DLL"}}));
}

TEST_F(Office2000, KindsNotTakenGetTheMembersOwnAnswerAndWriteNothing) {
  InstallAll();
  const KindAnswers cases[] = {
      {"EX90", 2, kNA, kNA, kNA, kNA, kNA},    {"EX11", 4, 0, kNA, 0, kNA, kNA},
      {"ACC100", -1, 0, kNA, 0, kNA, kNA},     {"InfoPath11", 3, kNA, kNA, kNA, kNA, kNA},
      {"WW90", 4, 0, 0, 0, 0, 0},              {"WW11", -1, 0, 0, 0, 0, 0},
      {"MSPub90", 2, kNA, kNA, kNA, kNA, kNA}, {"MSPub90", 4, 0, 0, 0, 0, 0},
      {"MSPub11", 1, kNA, kNA, kNA, kNA, kNA}, {"MSPub100", 5, 0, 0, 0, 0, 0},
  };
  const auto before = RegistrySnapshot();
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(RegistrySnapshot(), before);
}

// Publisher 2002 answers "not applicable" whatever its tests found, so that
// Avail goes on to the product's files even where it is absent.
TEST_F(Office2000, Publisher2002AvailGoesOnToTheProductsFilesWithoutPublisher) {
  EXPECT_EQ(Call("Avail", "MSPub100", 0), 1u);
  EXPECT_EQ(Call("Avail", "MSPub100", 3, 1058), 1u);
  EXPECT_EQ(Call("Avail", "MSPub11", 0), 0u);
}

TEST_F(Office2000, ExcelAnswersTheInstallersYesWhenTheSharedRegistrationFails) {
  InstallAll();
  // A start-up folder so deep that no engine path under it fits.
  WriteText(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", "C:\\" + std::string(250, 'x'));
  EXPECT_EQ(Call("Attach", "EX90", 0), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\EXCEL"));
  EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\9.0\\Excel\\Spell Checker", "Speller"), 1049u);
  EXPECT_EQ(Call("Attach", "PP90", 0), 0u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("POWERPNT\\9.0", "Spelling")), (Values{{"Attached", "0"}}));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
}

// Every Access module puts Tahoma back from Access 2002's record, and only while
// the other language is not attached there. Access 2000 attaches Russian only
// (no Installer row for Ukrainian) but substitutes Tahoma for both.
TEST_F(Office2000, AccessPutsTahomaBackFromAccess2002sRecordOnlyWhileTheOtherLanguageIsNot) {
  InstallOfficeApplication(9, "Access", office_);
  // The language, Access 2002's saved entry, the other language attached there, and the entry after Detach.
  const std::tuple<int, bool, bool, const char*> cases[] = {
      {1049, false, false, "Tahoma,204"}, {1049, true, false, "Tahoma,0"}, {1049, true, true, "Tahoma,204"},
      {1058, true, true, "Tahoma,204"},   {1058, true, false, "Tahoma,0"}};
  for (const auto& [lcid, savedIn2002, otherAttached, entryAfterDetach] : cases) {
    SCOPED_TRACE(testing::Message() << lcid << " saved " << savedIn2002 << " other " << otherAttached);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductRecords);
    if (savedIn2002) {
      WriteText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling", lcid), "Tahoma orig setting", "Tahoma,0");
    }
    WriteDword(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling", lcid == 1049 ? 1058 : 1049), "Attached", otherAttached);
    WriteTahomaSubstitute("Tahoma,0");
    const KvilResult attached = Call("Attach", "ACC90", 0, lcid);
    EXPECT_EQ(attached, lcid == 1049 ? 1u : kNA);
    EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\9.0", "Spelling", lcid), "Tahoma orig setting"),
              attached == 1 ? std::optional<std::string>("Tahoma,0") : std::nullopt);
    EXPECT_EQ(Call("Detach", "ACC90", 0, lcid), 1u);
    EXPECT_EQ(ReadTahomaSubstitute(), entryAfterDetach);
  }
}

// Office 2003's record of the application names Word's folder, else the Common
// one; without either it keeps the name alone.
TEST_F(Office2000, Office2003RecordsItsApplicationFromWordsFolderOrTheCommonOne) {
  const std::string application = std::string(kProductRecords) + "\\OUTLOOK\\11.0";
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Outlook");
  EXPECT_EQ(Call("Attach", "OUTL11", 0), kNA);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, application), (Values{{"Name", "sz:Microsoft Outlook 2003"}}));
  SetOfficeInstallRoot(11, "Common", "C:\\Common\\");
  EXPECT_EQ(Call("Attach", "OUTL11", 0), kNA);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, application, "Path"), "C:\\Common\\OUTLOOK.exe");
}

}  // namespace
}  // namespace kvil::test

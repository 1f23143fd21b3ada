// Office 2000, XP and 2003 through the DLL's exports: Word, Excel, PowerPoint,
// Access, Outlook, Publisher and InfoPath 2003.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr HostResult kNA = kNotApplicable;

struct Member {
  const char* suffix;
  int officeVersion;
  const char* application;  // as the fixture installs it
};
const Member kMembers[] = {
    {"WW90", 9, "Word"},         {"WW100", 10, "Word"},         {"WW11", 11, "Word"},
    {"EX90", 9, "Excel"},        {"EX100", 10, "Excel"},        {"EX11", 11, "Excel"},
    {"PP90", 9, "PowerPoint"},   {"PP100", 10, "PowerPoint"},   {"PP11", 11, "PowerPoint"},
    {"ACC90", 9, "Access"},      {"ACC100", 10, "Access"},      {"ACC11", 11, "Access"},
    {"OUTL2000", 9, "Outlook"},  {"OUTL2002", 10, "Outlook"},   {"OUTL11", 11, "Outlook"},
    {"MSPub90", 9, "Publisher"}, {"MSPub100", 10, "Publisher"}, {"MSPub11", 11, "Publisher"},
    {"InfoPath11", 11, "InfoPath"},
};

class Office2000 : public HostFamilyTest {
 protected:
  void InstallAll() {
    for (const Member& member : kMembers) InstallOfficeApplication(member.officeVersion, member.application, office_);
  }
  // Office 2000's Russian speller as its Installer registered it.
  void RegisterRussianSpellerComponents() {
    RegisterUninstallEntry(kOffice2000RussianProductCode);
    RegisterComponentPath(kLocalSystemComponents, kRussianSpellerEngineComponent, kOffice2000RussianPacked,
                          office_ + "\\Proof\\MSSP3RU.DLL");
    RegisterComponentPath(kLocalSystemComponents, kRussianSpellerLexiconComponent, kOffice2000RussianPacked,
                          office_ + "\\Proof\\MSSP3RU.LEX");
  }


  FontSubstituteGuard fontSubstitutes_;
};

// What one member's typical request (Exist, Attach, Check, Detach, Check) gives
// on a machine with every Office 2000 to 2003 host and Office 2000's Russian
// speller registered by the Installer.
struct TypicalRequest {
  const char* suffix;
  int kind;
  HostResult exist;
  HostResult attach;  // 1, or "not applicable" where the Installer has no row
  const char* record;  // application key \ version \ tool
  Values attachedRecord;
  // The host's own language value (HKCU), DWORD; null: none.
  const char* hostKey;
  const char* hostValue;
  const char* applicationRecord;  // Office 2003: "<APP>\11.0"
};

Values SpellerRecord(const char* action, bool savedLid) {
  Values record{{"Learning", "1"},  {"StrictYO", "1"}, {"Original LID", "1033"},
                {"Action", action}, {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};
  if (savedLid) record["Saved LID"] = "0";
  return record;
}

std::vector<TypicalRequest> TypicalRequests() {
  const Values grammar{{"Action", "1"}, {"Attached", "1"}};
  const Values saved = SpellerRecord("1", true);
  return {
      {"WW90", 0, 1, 1, "WINWORD\\9.0\\Spelling", SpellerRecord("1", false), nullptr, nullptr, nullptr},
      // Office XP and 2003 have Installer rows for the Russian grammar checker only.
      {"WW100", 1, 1, 1, "WINWORD\\10.0\\Grammar", grammar, nullptr, nullptr, nullptr},
      {"WW11", 1, 1, 1, "WINWORD\\11.0\\Grammar", grammar, nullptr, nullptr, "WINWORD\\11.0"},
      {"EX90", 0, 1, 1, "EXCEL\\9.0\\Spelling", saved, "Software\\Microsoft\\Office\\9.0\\Excel\\Spell Checker",
       "Speller", nullptr},
      {"EX100", 0, 1, kNA, "EXCEL\\10.0\\Spelling", {}, "Software\\Microsoft\\Office\\10.0\\Excel\\Spell Checker",
       "Speller", nullptr},
      {"EX11", 0, 1, kNA, "EXCEL\\11.0\\Spelling", {}, "Software\\Microsoft\\Office\\11.0\\Excel\\Spell Checker",
       "Speller", "EXCEL\\11.0"},
      {"PP90", 0, 1, 1, "POWERPNT\\9.0\\Spelling", saved, nullptr, nullptr, nullptr},
      {"PP100", 0, 1, kNA, "POWERPNT\\10.0\\Spelling", {}, nullptr, nullptr, nullptr},
      {"PP11", 0, 1, kNA, "POWERPNT\\11.0\\Spelling", {}, nullptr, nullptr, "POWERPNT\\11.0"},
      {"ACC90", 0, 1, 1, "MSACCESS\\9.0\\Spelling", saved, "SOFTWARE\\Microsoft\\Office\\9.0\\Access\\Speller",
       "Language ID", nullptr},
      {"ACC100", 0, 1, kNA, "MSACCESS\\10.0\\Spelling", {}, "SOFTWARE\\Microsoft\\Office\\10.0\\Access\\Speller",
       "Language ID", nullptr},
      {"ACC11", 0, 1, kNA, "MSACCESS\\11.0\\Spelling", {}, "SOFTWARE\\Microsoft\\Office\\11.0\\Access\\Speller",
       "Language ID", "MSACCESS\\11.0"},
      // No English original: the Outlook speller's record is inactive.
      {"OUTL2000", 0, 1, 1, "OUTLOOK\\9.0\\Spelling", SpellerRecord("0", true), nullptr, nullptr, nullptr},
      {"OUTL2002", 0, 1, kNA, "OUTLOOK\\10.0\\Spelling", {}, nullptr, nullptr, nullptr},
      {"OUTL11", 0, 1, kNA, "OUTLOOK\\11.0\\Spelling", {}, nullptr, nullptr, "OUTLOOK\\11.0"},
      {"MSPub90", 0, 1, 1, "MSPUB\\6.0\\Spelling", saved, nullptr, nullptr, nullptr},
      {"MSPub100", 0, kNA, kNA, "MSPUB\\10.0\\Spelling", {}, nullptr, nullptr, nullptr},
      {"MSPub11", 0, 1, kNA, "MSPUB\\11.0\\Spelling", {}, nullptr, nullptr, "MSPUB\\11.0"},
      {"InfoPath11", 0, 1, kNA, "INFOPATH\\11.0\\Spelling", {}, "SOFTWARE\\Microsoft\\Office\\11.0\\Infopath\\Speller",
       "DefaultLanguage", "INFOPATH\\11.0"},
  };
}

TEST_F(Office2000, EveryMembersTypicalRequest) {
  InstallAll();
  RegisterRussianSpellerComponents();
  const std::map<std::string, std::string> displayNames{
      {"WINWORD", "Microsoft Word 2003"},       {"EXCEL", "Microsoft Excel 2003"},
      {"POWERPNT", "Microsoft PowerPoint 2003"}, {"MSACCESS", "Microsoft Access 2003"},
      {"OUTLOOK", "Microsoft Outlook 2003"},     {"MSPUB", "Microsoft Publisher 2003"},
      {"INFOPATH", "Microsoft InfoPath 2003"}};
  for (const TypicalRequest& request : TypicalRequests()) {
    SCOPED_TRACE(request.suffix);
    const std::string record = std::string(kProductRecords) + "\\" + request.record + "\\1049";
    EXPECT_EQ(Call("Exist", request.suffix, request.kind), request.exist);
    ASSERT_EQ(Call("Attach", request.suffix, request.kind), request.attach);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), request.attachedRecord);
    EXPECT_EQ(Call("Check", request.suffix, request.kind), request.attach == 1 ? 1u : 0u);
    if (request.hostKey != nullptr) {
      EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, request.hostKey, request.hostValue), 1049u);
    }
    if (request.applicationRecord != nullptr) {
      const std::string recordName = request.applicationRecord;
      const std::string application = recordName.substr(0, recordName.find('\\'));
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + request.applicationRecord),
                (Values{{"Path", "sz:" + office_ + "\\" + application + ".exe"},
                        {"Name", "sz:" + displayNames.at(application)}}));
    }

    // Detach clears the record and leaves the host's value at the product's language.
    EXPECT_EQ(Call("Detach", request.suffix, request.kind), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
    EXPECT_EQ(Call("Check", request.suffix, request.kind), 0u);
    if (request.hostKey != nullptr) {
      EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, request.hostKey, request.hostValue), 1049u);
    }
  }
}

TEST_F(Office2000, Word2000SpellerPointsTheInstallersComponentsAtTheProduct) {
  InstallOfficeApplication(9, "Word", office_);
  RegisterRussianSpellerComponents();
  ASSERT_EQ(Call("Attach", "WW90", 0), 1u);
  const std::string engine = std::string(kRussianSpellerEngineComponent) + ":";
  const std::string lexicon = std::string(kRussianSpellerLexiconComponent) + ":";
  const std::string packed = kOffice2000RussianPacked;
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kLocalSystemComponents),
            (Values{
                {"", "key"},
                {kRussianSpellerEngineComponent, "key"},
                {engine + packed, InStartup("kvilsp3.dll")},
                {engine + "Saved by Kvil 8:" + packed, "sz:" + office_ + "\\Proof\\MSSP3RU.DLL"},
                {kRussianSpellerLexiconComponent, "key"},
                {lexicon + packed, InStartup("SPRUNORM.LEX")},
                {lexicon + "Saved by Kvil 8:" + packed, "sz:" + office_ + "\\Proof\\MSSP3RU.LEX"},
            }));
  // Detach leaves Office with the product's engine.
  ASSERT_EQ(Call("Detach", "WW90", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kLocalSystemComponents) + "\\" + kRussianSpellerEngineComponent,
                     packed),
            startup_ + "\\kvilsp3.dll");
}

TEST_F(Office2000, Publisher2002AnswersNotApplicableWhateverItFinds) {
  const std::pair<int, HostResult> exist[] = {{0, kNA}, {1, kNA}, {2, kNA}, {3, kNA}, {4, 0}, {5, 0}, {-1, 0}};
  for (bool installed : {false, true}) {
    if (installed) InstallOfficeApplication(10, "Publisher", office_);
    for (const auto& [kind, answer] : exist) {
      EXPECT_EQ(Call("Exist", "MSPub100", kind), answer) << "kind " << kind << (installed ? " installed" : "");
    }
  }
  // So Avail goes on to the product's files even where Publisher 2002 is absent,
  // unlike Publisher 2003's.
  ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\10.0\\Publisher"), ERROR_SUCCESS);
  EXPECT_EQ(Call("Avail", "MSPub100", 0), 1u);
  EXPECT_EQ(Call("Avail", "MSPub100", 3, 1058), 1u);
  EXPECT_EQ(Call("Avail", "MSPub11", 0), 0u);
}

TEST_F(Office2000, ExcelAnswersTheInstallersYesWhenTheSharedRegistrationFails) {
  InstallAll();
  // A start-up folder so deep that no engine path under it fits a path.
  const std::string deep = "C:\\" + std::string(250, 'x');
  WriteText(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", deep);
  EXPECT_EQ(Call("Attach", "EX90", 0), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\EXCEL"));
  EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\9.0\\Excel\\Spell Checker", "Speller"), 1049u);

  EXPECT_EQ(Call("Attach", "PP90", 0), 0u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("POWERPNT\\9.0", "Spelling")), (Values{{"Attached", "0"}}));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kSharedProofingTools) + "\\Spelling\\1049\\Normal"));
}

TEST_F(Office2000, Excel2003WithoutInstallerRowsAnswersNotApplicableAfterSettingItsSpeller) {
  InstallOfficeApplication(11, "Excel", office_);
  WriteDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\11.0\\Excel\\Spell Checker", "Speller", 1033);
  EXPECT_EQ(Call("Attach", "EX11", 0), kNA);
  EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\11.0\\Excel\\Spell Checker", "Speller"), 1049u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record("EXCEL\\11.0", "Spelling")));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer"));
}

TEST_F(Office2000, AccessPutsTahomaBackFromAccess2002sRecordOnlyWhileTheOtherLanguageIsNot) {
  InstallOfficeApplication(9, "Access", office_);
  struct TahomaCase {
    int lcid;
    bool savedIn2002;
    bool otherAttachedIn2002;
    const char* entryAfterDetach;
  };
  const TahomaCase cases[] = {
      {1049, false, false, "Tahoma,204"},  // nothing saved where Detach looks
      {1049, true, false, "Tahoma,0"},
      {1049, true, true, "Tahoma,204"},
      {1058, true, true, "Tahoma,204"},  // no Installer row: not attached, and still left alone
      {1058, true, false, "Tahoma,0"},
  };
  for (const TahomaCase& c : cases) {
    SCOPED_TRACE(testing::Message() << c.lcid << " saved " << c.savedIn2002 << " other " << c.otherAttachedIn2002);
    const int other = c.lcid == 1049 ? 1058 : 1049;
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductRecords);
    if (c.savedIn2002) WriteText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling", c.lcid), "Tahoma orig setting", "Tahoma,0");
    WriteDword(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling", other), "Attached", c.otherAttachedIn2002);
    WriteTahomaSubstitute("Tahoma,0");

    const HostResult attached = Call("Attach", "ACC90", 0, c.lcid);
    EXPECT_EQ(attached, c.lcid == 1049 ? 1u : kNA);
    EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
    if (attached == 1) {
      EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\9.0", "Spelling", c.lcid), "Tahoma orig setting"),
                "Tahoma,0");
    }
    EXPECT_EQ(Call("Detach", "ACC90", 0, c.lcid), 1u);
    EXPECT_EQ(ReadTahomaSubstitute(), c.entryAfterDetach);
  }
}

TEST_F(Office2000, Office2003RecordsItsApplicationFromWordsFolderOrTheCommonOne) {
  struct PathCase {
    std::optional<std::string> wordRoot;
    std::optional<std::string> commonRoot;
    std::optional<std::string> path;
  };
  const PathCase cases[] = {
      {"C:\\Office11\\", "C:\\Common\\", "C:\\Office11\\OUTLOOK.exe"},
      {"C:\\Office11", std::nullopt, "C:\\Office11\\OUTLOOK.exe"},
      {std::nullopt, "C:\\Common\\", "C:\\Common\\OUTLOOK.exe"},
      {std::nullopt, std::nullopt, std::nullopt},
  };
  const std::string application = std::string(kProductRecords) + "\\OUTLOOK\\11.0";
  for (const PathCase& c : cases) {
    SCOPED_TRACE(c.path.value_or("no path"));
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductRecords);
    CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Outlook");
    if (c.wordRoot) SetOfficeInstallRoot(11, "Word", *c.wordRoot);
    if (c.commonRoot) SetOfficeInstallRoot(11, "Common", *c.commonRoot);
    EXPECT_EQ(Call("Attach", "OUTL11", 0), kNA);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, application, "Path"), c.path);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, application, "Name"), "Microsoft Outlook 2003");
  }
}

TEST_F(Office2000, ToolKindsAMemberDoesNotTakeGetItsOwnAnswerAndWriteNothing) {
  InstallAll();
  RegisterRussianSpellerComponents();
  const KindAnswers cases[] = {
      {"EX90", 2, kNA, kNA, kNA, kNA, kNA},     {"EX11", 4, 0, kNA, 0, kNA, kNA},
      {"ACC100", -1, 0, kNA, 0, kNA, kNA},      {"InfoPath11", 3, kNA, kNA, kNA, kNA, kNA},
      {"WW90", 4, 0, 0, 0, 0, 0},               {"WW11", -1, 0, 0, 0, 0, 0},
      {"MSPub90", 2, kNA, kNA, kNA, kNA, kNA},  {"MSPub90", 4, 0, 0, 0, 0, 0},
      {"MSPub11", 1, kNA, kNA, kNA, kNA, kNA},  {"MSPub100", 5, 0, 0, 0, 0, 0},
  };
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
}

}  // namespace
}  // namespace kvil::test

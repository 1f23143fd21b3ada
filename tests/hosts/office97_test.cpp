// The Office 95 and 97 family through the DLL's exports: Word, Excel,
// PowerPoint, Access, Outlook 97/98 and Publisher 98.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr const char kWord95User[] = "Software\\Microsoft\\Word\\7.0\\Proofing Tools";
constexpr const char kWord95NewUsers[] = "SOFTWARE\\Microsoft\\New User Settings\\Word\\7.0\\Proofing Tools";
constexpr HostResult kNA = kNotApplicable;

const char* const kMembers[] = {"WW70", "WW80", "EX70", "EX80", "PP70", "PP80", "ACC70", "ACC80", "OUTL97", "MSPub98"};

class Office97 : public HostFamilyTest {
 protected:
  // Every Office 95 and 97 host, as their setups leave them; the hosts keeping
  // their own speller language have British English.
  void InstallAllHosts() {
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

TEST_F(Office97, Word97SpellerForRussianLeavesExactlyTheseKeysAndValues) {
  InstallWord97(office_);
  RegisterForeignProofingTool("Spelling", 1049, office_ + "\\MSSP2_RU.DLL", office_ + "\\MSSP2_RU.LEX");
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");

  ASSERT_EQ(Call("Attach", "WW80", 0), 1u);

  const std::string kvil = "Tervane\\Kvil\\8.0\\";
  const std::string saved = kvil + "Saved connections\\Spelling\\1049\\Normal";
  const std::string record = kvil + "Products\\WINWORD\\8.0\\Spelling\\1049";
  const std::string shared = "Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal";
  EXPECT_EQ(Added(machineBefore, DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE")),
            (Values{
                {shared + ":Engine", InStartup("kvilsp3.dll")},
                {shared + ":Dictionary", InStartup("SPRUNORM.LEX")},
                {kvil + "Saved connections", "key"},
                {kvil + "Saved connections\\Spelling", "key"},
                {kvil + "Saved connections\\Spelling\\1049", "key"},
                {saved, "key"},
                {saved + ":Engine", "sz:" + office_ + "\\MSSP2_RU.DLL"},
                {saved + ":Dictionary", "sz:" + office_ + "\\MSSP2_RU.LEX"},
                {kvil + "Products", "key"},
                {kvil + "Products\\WINWORD", "key"},
                {kvil + "Products\\WINWORD\\8.0", "key"},
                {kvil + "Products\\WINWORD\\8.0\\Spelling", "key"},
                {record, "key"},
                {record + ":Learning", "1"},
                {record + ":StrictYO", "1"},
                {record + ":Original LID", "1033"},
                {record + ":Action", "1"},
                {record + ":Attached", "1"},
                {record + ":Supplement dictionaries", "sz:Normal"},
            }));
  EXPECT_EQ(Added(userBefore, DescribeTree(HKEY_CURRENT_USER, "Software")), Values{});
  EXPECT_EQ(Call("Check", "WW80", 0), 1u);

  // Detach clears the record only; the registration stays the product's.
  EXPECT_EQ(Call("Detach", "WW80", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("WINWORD\\8.0", "Spelling"), "Attached"), 0u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Registration("Spelling"), "Engine"), startup_ + "\\kvilsp3.dll");
  EXPECT_EQ(Call("Check", "WW80", 0), 0u);
}

TEST_F(Office97, InfoNamesEachHostAndItsVersion) {
  InstallOutlook97(folder().Join("Outlook"), 2057, 8, 5);
  struct InfoCase {
    const char* suffix;
    std::string key;
    std::string version;
  };
  const InfoCase cases[] = {
      {"WW70", "WINWORD", "7.0"},   {"WW80", "WINWORD", "8.0"},   {"EX70", "EXCEL", "7.0"},
      {"EX80", "EXCEL", "8.0"},     {"PP70", "POWERPNT", "7.0"},  {"PP80", "POWERPNT", "8.0"},
      {"ACC70", "MSACCESS", "7.0"}, {"ACC80", "MSACCESS", "8.0"}, {"OUTL97", "OUTLOOK", "8.5"},
      {"MSPub98", "MSPUB", "5.0"},
  };
  for (const InfoCase& c : cases) {
    char buffer[64];
    std::int32_t length = sizeof buffer;
    EXPECT_EQ(dll().Info(c.suffix, 9, 0, buffer, &length), 1u) << c.suffix;
    const std::string list = c.key + '\0' + c.version + '\0' + '\0';
    EXPECT_EQ(length, static_cast<std::int32_t>(list.size())) << c.suffix;
    EXPECT_EQ(std::string(buffer, list.size()), list) << c.suffix;
  }
}

TEST_F(Office97, ExistFindsEachInstalledHost) {
  for (const char* suffix : kMembers) EXPECT_EQ(Call("Exist", suffix, 0), 0u) << suffix;
  InstallAllHosts();
  for (const char* suffix : kMembers) EXPECT_EQ(Call("Exist", suffix, 0), 1u) << suffix;
  EXPECT_EQ(Call("Exist", "WW80", 3), 1u);
  EXPECT_EQ(Call("Exist", "MSPub98", 3), 1u);
}

TEST_F(Office97, ExistNeedsTheFurtherTestToo) {
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Word\\Options");
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker");
  CreateKey(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\PowerPoint");
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller");
  for (const char* suffix : {"WW80", "EX80", "PP80", "ACC80"}) EXPECT_EQ(Call("Exist", suffix, 0), 0u) << suffix;
  SetOffice97InstallRoot("Word", office_);
  EXPECT_EQ(Call("Exist", "WW80", 0), 1u);
  EXPECT_EQ(Call("Exist", "EX80", 0), 0u);  // each application has its own install root

  SetOffice97ProgramFolder(office_ + "\\");
  EXPECT_EQ(Call("Exist", "ACC80", 0), 0u);  // no MSACCESS.EXE there
  CreateFolder(office_);
  WriteVersionedModule(office_ + "\\MSACCESS.EXE", HostProgram(8, 0));
  EXPECT_EQ(Call("Exist", "ACC80", 0), 1u);
}

TEST_F(Office97, Outlook97IsOutlookBeforeVersion9) {
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling");
  char buffer[32];
  std::int32_t length = sizeof buffer;
  EXPECT_EQ(Call("Exist", "OUTL97", 0), 1u);  // no program found: "8.0"
  dll().Info("OUTL97", 0, 0, buffer, &length);
  EXPECT_EQ(std::string(buffer, length), std::string("OUTLOOK\0" "8.0\0\0", 13));

  const std::pair<WORD, HostResult> versions[] = {{8, 1u}, {9, 0u}, {10, 0u}};
  for (const auto& [major, expected] : versions) {
    InstallOutlook97(folder().Join("Outlook"), 1033, major, 0);
    EXPECT_EQ(Call("Exist", "OUTL97", 0), expected) << major;
  }
}

TEST_F(Office97, ToolKindsAMemberDoesNotTakeGetItsOwnAnswer) {
  InstallAllHosts();
  const KindAnswers cases[] = {
      {"EX80", 2, kNA, kNA, kNA, kNA, kNA},     {"EX80", 4, 0, kNA, kNA, kNA, kNA},
      {"EX80", -1, 0, kNA, kNA, kNA, kNA},      {"EX70", 1, kNA, kNA, kNA, kNA, kNA},
      {"PP70", 3, kNA, kNA, kNA, kNA, kNA},     {"PP80", 1, kNA, kNA, kNA, kNA, kNA},
      {"ACC70", 2, kNA, kNA, kNA, kNA, kNA},    {"ACC80", 4, 0, kNA, kNA, kNA, kNA},
      {"OUTL97", 3, kNA, kNA, kNA, kNA, kNA},   {"MSPub98", 1, kNA, kNA, kNA, kNA, kNA},
      {"MSPub98", 2, kNA, kNA, kNA, kNA, kNA},  {"MSPub98", 4, 0, 0, 0, 0, 0},
      {"WW80", 4, 0, 0, 0, 0, 0},               {"WW70", -1, 0, 0, 0, 0, 0},
  };
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kProductRecords));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
}

TEST_F(Office97, AvailWantsTheHostAndBothProductFiles) {
  EXPECT_EQ(Call("Avail", "EX80", 0), 0u);
  InstallAllHosts();
  for (const char* suffix : kMembers) EXPECT_EQ(Call("Avail", suffix, 0), 1u) << suffix;
  EXPECT_EQ(Call("Avail", "WW80", 3), 1u);
  EXPECT_EQ(Call("Avail", "MSPub98", 3, 1058), 1u);
  EXPECT_EQ(Call("Avail", "EX80", 0, 1033), 0u);  // no start-up folder for English
  ASSERT_TRUE(DeleteFileA((startup_ + "\\SPRUNORM.LEX").c_str()));
  EXPECT_EQ(Call("Avail", "EX80", 0), 0u);
  EXPECT_EQ(Call("Avail", "EX80", 0, 1058), 1u);
}

// A host keeping its own speller language: where, and how it is written.
struct LanguageHost {
  const char* suffix;
  const char* recordHost;  // application key \ version
  std::function<void(const std::string& officeFolder, const std::string& outlookFolder)> install;
  std::vector<std::pair<HKEY, std::string>> keys;
  const char* valueName;
  const char* hostValue;      // as installed (British English)
  const char* attachedValue;  // the product's language (Russian)
};

std::vector<LanguageHost> LanguageHosts() {
  const std::string excel97 = "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker";
  return {
      {"EX70", "EXCEL\\7.0", [](const std::string&, const std::string&) { InstallExcel95(2057); },
       {{HKEY_CURRENT_USER, "Software\\Microsoft\\Excel\\7.0\\Spell Checker"},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\New User Settings\\Excel\\7.0\\Spell Checker"}},
       "Speller", "sz:2057\\Normal", "sz:1049\\Normal"},
      {"EX80", "EXCEL\\8.0", [](const std::string& office, const std::string&) { InstallExcel97(office, 2057); },
       {{HKEY_CURRENT_USER, excel97},
        {HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker"}},
       "Speller", "sz:2057\\Normal", "sz:1049\\Normal"},
      {"PP70", "POWERPNT\\7.0", [](const std::string&, const std::string&) { InstallPowerPoint95(2057); },
       {{HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\PowerPoint\\7.0\\Spelling\\Speller"}}, "Speller",
       "sz:2057\\Normal", "sz:1049\\Normal"},
      {"OUTL97", "OUTLOOK\\8.5", [](const std::string&, const std::string& outlook) { InstallOutlook97(outlook, 2057, 8, 5); },
       {{HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling"},
        {HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\New User Settings\\Outlook\\Options\\Spelling"}},
       "Speller", "sz:2057\\Normal", "sz:1049\\Normal"},
      {"ACC70", "MSACCESS\\7.0", [](const std::string&, const std::string&) { InstallAccess95(2057); },
       {{HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Access\\7.0\\Speller"}}, "Language ID", "2057", "1049"},
      {"ACC80", "MSACCESS\\8.0", [](const std::string& office, const std::string&) { InstallAccess97(office, 2057); },
       {{HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller"}}, "Language ID", "2057", "1049"},
  };
}

TEST_F(Office97, LanguageHostsRoundTripTheirOwnSpellerLanguage) {
  for (const LanguageHost& host : LanguageHosts()) {
    SCOPED_TRACE(host.suffix);
    host.install(office_, folder().Join("Outlook"));
    auto hostValues = [&] {
      std::vector<std::string> values;
      for (const auto& [root, key] : host.keys) values.push_back(DescribeValues(root, key)[host.valueName]);
      return values;
    };
    const std::vector<std::string> installed(host.keys.size(), host.hostValue);
    const std::vector<std::string> attached(host.keys.size(), host.attachedValue);
    ASSERT_EQ(hostValues(), installed);

    ASSERT_EQ(Call("Attach", host.suffix, 0), 1u);
    EXPECT_EQ(hostValues(), attached);
    const std::string record = Record(host.recordHost, "Spelling");
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Saved LID"), 2057u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 1u);
    EXPECT_EQ(Call("Check", host.suffix, 0), 1u);

    EXPECT_EQ(Call("Detach", host.suffix, 0), 1u);
    EXPECT_EQ(hostValues(), installed);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
    EXPECT_EQ(Call("Check", host.suffix, 0), 0u);
  }
}

TEST_F(Office97, OutlookSpellerWithoutEnglishOriginalIsInactive) {
  InstallOutlook97(folder().Join("Outlook"), 1033, 8, 0);
  ASSERT_EQ(Call("Attach", "OUTL97", 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("OUTLOOK\\8.0", "Spelling")),
            (Values{{"Learning", "1"},
                    {"StrictYO", "1"},
                    {"Original LID", "1033"},
                    {"Action", "0"},
                    {"Saved LID", "1033"},
                    {"Attached", "1"},
                    {"Supplement dictionaries", "sz:Normal"}}));
}

TEST_F(Office97, SecondAttachKeepsTheFirstForeignBackupButRecordsTheProductsLanguage) {
  InstallExcel97(office_, 2057);
  RegisterForeignProofingTool("Spelling", 1049, office_ + "\\MSSP2_RU.DLL", office_ + "\\MSSP2_RU.LEX");
  const std::string saved = "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections\\Spelling\\1049\\Normal";
  ASSERT_EQ(Call("Attach", "EX80", 0), 1u);
  const Values firstBackup = DescribeValues(HKEY_LOCAL_MACHINE, saved);
  EXPECT_EQ(firstBackup, (Values{{"Engine", "sz:" + office_ + "\\MSSP2_RU.DLL"},
                                 {"Dictionary", "sz:" + office_ + "\\MSSP2_RU.LEX"}}));
  ASSERT_EQ(Call("Attach", "EX80", 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, saved), firstBackup);
  // The speller value already held Russian, and that is what the record keeps now.
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\8.0", "Spelling"), "Saved LID"), 1049u);
}

TEST_F(Office97, SpellerValueThatIsNotANumberIsEnglish) {
  InstallExcel97(office_, 2057);
  const std::string key = "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker";
  WriteText(HKEY_CURRENT_USER, key, "Speller", "Normal");
  ASSERT_EQ(Call("Attach", "EX80", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\8.0", "Spelling"), "Saved LID"), 1033u);
  ASSERT_EQ(Call("Detach", "EX80", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, key, "Speller"), "1033\\Normal");
}

TEST_F(Office97, DetachWithoutASavedLanguageFailsAndStaysAttached) {
  InstallExcel97(office_, 2057);
  WriteDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\8.0", "Spelling"), "Attached", 1);
  EXPECT_EQ(Call("Detach", "EX80", 0), 0u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\8.0", "Spelling"), "Attached"), 1u);
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker", "Speller"),
            "2057\\Normal");
}

TEST_F(Office97, DetachOfAHostNoLongerThereOnlyClearsTheRecord) {
  InstallExcel95(2057);
  ASSERT_EQ(Call("Attach", "EX70", 0), 1u);
  ASSERT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Microsoft\\Excel"), ERROR_SUCCESS);
  EXPECT_EQ(Call("Detach", "EX70", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCEL\\7.0", "Spelling"), "Attached"), 0u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\New User Settings\\Excel\\7.0\\Spell Checker",
                     "Speller"),
            "1049\\Normal");
}

TEST_F(Office97, MissingStartupFolderFailsBeforeAnyHostValueChanges) {
  InstallAllHosts();
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  for (const char* suffix : kMembers) EXPECT_EQ(Call("Attach", suffix, 0, 1033), 0u) << suffix;
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
}

TEST_F(Office97, AnOverlongStartupFolderRegistersNothing) {
  InstallAllHosts();
  WriteText(HKEY_LOCAL_MACHINE, product().OptionsKey(1049), "Kvil startup dir", "C:\\" + std::string(250, 'x'));
  for (const char* suffix : kMembers) {
    Call("Attach", suffix, 0);
    EXPECT_EQ(Call("Check", suffix, 0), 0u) << suffix;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration("Spelling")));
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, std::string(kWord95User) + "\\Spelling\\1049"));
}

TEST_F(Office97, CheckWantsTheProductsEngineStillRegistered) {
  InstallWord97(office_);
  ASSERT_EQ(Call("Attach", "WW80", 2), 1u);
  EXPECT_EQ(Call("Check", "WW80", 2), 1u);
  // Another maker's thesaurus from before the product's engines (version 3.0).
  CreateFolder(office_);
  VersionStamp older = ForeignEngine();
  older.productVersion = {3, 0, 0, 0};
  WriteVersionedModule(office_ + "\\MSTH_RU.DLL", older);
  WriteText(HKEY_LOCAL_MACHINE, Registration("Thesaurus"), "Engine", office_ + "\\MSTH_RU.DLL");
  EXPECT_EQ(Call("Check", "WW80", 2), 0u);
}

TEST_F(Office97, Publisher98HyphenatorIsFiledUnderHyphenation) {
  InstallPublisher98();
  ASSERT_EQ(Call("Attach", "MSPub98", 3), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Hyphenation")),
            (Values{{"Engine", InStartup("INHY32RU.DLL")}, {"Dictionary", InStartup("HYRUNORM.LEX")}}));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("MSPUB\\5.0", "Hyphenation")),
            (Values{{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Saved LID", "0"}, {"Attached", "1"}}));
  EXPECT_EQ(Call("Check", "MSPub98", 3), 1u);
  EXPECT_EQ(Call("Detach", "MSPub98", 3), 1u);
  EXPECT_EQ(Call("Check", "MSPub98", 3), 0u);
}

class Word95 : public Office97 {
 protected:
  void SetUp() override {
    Office97::SetUp();
    InstallWord95();
  }
  std::string OwnKey(const char* base, const char* tool) const {
    return std::string(base) + "\\" + tool + "\\1049\\Normal";
  }
};

TEST_F(Word95, OwnRegistrationsAreSavedAndPutBackInBothKeys) {
  const Values word{{"Engine", "sz:C:\\WINWORD\\MSSP2_RU.DLL"}, {"Dictionary", "sz:C:\\WINWORD\\MSSP2_RU.LEX"}};
  for (const auto& [root, base] : {std::pair{HKEY_CURRENT_USER, kWord95User}, {HKEY_LOCAL_MACHINE, kWord95NewUsers}}) {
    WriteText(root, OwnKey(base, "Spelling"), "Engine", "C:\\WINWORD\\MSSP2_RU.DLL");
    WriteText(root, OwnKey(base, "Spelling"), "Dictionary", "C:\\WINWORD\\MSSP2_RU.LEX");
  }
  ASSERT_EQ(Call("Attach", "WW70", 0), 1u);
  const Values attached{{"Engine", InStartup("kvilsp3.dll")},
                        {"Dictionary", InStartup("SPRUNORM.LEX")},
                        {"Saved by Kvil 8:Engine", "sz:C:\\WINWORD\\MSSP2_RU.DLL"},
                        {"Saved by Kvil 8:Dictionary", "sz:C:\\WINWORD\\MSSP2_RU.LEX"}};
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, OwnKey(kWord95User, "Spelling")), attached);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, OwnKey(kWord95NewUsers, "Spelling")), attached);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Registration("Spelling"), "Engine"), startup_ + "\\kvilsp3.dll");
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("WINWORD\\7.0", "Spelling"), "Attached"), 1u);
  EXPECT_EQ(Call("Check", "WW70", 0), 1u);

  ASSERT_EQ(Call("Attach", "WW70", 0), 1u);  // the first backups stay
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, OwnKey(kWord95User, "Spelling")), attached);

  EXPECT_EQ(Call("Detach", "WW70", 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, OwnKey(kWord95User, "Spelling")), word);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, OwnKey(kWord95NewUsers, "Spelling")), word);
  EXPECT_EQ(Call("Check", "WW70", 0), 0u);
}

TEST_F(Word95, KeysThatHeldOnlyTheProductGoOnDetach) {
  ASSERT_EQ(Call("Attach", "WW70", 2), 1u);
  EXPECT_EQ(Call("Detach", "WW70", 2), 1u);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, std::string(kWord95User) + "\\Thesaurus\\1049"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kWord95NewUsers) + "\\Thesaurus\\1049"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, kWord95User));
}

TEST_F(Word95, GrammarAndHyphenatorStayInWordsOwnKeys) {
  const std::pair<int, const char*> cases[] = {{1, "Grammar"}, {3, "Hyphenate"}};
  for (const auto& [kind, tool] : cases) {
    SCOPED_TRACE(tool);
    ASSERT_EQ(Call("Attach", "WW70", kind), 1u);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, OwnKey(kWord95User, tool)));
    EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, OwnKey(kWord95NewUsers, tool)));
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("WINWORD\\7.0", tool), "Attached"), 1u);
    EXPECT_EQ(Call("Check", "WW70", kind), 1u);
  }
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, OwnKey(kWord95User, "Hyphenate"), "Engine"), startup_ + "\\INHY32RU.DLL");
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
}

class Access97Tahoma : public Office97 {
 protected:
  void SetUp() override {
    Office97::SetUp();
    InstallAccess97(office_, 1033);
  }
  std::string AccessRecord(const char* version, int lcid = 1049) const {
    return Record(std::string("MSACCESS\\") + version, "Spelling", lcid);
  }
};

TEST_F(Access97Tahoma, WithoutAnEntryTheCyrillicSubstituteIsAddedAndNothingSaved) {
  WriteTahomaSubstitute(nullptr);
  ASSERT_EQ(Call("Attach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, AccessRecord("8.0"), "Tahoma orig setting"), std::nullopt);
  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
}

TEST_F(Access97Tahoma, TheFormerEntryIsKeptInTheRecordButPutBackOnlyFromAccess2002s) {
  WriteTahomaSubstitute("Tahoma,0");
  ASSERT_EQ(Call("Attach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
  std::string stored = "Tahoma,0";
  stored.resize(260, '\0');
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, AccessRecord("8.0"), "Tahoma orig setting"),
            (RegValue{REG_SZ, std::vector<std::uint8_t>(stored.begin(), stored.end())}));

  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);  // no Access 2002 record: the entry stays
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");

  WriteText(HKEY_LOCAL_MACHINE, AccessRecord("10.0"), "Tahoma orig setting", "Tahoma,0");
  WriteDword(HKEY_LOCAL_MACHINE, AccessRecord("10.0", 1058), "Attached", 1);
  ASSERT_EQ(Call("Attach", "ACC80", 0), 1u);
  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);  // Ukrainian still attached there
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");

  WriteDword(HKEY_LOCAL_MACHINE, AccessRecord("10.0", 1058), "Attached", 0);
  ASSERT_EQ(Call("Attach", "ACC80", 0), 1u);
  ASSERT_EQ(Call("Detach", "ACC80", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,0");
}

}  // namespace
}  // namespace kvil::test

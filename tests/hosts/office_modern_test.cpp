// Office 2007, 2010 and 2013 through the DLL's exports: the members of the three
// versions, and the Office-wide switching of Microsoft's Russian tools.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "handles.h"
#include "office_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Files = std::map<std::string, std::string>;
using KindAndLanguage = void (*)(std::int32_t, std::int32_t);
using KindAndLanguageResult = KvilResult (*)(std::int32_t, std::int32_t);
using Plain = void (*)();

class ModernOffice : public OfficeFamilyTest {
 protected:
  std::string OfficeFolder(int version) const { return folder().Join("Office" + std::to_string(version)); }
  std::string Module(int version) const {
    return OfficeFolder(version) + (version == 12 ? "\\msproof6.dll" : "\\msproof7.dll");
  }
  std::string Backup(int version) const {
    return OfficeFolder(version) + (version == 12 ? "\\msproof6.orig.dll" : "\\msproof7.orig.dll");
  }
  std::string Proof(const std::string& file) const { return OfficeFolder(15) + "\\PROOF\\" + file; }

  FontSubstituteGuard fontSubstitutes_;
};

// The list Microsoft's switch-out leaves live: the product's entry alone. It is
// written without its terminator, and the ANSI registry call stores the NUL that
// follows the entry in memory, as Windows does.
RegValue ProductEntryOnly(const QualifiedComponentList& list) {
  const std::string stored = list.productEntry + '\0';
  return {REG_MULTI_SZ, std::vector<std::uint8_t>(stored.begin(), stored.end())};
}
RegValue MultiSz(const std::string& bytes) { return {REG_MULTI_SZ, {bytes.begin(), bytes.end()}}; }
std::optional<RegValue> Live(const QualifiedComponentList& list) {
  return ReadValue(HKEY_CLASSES_ROOT, list.key, list.valueName);
}
std::optional<RegValue> Saved(const QualifiedComponentList& list) {
  return ReadValue(HKEY_CLASSES_ROOT, list.key, "Saved by Kvil 8 " + list.valueName);
}

// One application's typical request, the same in the three versions. Only the
// Russian grammar checker has Installer rows for these Offices: the speller
// members answer "not applicable" after recording the application and setting
// their language, and change nothing else; Publisher goes on whatever the
// Installer answers.
struct TypicalRequest {
  const char* stem;  // the suffix without its version
  const char* applicationKey;
  const char* productName;
  int kind;
  KvilResult attach;
  const char* userKey;  // the application's language, HKCU ...\Office\<version>\<key>
  const char* userValue;
};
const TypicalRequest kTypicalRequests[] = {
    {"EX", "EXCEL", "Microsoft Excel", 0, kNA, "Excel\\Spell Checker", "Speller"},
    {"PP", "POWERPNT", "Microsoft PowerPoint", 0, kNA, nullptr, nullptr},
    {"ACC", "MSACCESS", "Microsoft Access", 0, kNA, "Access\\InstallRoot", "Language ID"},
    {"FPAGE", "FRONTPG", "Microsoft FrontPage", 0, kNA, nullptr, nullptr},
    {"InfoPath", "INFOPATH", "Microsoft InfoPath", 0, kNA, "Infopath\\InstallRoot", "DefaultLanguage"},
    {"OneNote", "ONENOTE", "Microsoft OneNote", 0, kNA, "OneNote\\InstallRoot", "DefaultLanguage"},
    {"WW", "WINWORD", "Microsoft Word", 1, 1, nullptr, nullptr},
    {"OUTL", "OUTLOOK", "Microsoft Outlook", 1, 1, nullptr, nullptr},
    {"MSPub", "MSPUB", "Microsoft Publisher", 0, 1, nullptr, nullptr},
};

// The attached record: Word writes the plain one, the others keep a saved
// language; Office 2010 and 2013 take "StrictYO" out of the Russian speller's.
Values AttachedRecord(const std::string& applicationKey, int kind, int version) {
  if (applicationKey == "WINWORD") return {{"Action", "1"}, {"Attached", "1"}};
  if (kind == 1) return {{"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "0"}, {"Attached", "1"}};
  Values record = SpellerRecord(0);
  if (version != 12) record.erase("StrictYO");
  return record;
}

TEST_F(ModernOffice, EveryMembersTypicalRequest) {
  const std::string productModule = ReadFileBytes(startup_ + "\\kvilproof.dll");
  for (const auto& [version, year] : {std::pair{12, "2007"}, {14, "2010"}, {15, "2013"}}) {
    InstallModernOffice(version, OfficeFolder(version));
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSharedProofingTools);
    const std::string originalModule = ReadFileBytes(Module(version));
    const std::string v = std::to_string(version);
    for (const TypicalRequest& request : kTypicalRequests) {
      const std::string suffix = request.stem + v;
      if (suffix == "OneNote12") continue;
      SCOPED_TRACE(suffix);
      const char* tool = request.kind == 1 ? "Grammar" : "Spelling";
      const std::string host = std::string(request.applicationKey) + "\\" + v + ".0";
      EXPECT_EQ(InfoList(suffix.c_str()), InfoListOf(host));
      // Outlook 2007 is found for the speller only, though it attaches the grammar checker.
      EXPECT_EQ(Call("Exist", suffix.c_str(), request.kind), suffix == "OUTL12" ? kNA : 1u);
      ASSERT_EQ(Call("Attach", suffix.c_str(), request.kind), request.attach);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + host),
                (Values{{"Path", "sz:" + OfficeFolder(version) + "\\" + request.applicationKey + ".exe"},
                        {"Name", std::string("sz:") + request.productName + " " + year}}));
      if (request.userKey != nullptr) {
        EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\" + v + ".0\\" + request.userKey,
                            request.userValue),
                  1049u);
      }
      if (request.attach != 1) {
        EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record(host, tool)));
        EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration(tool)));
        EXPECT_EQ(ReadFileBytes(Module(version)), originalModule);
        EXPECT_EQ(Call("Check", suffix.c_str(), request.kind), 0u);
        continue;
      }
      const std::string record = Record(host, tool);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), AttachedRecord(request.applicationKey, request.kind, version));
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(tool)), ProductRegistration(request.kind));
      // Office's module is the product's, its own kept once.
      EXPECT_EQ(ReadFileBytes(Module(version)), productModule);
      EXPECT_EQ(ReadFileBytes(Backup(version)), originalModule);
      EXPECT_EQ(Call("Check", suffix.c_str(), request.kind), 1u);
      EXPECT_EQ(Call("Detach", suffix.c_str(), request.kind), 1u);
      EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
      EXPECT_EQ(Call("Check", suffix.c_str(), request.kind), 0u);
    }
  }
}

TEST_F(ModernOffice, ToolKindsAMemberDoesNotTakeGetItsOwnAnswerAndWriteNothing) {
  for (int version : {12, 14, 15}) InstallModernOffice(version, OfficeFolder(version));
  const KindAnswers cases[] = {
      {"WW14", 4, 0, 0, 0, 0, 0},               {"WW12", -1, 0, 0, 0, 0, 0},
      {"EX14", 1, kNA, kNA, kNA, kNA, kNA},     {"EX15", 4, 0, 0, kNA, kNA, kNA},
      {"ACC12", 2, kNA, kNA, kNA, kNA, kNA},    {"OUTL12", 3, kNA, kNA, kNA, kNA, kNA},
      {"OneNote14", 3, kNA, kNA, kNA, kNA, kNA}, {"PP15", 1, kNA, kNA, kNA, kNA, kNA},
      {"MSPub14", 1, kNA, kNA, kNA, kNA, kNA},  {"InfoPath15", 2, kNA, kNA, kNA, kNA, kNA},
  };
  const auto before = RegistrySnapshot();
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(RegistrySnapshot(), before);
}

// Word's grammar checker and Publisher's thesaurus and hyphenator attached
// twice, then detached (PowerPoint's too, which does not switch Microsoft's
// tool back) with Office's module: every module and file of Office is
// as it was, and the lists are Microsoft's again with the whole list saved
// beside them, but for Office 2007's quirks: it leaves the hyphenator switched
// out, and takes its grammar back from the registration the product saved,
// which here is none, so that Office's grammar key goes.
TEST_F(ModernOffice, AttachTwiceThenDetachPutsOfficeBack) {
  for (int version : {12, 14, 15}) {
    SCOPED_TRACE(version);
    InstallModernOffice(version, OfficeFolder(version));
    const Values listsBefore = DescribeTree(HKEY_CLASSES_ROOT, "Installer");
    const Files filesBefore = FolderContents(OfficeFolder(version));
    const std::string originalModule = ReadFileBytes(Module(version));
    std::map<std::string, std::string> originalProofFiles;
    for (const std::string& file : version == 15 ? Office2013ProofFiles() : std::vector<std::string>{}) {
      originalProofFiles[file] = ReadFileBytes(Proof(file));
    }
    const std::string v = std::to_string(version);
    const std::pair<std::string, int> requests[] = {{"WW" + v, 1}, {"MSPub" + v, 2}, {"MSPub" + v, 3}};
    for (int round = 0; round < 2; ++round) {
      for (const auto& [suffix, kind] : requests) ASSERT_EQ(Call("Attach", suffix.c_str(), kind), 1u) << suffix << kind;
      // The product's tools are live; what Office had is kept once, never overwritten.
      EXPECT_EQ(ReadFileBytes(Backup(version)), originalModule);
      for (const QualifiedComponentList& list : ModernOfficeLists(version)) {
        EXPECT_EQ(Live(list), ProductEntryOnly(list)) << list.key;
        EXPECT_EQ(Saved(list), InstalledList(list)) << list.key;
      }
      for (const auto& [file, bytes] : originalProofFiles) {
        EXPECT_FALSE(FileExists(Proof(file))) << file;
        EXPECT_EQ(ReadFileBytes(Proof(file) + ".ORIG"), bytes) << file;
      }
    }
    // PowerPoint's Detach only clears its record: Microsoft's thesaurus stays switched out.
    EXPECT_EQ(Call("Detach", ("PP" + v).c_str(), 2), 1u);
    for (const QualifiedComponentList& list : ModernOfficeLists(version)) {
      if (list.kind == 2) {
        EXPECT_EQ(Live(list), ProductEntryOnly(list)) << list.key;
      }
    }
    EXPECT_FALSE(FileExists(Proof("MSTH8RU.DLL")));
    for (const auto& [suffix, kind] : requests) EXPECT_EQ(Call("Detach", suffix.c_str(), kind), 1u) << suffix << kind;
    EXPECT_EQ(dll().Export<KvilResult (*)()>("DetachOffice" + v)(), 1u);
    Values lists = listsBefore;
    for (const QualifiedComponentList& list : ModernOfficeLists(version)) {
      const std::string value = list.key.substr(std::string("Installer\\").size()) + ":";
      const RegValue saved = InstalledList(list);
      const RegValue live = version == 12 && list.kind == 3 ? ProductEntryOnly(list) : MultiSz(MicrosoftListEntry() + '\0');
      lists[value + "Saved by Kvil 8 " + list.valueName] = "type 7:" + std::string(saved.bytes.begin(), saved.bytes.end());
      lists[value + list.valueName] = "type 7:" + std::string(live.bytes.begin(), live.bytes.end());
    }
    EXPECT_EQ(DescribeTree(HKEY_CLASSES_ROOT, "Installer"), lists);
    EXPECT_EQ(FolderContents(OfficeFolder(version)), filesBefore);
    EXPECT_EQ(KeyExists(HKEY_LOCAL_MACHINE, Registration("Grammar")), version != 12);
    RegDeleteTreeA(HKEY_CLASSES_ROOT, "Installer");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSharedProofingTools);
  }
}

// Every Access module puts Tahoma back from Access 2002's record, not its own.
TEST_F(ModernOffice, Access2010SubstitutesTahomaAndPutsItBackFromAccess2002sRecord) {
  InstallModernOffice(14, OfficeFolder(14));
  WriteTahomaSubstitute("Tahoma,0");
  EXPECT_EQ(Call("Attach", "ACC14", 0), kNA);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,204");
  WriteText(HKEY_LOCAL_MACHINE, Record("MSACCESS\\10.0", "Spelling"), "Tahoma orig setting", "Tahoma,0");
  EXPECT_EQ(Call("Detach", "ACC14", 0), 1u);
  EXPECT_EQ(ReadTahomaSubstitute(), "Tahoma,0");
}

// Office 2007's grammar comes back from the registration the product saved as
// "Original" (none saved: Office's grammar key goes, as the round trip shows),
// but never over a registration Office has.
TEST_F(ModernOffice, Office2007GrammarComesBackFromTheProductsSavedCopyOnlyWhereOfficeHasNone) {
  const std::string original = "SOFTWARE\\Tervane\\KVIL\\8.0\\Proofing Tools\\Grammar\\1049\\Original";
  WriteText(HKEY_LOCAL_MACHINE, original, "Engine", "C:\\Saved\\MSGR3RU.DLL");
  WriteText(HKEY_LOCAL_MACHINE, original, "Dictionary", "C:\\Saved\\MSGR3RU.LEX");
  const auto switchBack = dll().Export<KindAndLanguage>("AttachMS2007ProofingTool");
  switchBack(1, 1049);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Grammar")),
            (Values{{"Engine", "sz:C:\\Saved\\MSGR3RU.DLL"}, {"Dictionary", "sz:C:\\Saved\\MSGR3RU.LEX"}}));
  WriteText(HKEY_LOCAL_MACHINE, Registration("Grammar"), "Engine", "C:\\Office\\MSGR3RU.DLL");
  switchBack(1, 1049);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Registration("Grammar"), "Engine"), "C:\\Office\\MSGR3RU.DLL");
}

// Switching Microsoft's 2010 grammar checker out and back on lists as the
// Installer and earlier switches left them.
TEST_F(ModernOffice, Office2010ListsSwitchFromWhatWasSaved) {
  const QualifiedComponentList list = ModernOfficeLists(14).front();
  const std::string other = "another provider";
  const std::string productOnly = list.productEntry + '\0' + '\0';
  const std::string three = other + '\0' + list.productEntry + '\0' + "third" + '\0' + '\0';
  struct ListCase {
    const char* what;
    std::optional<RegValue> live, saved;
    const char* operation;
    std::optional<RegValue> liveAfter, savedAfter;
  };
  const char* out = "DetachMS2010ProofingTool";
  const char* back = "AttachMS2010ProofingTool";
  const ListCase cases[] = {
      {"no product entry: the live list stays", MultiSz(other + '\0' + '\0'), std::nullopt, out,
       MultiSz(other + '\0' + '\0'), MultiSz(other + '\0' + '\0')},
      {"switching back without a saved list changes nothing", ProductEntryOnly(list), std::nullopt, back,
       ProductEntryOnly(list), std::nullopt},
      {"the product's entry alone: the live list goes", ProductEntryOnly(list), MultiSz(productOnly), back,
       std::nullopt, MultiSz(productOnly)},
      {"switching back keeps every other entry and the last terminator", ProductEntryOnly(list), MultiSz(three), back,
       MultiSz(other + '\0' + "third" + '\0'), MultiSz(three)},
  };
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.what);
    RegDeleteTreeA(HKEY_CLASSES_ROOT, "Installer");
    CreateKey(HKEY_CLASSES_ROOT, list.key);
    if (c.live) WriteRaw(HKEY_CLASSES_ROOT, list.key, list.valueName, c.live->type, c.live->bytes);
    if (c.saved) WriteRaw(HKEY_CLASSES_ROOT, list.key, "Saved by Kvil 8 " + list.valueName, c.saved->type, c.saved->bytes);
    dll().Export<KindAndLanguage>(c.operation)(1, 1049);
    EXPECT_EQ(Live(list), c.liveAfter);
    EXPECT_EQ(Saved(list), c.savedAfter);
  }
}

TEST_F(ModernOffice, Office2013FilesMoveAsideOnceAndTheGrammarPairIsCrossed) {
  InstallModernOffice(15, OfficeFolder(15));
  const Files installed = FolderContents(OfficeFolder(15));
  const std::string ukrainianHyphenator = ReadFileBytes(Proof("MSHY7UK.DLL"));
  const auto switchOut = dll().Export<KindAndLanguageResult>("DetachMS2013ProofingTool");
  const auto switchBack = dll().Export<KindAndLanguageResult>("AttachMS2013ProofingTool");
  EXPECT_EQ(switchOut(3, 1058), 1u);
  EXPECT_FALSE(FileExists(Proof("MSHY7UK.DLL")));
  EXPECT_TRUE(FileExists(Proof("MSHY7RU.DLL")));
  // Thesaurus and grammar act for Russian only; nothing to do answers 1.
  EXPECT_EQ(switchOut(2, 1058), 1u);
  EXPECT_TRUE(FileExists(Proof("MSTH8RU.DLL")));
  // A file in the freed place is not moved over the kept one.
  WriteFile(Proof("MSHY7UK.DLL"), "the product's hyphenator");
  EXPECT_EQ(switchOut(3, 1058), 0u);
  EXPECT_EQ(ReadFileBytes(Proof("MSHY7UK.DLL.ORIG")), ukrainianHyphenator);
  EXPECT_EQ(switchBack(3, 1058), 1u);
  EXPECT_EQ(FolderContents(OfficeFolder(15)), installed);

  // The caller's "attach Microsoft's grammar" moves Microsoft's files aside, its "detach" puts them back.
  dll().Export<Plain>("AttachGrammarMS15")();
  EXPECT_FALSE(FileExists(Proof("1049\\MSGR8RU.DLL")));
  EXPECT_FALSE(FileExists(Proof("MSGR8RU.LEX")));
  dll().Export<Plain>("DetachGrammarMS15")();
  EXPECT_EQ(FolderContents(OfficeFolder(15)), installed);
}

TEST_F(ModernOffice, Office2013CopiesTakeMicrosoftsNamesAndAreListedForRemoval) {
  SetOfficeInstallRoot(15, "Word", OfficeFolder(15) + "\\");
  CreateFolder(OfficeFolder(15) + "\\PROOF");
  WriteFile(Proof("MSTH8RU.DLL"), "Microsoft's thesaurus");
  dll().Export<Plain>("CopyGrammar15")();
  dll().Export<Plain>("CopyThesaurus15")();
  dll().Export<void (*)(std::int32_t)>("CopyHyphenator15")(1033);
  const std::string productDir = product().options.productDir + "\\";
  const std::pair<const char*, const char*> copies[] = {
      {"1049\\MSGR8RU.DLL", "KVILGR32.DLL"}, {"MSGR8RU.LEX", "grrunorm.lex"}, {"MSTH8RU.DLL", "KVILTH32.DLL"},
      {"MSTH8RU.LEX", "thrunorm.lex"},       {"MSHY7UK.DLL", "inhy32ur.dll"}};
  const std::string list = SavedAddedFiles();
  for (const auto& [target, source] : copies) {
    EXPECT_EQ(ReadFileBytes(Proof(target)), ReadFileBytes(productDir + source)) << target;
    EXPECT_NE(list.find("fullpath=\"" + OfficeFolder(15) + "\\\\PROOF\\" + target + "\""), std::string::npos) << target;
  }
  // Microsoft's file is kept before the product's takes its name.
  EXPECT_EQ(ReadFileBytes(Proof("MSTH8RU.DLL.ORIG")), "Microsoft's thesaurus");
  EXPECT_FALSE(FileExists(Proof("MSHY7RU.DLL")));
}

TEST_F(ModernOffice, OfficesModuleIsNeverOverwrittenWithoutItsBackup) {
  const auto attach = dll().Export<KvilResult (*)(const char*)>("AttachOffice14");
  const auto detach = dll().Export<KvilResult (*)()>("DetachOffice14");
  EXPECT_EQ(attach(startup_.c_str()), 0u);  // no Office
  EXPECT_EQ(detach(), 1u);
  InstallModernOffice(14, OfficeFolder(14));
  const Files installed = FolderContents(OfficeFolder(14));
  EXPECT_EQ(detach(), 1u);  // nothing kept, nothing to put back
  EXPECT_EQ(attach(""), 0u);
  CreateFolder(Backup(14));  // the backup's name taken by a folder: nothing can be kept
  EXPECT_EQ(attach(startup_.c_str()), 0u);
  RemoveDirectoryA(Backup(14).c_str());
  {
    // Office running: its module is open, shared for reading only.
    const UniqueFile inUse(
        CreateFileA(Module(14).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(inUse);
    EXPECT_EQ(attach(startup_.c_str()), 0u);
  }
  EXPECT_EQ(FolderContents(OfficeFolder(14)), installed);

  ASSERT_EQ(attach(startup_.c_str()), 1u);
  EXPECT_NE(SavedAddedFiles().find("fullpath=\"" + Module(14) + "\""), std::string::npos);
  EXPECT_EQ(detach(), 1u);
  EXPECT_EQ(FolderContents(OfficeFolder(14)), installed);
}

TEST_F(ModernOffice, ApplicationsPathIsWordsFolderOfTheNamedVersion) {
  InstallModernOffice(14, OfficeFolder(14));
  const auto path = dll().Export<std::int32_t (*)(const wchar_t*, wchar_t*)>("GetOfficeApplicationsPath");
  wchar_t buffer[260];
  EXPECT_EQ(path(L"14.0", buffer), 260);
  const std::string expected = OfficeFolder(14) + "\\";
  EXPECT_EQ(std::wstring(buffer), std::wstring(expected.begin(), expected.end()));
  EXPECT_EQ(path(L"99.0", buffer), 0);
}

}  // namespace
}  // namespace kvil::test

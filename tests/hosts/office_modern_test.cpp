// Office 2007, 2010 and 2013 through the DLL's exports: the members of the three
// versions, and the Office-wide switching of Microsoft's Russian tools.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <stdexcept>
#include <utility>
#include <vector>

#include "handles.h"
#include "host_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
using Files = std::map<std::string, std::string>;

constexpr HostResult kNA = kNotApplicable;

using ByDirectory = HostResult (*)(const char*);
using NoArguments = HostResult (*)();
using KindAndLanguage = void (*)(std::int32_t, std::int32_t);
using KindAndLanguageResult = HostResult (*)(std::int32_t, std::int32_t);
using ByLanguage = void (*)(std::int32_t);
using Plain = void (*)();

class ModernOffice : public HostFamilyTest {
 protected:
  std::string OfficeFolder(int version) const { return folder().Join("Office" + std::to_string(version)); }
  std::string Module(int version) const {
    return OfficeFolder(version) + (version == 12 ? "\\msproof6.dll" : "\\msproof7.dll");
  }
  std::string Backup(int version) const {
    return OfficeFolder(version) + (version == 12 ? "\\msproof6.orig.dll" : "\\msproof7.orig.dll");
  }
  std::string Proof(const std::string& file) const { return OfficeFolder(15) + "\\PROOF\\" + file; }
  // Office's own state that the product may change: the Installer's lists and Office's folder.
  std::pair<Values, Files> OfficeState(int version) const {
    return {DescribeTree(HKEY_CLASSES_ROOT, "Installer"), FolderContents(OfficeFolder(version))};
  }
  template <typename Function>
  Function Export(const char* name) const {
    FARPROC found = dll().Find(name);
    if (found == nullptr) throw std::runtime_error(std::string("no export ") + name);
    return reinterpret_cast<Function>(found);
  }

  FontSubstituteGuard fontSubstitutes_;
};

// The list Microsoft's switch-out leaves live: the product's entry alone. It is
// written without its terminator, and the ANSI registry call stores the NUL that
// follows the entry in memory, as Windows does.
RegValue ProductEntryOnly(const QualifiedComponentList& list) {
  const std::string stored = list.productEntry + '\0';
  return {REG_MULTI_SZ, std::vector<std::uint8_t>(stored.begin(), stored.end())};
}

std::optional<RegValue> Live(const QualifiedComponentList& list) {
  return ReadValue(HKEY_CLASSES_ROOT, list.key, list.valueName);
}
std::optional<RegValue> Saved(const QualifiedComponentList& list) {
  return ReadValue(HKEY_CLASSES_ROOT, list.key, "Saved by Kvil 8 " + list.valueName);
}

// One application's typical request, the same in the three versions.
struct TypicalRequest {
  const char* stem;  // the suffix without its version
  const char* applicationKey;
  const char* productName;
  int kind;
  // 1, or "not applicable" where the Installer redirection has no row: only the
  // Russian grammar checker has rows for these Offices, and Publisher goes on anyway.
  HostResult attach;
  const char* tool;
  // Word writes the plain record, the others keep a saved language too.
  bool plainRecord;
  const char* userKey;  // the application's language, HKCU ...\Office\<version>\<key>
  const char* userValue;
};
const TypicalRequest kTypicalRequests[] = {
    {"WW", "WINWORD", "Microsoft Word", 1, 1, "Grammar", true, nullptr, nullptr},
    {"EX", "EXCEL", "Microsoft Excel", 0, kNA, nullptr, false, "Excel\\Spell Checker", "Speller"},
    {"PP", "POWERPNT", "Microsoft PowerPoint", 0, kNA, nullptr, false, nullptr, nullptr},
    {"ACC", "MSACCESS", "Microsoft Access", 0, kNA, nullptr, false, "Access\\InstallRoot", "Language ID"},
    {"OUTL", "OUTLOOK", "Microsoft Outlook", 1, 1, "Grammar", false, nullptr, nullptr},
    {"MSPub", "MSPUB", "Microsoft Publisher", 2, 1, "Thesaurus", false, nullptr, nullptr},
    {"FPAGE", "FRONTPG", "Microsoft FrontPage", 0, kNA, nullptr, false, nullptr, nullptr},
    {"InfoPath", "INFOPATH", "Microsoft InfoPath", 0, kNA, nullptr, false, "Infopath\\InstallRoot",
     "DefaultLanguage"},
    {"OneNote", "ONENOTE", "Microsoft OneNote", 0, kNA, nullptr, false, "OneNote\\InstallRoot", "DefaultLanguage"},
};

TEST_F(ModernOffice, EveryMembersTypicalRequest) {
  const Values grammarRecord{{"Action", "1"}, {"Attached", "1"}};
  const Values savedRecord{{"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "0"}, {"Attached", "1"}};
  const std::string productModule = ReadFileBytes(startup_ + "\\kvilproof.dll");
  for (const auto& [version, year] : {std::pair{12, "2007"}, {14, "2010"}, {15, "2013"}}) {
    InstallModernOffice(version, OfficeFolder(version));
    const std::string originalModule = ReadFileBytes(Module(version));
    const std::string v = std::to_string(version);
    for (const TypicalRequest& request : kTypicalRequests) {
      const std::string suffix = request.stem + v;
      if (version == 12 && suffix == "OneNote12") continue;
      SCOPED_TRACE(suffix);
      // Outlook 2007 is found for the speller only, though it attaches the grammar checker.
      EXPECT_EQ(Call("Exist", suffix.c_str(), request.kind), suffix == "OUTL12" ? kNA : 1u);
      ASSERT_EQ(Call("Attach", suffix.c_str(), request.kind), request.attach);
      const std::string host = std::string(request.applicationKey) + "\\" + v + ".0";
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + host),
                (Values{{"Path", "sz:" + OfficeFolder(version) + "\\" + request.applicationKey + ".exe"},
                        {"Name", std::string("sz:") + request.productName + " " + year}}));
      if (request.userKey != nullptr) {
        EXPECT_EQ(ReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\" + v + ".0\\" + request.userKey,
                            request.userValue),
                  1049u);
      }
      if (request.attach != 1) {
        EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record(host, "Spelling")));
        EXPECT_EQ(Call("Check", suffix.c_str(), request.kind), 0u);
        continue;
      }
      const std::string record = Record(host, request.tool);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), request.plainRecord ? grammarRecord : savedRecord);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(request.tool)),
                (Values{{"Engine", InStartup(request.kind == 1 ? "KVILGR32.DLL" : "KVILTH32.DLL")},
                        {"Dictionary", InStartup(request.kind == 1 ? "GRRUNORM.LEX" : "THRUNORM.LEX")}}));
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

// The Installer redirection has rows for the Russian grammar checker only: Word's
// speller stops there with "not applicable", after its application record,
// while Publisher goes on with any answer. Office 2010 and 2013 then take
// "StrictYO" out of the speller's record; Office 2007 leaves it.
TEST_F(ModernOffice, SpellerAttachStopsAtTheInstallerExceptForPublisher) {
  for (int version : {12, 14}) InstallModernOffice(version, OfficeFolder(version));
  const std::string originalModule = ReadFileBytes(Module(14));
  EXPECT_EQ(Call("Attach", "WW14", 0), kNA);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\WINWORD\\14.0"));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record("WINWORD\\14.0", "Spelling")));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
  EXPECT_EQ(ReadFileBytes(Module(14)), originalModule);

  const Values speller{{"Learning", "1"}, {"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "0"},
                       {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};
  Values spellerWithStrictYo = speller;
  spellerWithStrictYo["StrictYO"] = "1";
  ASSERT_EQ(Call("Attach", "MSPub14", 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("MSPUB\\14.0", "Spelling")), speller);
  ASSERT_EQ(Call("Attach", "MSPub12", 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("MSPUB\\12.0", "Spelling")), spellerWithStrictYo);
}

// Word's grammar checker and Publisher's thesaurus attached twice, then detached
// with Office's module: every list, module and file of Office is as it was.
TEST_F(ModernOffice, AttachTwiceThenDetachPutsOfficeBackByteForByte) {
  for (int version : {12, 14, 15}) {
    SCOPED_TRACE(version);
    RegDeleteTreeA(HKEY_CLASSES_ROOT, "Installer");
    InstallModernOffice(version, OfficeFolder(version));
    const auto before = OfficeState(version);
    const std::string originalModule = ReadFileBytes(Module(version));
    std::map<std::string, std::string> originalProofFiles;
    if (version == 15) {
      for (const std::string& file : Office2013ProofFiles()) originalProofFiles[file] = ReadFileBytes(Proof(file));
    }
    const std::string v = std::to_string(version);
    for (int round = 0; round < 2; ++round) {
      ASSERT_EQ(Call("Attach", ("WW" + v).c_str(), 1), 1u);
      ASSERT_EQ(Call("Attach", ("MSPub" + v).c_str(), 2), 1u);
      // The product's tools are live; what Office had is kept once, never overwritten.
      EXPECT_EQ(ReadFileBytes(Backup(version)), originalModule);
      for (const QualifiedComponentList& list : ModernOfficeLists(version)) {
        if (list.kind == 3) continue;
        EXPECT_EQ(Live(list), ProductEntryOnly(list)) << list.key;
        EXPECT_EQ(Saved(list), InstalledList(list)) << list.key;
      }
      if (version == 15) {
        for (const std::string& file : Office2013ProofFiles()) {
          EXPECT_FALSE(FileExists(Proof(file))) << file;
          EXPECT_EQ(ReadFileBytes(Proof(file) + ".ORIG"), originalProofFiles[file]) << file;
        }
      }
    }
    EXPECT_EQ(Call("Detach", ("WW" + v).c_str(), 1), 1u);
    EXPECT_EQ(Call("Detach", ("MSPub" + v).c_str(), 2), 1u);
    EXPECT_EQ(Export<NoArguments>(("DetachOffice" + v).c_str())(), 1u);
    const auto after = OfficeState(version);
    // The lists are Microsoft's again: the product's entry is gone, the entries
    // kept are joined by single NULs, and the saved lists stay for the next switch.
    Values lists = before.first;
    for (const QualifiedComponentList& list : ModernOfficeLists(version)) {
      if (list.kind == 3) continue;  // no hyphenator was attached
      const std::string value = list.key.substr(std::string("Installer\\").size()) + ":";
      const RegValue installed = InstalledList(list);
      lists[value + "Saved by Kvil 8 " + list.valueName] =
          "type 7:" + std::string(installed.bytes.begin(), installed.bytes.end());
      lists[value + list.valueName] = "type 7:" + MicrosoftListEntry() + '\0';
    }
    EXPECT_EQ(after.first, lists);
    EXPECT_EQ(after.second, before.second);
  }
}

// Office 2007 switches the hyphenator out on Attach but not back on Detach, and
// takes its grammar back from the registration the product saved, which here
// is none: Office's grammar key goes.
TEST_F(ModernOffice, Office2007LeavesTheHyphenatorListReducedAndDropsAnUnsavedGrammar) {
  InstallModernOffice(12, OfficeFolder(12));
  ASSERT_EQ(Call("Attach", "MSPub12", 3), 1u);
  ASSERT_EQ(Call("Detach", "MSPub12", 3), 1u);
  for (const QualifiedComponentList& list : ModernOfficeLists(12)) {
    EXPECT_EQ(Live(list), list.kind == 3 ? ProductEntryOnly(list) : InstalledList(list)) << list.key;
  }
  ASSERT_EQ(Call("Attach", "WW12", 1), 1u);
  ASSERT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, Registration("Grammar")));
  ASSERT_EQ(Call("Detach", "WW12", 1), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration("Grammar")));
}

// PowerPoint's Detach only clears its record; Word's switches Microsoft's tool back.
TEST_F(ModernOffice, PowerPointDetachLeavesMicrosoftsToolSwitchedOut) {
  InstallModernOffice(14, OfficeFolder(14));
  Export<KindAndLanguage>("DetachMS2010ProofingTool")(2, 1049);
  const std::string microsoftOnly = MicrosoftListEntry() + '\0';
  const RegValue microsoftList{REG_MULTI_SZ, {microsoftOnly.begin(), microsoftOnly.end()}};
  for (const auto& [suffix, switchedBack] : {std::pair{"PP14", false}, {"WW14", true}}) {
    EXPECT_EQ(Call("Detach", suffix, 2), 1u);
    for (const QualifiedComponentList& list : ModernOfficeLists(14)) {
      if (list.kind != 2) continue;
      EXPECT_EQ(Live(list), switchedBack ? microsoftList : ProductEntryOnly(list)) << suffix << " " << list.key;
    }
  }
  // Neither was attached; each still records that it is not.
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("POWERPNT\\14.0", "Thesaurus")), (Values{{"Attached", "0"}}));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("WINWORD\\14.0", "Thesaurus")), (Values{{"Attached", "0"}}));
}

TEST_F(ModernOffice, Office2007GrammarComesBackFromTheProductsSavedCopyOnlyWhereOfficeHasNone) {
  const std::string original = "SOFTWARE\\Tervane\\KVIL\\8.0\\Proofing Tools\\Grammar\\1049\\Original";
  struct GrammarCase {
    bool savedCopy;
    bool officeKey;
    std::optional<Values> officeKeyAfter;
  };
  const Values office{{"Engine", "sz:C:\\Office\\MSGR3RU.DLL"}, {"Dictionary", "sz:C:\\Office\\MSGR3RU.LEX"}};
  const Values saved{{"Engine", "sz:C:\\Saved\\MSGR3RU.DLL"}, {"Dictionary", "sz:C:\\Saved\\MSGR3RU.LEX"}};
  const GrammarCase cases[] = {
      {false, true, std::nullopt}, {true, false, saved}, {true, true, office}, {false, false, std::nullopt}};
  for (const GrammarCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "saved " << c.savedCopy << " office " << c.officeKey);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\KVIL\\8.0\\Proofing Tools");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSharedProofingTools);
    if (c.savedCopy) {
      WriteText(HKEY_LOCAL_MACHINE, original, "Engine", "C:\\Saved\\MSGR3RU.DLL");
      WriteText(HKEY_LOCAL_MACHINE, original, "Dictionary", "C:\\Saved\\MSGR3RU.LEX");
    }
    if (c.officeKey) {
      WriteText(HKEY_LOCAL_MACHINE, Registration("Grammar"), "Engine", "C:\\Office\\MSGR3RU.DLL");
      WriteText(HKEY_LOCAL_MACHINE, Registration("Grammar"), "Dictionary", "C:\\Office\\MSGR3RU.LEX");
    }
    Export<KindAndLanguage>("AttachMS2007ProofingTool")(1, 1049);
    if (c.officeKeyAfter) {
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Grammar")), *c.officeKeyAfter);
    } else {
      EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration("Grammar")));
    }
  }
}

// Switching Microsoft's 2010 grammar checker out and back on lists as the
// Installer and earlier switches left them.
TEST_F(ModernOffice, Office2010ListsSwitchFromWhatWasSaved) {
  const QualifiedComponentList list = ModernOfficeLists(14).front();
  const std::string otherEntry = "another provider";
  auto multi = [](const std::string& text) { return RegValue{REG_MULTI_SZ, {text.begin(), text.end()}}; };
  struct ListCase {
    const char* what;
    std::optional<RegValue> live;
    std::optional<RegValue> saved;
    const char* operation;
    std::optional<RegValue> liveAfter;
    std::optional<RegValue> savedAfter;
  };
  const char* out = "DetachMS2010ProofingTool";
  const char* back = "AttachMS2010ProofingTool";
  const RegValue withoutProduct = multi(otherEntry + '\0' + '\0');
  const ListCase cases[] = {
      {"a second switch-out keeps the first saved list", ProductEntryOnly(list), InstalledList(list), out,
       ProductEntryOnly(list), InstalledList(list)},
      {"no product entry: the live list stays", withoutProduct, std::nullopt, out, withoutProduct, withoutProduct},
      {"switching back without a saved list changes nothing", ProductEntryOnly(list), std::nullopt, back,
       ProductEntryOnly(list), std::nullopt},
      {"the product's entry alone: the live list goes", ProductEntryOnly(list),
       multi(list.productEntry + '\0' + '\0'), back, std::nullopt, multi(list.productEntry + '\0' + '\0')},
      {"switching back keeps every other entry and the last terminator", ProductEntryOnly(list),
       multi(otherEntry + '\0' + list.productEntry + '\0' + "third" + '\0' + '\0'), back,
       multi(otherEntry + '\0' + "third" + '\0'), multi(otherEntry + '\0' + list.productEntry + '\0' + "third" + '\0' + '\0')},
  };
  const std::string savedName = "Saved by Kvil 8 " + list.valueName;
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.what);
    RegDeleteTreeA(HKEY_CLASSES_ROOT, "Installer");
    CreateKey(HKEY_CLASSES_ROOT, list.key);
    if (c.live) WriteRaw(HKEY_CLASSES_ROOT, list.key, list.valueName, c.live->type, c.live->bytes);
    if (c.saved) WriteRaw(HKEY_CLASSES_ROOT, list.key, savedName, c.saved->type, c.saved->bytes);
    Export<KindAndLanguage>(c.operation)(1, 1049);
    EXPECT_EQ(Live(list), c.liveAfter);
    EXPECT_EQ(Saved(list), c.savedAfter);
  }
}

TEST_F(ModernOffice, Office2013FilesMoveAsideOnceAndTheGrammarPairIsCrossed) {
  InstallModernOffice(15, OfficeFolder(15));
  const Files installed = FolderContents(OfficeFolder(15));
  const std::string ukrainianHyphenator = ReadFileBytes(Proof("MSHY7UK.DLL"));
  const auto switchOut = Export<KindAndLanguageResult>("DetachMS2013ProofingTool");
  const auto switchBack = Export<KindAndLanguageResult>("AttachMS2013ProofingTool");
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

  // The caller's "detach Microsoft's grammar" puts Microsoft's files back.
  Export<Plain>("AttachGrammarMS15")();
  EXPECT_FALSE(FileExists(Proof("1049\\MSGR8RU.DLL")));
  EXPECT_FALSE(FileExists(Proof("MSGR8RU.LEX")));
  Export<Plain>("DetachGrammarMS15")();
  EXPECT_EQ(FolderContents(OfficeFolder(15)), installed);
}

TEST_F(ModernOffice, Office2013CopiesTakeMicrosoftsNamesAndAreListedForRemoval) {
  SetOfficeInstallRoot(15, "Word", OfficeFolder(15) + "\\");
  CreateFolder(OfficeFolder(15) + "\\PROOF");
  WriteFile(Proof("MSTH8RU.DLL"), "Microsoft's thesaurus");
  Export<Plain>("CopyGrammar15")();
  Export<Plain>("CopyThesaurus15")();
  Export<ByLanguage>("CopyHyphenator15")(1033);
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
  const auto attach = Export<ByDirectory>("AttachOffice14");
  const auto detach = Export<NoArguments>("DetachOffice14");
  EXPECT_EQ(attach(startup_.c_str()), 0u);  // no Office
  EXPECT_EQ(detach(), 1u);
  InstallModernOffice(14, OfficeFolder(14));
  const Files installed = FolderContents(OfficeFolder(14));
  EXPECT_EQ(detach(), 1u);  // nothing kept, nothing to put back
  EXPECT_EQ(attach(folder().Join("nowhere").c_str()), 0u);
  EXPECT_EQ(attach(""), 0u);
  CreateFolder(Backup(14));  // the backup's name taken by a folder
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

TEST_F(ModernOffice, ToolKindsAMemberDoesNotTakeGetItsOwnAnswerAndWriteNothing) {
  for (int version : {12, 14, 15}) InstallModernOffice(version, OfficeFolder(version));
  const KindAnswers cases[] = {
      {"WW14", 4, 0, 0, 0, 0, 0},           {"WW12", -1, 0, 0, 0, 0, 0},
      {"EX14", 1, kNA, kNA, kNA, kNA, kNA}, {"EX15", 4, 0, 0, kNA, kNA, kNA},
      {"ACC12", 2, kNA, kNA, kNA, kNA, kNA}, {"OUTL12", 3, kNA, kNA, kNA, kNA, kNA},
      {"OneNote14", 3, kNA, kNA, kNA, kNA, kNA}, {"PP15", 1, kNA, kNA, kNA, kNA, kNA},
      {"MSPub14", 1, kNA, kNA, kNA, kNA, kNA}, {"InfoPath15", 2, kNA, kNA, kNA, kNA, kNA},
  };
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
}

TEST_F(ModernOffice, ApplicationsPathIsWordsFolderOfTheNamedVersion) {
  InstallModernOffice(14, OfficeFolder(14));
  const auto path = Export<std::int32_t (*)(const wchar_t*, wchar_t*)>("GetOfficeApplicationsPath");
  wchar_t buffer[260];
  EXPECT_EQ(path(L"14.0", buffer), 260);
  const std::string expected = OfficeFolder(14) + "\\";
  EXPECT_EQ(std::wstring(buffer), std::wstring(expected.begin(), expected.end()));
  EXPECT_EQ(path(L"99.0", buffer), 0);
}

}  // namespace
}  // namespace kvil::test

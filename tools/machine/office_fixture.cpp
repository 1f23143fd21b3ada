#include "office_fixture.h"

#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <vector>

#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

constexpr char kOffice97Root[] = "SOFTWARE\\Microsoft\\Office\\8.0";
constexpr char kSharedProofingTools[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools";
constexpr char kOutlookAppPath[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";

constexpr char kFontSubstitutes[] = "FontSubstitutes";
constexpr char kTahomaEntry[] = "Tahoma,0";

std::string Office97Key(const std::string& relative) { return std::string(kOffice97Root) + "\\" + relative; }

// The text the hosts keep in their "Speller" values: the language's own
// dictionary set, always the "Normal" one.
std::string SpellerValue(int lcid) { return std::to_string(lcid) + "\\Normal"; }

void WriteSpeller(HKEY root, const std::string& path, int lcid) {
  WriteText(root, path, "Speller", SpellerValue(lcid));
}

// The folder part of a file path, or "" when the path names no folder.
std::string FolderOf(const std::string& path) {
  const std::size_t separator = path.find_last_of("\\/");
  return separator == std::string::npos ? std::string() : path.substr(0, separator);
}

void WriteHostProgram(const std::string& folder, const std::string& name, WORD major, WORD minor) {
  CreateFolder(folder);
  WriteVersionedModule(folder + "\\" + name, HostProgram(major, minor));
}

// GetProfileStringA cannot tell an absent entry from one holding its default, and
// a buffer it filled to the brim may have been cut short: read with two defaults
// no real entry holds, growing the buffer until the answer fits.
std::string ReadProfileText(const char* key, const char* fallback) {
  std::vector<char> buffer(256);
  for (;;) {
    const DWORD length = GetProfileStringA(kFontSubstitutes, key, fallback, buffer.data(),
                                           static_cast<DWORD>(buffer.size()));
    // A list of key names is cut short at size - 2, a single value at size - 1.
    if (length + 2 < buffer.size()) return std::string(buffer.data(), length);
    if (buffer.size() >= 64 * 1024) {
      throw std::runtime_error(std::string("the [") + kFontSubstitutes + "] section of win.ini is longer than 64 KB");
    }
    buffer.resize(buffer.size() * 2);
  }
}

std::optional<std::string> ReadTahomaEntry() {
  constexpr char kFirstSentinel[] = "<kvil-test: no entry 1>";
  constexpr char kSecondSentinel[] = "<kvil-test: no entry 2>";
  const std::string first = ReadProfileText(kTahomaEntry, kFirstSentinel);
  if (first != kFirstSentinel) return first;
  if (ReadProfileText(kTahomaEntry, kSecondSentinel) == kSecondSentinel) return std::nullopt;
  return first;
}

// With no key, the profile answers the section's entry names, each ended by a NUL.
bool FontSubstitutesHasEntries() { return !ReadProfileText(nullptr, "").empty(); }

void WriteProfileEntry(const char* key, const char* value) {
  if (!WriteProfileStringA(kFontSubstitutes, key, value)) {
    const std::string what = key == nullptr ? std::string("cannot remove the [") + kFontSubstitutes + "] section"
                             : value == nullptr
                                 ? std::string("cannot remove \"") + key + "\" from [" + kFontSubstitutes + "]"
                                 : std::string("cannot write \"") + key + "\" = \"" + value + "\" to [" +
                                       kFontSubstitutes + "]";
    ThrowLastError(what + " of win.ini");
  }
}

}  // namespace

void SetOffice97InstallRoot(const std::string& application, const std::string& folder) {
  WriteText(HKEY_LOCAL_MACHINE, Office97Key(application + "\\InstallRoot"), "Path", folder);
}

void SetOffice97ProgramFolder(const std::string& folderWithTrailingBackslash) {
  WriteText(HKEY_LOCAL_MACHINE, Office97Key("Common\\InstallRoot"), "OfficeBin", folderWithTrailingBackslash);
}

void InstallWord95() { CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Word\\7.0\\Proofing Tools"); }

void InstallWord97(const std::string& officeFolder) {
  CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Word\\Options");
  SetOffice97InstallRoot("Word", officeFolder);
}

void InstallExcel95(int spellerLcid) {
  WriteSpeller(HKEY_CURRENT_USER, "Software\\Microsoft\\Excel\\7.0\\Spell Checker", spellerLcid);
  WriteSpeller(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\New User Settings\\Excel\\7.0\\Spell Checker", spellerLcid);
}

void InstallExcel97(const std::string& officeFolder, int spellerLcid) {
  WriteSpeller(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker", spellerLcid);
  WriteSpeller(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker",
               spellerLcid);
  SetOffice97InstallRoot("Excel", officeFolder);
}

void InstallPowerPoint95(int spellerLcid) {
  WriteSpeller(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\PowerPoint\\7.0\\Spelling\\Speller", spellerLcid);
}

void InstallPowerPoint97(const std::string& officeFolder) {
  CreateKey(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\PowerPoint");
  SetOffice97InstallRoot("PowerPoint", officeFolder);
}

void InstallAccess95(DWORD languageLcid) {
  WriteDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Access\\7.0\\Speller", "Language ID", languageLcid);
}

void InstallAccess97(const std::string& officeFolder, DWORD languageLcid) {
  WriteDword(HKEY_LOCAL_MACHINE, Office97Key("Access\\Speller"), "Language ID", languageLcid);
  SetOffice97ProgramFolder(officeFolder + "\\");
  WriteHostProgram(officeFolder, "MSACCESS.EXE", 8, 0);
}

void InstallOutlook97(const std::string& folder, int spellerLcid, WORD major, WORD minor) {
  WriteSpeller(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling", spellerLcid);
  WriteSpeller(HKEY_LOCAL_MACHINE, Office97Key("New User Settings\\Outlook\\Options\\Spelling"), spellerLcid);
  // Outlook's setup records its folder with the separator, and readers append
  // the program's name directly.
  WriteText(HKEY_LOCAL_MACHINE, kOutlookAppPath, "Path", folder + "\\");
  WriteHostProgram(folder, "outlook.exe", major, minor);
}

void InstallPublisher98() { CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Publisher\\5.0"); }

void InstallOfficeApplication(int officeVersion, const std::string& application, const std::string& officeFolder) {
  const std::string office = "SOFTWARE\\Microsoft\\Office\\" + std::to_string(officeVersion) + ".0\\";
  if (application == "Publisher") {
    CreateKey(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\" + std::to_string(officeVersion) + ".0\\Publisher");
  } else if (application == "InfoPath") {
    CreateKey(HKEY_LOCAL_MACHINE, office + "Infopath\\Speller");
    return;
  } else {
    CreateKey(HKEY_LOCAL_MACHINE, office + application + (application == "Access" ? "\\Speller" : ""));
  }
  SetOfficeInstallRoot(officeVersion, application, officeFolder + "\\");
}

void SetOfficeInstallRoot(int officeVersion, const std::string& application, const std::string& path) {
  WriteText(HKEY_LOCAL_MACHINE,
            "SOFTWARE\\Microsoft\\Office\\" + std::to_string(officeVersion) + ".0\\" + application + "\\InstallRoot",
            "Path", path);
}

void RegisterUninstallEntry(const std::string& productCode) {
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + productCode,
            "DisplayName", "Microsoft Office 2000 Proofing Tools");
}

void RegisterComponentPath(const std::string& components, const std::string& packedComponent,
                           const std::string& packedProduct, const std::string& path) {
  WriteText(HKEY_LOCAL_MACHINE, components + "\\" + packedComponent, packedProduct, path);
}

void RegisterOffice2000RussianSpeller(const std::string& proofFolder) {
  RegisterUninstallEntry(kOffice2000RussianProductCode);
  RegisterComponentPath(kLocalSystemComponents, kRussianSpellerEngineComponent, kOffice2000RussianPacked,
                        proofFolder + "\\MSSP3RU.DLL");
  RegisterComponentPath(kLocalSystemComponents, kRussianSpellerLexiconComponent, kOffice2000RussianPacked,
                        proofFolder + "\\MSSP3RU.LEX");
}

void RegisterForeignProofingTool(const std::string& toolKey, int lcid, const std::string& enginePath,
                                 const std::string& dictionaryPath) {
  const std::string key = std::string(kSharedProofingTools) + "\\" + toolKey + "\\" + std::to_string(lcid) + "\\Normal";
  WriteText(HKEY_LOCAL_MACHINE, key, "Engine", enginePath);
  WriteText(HKEY_LOCAL_MACHINE, key, "Dictionary", dictionaryPath);
  for (const std::string& path : {enginePath, dictionaryPath}) {
    if (const std::string folder = FolderOf(path); !folder.empty()) CreateFolder(folder);
  }
  WriteVersionedModule(enginePath, ForeignEngine());
  WriteFile(dictionaryPath, "Foreign " + toolKey + " lexicon for " + std::to_string(lcid) + "\r\n");
}

FontSubstituteGuard::FontSubstituteGuard() {
  sectionPresent_ = FontSubstitutesHasEntries();
  const std::optional<std::string> entry = ReadTahomaEntry();
  present_ = entry.has_value();
  value_ = entry.value_or("");
}

FontSubstituteGuard::~FontSubstituteGuard() {
  try {
    WriteTahomaSubstitute(present_ ? value_.c_str() : nullptr);
    // Removing the last entry leaves an empty "[FontSubstitutes]" behind; a
    // section that was not there before goes too.
    if (!sectionPresent_ && !FontSubstitutesHasEntries()) WriteProfileEntry(nullptr, nullptr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "FontSubstituteGuard: cannot put win.ini back: %s\n", error.what());
  }
}

std::string ReadTahomaSubstitute() { return ReadTahomaEntry().value_or(""); }

void WriteTahomaSubstitute(const char* value) { WriteProfileEntry(kTahomaEntry, value); }

namespace {

struct ListRow {
  int officeVersion;
  int kind;
  const char* packedComponent;
  const char* valueName;
  const char* marker;
};
// Two lists per tool, as Office 2007 and 2010 publish their Russian tools.
const ListRow kListRows[] = {
    {14, 1, "841D7D937A947D641B95375D7377D30F", "1049\\1049", "Grammar_Rus"},
    {14, 1, "EA77853199E1AFF4B87708D83E6A7046", "1049", "Grammar_Rus"},
    {14, 2, "C1B9F03778BFB9F44A7480D07DBA8673", "1049", "Thesaurus_Rus"},
    {14, 2, "52F71700CF4ECC943935F02FFE26CD94", "1049", "Thesaurus_Rus"},
    {14, 3, "D2BAB82BD3A45B64A98320C5DA73343A", "1049", "Hyphenator_Rus"},
    {14, 3, "90D36D095E6F36F4EA2170800E47A4B7", "1049", "Hyphenator_Rus"},
    {12, 2, "54BE92CC2CB71D119A12000A9CE1A22A", "1049", "Thesaurus_Rus"},
    {12, 2, "34BE92CC2CB71D119A12000A9CE1A22A", "1049", "Thesaurus_Rus"},
    {12, 3, "73BE92CC2CB71D119A12000A9CE1A22A", "1049", "Hyphenator_Rus"},
    {12, 3, "53BE92CC2CB71D119A12000A9CE1A22A", "1049", "Hyphenator_Rus"},
};
// Installer descriptors: Microsoft's proofing package, then the product's, whose
// feature is named by the marker word.
constexpr char kMicrosoftEntry[] = "p]{Pz5Bd@S+!Zmc8?Fq6ProofingTools_1049>nD%$eF[F?r5A~)v]o_";
constexpr char kProductEntryPrefix[] = "8u2o$WTx9Z}7M4a]cK)q";

}  // namespace

std::vector<std::string> ModernOfficeApplications() {
  return {"Word", "Excel", "PowerPoint", "Access", "Outlook", "Publisher", "Frontpg", "Infopath", "OneNote"};
}

std::vector<QualifiedComponentList> ModernOfficeLists(int officeVersion) {
  std::vector<QualifiedComponentList> lists;
  for (const ListRow& row : kListRows) {
    if (row.officeVersion != officeVersion) continue;
    lists.push_back({row.kind, std::string("Installer\\Components\\") + row.packedComponent, row.valueName,
                     std::string(kProductEntryPrefix) + row.marker + ">Kvil_Proofing"});
  }
  return lists;
}

std::string MicrosoftListEntry() { return kMicrosoftEntry; }

RegValue InstalledList(const QualifiedComponentList& list) {
  const std::string text = std::string(kMicrosoftEntry) + '\0' + list.productEntry + '\0' + '\0';
  return {REG_MULTI_SZ, std::vector<std::uint8_t>(text.begin(), text.end())};
}

std::vector<std::string> Office2013ProofFiles() {
  return {"1049\\MSGR8RU.DLL", "MSGR8RU.LEX", "MSTH8RU.DLL", "MSTH8RU.LEX", "MSHY7RU.DLL", "MSHY7UK.DLL"};
}

void InstallModernOffice(int officeVersion, const std::string& officeFolder,
                         const std::vector<std::string>& applications) {
  const std::string root = "SOFTWARE\\Microsoft\\Office\\" + std::to_string(officeVersion) + ".0\\";
  for (const std::string& application : applications) {
    WriteText(HKEY_LOCAL_MACHINE, root + application + "\\InstallRoot", "Path", officeFolder + "\\");
  }
  CreateFolder(officeFolder);
  WriteVersionedModule(officeFolder + (officeVersion == 12 ? "\\msproof6.dll" : "\\msproof7.dll"),
                       HostProgram(static_cast<WORD>(officeVersion), 0));
  for (const QualifiedComponentList& list : ModernOfficeLists(officeVersion)) {
    const RegValue value = InstalledList(list);
    WriteRaw(HKEY_CLASSES_ROOT, list.key, list.valueName, value.type, value.bytes);
  }
  if (officeVersion != 15) return;
  CreateFolder(officeFolder + "\\PROOF\\1049");
  for (const std::string& file : Office2013ProofFiles()) {
    WriteFile(officeFolder + "\\PROOF\\" + file, "Microsoft Office 2013 " + file + "\r\n");
  }
}

}  // namespace kvil::machine


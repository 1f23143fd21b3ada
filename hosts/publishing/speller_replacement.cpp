// CorelDRAW 6, Lotus Word Pro and PageMaker 6 to 7 have no registry of proofing
// tools: each loads a speller module of its own from its own folder. The product
// takes their place by copying its module of the same name over the host's,
// keeping the host's file beside it under ".org" until Detach puts it back.
// CorelDRAW and PageMaker load the one module for their speller and their
// hyphenator, so it goes back only once neither is attached.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "module_replacement.h"
#include "office_host.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using office::Kinds;
using office::kSpellerOnly;
using office::RefuseKind;

// How a family finds the folder of the host's module from the folder its setup
// recorded in the registry.
enum class ModuleFolderRule {
  // CorelDRAW: "ProgramsDir" of [Config] in the configuration folder's
  // corelapp.ini, resolved against that folder; found only when the module is there.
  kCorelProgramsDir,
  // Word Pro: the spelling component's "Data Path" itself, tidied.
  kLotusDataPath,
  // PageMaker: the first folder below PageMaker's own that holds the module.
  kSearchBelowHostFolder,
};

// What the record's "Speller" (or "Hyphenator") value names: the host's module
// as it is now, or the host's own file kept under ".org".
enum class ToolValue { kHostModule, kSavedModule };
// What a speller record's "Engine" names; a hyphenator's always names the
// product's hyphenator engine.
enum class SpellerEngineValue { kSavedModuleName, kModuleName };

struct ReplacementHost {
  const char* applicationKey;
  const char* version;     // null: the short file version of executable
  const char* executable;  // in the host folder
  unsigned kinds;
  const char* hostKey;      // HKLM; present while the host is installed
  const char* folderValue;  // in hostKey: a non-empty REG_SZ, never an expandable one
  ModuleFolderRule folderRule;
  const char* module;
  const char* savedModule;
  ToolValue toolValue;
  SpellerEngineValue spellerEngine;
  // The speller and the hyphenator load the same module: it stays the
  // product's while either is attached.
  bool moduleSharedByTools;
  // PageMaker answers "not applicable" wherever another host would answer
  // "no", even when it is not installed.
  bool existNeverNo;
};

constexpr unsigned kSpellerAndHyphenator = Kinds({kSpeller, kHyphenator});

// The members, CorelDRAW first, then Word Pro and PageMaker by version.
const ReplacementHost kCorelDraw6{
    .applicationKey = "CORELDRW", .version = "6.0", .executable = nullptr, .kinds = kSpellerAndHyphenator,
    .hostKey = "SOFTWARE\\Corel\\CorelDRAW\\6.0", .folderValue = "ConfigDir",
    .folderRule = ModuleFolderRule::kCorelProgramsDir, .module = "cdrtpr60.dll", .savedModule = "cdrtpr60.org",
    .toolValue = ToolValue::kHostModule, .spellerEngine = SpellerEngineValue::kSavedModuleName,
    .moduleSharedByTools = true, .existNeverNo = false};

const ReplacementHost kWordPro96{
    .applicationKey = "WORDPRO", .version = "96.0", .executable = nullptr, .kinds = kSpellerOnly,
    .hostKey = "SOFTWARE\\Lotus\\Components\\Spell\\3.0", .folderValue = "Data Path",
    .folderRule = ModuleFolderRule::kLotusDataPath, .module = "ltspln03.dll", .savedModule = "ltspln03.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kModuleName,
    .moduleSharedByTools = false, .existNeverNo = false};
const ReplacementHost kWordPro97{
    .applicationKey = "WORDPRO", .version = "97.0", .executable = nullptr, .kinds = kSpellerOnly,
    .hostKey = "SOFTWARE\\Lotus\\Components\\Spell\\4.0", .folderValue = "Data Path",
    .folderRule = ModuleFolderRule::kLotusDataPath, .module = "ltspln04.dll", .savedModule = "ltspln04.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kModuleName,
    .moduleSharedByTools = false, .existNeverNo = false};
const ReplacementHost kWordPro2000{
    .applicationKey = "WORDPRO", .version = "98.0", .executable = nullptr, .kinds = kSpellerOnly,
    .hostKey = "Software\\Lotus\\Components\\Spell\\4.1", .folderValue = "Data Path",
    .folderRule = ModuleFolderRule::kLotusDataPath, .module = "ltspln41.dll", .savedModule = "ltspln41.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kModuleName,
    .moduleSharedByTools = false, .existNeverNo = false};

const ReplacementHost kPageMaker6{
    .applicationKey = "PM6", .version = nullptr, .executable = "PM6.exe", .kinds = kSpellerAndHyphenator,
    .hostKey = "SOFTWARE\\Adobe\\PageMaker", .folderValue = "AdobeDirectory",
    .folderRule = ModuleFolderRule::kSearchBelowHostFolder, .module = "prxlng1.dll", .savedModule = "prxlng1.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kSavedModuleName,
    .moduleSharedByTools = true, .existNeverNo = true};
const ReplacementHost kPageMaker65{
    .applicationKey = "PM65", .version = nullptr, .executable = "PM65.exe", .kinds = kSpellerAndHyphenator,
    .hostKey = "SOFTWARE\\Adobe\\PageMaker65", .folderValue = "AdobeDirectory",
    .folderRule = ModuleFolderRule::kSearchBelowHostFolder, .module = "prxlng1.dll", .savedModule = "prxlng1.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kSavedModuleName,
    .moduleSharedByTools = true, .existNeverNo = true};
const ReplacementHost kPageMaker7{
    .applicationKey = "PM70", .version = nullptr, .executable = "PM70.exe", .kinds = kSpellerAndHyphenator,
    .hostKey = "SOFTWARE\\Adobe\\PageMaker70", .folderValue = "AdobeDirectory",
    .folderRule = ModuleFolderRule::kSearchBelowHostFolder, .module = "prxlng1.dll", .savedModule = "prxlng1.org",
    .toolValue = ToolValue::kSavedModule, .spellerEngine = SpellerEngineValue::kSavedModuleName,
    .moduleSharedByTools = true, .existNeverNo = true};

using VersionText = FixedText<32>;

// The folder the host's setup recorded. Only a plain string counts: the hosts
// themselves never expand one.
bool ReadHostFolder(const ReplacementHost& host, PathText& folder) {
  DWORD length = PathText::kCapacity;
  DWORD type = REG_NONE;
  return RegGetValueExpand(HKEY_LOCAL_MACHINE, host.hostKey, host.folderValue, folder.data(), &length, &type) ==
             ERROR_SUCCESS &&
         type == REG_SZ && !folder.empty();
}

// The version under which the host is recorded; PageMaker's comes from its program.
bool ReadHostVersion(const ReplacementHost& host, VersionText& version) {
  if (host.version != nullptr) return version.Assign(host.version);
  PathText folder;
  PathText program;
  return ReadHostFolder(host, folder) && JoinPath(program, folder, host.executable) &&
         GetShortFileVersion(program.c_str(), version.data(), VersionText::kCapacity) && !version.empty();
}

// CorelDRAW takes "ProgramsDir" relative to the configuration folder whatever it
// holds: each leading component that matches ".." over its own length (so "."
// as well) climbs one folder, a leading "\" keeps only the drive, and the rest is
// appended, a drive path too, which then names no folder at all.
bool ResolveProgramsDir(std::string_view configFolder, std::string_view programsDir, PathText& folder) {
  std::string_view base = configFolder;
  if (base.size() > 1 && base.back() == '\\') base.remove_suffix(1);
  std::string_view rest = programsDir;
  if (!rest.empty() && rest.front() == '\\') {
    base = base.substr(0, base.find('\\'));
    rest.remove_prefix(1);
  } else {
    while (!rest.empty()) {
      const std::size_t end = rest.find('\\');
      if (!std::string_view("..").starts_with(rest.substr(0, end))) break;
      // The drive itself is never climbed out of.
      const std::size_t last = base.rfind('\\');
      if (last != std::string_view::npos) base = base.substr(0, last);
      rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
  }
  if (rest.empty()) return folder.Assign(base);
  return JoinPath(folder, base, rest);
}

bool FindCorelProgramsFolder(const ReplacementHost& host, PathText& folder) {
  PathText configFolder;
  PathText settings;
  if (!ReadHostFolder(host, configFolder) || !JoinPath(settings, configFolder, "corelapp.ini")) return false;
  PathText programsDir;
  const DWORD read = GetPrivateProfileStringA("Config", "ProgramsDir", "", programsDir.data(), PathText::kCapacity,
                                              settings.c_str());
  // A value that filled the buffer may have been cut short.
  if (read >= PathText::kCapacity - 1) return false;
  return ResolveProgramsDir(configFolder, programsDir, folder);
}

// Word Pro's setup writes its folder with doubled separators and a trailing one.
bool TidyDataPath(PathText& folder) {
  std::string text(folder.view());
  for (std::size_t doubled = text.find("\\\\"); doubled != std::string::npos; doubled = text.find("\\\\")) {
    text.erase(doubled, 1);
  }
  if (!text.empty() && text.back() == '\\') text.pop_back();
  return !text.empty() && folder.Assign(text);
}

bool IsDotEntry(const char* name) { return std::string_view(name) == "." || std::string_view(name) == ".."; }

// PageMaker keeps its language module some folders below its own. The folder
// itself is looked at first, then its subfolders in listing order, depth first,
// each named by its short name where the system has one.
bool FindFolderHolding(PathText& folder, const char* module) {
  PathText candidate;
  if (JoinPath(candidate, folder, module) && IsExistingFile(candidate.c_str())) return true;
  PathText pattern;
  if (!JoinPath(pattern, folder, "*.*")) return false;
  WIN32_FIND_DATAA entry;
  UniqueFind listing(FindFirstFileA(pattern.c_str(), &entry));
  if (!listing) return false;
  constexpr std::size_t kPatternLength = 4;  // "\*.*"
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || IsDotEntry(entry.cFileName)) continue;
    const char* name = entry.cAlternateFileName[0] != '\0' ? entry.cAlternateFileName : entry.cFileName;
    PathText subfolder;
    // A folder too deep to be listed in turn ends the search down that branch.
    if (!JoinPath(subfolder, folder, name) || subfolder.size() + kPatternLength >= PathText::kCapacity) continue;
    if (FindFolderHolding(subfolder, module)) return folder.Assign(subfolder);
  } while (FindNextFileA(listing.get(), &entry));
  return false;
}

// The host's module and where its own file is kept.
struct HostModule {
  PathText folder;
  PathText module;
  PathText saved;
};

bool FindHostModule(const ReplacementHost& host, HostModule& found) {
  bool folderFound = false;
  switch (host.folderRule) {
    case ModuleFolderRule::kCorelProgramsDir:
      folderFound = FindCorelProgramsFolder(host, found.folder);
      break;
    case ModuleFolderRule::kLotusDataPath:
      folderFound = ReadHostFolder(host, found.folder) && TidyDataPath(found.folder);
      break;
    case ModuleFolderRule::kSearchBelowHostFolder:
      folderFound = ReadHostFolder(host, found.folder) && FindFolderHolding(found.folder, host.module);
      break;
  }
  return folderFound && JoinPath(found.module, found.folder, host.module) &&
         JoinPath(found.saved, found.folder, host.savedModule) &&
         (host.folderRule != ModuleFolderRule::kCorelProgramsDir || IsExistingFile(found.module.c_str()));
}

// Only a host module that is there is replaced: these hosts keep their module
// by renaming it, which needs the module.
bool ReplaceModule(const HostModule& host, const char* productModule) {
  return IsExistingFile(host.module.c_str()) &&
         ReplaceHostModule(host.module.c_str(), host.saved.c_str(), productModule);
}

bool RestoreModule(const ReplacementHost& host) {
  HostModule found;
  return FindHostModule(host, found) && RestoreHostModule(found.module.c_str(), found.saved.c_str());
}

// Besides the options, the product's module reads from the record which file
// it stands in for and which engine to hand the work to.
HostResult WriteModuleValues(const ReplacementHost& host, int kind, int lcid, const HostModule& found,
                             const char* startupFolder, const char* recordKey) {
  const PathText& named = host.toolValue == ToolValue::kHostModule ? found.module : found.saved;
  if (RegSetText(HKEY_LOCAL_MACHINE, recordKey, kind == kHyphenator ? "Hyphenator" : "Speller", named.c_str()) !=
      ERROR_SUCCESS) {
    return 0;
  }
  PathText engine;
  if (kind == kHyphenator) {
    PathText hyphenator;
    BuildEngineFileName(kind, lcid, hyphenator.data(), PathText::kCapacity, nullptr);
    engine.Format("%s\\%s", startupFolder, hyphenator.c_str());
  } else {
    engine.Assign(host.spellerEngine == SpellerEngineValue::kSavedModuleName ? host.savedModule : host.module);
  }
  RegSetText(HKEY_LOCAL_MACHINE, recordKey, "Engine", engine.c_str());
  return 1;
}

struct SpellerReplacementOps {
  static HostResult Exist(const ReplacementHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    const HostResult no = host.existNeverNo ? kNotApplicable : 0;
    if (auto refusal = RefuseKind(host.kinds, kind, no)) return *refusal;
    VersionText version;
    return RegKeyExists(HKEY_LOCAL_MACHINE, host.hostKey) && ReadHostVersion(host, version) ? 1 : no;
  }

  static HostResult Info(const ReplacementHost& host, int, int, char* buffer, std::int32_t* length) {
    VersionText version;
    if (!ReadHostVersion(host, version)) return 0;
    return FormatInfoList(host.applicationKey, version.c_str(), buffer, length);
  }

  static HostResult Avail(const ReplacementHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    PathText startup;
    PathText productModule;
    DWORD length = PathText::kCapacity;
    HostModule found;
    return GetStartupDir(startup.data(), &length, lcid) && JoinPath(productModule, startup, host.module) &&
                   IsExistingFile(productModule.c_str()) && Exist(host, kind, lcid, 0, 0) == 1 &&
                   FindHostModule(host, found)
               ? 1
               : 0;
  }

  static HostResult Attach(const ReplacementHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    WorkBuffer startup;
    WorkBuffer recordKey;
    if (!startup.Allocate(kPathCapacity) || !recordKey.Allocate(kRecordKeyCapacity)) return 0;
    VersionText version;
    DWORD length = kPathCapacity;
    HostModule found;
    PathText productModule;
    if (!ReadHostVersion(host, version) || !GetStartupDir(startup.data(), &length, lcid) ||
        !FindHostModule(host, found) || !JoinPath(productModule, startup.data(), host.module) ||
        !ReplaceModule(found, productModule.c_str())) {
      return 0;
    }
    HostResult result = 0;
    if (BuildRecordKey(recordKey.data(), kRecordKeyCapacity, host.applicationKey, version.c_str(),
                       ToolKeyName(kind, kWord7Tree), lcid) &&
        WriteAttachRecord(recordKey.data(), kind, lcid, kWord7Tree, 2)) {
      result = WriteModuleValues(host, kind, lcid, found, startup.data(), recordKey.data());
    }
    // A half-made attachment gives the host its own module back.
    if (result == 0) RestoreHostModule(found.module.c_str(), found.saved.c_str());
    return result;
  }

  static HostResult Detach(const ReplacementHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    VersionText version;
    if (!ReadHostVersion(host, version)) return 0;
    const char* application = host.applicationKey;
    const int cleared = SetAttachedFlag(kind, lcid, application, version.c_str(), kWord7Tree, 0);
    if (Exist(host, kind, lcid, 0, 0) != 1) return 1;
    if (host.moduleSharedByTools && (CheckAttachedFlag(kSpeller, lcid, application, version.c_str(), kWord7Tree) ||
                                     CheckAttachedFlag(kHyphenator, lcid, application, version.c_str(), kWord7Tree))) {
      return 1;
    }
    if (cleared && RestoreModule(host)) return 1;
    // The product's module is still in place, and the record says so.
    SetAttachedFlag(kind, lcid, application, version.c_str(), kWord7Tree, 1);
    return 0;
  }

  static HostResult Check(const ReplacementHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    VersionText version;
    HostModule found;
    return ReadHostVersion(host, version) &&
                   CheckAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), kWord7Tree) != 0 &&
                   FindHostModule(host, found) && CheckCompanyName(found.module.c_str(), "9")
               ? 1
               : 0;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(CDRW60, kvil::SpellerReplacementOps, kvil::kCorelDraw6)
KVIL_HOST_EXPORTS(WPRO96, kvil::SpellerReplacementOps, kvil::kWordPro96)
KVIL_HOST_EXPORTS(WPRO97, kvil::SpellerReplacementOps, kvil::kWordPro97)
KVIL_HOST_EXPORTS(WPRO2000, kvil::SpellerReplacementOps, kvil::kWordPro2000)
KVIL_HOST_EXPORTS(PM60, kvil::SpellerReplacementOps, kvil::kPageMaker6)
KVIL_HOST_EXPORTS(PM65, kvil::SpellerReplacementOps, kvil::kPageMaker65)
KVIL_HOST_EXPORTS(PM70, kvil::SpellerReplacementOps, kvil::kPageMaker7)

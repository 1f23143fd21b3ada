// Web browsers check spelling in their forms, each its own way. Firefox 2 loads
// its speller module from its "components" folder: the product's module of the
// same name is copied over it, Firefox's own kept as ".orig". Internet Explorer
// has no speller of its own: the product registers its engine where Microsoft's
// programs look for proofing tools and adds an entry to the browser's context
// menu that opens the product's page. Opera names its spell-check engine
// in "spellcheck.ini": the product points it at its own, keeping the file as
// "spellcheck.orig.ini". Only the speller is offered.

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "bounded_text.h"
#include "code_pages.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "module_replacement.h"
#include "office_host.h"
#include "product.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using office::AttachFiles;
using office::HostRecord;
using office::kSpellerOnly;
using office::RefuseKind;

// Where a browser's program is found.
enum class ProgramLocation {
  // "PathToExe" of the "bin" key named after Firefox's "CurrentVersion".
  kFirefoxPathToExe,
  // The folder in Internet Explorer's App Paths entry.
  kAppPaths,
  // The folder Internet Explorer 6's setup recorded, with "iexplore.exe".
  kIeSetupFolder,
  // The local server of Internet Explorer's automation object.
  kLocalServer,
  // The folder of the command line Opera last ran with, with "opera.exe".
  kOperaFolder,
};

// What tells that the browser is the version the member stands for.
enum class VersionTest {
  // The program's product version has this major part.
  kProductMajorIs,
  // Internet Explorer's own "Version" value starts with this major number.
  kVersionValueMajorIs,
  // The first character of the program's version string is this one ...
  kFirstCharacterIs,
  // ... or, compared as a byte, this one or any above it: so version 10 reads
  // as "1" and is not found.
  kFirstCharacterFrom,
};

// Where the version the member is recorded under comes from.
enum class RecordVersion {
  kFixed,
  // "%d.0" of Internet Explorer's "Version", while it names the version tested for.
  kVersionValue,
  // The program's version string, or the fixed version when it has none.
  kProgramVersion,
};

// How the product takes the browser's speller over.
enum class Attachment { kReplaceModule, kContextMenu, kSpellCheckSettings };

struct BrowserHost {
  const char* infoName;
  const char* applicationKey;
  ProgramLocation program;
  // A key whose presence Exist requires first; null for none.
  HKEY presenceRoot;
  const char* presenceKey;
  VersionTest test;
  int tested;  // the major version, or the character
  RecordVersion recordVersion;
  const char* version;
  // Firefox and Internet Explorer 8 are available wherever they are found; the
  // others also need the product's engine and lexicon.
  bool availIsExist;
  Attachment attachment;
  // Internet Explorer 8 files itself as an application of the suite.
  bool writesSuiteRecord;
  // Firefox's module was written for this product version, whose records and
  // files it looks for whatever product is installed; 0 for the installed one.
  int productVersionBuiltIn;
};

const BrowserHost kFirefox2{
    .infoName = "FireFox", .applicationKey = "FIREFOX", .program = ProgramLocation::kFirefoxPathToExe,
    .presenceRoot = nullptr, .presenceKey = nullptr, .test = VersionTest::kProductMajorIs, .tested = 2,
    .recordVersion = RecordVersion::kFixed, .version = "2.0", .availIsExist = true,
    .attachment = Attachment::kReplaceModule, .writesSuiteRecord = false, .productVersionBuiltIn = 9};
const BrowserHost kInternetExplorer8{
    .infoName = "IEXPLORE", .applicationKey = "IEXPLORE", .program = ProgramLocation::kAppPaths,
    .presenceRoot = nullptr, .presenceKey = nullptr, .test = VersionTest::kVersionValueMajorIs, .tested = 8,
    .recordVersion = RecordVersion::kVersionValue, .version = nullptr, .availIsExist = true,
    .attachment = Attachment::kContextMenu, .writesSuiteRecord = true, .productVersionBuiltIn = 0};
const BrowserHost kInternetExplorer6{
    .infoName = "IEXPLORE", .applicationKey = "IEXPLORE", .program = ProgramLocation::kIeSetupFolder,
    .presenceRoot = HKEY_LOCAL_MACHINE, .presenceKey = "Software\\Microsoft\\IE Setup\\Setup",
    .test = VersionTest::kFirstCharacterIs, .tested = '6', .recordVersion = RecordVersion::kProgramVersion,
    .version = "6.0", .availIsExist = false, .attachment = Attachment::kContextMenu, .writesSuiteRecord = false,
    .productVersionBuiltIn = 0};
const BrowserHost kInternetExplorer7{
    .infoName = "IEXPLORE", .applicationKey = "IEXPLORE", .program = ProgramLocation::kLocalServer,
    .presenceRoot = nullptr, .presenceKey = nullptr, .test = VersionTest::kFirstCharacterFrom, .tested = '7',
    .recordVersion = RecordVersion::kFixed, .version = "7.0", .availIsExist = false,
    .attachment = Attachment::kContextMenu, .writesSuiteRecord = false, .productVersionBuiltIn = 0};
const BrowserHost kOpera9{
    .infoName = "OPERA", .applicationKey = "OPERA", .program = ProgramLocation::kOperaFolder,
    .presenceRoot = HKEY_CURRENT_USER, .presenceKey = "Software\\Opera Software",
    .test = VersionTest::kFirstCharacterFrom, .tested = '9', .recordVersion = RecordVersion::kProgramVersion,
    .version = "9.0", .availIsExist = false, .attachment = Attachment::kSpellCheckSettings,
    .writesSuiteRecord = false, .productVersionBuiltIn = 0};

constexpr char kFirefoxKey[] = "SOFTWARE\\Mozilla\\Mozilla Firefox";
constexpr char kFirefoxModule[] = "components\\myspell.dll";
constexpr char kFirefoxBackupSuffix[] = ".orig";
constexpr char kProductFirefoxModule[] = "myspell.dll";
// Firefox's values are UTF-16, of at most these many bytes.
constexpr DWORD kCurrentVersionBytes = 64;
constexpr DWORD kPathToExeBytes = 1040;

constexpr char kIeKey[] = "Software\\Microsoft\\Internet Explorer";
constexpr char kIeAppPathsKey[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\IEXPLORE.EXE";
constexpr char kIeLocalServerKey[] = "CLSID\\{0002DF01-0000-0000-C000-000000000046}\\LocalServer32";
constexpr char kIeMenuKey[] = "Software\\Microsoft\\Internet Explorer\\MenuExt\\&KVIL SpellCheck";
// The menu entry is offered on the page, on images, on controls, on tables, on
// selected text and on anchors.
constexpr DWORD kIeMenuContexts = 0x37;
constexpr char kProductPage[] = "kvilie.htm";
// An Internet Explorer extension of the product's earlier releases: every Detach
// clears it away, though Attach no longer adds it.
constexpr char kIeExtensionKey[] =
    "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\{D343B8D4-B9F8-49A1-81DC-6DC7F34D4F71}";
constexpr DWORD kIeTextBytes = 1040;

constexpr char kOperaSettings[] = "spellcheck.ini";
constexpr char kOperaSettingsBackup[] = "spellcheck.orig.ini";
constexpr char kOperaSection[] = "Spell check";
constexpr char kProductOperaEngine[] = "spellcheck.dll";
// Opera's spell-check settings are a handful of lines; a larger file is not one
// the product knows how to edit, and is left alone.
constexpr DWORD kOperaSettingsLimit = 64 * 1024;

// Code pages of the text the browsers keep in UTF-16.
constexpr UINT kWesternCodePage = 1252;
constexpr UINT kCyrillicCodePage = 1251;

using VersionText = FixedText<32>;

// A REG_SZ or REG_EXPAND_SZ (unexpanded) of at most maxBytes, up to its first NUL.
bool ReadWideText(HKEY root, const char* path, const wchar_t* name, DWORD maxBytes, std::wstring& text) {
  UniqueHKey key;
  if (RegOpenKeyView(root, path, KEY_QUERY_VALUE, key) != ERROR_SUCCESS) return false;
  std::vector<wchar_t> buffer(maxBytes / sizeof(wchar_t) + 1, L'\0');
  DWORD size = maxBytes;
  DWORD type = REG_NONE;
  if (RegQueryValueExW(key.get(), name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) !=
          ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ)) {
    return false;
  }
  text.assign(buffer.data());
  return true;
}

// A path the library may act on: absolute, without "." or ".." components.
bool IsPlainAbsolutePath(std::string_view path) {
  std::string_view rest;
  if (path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':' && path[2] == '\\') {
    rest = path.substr(3);
  } else if (path.starts_with("\\\\")) {
    rest = path.substr(2);
  } else {
    return false;
  }
  while (!rest.empty()) {
    const std::size_t end = rest.find_first_of("\\/");
    const std::string_view component = rest.substr(0, end);
    if (component == "." || component == "..") return false;
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  return true;
}

// "CurrentVersion" names the key of the installed release, up to its first blank
// ("2.0.0.20 (en-US)").
bool FindFirefox(PathText& program) {
  std::wstring currentVersion;
  PathText release;
  if (!ReadWideText(HKEY_LOCAL_MACHINE, kFirefoxKey, L"CurrentVersion", kCurrentVersionBytes, currentVersion) ||
      !Narrow(currentVersion.substr(0, currentVersion.find(L' ')), kWesternCodePage, release)) {
    return false;
  }
  PathText binKey;
  std::wstring pathToExe;
  return binKey.Format("%s %s\\bin", kFirefoxKey, release.c_str()) &&
         ReadWideText(HKEY_LOCAL_MACHINE, binKey.c_str(), L"PathToExe", kPathToExeBytes, pathToExe) &&
         Narrow(pathToExe, kCyrillicCodePage, program) && IsPlainAbsolutePath(program);
}

// App Paths keeps the folder followed by a ";", whose place the program's name takes.
bool FindIeFromAppPaths(PathText& program) {
  std::wstring folder;
  PathText path;
  if (!ReadWideText(HKEY_LOCAL_MACHINE, kIeAppPathsKey, L"Path", kIeTextBytes, folder) || folder.empty() ||
      !Narrow(std::wstring_view(folder).substr(0, folder.size() - 1), kCyrillicCodePage, path)) {
    return false;
  }
  return path.Append("\\IEXPLORE.EXE") && program.Assign(path) && IsPlainAbsolutePath(program);
}

bool FindIe6(PathText& program) {
  PathText folder;
  return RegReadString(HKEY_LOCAL_MACHINE, kInternetExplorer6.presenceKey, "Path", folder.data(),
                       PathText::kCapacity) &&
         JoinPath(program, folder, "iexplore.exe") && IsPlainAbsolutePath(program);
}

// The automation object's server, as its registration names it: environment
// references expanded, surrounding quotes dropped, in the Western code page
// unless only the Cyrillic one can represent it.
bool FindIeLocalServer(PathText& program) {
  std::wstring server;
  if (!ReadWideText(HKEY_CLASSES_ROOT, kIeLocalServerKey, nullptr, kIeTextBytes, server)) return false;
  if (server.find(L'%') != std::wstring::npos) {
    wchar_t expanded[kPathCapacity];
    const DWORD count = ExpandEnvironmentInView(RegistryViewOf(HKEY_CLASSES_ROOT, kIeLocalServerKey), server.c_str(),
                                                expanded, kPathCapacity);
    if (count == 0 || count > kPathCapacity) return false;
    server.assign(expanded);
  }
  if (server.starts_with(L'"')) server.erase(0, 1);
  if (server.ends_with(L'"')) server.pop_back();
  return (Narrow(server, kWesternCodePage, program) || Narrow(server, kCyrillicCodePage, program)) &&
         IsPlainAbsolutePath(program);
}

// Opera's folder comes from the user's own registry: it is used only as an
// existing folder, named in full, with room for the files the product handles there.
bool FindOperaFolder(PathText& folder) {
  PathText commandLine;
  if (!RegReadString(HKEY_CURRENT_USER, kOpera9.presenceKey, "Last CommandLine", commandLine.data(),
                     PathText::kCapacity)) {
    return false;
  }
  const std::size_t lastSeparator = commandLine.view().rfind('\\');
  PathText longest;
  return lastSeparator != std::string_view::npos && folder.Assign(commandLine.view().substr(0, lastSeparator)) &&
         IsPlainAbsolutePath(folder) && JoinPath(longest, folder, kOperaSettingsBackup) &&
         IsExistingFolder(folder.c_str());
}

bool FindProgram(const BrowserHost& host, PathText& program) {
  switch (host.program) {
    case ProgramLocation::kFirefoxPathToExe:
      return FindFirefox(program);
    case ProgramLocation::kAppPaths:
      return FindIeFromAppPaths(program);
    case ProgramLocation::kIeSetupFolder:
      return FindIe6(program);
    case ProgramLocation::kLocalServer:
      return FindIeLocalServer(program);
    case ProgramLocation::kOperaFolder: {
      PathText folder;
      return FindOperaFolder(folder) && JoinPath(program, folder, "opera.exe");
    }
  }
  return false;
}

// The leading number of Internet Explorer's "Version" ("8.0.6001.18702"); 0 without one.
int ReadIeMajorVersion() {
  std::wstring version;
  if (!ReadWideText(HKEY_LOCAL_MACHINE, kIeKey, L"Version", kIeTextBytes, version)) return 0;
  return static_cast<int>(std::wcstol(version.c_str(), nullptr, 10));
}

bool ReadProgramVersion(const BrowserHost& host, VersionText& version) {
  PathText program;
  return FindProgram(host, program) && GetShortFileVersion(program.c_str(), version.data(), VersionText::kCapacity) &&
         !version.empty();
}

bool IsTestedVersion(const BrowserHost& host) {
  VersionText version;
  switch (host.test) {
    case VersionTest::kProductMajorIs: {
      PathText program;
      return FindProgram(host, program) && GetProductVersionMajor(program.c_str()) == host.tested;
    }
    case VersionTest::kVersionValueMajorIs:
      return ReadIeMajorVersion() == host.tested;
    case VersionTest::kFirstCharacterIs:
      return ReadProgramVersion(host, version) && version.c_str()[0] == host.tested;
    case VersionTest::kFirstCharacterFrom:
      return ReadProgramVersion(host, version) && static_cast<unsigned char>(version.c_str()[0]) >= host.tested;
  }
  return false;
}

bool FindRecordVersion(const BrowserHost& host, VersionText& version) {
  switch (host.recordVersion) {
    case RecordVersion::kFixed:
      return version.Assign(host.version);
    case RecordVersion::kVersionValue:
      return ReadIeMajorVersion() == host.tested && version.Format("%d.0", host.tested);
    case RecordVersion::kProgramVersion:
      return ReadProgramVersion(host, version) || version.Assign(host.version);
  }
  return false;
}

// "...\Products\<application key>\<version>\Spelling" of the product version
// given, or of the installed one.
bool BuildToolKey(RecordKeyText& key, int productVersion, const char* applicationKey, const char* version,
                  int kind) {
  PathText product;
  if (productVersion != 0) {
    product.Format("Kvil\\%d.0", productVersion);
  } else {
    product.Assign(GetKvilVersionKey());
  }
  return key.Format("%s\\%s\\Products\\%s\\%s\\%s", kMakerRoot, product.c_str(), applicationKey, version,
                    ToolKeyName(kind, kWord7Tree));
}

// Firefox's module and where Firefox's own file is kept.
struct FirefoxModule {
  PathText module;
  PathText backup;
};

bool FindFirefoxModule(FirefoxModule& found) {
  PathText program;
  if (!FindFirefox(program)) return false;
  const std::size_t separator = program.view().rfind('\\');
  return JoinPath(found.module, program.view().substr(0, separator), kFirefoxModule) &&
         found.backup.Format("%s%s", found.module.c_str(), kFirefoxBackupSuffix);
}

// The product's Firefox module lies beside the uninstaller of the product
// version it was written for.
bool FindProductFirefoxModule(const BrowserHost& host, PathText& module) {
  PathText uninstallKey;
  PathText uninstaller;
  if (!uninstallKey.Format("%s\\%d.0", kUninstallRoot, host.productVersionBuiltIn) ||
      !RegReadString(HKEY_LOCAL_MACHINE, uninstallKey.c_str(), "UninstallString", uninstaller.data(),
                     PathText::kCapacity)) {
    return false;
  }
  const std::size_t separator = uninstaller.view().rfind('\\');
  return separator != std::string_view::npos &&
         JoinPath(module, uninstaller.view().substr(0, separator), kProductFirefoxModule);
}

// The product's folder and a file in it.
bool FindProductFile(const char* name, PathText& path) {
  PathText folder;
  DWORD length = PathText::kCapacity;
  return GetUninstallDir(folder.data(), &length) && !folder.empty() && JoinPath(path, folder, name);
}

// Internet Explorer 8 is recorded as an application of the suite with its
// program and display name.
void WriteSuiteRecord(const BrowserHost& host) {
  RecordKeyText key;
  // Without the product there is no record to keep.
  if (GetKvilVersion() == 0 ||
      !key.Format("%s\\%s\\Products\\%s\\%d.0", kMakerRoot, GetKvilVersionKey(), host.applicationKey, host.tested)) {
    return;
  }
  PathText program;
  if (FindIeFromAppPaths(program)) RegSetString(key.c_str(), "Path", program.c_str());
  RegSetString(key.c_str(), "Name", "Internet Explorer");
}

HostResult AddContextMenuEntry() {
  PathText page;
  if (!FindProductFile(kProductPage, page)) return 0;
  const bool written = RegSetValueOpen(HKEY_CURRENT_USER, kIeMenuKey, nullptr, REG_SZ, page.c_str(),
                                       static_cast<DWORD>(page.size())) == ERROR_SUCCESS &&
                       RegSetDword(HKEY_CURRENT_USER, kIeMenuKey, "Contexts", kIeMenuContexts) == ERROR_SUCCESS;
  return written ? 1 : 0;
}

bool IsEditableSettings(const char* path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExA(path, GetFileExInfoStandard, &data)) return true;  // created afresh
  return (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && data.nFileSizeHigh == 0 &&
         data.nFileSizeLow <= kOperaSettingsLimit;
}

// Opera's settings name the product's engine, after Opera's own file is kept
// once. A missing file is created with the product's three settings alone.
HostResult PointSpellCheckAtProduct() {
  PathText folder;
  PathText settings;
  PathText backup;
  PathText engine;
  if (!FindOperaFolder(folder) || !JoinPath(settings, folder, kOperaSettings) ||
      !JoinPath(backup, folder, kOperaSettingsBackup) || !FindProductFile(kProductOperaEngine, engine) ||
      !IsEditableSettings(settings.c_str())) {
    return 0;
  }
  if (!IsExistingFile(backup.c_str())) CopyFileA(settings.c_str(), backup.c_str(), TRUE);
  WritePrivateProfileStringA(kOperaSection, "Spell check engine", engine.c_str(), settings.c_str());
  WritePrivateProfileStringA(kOperaSection, "Default Language", "Russian", settings.c_str());
  WritePrivateProfileStringA(kOperaSection, "Default Encoding", "cp1251", settings.c_str());
  return 1;
}

struct BrowserOps {
  static HostResult Exist(const BrowserHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(kSpellerOnly, kind, 0)) return *refusal;
    if (host.presenceKey != nullptr && !RegKeyExists(host.presenceRoot, host.presenceKey)) return 0;
    return IsTestedVersion(host) ? 1 : 0;
  }

  static HostResult Info(const BrowserHost& host, int, int, char* buffer, std::int32_t* length) {
    VersionText version;
    if (!FindRecordVersion(host, version)) return 0;
    return FormatInfoList(host.infoName, version.c_str(), buffer, length);
  }

  static HostResult Avail(const BrowserHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    const HostResult exist = Exist(host, kind, lcid, 0, 0);
    if (host.availIsExist) return exist;
    return office::AvailInStartupFolder(kind, lcid, exist == 1 ? 1 : 0);
  }

  static HostResult Attach(const BrowserHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (kind != kSpeller) return kNotApplicable;
    if (host.attachment == Attachment::kReplaceModule) return AttachReplacingModule(host, kind, lcid);
    if (host.writesSuiteRecord) WriteSuiteRecord(host);
    const HostResult result = AttachThroughSharedTool(host, kind, lcid);
    // A half-made attachment is undone.
    if (result == 0) Detach(host, kind, lcid, 0, 0);
    return result;
  }

  static HostResult Detach(const BrowserHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (kind != kSpeller) return kNotApplicable;
    VersionText version;
    const int cleared = FindRecordVersion(host, version) ? SetAttachedFlag(kind, lcid, host.applicationKey,
                                                                           version.c_str(), kWord7Tree, 0)
                                                         : 0;
    switch (host.attachment) {
      case Attachment::kReplaceModule: {
        FirefoxModule found;
        if (FindFirefoxModule(found)) RestoreHostModule(found.module.c_str(), found.backup.c_str());
        break;
      }
      case Attachment::kContextMenu:
        RegDeleteKeyTree(HKEY_LOCAL_MACHINE, kIeExtensionKey, 1);
        RegDeleteKeyTree(HKEY_CURRENT_USER, kIeMenuKey, 1);
        break;
      case Attachment::kSpellCheckSettings: {
        PathText folder;
        PathText settings;
        PathText backup;
        if (FindOperaFolder(folder) && JoinPath(settings, folder, kOperaSettings) &&
            JoinPath(backup, folder, kOperaSettingsBackup)) {
          RestoreHostModule(settings.c_str(), backup.c_str());
        }
        break;
      }
    }
    return cleared;
  }

  static HostResult Check(const BrowserHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (kind != kSpeller) return 0;
    VersionText version;
    if (!FindRecordVersion(host, version)) return 0;
    if (host.attachment == Attachment::kReplaceModule) {
      return Avail(host, kind, lcid, 0, 0) == 1 &&
                     CheckAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), kWord7Tree) != 0
                 ? 1
                 : 0;
    }
    return office::CheckSharedRegistration(HostRecord{host.applicationKey, version.c_str(), kWord7Tree}, kind, lcid);
  }

 private:
  // The product's engine registered where Microsoft's programs look for it, the
  // record, and then the browser's own step, once every language recorded for
  // the browser is attached.
  static HostResult AttachThroughSharedTool(const BrowserHost& host, int kind, int lcid) {
    AttachFiles files;
    if (!files.Allocate() || !files.Find(kind, lcid)) return 0;
    const char* toolKey = ToolKeyName(kind, kWord7Tree);
    VersionText version;
    if (!RegisterProofingToolShared(toolKey, files.folder(), files.engine(), files.lexicon(), lcid) ||
        !FindRecordVersion(host, version)) {
      return 0;
    }
    const HostRecord record{host.applicationKey, version.c_str(), kWord7Tree};
    if (!files.BuildRecord(record, kind, lcid) || !WriteAttachRecord(files.recordKey(), kind, lcid, kWord7Tree, 2)) {
      return 0;
    }
    RecordKeyText tool;
    if (!BuildToolKey(tool, 0, host.applicationKey, version.c_str(), kind)) return 0;
    if (!AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str())) return 1;
    return host.attachment == Attachment::kContextMenu ? AddContextMenuEntry() : PointSpellCheckAtProduct();
  }

  // Attached goes under the installed product, the options under the version
  // the module was written for. Which module Firefox loads does not change the
  // answer: the options are what the product's module reads.
  static HostResult AttachReplacingModule(const BrowserHost& host, int kind, int lcid) {
    SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kWord7Tree, 1);
    RecordKeyText tool;
    RecordKeyText recordKey;
    if (!BuildToolKey(tool, host.productVersionBuiltIn, host.applicationKey, host.version, kind) ||
        !recordKey.Format("%s\\%d", tool.c_str(), lcid)) {
      return 0;
    }
    const HostResult result = WriteAttachRecord(recordKey.c_str(), kind, lcid, kWord7Tree, 2);
    if (!AllLanguagesAttached(HKEY_LOCAL_MACHINE, tool.c_str())) return 1;
    FirefoxModule found;
    PathText productModule;
    // Without a module of Firefox's own there is nothing to stand in for.
    if (FindFirefoxModule(found) && IsExistingFile(found.module.c_str()) &&
        FindProductFirefoxModule(host, productModule)) {
      ReplaceHostModule(found.module.c_str(), found.backup.c_str(), productModule.c_str());
    }
    return result;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(FireFox20, kvil::BrowserOps, kvil::kFirefox2)
KVIL_HOST_EXPORTS(IE, kvil::BrowserOps, kvil::kInternetExplorer8)
KVIL_HOST_EXPORTS(IE60, kvil::BrowserOps, kvil::kInternetExplorer6)
KVIL_HOST_EXPORTS(IE70, kvil::BrowserOps, kvil::kInternetExplorer7)
KVIL_HOST_EXPORTS(Opera90, kvil::BrowserOps, kvil::kOpera9)

// The program of Internet Explorer 8, as App Paths names it.
extern "C" kvil::HostResult GetIEFullExePath(char* buffer, std::int32_t capacity) {
  return kvil::GuardExport(0, [&]() -> kvil::HostResult {
    kvil::PathText program;
    if (buffer == nullptr || capacity <= 0 ||
        kvil::BrowserOps::Exist(kvil::kInternetExplorer8, kvil::kSpeller, 0, 0, 0) != 1 ||
        !kvil::FindIeFromAppPaths(program) || program.size() >= static_cast<std::size_t>(capacity)) {
      return 0;
    }
    kvil::CopyBounded(buffer, static_cast<std::size_t>(capacity), program);
    return 1;
  });
}

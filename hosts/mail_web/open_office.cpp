// LibreOffice and OpenOffice 3 and 4: the suites take spellers from their own
// extension tree, so Attach places the product's extension folder "kvillo" in
// the suite's "share\extensions" and records the suite under the product's key;
// Detach takes the folder out again. All four file their records under
// "SOFFICE" and the suite's "major.minor".

#include <windows.h>
#include <shellapi.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "added_files.h"
#include "bounded_text.h"
#include "code_pages.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

constexpr char kApplicationKey[] = "SOFFICE";

constexpr char kLibreOfficeKey[] = "SOFTWARE\\LibreOffice\\LibreOffice";
constexpr char kOpenOfficeOrgKey[] = "SOFTWARE\\OpenOffice.org\\OpenOffice.org";
constexpr char kOpenOfficeKey[] = "SOFTWARE\\OpenOffice\\OpenOffice";

constexpr wchar_t kExtensionFolder[] = L"\\share\\extensions\\kvillo";
// Everything in the product's own copy of the extension.
constexpr wchar_t kProductExtension[] = L"kvillo\\*";
// The module the suite loads from the extension: the file the uninstaller must remove.
constexpr wchar_t kUnoModule[] = L"\\Windows\\kvil4ooo-kvil.uno.dll";
constexpr char kSetupProgram[] = "kvilsetup.exe";

// Registry key names are Western text; the product's paths are Cyrillic text.
constexpr UINT kKeyNameCodePage = 1252;
constexpr UINT kProductPathCodePage = 1251;

// The shell's copy and delete without a window of any kind: silent, no
// questions, new folders made without asking, no error boxes.
constexpr FILEOP_FLAGS kQuietShellOperation = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
// Room for either path of a shell operation, with the two NULs that end its list.

using VersionText = FixedText<32>;

// What a speller attach does when the suite's registration names no program.
enum class WithoutSuiteProgram {
  // The records and the suite record are written; no files are placed.
  kRecordOnly,
  // LibreOffice 4 answers "not applicable" once the records are written.
  kNotApplicable,
};

struct OfficeSuite {
  // Enumerated for the version; the fallback only when the first cannot be opened.
  const char* versionKey;
  const char* fallbackVersionKey;
  // "<pathKey>\<version>" holds "Path", the suite's program.
  const char* pathKey;
  // Found when the version's major number is this and its minor at least lowestMinor.
  int major;
  int lowestMinor;
  // Followed by "major.minor" in the suite record's "Name".
  const char* displayNamePrefix;
  WithoutSuiteProgram withoutProgram;
};

// OpenOffice 4 looks for its version under OpenOffice.org's key whenever that
// key is there, and for its program under its own key.
const OfficeSuite kLibreOffice3{.versionKey = kLibreOfficeKey, .fallbackVersionKey = nullptr,
                                .pathKey = kLibreOfficeKey, .major = 3, .lowestMinor = 3,
                                .displayNamePrefix = "Libre Office ", .withoutProgram = WithoutSuiteProgram::kRecordOnly};
const OfficeSuite kLibreOffice4{.versionKey = kLibreOfficeKey, .fallbackVersionKey = nullptr,
                                .pathKey = kLibreOfficeKey, .major = 4, .lowestMinor = 0,
                                .displayNamePrefix = "Libre Office ",
                                .withoutProgram = WithoutSuiteProgram::kNotApplicable};
const OfficeSuite kOpenOffice3{.versionKey = kOpenOfficeOrgKey, .fallbackVersionKey = kOpenOfficeKey,
                               .pathKey = kOpenOfficeOrgKey, .major = 3, .lowestMinor = 3,
                               .displayNamePrefix = "Open Office ", .withoutProgram = WithoutSuiteProgram::kRecordOnly};
const OfficeSuite kOpenOffice4{.versionKey = kOpenOfficeOrgKey, .fallbackVersionKey = kOpenOfficeKey,
                               .pathKey = kOpenOfficeKey, .major = 4, .lowestMinor = 0,
                               .displayNamePrefix = "Open Office ", .withoutProgram = WithoutSuiteProgram::kRecordOnly};

// The installed version as the suite's setup registered it: the name of a
// subkey ("3.5.4") and the numbers it starts with.
struct SuiteVersion {
  VersionText name;  // empty: no version of this member
  int major = 0;
  int minor = 0;
  VersionText text;  // "major.minor", "0.0" without a version
};

int LeadingNumber(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

SuiteVersion FindVersion(const OfficeSuite& suite) {
  SuiteVersion version;
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, suite.versionKey, KEY_ENUMERATE_SUB_KEYS, key) == ERROR_SUCCESS ||
      (suite.fallbackVersionKey != nullptr &&
       RegOpenKeyView(HKEY_LOCAL_MACHINE, suite.fallbackVersionKey, KEY_ENUMERATE_SUB_KEYS, key) == ERROR_SUCCESS)) {
    // Only the subkey enumerated first is looked at: a release registered
    // beside it does not make the member found.
    char name[VersionText::kCapacity] = {};
    DWORD length = sizeof name;
    if (RegEnumKeyExA(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
        name[0] == '0' + suite.major) {
      const std::string_view text = name;
      version.name.Assign(text);
      version.major = LeadingNumber(text);
      const std::size_t dot = text.find('.');
      if (dot != std::string_view::npos) version.minor = LeadingNumber(text.substr(dot + 1));
    }
  }
  version.text.Format("%d.%d", version.major, version.minor);
  return version;
}

bool IsFound(const OfficeSuite& suite, const SuiteVersion& version) {
  return version.major == suite.major && version.minor >= suite.lowestMinor;
}

// Only a full path names the suite's folder: a relative one would be taken
// from the setup program's current folder.
bool IsFullPath(std::wstring_view path) {
  const bool drive =
      path.size() >= 3 && ((path[0] | 0x20) >= L'a' && (path[0] | 0x20) <= L'z') && path[1] == L':' && path[2] == L'\\';
  return drive || path.starts_with(L"\\\\");
}

// Where the suite is: its program as registered (UTF-16, as the suite keeps
// it) and the extension folder below its root, the folder above "program".
struct SuiteFolders {
  std::wstring program;
  std::wstring extension;
};

// Nothing for a program that is missing, not plain text, relative or too long
// for 260 characters: every folder is built from it.
std::optional<SuiteFolders> FindSuiteFolders(const OfficeSuite& suite, const SuiteVersion& version) {
  PathText keyPath;
  if (version.name.empty() || !keyPath.Format("%s\\%s", suite.pathKey, version.name.c_str())) return std::nullopt;
  UniqueHKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, Widen(keyPath.view(), kKeyNameCodePage).c_str(), 0,
                    KEY_QUERY_VALUE | RegistryView(), key.put()) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  wchar_t program[kPathCapacity] = {};
  DWORD size = sizeof program;
  DWORD type = REG_NONE;
  if (RegQueryValueExW(key.get(), L"Path", nullptr, &type, reinterpret_cast<BYTE*>(program), &size) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return std::nullopt;
  }
  const std::size_t length = wcsnlen(program, size / sizeof(wchar_t));
  if (length == kPathCapacity || !IsFullPath({program, length})) return std::nullopt;

  SuiteFolders folders{.program = std::wstring(program, length), .extension = {}};
  std::wstring root = folders.program;
  for (int component = 0; component < 2; ++component) {
    const std::size_t separator = root.rfind(L'\\');
    if (separator != std::wstring::npos) root.resize(separator);
  }
  folders.extension = root + kExtensionFolder;
  return folders;
}

// The product's extension folder, as it stands, into the suite's extension tree.
void PlaceExtension(const SuiteFolders& folders) {
  char productFolder[kPathCapacity] = {};
  DWORD length = sizeof productFolder;
  if (!GetUninstallDir(productFolder, &length)) return;
  std::wstring source = Widen({productFolder, length}, kProductPathCodePage);
  if (!source.ends_with(L'\\')) source += L'\\';
  source += kProductExtension;
  CreateDirectoryW(folders.extension.c_str(), nullptr);
  const std::wstring_view target = folders.extension;
  ShellFileOperation(FO_COPY, source, &target, kQuietShellOperation);
}

// "...\Products\SOFFICE\<major.minor>": the suite's program and its name, for
// the product's own use; failures are not reported.
void WriteSuiteRecord(const OfficeSuite& suite, const SuiteVersion& version, const SuiteFolders* folders) {
  RecordKeyText key;
  PathText program;
  FixedText<128> name;
  if (!key.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), kApplicationKey, version.text.c_str()) ||
      (folders != nullptr && !Narrow(folders->program, kProductPathCodePage, program))) {
    return;
  }
  name.Format("%s%s", suite.displayNamePrefix, version.text.c_str());
  RegSetString(key.c_str(), "Path", program.c_str());
  RegSetString(key.c_str(), "Name", name.c_str());
}

void AnnounceUnoModule(const SuiteFolders& folders) {
  FixedText<1024> module;  // the added-files list takes what fits its 260 bytes
  if (Narrow(folders.extension + kUnoModule, kProductPathCodePage, module)) extAddFilePath(module.c_str());
}

// The product's setup program removes the product's files, the extension
// among them, by other means.
bool CalledBySetupProgram() {
  char program[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, program, sizeof program);
  return FindNoCase(program, kSetupProgram) != nullptr;
}

struct OfficeSuiteOps {
  static HostResult Exist(const OfficeSuite& suite, int kind, int, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return 0;
    return IsFound(suite, FindVersion(suite)) ? 1 : 0;
  }

  static HostResult Info(const OfficeSuite& suite, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(kApplicationKey, FindVersion(suite).text.c_str(), buffer, length);
  }

  static HostResult Avail(const OfficeSuite& suite, int kind, int lcid, std::intptr_t, std::intptr_t) {
    return Exist(suite, kind, lcid, 0, 0);
  }

  static HostResult Attach(const OfficeSuite& suite, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return 0;
    const SuiteVersion version = FindVersion(suite);
    SetAttachedFlag(kind, lcid, kApplicationKey, version.text.c_str(), kSharedTree, 1);
    const char* toolKey = ToolKeyName(kind, kSharedTree);
    RecordKeyText recordKey, toolRecordKey;
    if (!BuildRecordKey(recordKey.data(), RecordKeyText::kCapacity, kApplicationKey, version.text.c_str(), toolKey,
                        lcid) ||
        !toolRecordKey.Format("%s\\%s\\Products\\%s\\%s\\%s", kMakerRoot, GetKvilVersionKey(), kApplicationKey,
                              version.text.c_str(), toolKey)) {
      return 0;
    }
    const int written = WriteAttachRecord(recordKey.c_str(), kind, lcid, kWord7Tree, 2);

    // The extension carries the speller only.
    if (kind == kSpeller) {
      const std::optional<SuiteFolders> folders = FindSuiteFolders(suite, version);
      if (!folders && suite.withoutProgram == WithoutSuiteProgram::kNotApplicable) return kNotApplicable;
      if (folders) PlaceExtension(*folders);
      WriteSuiteRecord(suite, version, folders ? &*folders : nullptr);
      if (folders) AnnounceUnoModule(*folders);
    }
    // The setup program hears how the record was written only while every
    // language of the tool is attached; with one detached it is told 1.
    return AllLanguagesAttached(HKEY_LOCAL_MACHINE, toolRecordKey.c_str()) ? written : 1;
  }

  // Takes the extension out whatever the tool and language: the suite has the
  // one extension for all of them. The suite record and the added-files entry stay.
  static HostResult Detach(const OfficeSuite& suite, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return 0;
    const SuiteVersion version = FindVersion(suite);
    const HostResult cleared = SetAttachedFlag(kind, lcid, kApplicationKey, version.text.c_str(), kSharedTree, 0);
    if (!CalledBySetupProgram()) {
      if (const std::optional<SuiteFolders> folders = FindSuiteFolders(suite, version)) {
        ShellFileOperation(FO_DELETE, folders->extension, nullptr, kQuietShellOperation);
      }
    }
    return cleared;
  }

  // Reads the record under the tool's older key word, so a hyphenator, filed
  // under "Hyphenation", never reads as attached.
  static HostResult Check(const OfficeSuite& suite, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!Avail(suite, kind, lcid, 0, 0)) return 0;
    return CheckAttachedFlag(kind, lcid, kApplicationKey, FindVersion(suite).text.c_str(), kWord7Tree);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(LibreOffice3, kvil::OfficeSuiteOps, kvil::kLibreOffice3)
KVIL_HOST_EXPORTS(LibreOffice4, kvil::OfficeSuiteOps, kvil::kLibreOffice4)
KVIL_HOST_EXPORTS(OpenOffice3, kvil::OfficeSuiteOps, kvil::kOpenOffice3)
KVIL_HOST_EXPORTS(OpenOffice4, kvil::OfficeSuiteOps, kvil::kOpenOffice4)

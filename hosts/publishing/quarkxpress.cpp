// QuarkXPress: the product's speller and hyphenator are XTensions, which
// QuarkXPress loads from its XTension folder when it starts. Attach copies them
// there from the product's start-up folder together with the hot-key XTension
// both of them need, and Detach deletes them again. QuarkXPress is filed under
// the name and version of its own program, read from the installed executable,
// since every release of it registers itself under the same document type.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "office_host.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using office::Kinds;
using office::RefuseKind;

// One tool's XTension, and the record value that names where it went.
struct XTension {
  int kind;
  const char* file;
  const char* recordValue;
  // The hyphenator's record also names the engine the XTension loads.
  bool recordsEngine;
};

// A packed Installer component whose value, under a packed product code, is the
// folder QuarkXPress was installed to.
struct InstallerFolderComponent {
  const char* component;
  const char* productValue;
};

struct QuarkHost {
  unsigned kinds;
  // HKLM; its default value is the command that opens an XTension, which names
  // QuarkXPress's program.
  const char* openCommandKey;
  const char* programPattern;
  // From this major version on QuarkXPress comes with the Windows Installer, and
  // its folder is the one the Installer registered: the first of these found.
  int installerFolderFromMajor;
  std::span<const InstallerFolderComponent> installerFolderComponents;
  // HKCU; the preference names the XTension folder inside QuarkXPress's folder.
  const char* preferencesKey;
  const char* xtensionFolderPreference;
  const char* defaultXTensionFolder;
  std::span<const XTension> xtensions;
  // Needed by every tool's XTension, so it stays while another one is present.
  const char* sharedXTension;
};

constexpr char kInstallerUserData[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData";

const InstallerFolderComponent kQuarkFolderComponents[] = {
    {"2AEF9CEAC8D35D110BE00001B493D877", "9625FB7A47E35D110BF00001B493D877"},
    {"54505B17F5785D110B130001B493D877", "9625FB7A47E35D110BF00001B493D877"},
    {"6DC6127D2FAE8F246A881A514DDF6288", "7925FB7A47E35D110BF00001B493D877"},
    {"E8D4BE928E91E394C8597396EEB2FCFB", "7925FB7A47E35D110BF00001B493D877"},
};

const XTension kQuarkXTensions[] = {
    {.kind = kSpeller, .file = "xspell.xnt", .recordValue = "Speller", .recordsEngine = false},
    {.kind = kHyphenator, .file = "xhyph.xnt", .recordValue = "Hyphenator", .recordsEngine = true},
};

const QuarkHost kQuarkXPress{
    .kinds = Kinds({kSpeller, kHyphenator}),
    .openCommandKey = "SOFTWARE\\Classes\\QuarkXPress.XTension\\shell\\open\\command",
    .programPattern = "QUARKXPRESS*.exe",
    .installerFolderFromMajor = 6,
    .installerFolderComponents = kQuarkFolderComponents,
    .preferencesKey = "Software\\Quark\\QuarkXPress\\Preferences",
    .xtensionFolderPreference = "Enabled XTSearchPath",
    .defaultXTensionFolder = "XTension",
    .xtensions = kQuarkXTensions,
    .sharedXTension = "xhotkeys.xnt",
};

using VersionText = FixedText<32>;

// The program QuarkXPress is filed under: its base name and "major.minor".
struct QuarkProgram {
  PathText applicationKey;
  VersionText version;
};

const XTension& XTensionFor(const QuarkHost& host, int kind) {
  for (const XTension& xtension : host.xtensions) {
    if (xtension.kind == kind) return xtension;
  }
  return host.xtensions.front();  // unreachable: only the kinds listed are taken
}

const XTension* OtherXTension(const QuarkHost& host, int kind) {
  for (const XTension& xtension : host.xtensions) {
    if (xtension.kind != kind) return &xtension;
  }
  return nullptr;
}

void StripQuotes(PathText& text) {
  std::string_view inner = text.view();
  if (!inner.starts_with('"')) return;
  inner.remove_prefix(1);
  if (inner.ends_with('"')) inner.remove_suffix(1);
  const PathText unquoted(inner);
  text = unquoted;
}

// Drive and directory of a path, with the separator that ends them.
void KeepFolder(PathText& path) {
  std::string_view text = path.view();
  const std::size_t separator = text.find_last_of("\\/");
  if (separator != std::string_view::npos) {
    text = text.substr(0, separator + 1);
  } else {
    text = text.size() >= 2 && text[1] == ':' ? text.substr(0, 2) : std::string_view();
  }
  const PathText folder(text);
  path = folder;
}

// The first program matching the host's pattern in folder (which ends in its separator).
bool ResolveProgram(const QuarkHost& host, const char* folder, QuarkProgram& program) {
  PathText pattern;
  if (!pattern.Format("%s%s", folder, host.programPattern)) return false;
  WIN32_FIND_DATAA found{};
  UniqueFind find(FindFirstFileA(pattern.c_str(), &found));
  if (!find) return false;
  PathText path;
  if (!path.Format("%s%s", folder, found.cFileName)) return false;
  std::string_view name = found.cFileName;
  const std::size_t dot = name.find_last_of('.');
  if (dot != std::string_view::npos) name = name.substr(0, dot);
  return program.applicationKey.Assign(name) &&
         GetShortFileVersion(path.c_str(), program.version.data(), VersionText::kCapacity);
}

// Every user's installation in turn, each component in the order listed.
bool FindInstallerFolder(const QuarkHost& host, PathText& folder) {
  folder.Clear();
  UniqueHKey users;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, kInstallerUserData, KEY_READ, users) != ERROR_SUCCESS) return false;
  for (DWORD index = 0;; ++index) {
    char sid[256];
    DWORD sidLength = sizeof sid;
    const LONG status = RegEnumKeyExA(users.get(), index, sid, &sidLength, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return false;
    if (status != ERROR_SUCCESS) continue;
    for (const InstallerFolderComponent& entry : host.installerFolderComponents) {
      PathText key;
      if (!key.Format("%s\\%s\\Components\\%s", kInstallerUserData, sid, entry.component)) continue;
      // A folder too long for a path is no folder of this machine's.
      if (RegReadString(HKEY_LOCAL_MACHINE, key.c_str(), entry.productValue, folder.data(), PathText::kCapacity) &&
          !folder.empty()) {
        return true;
      }
      folder.Clear();
    }
  }
}

// QuarkXPress's folder, and the program found there when it is the folder of
// the program the open command names: one search and one version read serve
// every use an export makes of them.
struct QuarkFolder {
  PathText path;  // ends in its separator
  std::optional<QuarkProgram> program;
};

// Before release 6 QuarkXPress lives in the folder of the program the open
// command names; later releases in the folder the Installer registered.
bool FindQuarkFolder(const QuarkHost& host, QuarkFolder& folder) {
  PathText& path = folder.path;
  if (!RegReadString(HKEY_LOCAL_MACHINE, host.openCommandKey, nullptr, path.data(), PathText::kCapacity)) {
    return false;
  }
  StripQuotes(path);
  KeepFolder(path);
  QuarkProgram program;
  if (!ResolveProgram(host, path.c_str(), program)) return false;
  if (std::atoi(program.version.c_str()) < host.installerFolderFromMajor) {
    folder.program = program;
    return true;
  }
  if (!FindInstallerFolder(host, path)) return false;
  StripQuotes(path);
  return true;
}

bool FindQuarkProgram(const QuarkHost& host, const QuarkFolder& folder, QuarkProgram& program) {
  if (folder.program) {
    program = *folder.program;
    return true;
  }
  return ResolveProgram(host, folder.path.c_str(), program);
}

// The XTension folder, ending in its separator. A preference too long to read
// is refused rather than replaced by the default folder.
bool FindXTensionFolder(const QuarkHost& host, const QuarkFolder& folder, PathText& xtensionFolder) {
  PathText name;
  DWORD length = PathText::kCapacity;
  DWORD type = REG_NONE;
  const LONG status = RegGetValueExpand(HKEY_CURRENT_USER, host.preferencesKey, host.xtensionFolderPreference,
                                        name.data(), &length, &type);
  if (status == ERROR_MORE_DATA) return false;
  if (status != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) name.Assign(host.defaultXTensionFolder);
  return xtensionFolder.Format("%s%s\\", folder.path.c_str(), name.c_str());
}

bool XTensionFolderExists(const QuarkHost& host, const QuarkFolder& folder) {
  PathText xtensions;
  return FindXTensionFolder(host, folder, xtensions) && IsExistingFolder(xtensions.c_str());
}

bool StartupFolder(int lcid, PathText& folder) {
  DWORD length = PathText::kCapacity;
  return GetStartupDir(folder.data(), &length, lcid) != 0;
}

bool ExistsIn(const char* xtensionFolder, const char* file) {
  PathText path;
  return path.Format("%s%s", xtensionFolder, file) && FileExists(path.c_str());
}

// A file already in the XTension folder, whoever put it there, is left as it is
// and counts as installed.
bool CopyWhenMissing(const char* startupFolder, const char* xtensionFolder, const char* file) {
  PathText source;
  PathText target;
  if (!source.Format("%s\\%s", startupFolder, file) || !target.Format("%s%s", xtensionFolder, file)) return false;
  if (FileExists(target.c_str())) return true;
  return CopyFileA(source.c_str(), target.c_str(), TRUE) != 0;
}

bool DeleteWhenPresent(const char* xtensionFolder, const char* file) {
  PathText path;
  if (!path.Format("%s%s", xtensionFolder, file)) return false;
  if (!FileExists(path.c_str())) return true;
  return DeleteFileA(path.c_str()) != 0;
}

bool InstallXTensions(const QuarkHost& host, const QuarkFolder& folder, int kind, int lcid) {
  PathText startup;
  PathText xtensions;
  if (!StartupFolder(lcid, startup) || !FindXTensionFolder(host, folder, xtensions)) return false;
  return CopyWhenMissing(startup.c_str(), xtensions.c_str(), XTensionFor(host, kind).file) &&
         CopyWhenMissing(startup.c_str(), xtensions.c_str(), host.sharedXTension);
}

// Only the tool's own removal counts; the shared XTension goes with the last tool.
bool RemoveXTensions(const QuarkHost& host, const QuarkFolder& folder, int kind) {
  PathText xtensions;
  if (!FindXTensionFolder(host, folder, xtensions)) return false;
  const bool removed = DeleteWhenPresent(xtensions.c_str(), XTensionFor(host, kind).file);
  const XTension* other = OtherXTension(host, kind);
  if (other == nullptr || !ExistsIn(xtensions.c_str(), other->file)) {
    DeleteWhenPresent(xtensions.c_str(), host.sharedXTension);
  }
  return removed;
}

// The record's values beyond the attachment: where the XTension went, and the
// hyphenator's engine. Only the XTension's value decides the result.
bool RecordXTension(const QuarkHost& host, const QuarkFolder& folder, const XTension& xtension,
                    const char* recordKey, const char* startup, int lcid) {
  PathText xtensions;
  PathText placed;
  if (!FindXTensionFolder(host, folder, xtensions) || !placed.Format("%s%s", xtensions.c_str(), xtension.file)) {
    return false;
  }
  const bool recorded =
      RegSetText(HKEY_LOCAL_MACHINE, recordKey, xtension.recordValue, placed.c_str()) == ERROR_SUCCESS;
  if (xtension.recordsEngine) {
    PathText engineFile;
    PathText engine;
    BuildEngineFileName(xtension.kind, lcid, engineFile.data(), PathText::kCapacity, nullptr);
    if (engine.Format("%s\\%s", startup, engineFile.c_str())) {
      RegSetText(HKEY_LOCAL_MACHINE, recordKey, "Engine", engine.c_str());
    }
  }
  return recorded;
}

struct QuarkOps {
  static HostResult Exist(const QuarkHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    QuarkFolder folder;
    return FindQuarkFolder(host, folder) && XTensionFolderExists(host, folder) ? 1 : 0;
  }

  static HostResult Info(const QuarkHost& host, int, int, char* buffer, std::int32_t* length) {
    QuarkFolder folder;
    QuarkProgram program;
    if (!FindQuarkFolder(host, folder) || !FindQuarkProgram(host, folder, program)) return 0;
    return FormatInfoList(program.applicationKey.c_str(), program.version.c_str(), buffer, length);
  }

  static HostResult Avail(const QuarkHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    PathText startup;
    PathText path;
    if (!StartupFolder(lcid, startup) || !path.Format("%s\\%s", startup.c_str(), XTensionFor(host, kind).file) ||
        !FileExists(path.c_str())) {
      return 0;
    }
    if (!path.Format("%s\\%s", startup.c_str(), host.sharedXTension) || !FileExists(path.c_str())) return 0;
    return Exist(host, kind, lcid, 0, 0);
  }

  static HostResult Attach(const QuarkHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    WorkBuffer startup;
    WorkBuffer recordKey;
    if (!startup.Allocate(kPathCapacity) || !recordKey.Allocate(kRecordKeyCapacity)) return 0;
    QuarkFolder folder;
    QuarkProgram program;
    DWORD length = kPathCapacity;
    if (!FindQuarkFolder(host, folder) || !FindQuarkProgram(host, folder, program) ||
        !GetStartupDir(startup.data(), &length, lcid)) {
      return 0;
    }

    HostResult result = 0;
    if (InstallXTensions(host, folder, kind, lcid) &&
        BuildRecordKey(recordKey.data(), kRecordKeyCapacity, program.applicationKey.c_str(), program.version.c_str(),
                       ToolKeyName(kind, kWord7Tree), lcid) &&
        WriteAttachRecordSaved(recordKey.data(), kind, lcid, 0, kWord7Tree) != 0) {
      result = RecordXTension(host, folder, XTensionFor(host, kind), recordKey.data(), startup.data(), lcid) ? 1 : 0;
    }
    if (result == 0) RemoveXTensions(host, folder, kind);
    return result;
  }

  // When the files cannot be removed the record says attached again, so that
  // Check goes on showing the XTension QuarkXPress still loads.
  static HostResult Detach(const QuarkHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    QuarkFolder folder;
    QuarkProgram program;
    if (!FindQuarkFolder(host, folder) || !FindQuarkProgram(host, folder, program)) return 0;
    const char* key = program.applicationKey.c_str();
    const char* version = program.version.c_str();
    const int cleared = SetAttachedFlag(kind, lcid, key, version, kWord7Tree, 0);
    if (!XTensionFolderExists(host, folder)) return 1;
    if (cleared && RemoveXTensions(host, folder, kind)) return 1;
    SetAttachedFlag(kind, lcid, key, version, kWord7Tree, 1);
    return 0;
  }

  static HostResult Check(const QuarkHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    QuarkFolder folder;
    QuarkProgram program;
    if (!FindQuarkFolder(host, folder) || !FindQuarkProgram(host, folder, program)) return 0;
    PathText xtensions;
    return CheckAttachedFlag(kind, lcid, program.applicationKey.c_str(), program.version.c_str(), kWord7Tree) != 0 &&
                   FindXTensionFolder(host, folder, xtensions) &&
                   ExistsIn(xtensions.c_str(), XTensionFor(host, kind).file) &&
                   ExistsIn(xtensions.c_str(), host.sharedXTension)
               ? 1
               : 0;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(QXS40, kvil::QuarkOps, kvil::kQuarkXPress)

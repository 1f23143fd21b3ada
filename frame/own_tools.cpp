// The hosts the setup tool can always offer: "Unknown", for any host it cannot
// name, and the product's own programs that take the engines like any host: the
// Editor, the Agent and the Standard speller front end.

#include <windows.h>
#include <shlobj.h>

#include <cstring>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "office_host.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

// When a program's Start-menu shortcut comes back from the start-up folder.
enum class ShortcutOnAttach { kNever, kAlways, kOnSuccess };
// When Detach moves it out of the menu.
enum class ShortcutOnDetach { kNever, kAlways, kWhileAnyToolAttached };

struct OwnToolHost {
  const char* applicationKey;
  // What Info reports; null: the product's own "<n>.0". The Editor's stays
  // "14.0" whatever the product's version.
  const char* infoVersion;
  // Version key of the records; null: the product's own "<n>.0".
  const char* recordVersion;
  unsigned attachKinds;
  // Attach's answer to a tool kind it does not take.
  HostResult refusedKindResult;
  // Avail wants this program beside the engines; null: always available.
  const char* programFile;
  // Further files Avail wants beside the program, whatever the tool.
  const char* availCompanions[2];
  // Avail wants the tool's engine too; the speller's is named here, as the
  // programs load different speller modules.
  const char* availSpellerEngine;
  // Recorded as the application's "Path" (in the product folder) and "Name".
  const char* registeredProgram;
  const char* displayName;
  // The program whose Start-menu shortcut attaching and detaching move.
  const char* shortcutProgram;
  ShortcutOnAttach shortcutOnAttach;
  ShortcutOnDetach shortcutOnDetach;
  // Attach gives the engines their options and file paths in the record.
  bool writesEngineValues;
  // "Options" goes to the default registry view, whatever the product's.
  bool optionsInDefaultView;
  // Detach also takes the program out of the Startup folder.
  bool leavesAutomaticStart;
};

constexpr unsigned kEveryTool = office::kAllKinds;

constexpr OwnToolHost kUnknownHost{
    .applicationKey = "Unknown",
    .infoVersion = "0.0",
    .recordVersion = "0.0",
    .attachKinds = kEveryTool,
    .refusedKindResult = 0,
    .programFile = nullptr,
    .availCompanions = {},
    .availSpellerEngine = nullptr,
    .registeredProgram = nullptr,
    .displayName = nullptr,
    .shortcutProgram = nullptr,
    .shortcutOnAttach = ShortcutOnAttach::kNever,
    .shortcutOnDetach = ShortcutOnDetach::kNever,
    .writesEngineValues = false,
    .optionsInDefaultView = false,
    .leavesAutomaticStart = false,
};

constexpr OwnToolHost kEditorHost{
    .applicationKey = "KVILEDITOR",
    .infoVersion = "14.0",
    .recordVersion = nullptr,
    .attachKinds = kEveryTool,
    .refusedKindResult = kNotApplicable,
    .programFile = "kvileditor.exe",
    .availCompanions = {},
    .availSpellerEngine = "kvilsp3.dll",
    .registeredProgram = "KvilEditor.exe",
    .displayName = "Kvil Editor",
    .shortcutProgram = "kvileditor.exe",
    .shortcutOnAttach = ShortcutOnAttach::kNever,
    .shortcutOnDetach = ShortcutOnDetach::kAlways,
    .writesEngineValues = true,
    .optionsInDefaultView = false,
    .leavesAutomaticStart = false,
};

// The Agent checks the speller as the user types, with its hook module and its
// own speller module beside it.
constexpr OwnToolHost kAgentHost{
    .applicationKey = "KVLAGENT",
    .infoVersion = nullptr,
    .recordVersion = nullptr,
    .attachKinds = office::kSpellerOnly,
    .refusedKindResult = kNotApplicable,
    .programFile = "kvlagent.exe",
    .availCompanions = {"kvilhook.dll", "kvilxsp3.dll"},
    .availSpellerEngine = nullptr,
    .registeredProgram = nullptr,
    .displayName = nullptr,
    .shortcutProgram = "kvlagent.exe",
    .shortcutOnAttach = ShortcutOnAttach::kAlways,
    .shortcutOnDetach = ShortcutOnDetach::kAlways,
    .writesEngineValues = true,
    .optionsInDefaultView = true,
    .leavesAutomaticStart = true,
};

// The Standard speller front end. Its menu shortcut goes on a detach only while
// another of its tools is still attached, which leaves it in the menu after the
// last detach; that is the program's own rule.
constexpr OwnToolHost kStandardSpellerHost{
    .applicationKey = "KVLSTDSP",
    .infoVersion = nullptr,
    .recordVersion = nullptr,
    .attachKinds = kEveryTool,
    .refusedKindResult = kNotApplicable,
    .programFile = "kvlstdsp.exe",
    .availCompanions = {},
    .availSpellerEngine = "kvilxsp3.dll",
    .registeredProgram = nullptr,
    .displayName = nullptr,
    .shortcutProgram = "kvlstdsp.exe",
    .shortcutOnAttach = ShortcutOnAttach::kOnSuccess,
    .shortcutOnDetach = ShortcutOnDetach::kWhileAnyToolAttached,
    .writesEngineValues = true,
    .optionsInDefaultView = true,
    .leavesAutomaticStart = false,
};

// The files a product program loads for each tool kind, and the options its
// engine reads from the record.
struct ProgramToolFiles {
  const char* engine;
  const char* dictionary;  // null: the record names no engine files (the speller)
  const char* interframe;
  DWORD options;
};
constexpr ProgramToolFiles kProgramToolFiles[kToolKindCount] = {
    {"kvilsp3.dll", nullptr, nullptr, 0x20000005},
    {"KVILGR32.DLL", "grrunorm.lex", "gram_mod.dll", 1},
    {"KVILTH32.DLL", "thrunorm.lex", "thes_mod.dll", 0x20000005},
    {"inhy32ru.dll", "hyRUnorm.lex", nullptr, 0x20000005},
};

const char* RecordVersion(const OwnToolHost& host) {
  return host.recordVersion != nullptr ? host.recordVersion : GetKvilVersionWord();
}

const char* InfoVersion(const OwnToolHost& host) {
  return host.infoVersion != nullptr ? host.infoVersion : GetKvilVersionWord();
}

bool JoinPath(PathText& path, const char* folder, const char* file) {
  return path.Format("%s\\%s", folder, file);
}

// The application record: where the program is and what it is called.
void RegisterProgram(const OwnToolHost& host) {
  PathText productFolder;
  DWORD length = PathText::kCapacity;
  if (!GetUninstallDir(productFolder.data(), &length)) return;
  RecordKeyText key;
  if (!key.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), host.applicationKey,
                  GetKvilVersionWord())) {
    return;
  }
  // The product folder keeps its trailing backslash and the name is appended
  // with one of its own, as the product's programs have always read it.
  PathText programPath;
  if (!programPath.Format("%s\\%s", productFolder.c_str(), host.registeredProgram)) return;
  RegSetString(key.c_str(), "Path", programPath.c_str());
  RegSetString(key.c_str(), "Name", host.displayName);
}

// "Options" and, for the grammar checker, thesaurus and hyphenator, the engine,
// lexicon and interface module the program loads.
bool WriteEngineValues(const OwnToolHost& host, const char* recordKey, int kind, const char* startupFolder) {
  const ProgramToolFiles& files = kProgramToolFiles[kind];
  const LONG options =
      host.optionsInDefaultView
          ? RegSetValueOpenPlain(HKEY_LOCAL_MACHINE, recordKey, "Options", REG_DWORD, &files.options, sizeof(DWORD))
          : RegSetDword(HKEY_LOCAL_MACHINE, recordKey, "Options", files.options);
  if (options != ERROR_SUCCESS) return false;
  if (files.dictionary == nullptr) return true;
  bool written = true;
  auto writePath = [&](const char* name, const char* file) {
    PathText path;
    written = JoinPath(path, startupFolder, file) && RegSetString(recordKey, name, path.c_str()) != 0 && written;
  };
  writePath("Engine", files.engine);
  writePath("Dictionary", files.dictionary);
  if (files.interframe != nullptr) writePath("Interframe", files.interframe);
  return written;
}

// The record of an attach, with the engines' options and files.
HostResult AttachRecord(const OwnToolHost& host, int kind, int lcid, WorkBuffer& folder, WorkBuffer& recordKey) {
  DWORD length = static_cast<DWORD>(folder.size());
  if (!GetStartupDir(folder.data(), &length, lcid)) return 0;
  if (!BuildRecordKey(recordKey.data(), recordKey.size(), host.applicationKey, RecordVersion(host),
                      ToolKeyName(kind, kWord7Tree), lcid)) {
    return 0;
  }
  if (!WriteAttachRecord(recordKey.data(), kind, lcid, kWord7Tree, 2)) return 0;
  if (host.writesEngineValues && !WriteEngineValues(host, recordKey.data(), kind, folder.data())) return 0;
  return 1;
}

// The Agent's shortcut in the Startup folder (all users', else the user's) is
// named by its display name in the product's "setup32.inf"; without that file
// the name stays empty and only ".lnk" is looked for.
void LeaveAutomaticStart() {
  PathText productFolder;
  DWORD length = PathText::kCapacity;
  char setupFile[MAX_PATH] = {};
  char shortcut[kPathCapacity] = {};
  if (GetUninstallDir(productFolder.data(), &length) &&
      SearchPathA(productFolder.c_str(), "setup32.inf", nullptr, MAX_PATH, setupFile, nullptr) != 0) {
    GetPrivateProfileStringA("APPLICATIONS", "KVIL Agent", "KVIL Agent", shortcut, sizeof shortcut, setupFile);
  }
  if (std::strlen(shortcut) < 256) AppendBounded(shortcut, sizeof shortcut, ".lnk");
  char startup[MAX_PATH] = {};
  if (FAILED(SHGetFolderPathA(nullptr, CSIDL_COMMON_STARTUP, nullptr, SHGFP_TYPE_CURRENT, startup)) &&
      FAILED(SHGetFolderPathA(nullptr, CSIDL_STARTUP, nullptr, SHGFP_TYPE_CURRENT, startup))) {
    return;
  }
  PathText entry;
  if (entry.Format("%s\\%s", startup, shortcut)) DeleteFileA(entry.c_str());
}

// Some tool of the program is still attached for the language.
bool AnyToolAttached(const OwnToolHost& host, int lcid) {
  DWORD attached = 0;
  for (int kind : {kSpeller, kHyphenator, kThesaurus, kGrammar}) {
    attached += CheckAttachedFlag(kind, lcid, host.applicationKey, RecordVersion(host), kWord7Tree);
  }
  return attached != 0;
}

struct OwnToolOps {
  static HostResult Exist(const OwnToolHost&, int, int, std::intptr_t, std::intptr_t) { return 1; }

  static HostResult Info(const OwnToolHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, InfoVersion(host), buffer, length);
  }

  static HostResult Avail(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (host.programFile == nullptr) return 1;
    PathText folder;
    DWORD length = PathText::kCapacity;
    if (!GetStartupDir(folder.data(), &length, lcid)) return 0;
    auto present = [&](const char* file) {
      PathText path;
      return JoinPath(path, folder.c_str(), file) && FileExists(path.c_str());
    };
    if (!present(host.programFile)) return 0;
    for (const char* companion : host.availCompanions) {
      if (companion != nullptr && !present(companion)) return 0;
    }
    if (host.availSpellerEngine == nullptr) return 1;
    if (!IsToolKind(kind)) return 0;
    return present(kind == kSpeller ? host.availSpellerEngine : kProgramToolFiles[kind].engine) ? 1 : 0;
  }

  static HostResult Attach(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!office::TakesKind(host.attachKinds, kind)) return host.refusedKindResult;
    WorkBuffer folder;
    WorkBuffer recordKey;
    if (!folder.Allocate(kPathCapacity) || !recordKey.Allocate(kRecordKeyCapacity)) return 0;
    if (host.registeredProgram != nullptr) RegisterProgram(host);

    const HostResult result = AttachRecord(host, kind, lcid, folder, recordKey);
    if (host.shortcutOnAttach == ShortcutOnAttach::kAlways ||
        (host.shortcutOnAttach == ShortcutOnAttach::kOnSuccess && result == 1)) {
      MoveMenuShortcut(host.shortcutProgram, 0, lcid);
    }
    return result;
  }

  static HostResult Detach(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return 0;
    HostResult result = SetAttachedFlag(kind, lcid, host.applicationKey, RecordVersion(host), kWord7Tree, 0);
    if (host.shortcutOnDetach == ShortcutOnDetach::kAlways ||
        (host.shortcutOnDetach == ShortcutOnDetach::kWhileAnyToolAttached && AnyToolAttached(host, lcid))) {
      MoveMenuShortcut(host.shortcutProgram, 1, lcid);
    }
    if (host.leavesAutomaticStart) LeaveAutomaticStart();
    return result;
  }

  static HostResult Check(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    return CheckAttachedFlag(kind, lcid, host.applicationKey, RecordVersion(host), kWord7Tree) != 0 ? 1 : 0;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(Unknown, kvil::OwnToolOps, kvil::kUnknownHost)
KVIL_HOST_EXPORTS(Editor, kvil::OwnToolOps, kvil::kEditorHost)
KVIL_HOST_EXPORTS(AGENT, kvil::OwnToolOps, kvil::kAgentHost)
KVIL_HOST_EXPORTS(STDSP, kvil::OwnToolOps, kvil::kStandardSpellerHost)

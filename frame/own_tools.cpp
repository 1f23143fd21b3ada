// The reference hosts the setup tool can always offer: "Unknown", for any host it
// cannot name, and the product's own Editor.

#include <cstring>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

struct OwnToolHost {
  const char* applicationKey;
  // What Info reports; the Editor's stays "14.0" whatever the product's version.
  const char* infoVersion;
  // Version key of the records; null: the product's own "<n>.0".
  const char* recordVersion;
  // Attach's answer to a tool kind outside 0..3.
  HostResult refusedKindResult;
  // Avail wants this program beside the engines; null: always available.
  const char* programFile;
  // Recorded as the application's "Path" (in the product folder) and "Name".
  const char* registeredProgram;
  const char* displayName;
  // Detach hides the Start-menu shortcut naming this program; null: none.
  const char* shortcutProgram;
  // Attach gives the engines their options and file paths in the record.
  bool writesEngineValues;
};

constexpr OwnToolHost kUnknownHost{
    .applicationKey = "Unknown",
    .infoVersion = "0.0",
    .recordVersion = "0.0",
    .refusedKindResult = 0,
    .programFile = nullptr,
    .registeredProgram = nullptr,
    .displayName = nullptr,
    .shortcutProgram = nullptr,
    .writesEngineValues = false,
};

constexpr OwnToolHost kEditorHost{
    .applicationKey = "KVILEDITOR",
    .infoVersion = "14.0",
    .recordVersion = nullptr,
    .refusedKindResult = kNotApplicable,
    .programFile = "kvileditor.exe",
    .registeredProgram = "KvilEditor.exe",
    .displayName = "Kvil Editor",
    .shortcutProgram = "kvileditor.exe",
    .writesEngineValues = true,
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
bool WriteEngineValues(const char* recordKey, int kind, const char* startupFolder) {
  const ProgramToolFiles& files = kProgramToolFiles[kind];
  if (RegSetDword(HKEY_LOCAL_MACHINE, recordKey, "Options", files.options) != ERROR_SUCCESS) return false;
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

struct OwnToolOps {
  static HostResult Exist(const OwnToolHost&, int, int, std::intptr_t, std::intptr_t) { return 1; }

  static HostResult Info(const OwnToolHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, host.infoVersion, buffer, length);
  }

  static HostResult Avail(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (host.programFile == nullptr) return 1;
    PathText folder;
    DWORD length = PathText::kCapacity;
    if (!GetStartupDir(folder.data(), &length, lcid)) return 0;
    PathText program;
    PathText engine;
    if (!JoinPath(program, folder.c_str(), host.programFile)) return 0;
    if (IsToolKind(kind) && !JoinPath(engine, folder.c_str(), kProgramToolFiles[kind].engine)) return 0;
    return FileExists(program.c_str()) && !engine.empty() && FileExists(engine.c_str()) ? 1 : 0;
  }

  static HostResult Attach(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return host.refusedKindResult;
    WorkBuffer folder;
    WorkBuffer recordKey;
    if (!folder.Allocate(kPathCapacity) || !recordKey.Allocate(kRecordKeyCapacity)) return 0;
    if (host.registeredProgram != nullptr) RegisterProgram(host);

    DWORD length = static_cast<DWORD>(folder.size());
    if (!GetStartupDir(folder.data(), &length, lcid)) return 0;
    if (!BuildRecordKey(recordKey.data(), recordKey.size(), host.applicationKey, RecordVersion(host),
                        ToolKeyName(kind, kWord7Tree), lcid)) {
      return 0;
    }
    if (!WriteAttachRecord(recordKey.data(), kind, lcid, kWord7Tree, 2)) return 0;
    if (host.writesEngineValues && !WriteEngineValues(recordKey.data(), kind, folder.data())) return 0;
    return 1;
  }

  static HostResult Detach(const OwnToolHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (!IsToolKind(kind)) return 0;
    HostResult result = SetAttachedFlag(kind, lcid, host.applicationKey, RecordVersion(host), kWord7Tree, 0);
    if (host.shortcutProgram != nullptr) MoveMenuShortcut(host.shortcutProgram, 1, lcid);
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

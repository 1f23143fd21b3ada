#include "records.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "product.h"
#include "registry.h"

namespace kvil {

namespace {

constexpr int kRussian = 1049;
constexpr std::size_t kSupplementCapacity = 260;
// Shortcut files are a few kilobytes; anything larger is not a shortcut of ours.
constexpr DWORD kShortcutReadLimit = 1 << 20;

bool IsHyphenatorKind(int kind) { return kind == 3 || kind == 4; }

bool IsEnglishSubkey(const char* name) {
  return std::strcmp(name, "1033") == 0 || std::strcmp(name, "2057") == 0 || std::strcmp(name, "3081") == 0;
}

// The registration names a lexicon and an engine that are really there.
bool RegistrationFilesExist(HKEY root, const char* key) {
  PathText path;
  for (const char* value : {"Dictionary", "Engine"}) {
    if (!RegReadString(root, key, value, path.data(), PathText::kCapacity) || path.empty() ||
        !FileExists(path.c_str())) {
      return false;
    }
  }
  return true;
}

// What separates the two record writers.
struct RecordRules {
  bool originalLidForGrammar;  // the plain writer leaves "Original LID" out for the grammar checker
  bool outlookSpellerInactive;  // no original found: the Outlook speller gets Action 0
  int findMode;
  bool writesSavedLid;
  DWORD savedLid;
};

int WriteRecordValues(const char* key, int kind, int lcid, int generation, const RecordRules& rules) {
  auto write = [key](const char* name, DWORD value) {
    return RegSetDword(HKEY_LOCAL_MACHINE, key, name, value) == ERROR_SUCCESS;
  };
  if (kind == kSpeller) {
    if (!write("Learning", 1)) return 0;
    if (lcid == kRussian && !write("StrictYO", 1)) return 0;
  }
  int original = FindOriginalLID(kind, generation, rules.findMode);
  DWORD action = 1;
  if (original == 0) {
    original = 1033;
    if (IsHyphenatorKind(kind)) action = 0;
    if (rules.outlookSpellerInactive && kind == kSpeller && std::strstr(key, "OUTLOOK") != nullptr) action = 0;
  }
  if ((kind != kGrammar || rules.originalLidForGrammar) && !write("Original LID", static_cast<DWORD>(original))) {
    return 0;
  }
  if (!write("Action", action)) return 0;
  if (IsHyphenatorKind(kind) && !write("Quality", 1)) return 0;
  if (rules.writesSavedLid && !write("Saved LID", rules.savedLid)) return 0;
  if (!write("Attached", 1)) return 0;

  WorkBuffer supplements;
  if (!supplements.Allocate(kSupplementCapacity)) return 0;
  if (kind != kSpeller) return 1;
  BuildSupplementList(kind, lcid, supplements.data(), kSupplementCapacity);
  return RegSetValueOpen(HKEY_LOCAL_MACHINE, key, "Supplement dictionaries", REG_SZ, supplements.data(),
                         static_cast<DWORD>(std::strlen(supplements.data()))) == ERROR_SUCCESS
             ? 1
             : 0;
}

// Reads at most kShortcutReadLimit bytes and keeps only letters, digits and
// punctuation, so that wide-character text and binary fields of a shortcut
// collapse into plain words that can be searched for a program name.
std::string ShortcutWords(const char* path) {
  UniqueFile file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                              nullptr));
  if (!file) return {};
  std::string words;
  char chunk[4096];
  DWORD total = 0;
  DWORD read = 0;
  while (total < kShortcutReadLimit && ReadFile(file.get(), chunk, sizeof chunk, &read, nullptr) && read > 0) {
    total += read;
    for (DWORD index = 0; index < read; ++index) {
      unsigned char character = static_cast<unsigned char>(chunk[index]);
      if (character < 0x80 && (std::isalnum(character) || std::ispunct(character))) words.push_back(chunk[index]);
    }
  }
  return words;
}

}  // namespace

bool BuildRecordKey(char* buffer, std::size_t capacity, const char* applicationKey, const char* version,
                    const char* toolKey, int lcid) {
  // Without the product there is no record to keep: "Kvil\0.0" names nothing.
  if (toolKey == nullptr || GetKvilVersion() == 0) return false;
  return FormatBounded(buffer, capacity, "%s\\%s\\Products\\%s\\%s\\%s\\%d", kMakerRoot, GetKvilVersionKey(),
                       applicationKey, version, toolKey, lcid);
}

int WriteAttachRecord(const char* recordKey, int kind, int lcid, int generation, int mode) {
  return WriteRecordValues(recordKey, kind, lcid, generation,
                           RecordRules{.originalLidForGrammar = false,
                                       .outlookSpellerInactive = false,
                                       .findMode = mode,
                                       .writesSavedLid = false,
                                       .savedLid = 0});
}

int WriteAttachRecordSaved(const char* recordKey, int kind, int lcid, int savedLcid, int generation) {
  return WriteRecordValues(recordKey, kind, lcid, generation,
                           RecordRules{.originalLidForGrammar = true,
                                       .outlookSpellerInactive = true,
                                       .findMode = 2,
                                       .writesSavedLid = true,
                                       .savedLid = static_cast<DWORD>(savedLcid)});
}

int SetAttachedFlag(int kind, int lcid, const char* applicationKey, const char* version, int generation,
                    DWORD value) {
  RecordKeyText key;
  if (!BuildRecordKey(key.data(), RecordKeyText::kCapacity, applicationKey, version, ToolKeyName(kind, generation),
                      lcid)) {
    return 0;
  }
  return RegSetDword(HKEY_LOCAL_MACHINE, key.c_str(), "Attached", value) == ERROR_SUCCESS ? 1 : 0;
}

DWORD CheckAttachedFlag(int kind, int lcid, const char* applicationKey, const char* version, int generation) {
  RecordKeyText key;
  DWORD attached = 0;
  if (!BuildRecordKey(key.data(), RecordKeyText::kCapacity, applicationKey, version, ToolKeyName(kind, generation),
                      lcid) ||
      !RegReadDword(HKEY_LOCAL_MACHINE, key.c_str(), "Attached", &attached)) {
    return 0;
  }
  return attached;
}

DWORD ReadSavedLID(const char* applicationKey, const char* version, const char* toolKey, int lcid) {
  RecordKeyText key;
  DWORD saved = 0;
  if (!BuildRecordKey(key.data(), RecordKeyText::kCapacity, applicationKey, version, toolKey, lcid) ||
      !RegReadDword(HKEY_LOCAL_MACHINE, key.c_str(), "Saved LID", &saved)) {
    return 0;
  }
  return saved;
}

int RemoveStrictYO(const char* recordKey) {
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, recordKey, KEY_WRITE, key) == ERROR_SUCCESS) {
    RegDeleteValueA(key.get(), "StrictYO");
  }
  return 1;
}

int FindOriginalLID(int kind, int generation, int mode) {
  const char* toolKey = ToolKeyName(kind, generation);
  HKEY root = HKEY_LOCAL_MACHINE;
  const char* leaf = "Original";
  PathText tree;
  if (kind == kSpeller && mode == 0) {
    tree.Format("%s\\%s\\Proofing Tools\\Spelling", kMakerRoot, GetKvilVersionKey());
    leaf = "Normal";
  } else if (toolKey == nullptr) {
    return 0;
  } else if (mode == 1) {
    root = HKEY_CURRENT_USER;
    tree.Format("Software\\Microsoft\\Word\\7.0\\Proofing Tools\\%s", toolKey);
    leaf = "Normal";
  } else {
    // The product's saved copy of the host's own English registration.
    tree.Format("%s\\%s\\Proofing Tools\\%s", kMakerRoot, GetKvilVersionKey(), toolKey);
  }

  UniqueHKey treeKey;
  if (RegOpenKeyView(root, tree.c_str(), KEY_READ, treeKey) != ERROR_SUCCESS) return 0;
  for (DWORD index = 0;; ++index) {
    char name[256];
    DWORD nameLength = sizeof name;
    if (RegEnumKeyExA(treeKey.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      return 0;
    }
    if (!IsEnglishSubkey(name)) continue;
    PathText registration;
    if (registration.Format("%s\\%s\\%s", tree.c_str(), name, leaf) &&
        RegistrationFilesExist(root, registration.c_str())) {
      return std::atoi(name);
    }
  }
}

void BuildSupplementList(int kind, int lcid, char* buffer, std::size_t capacity) {
  CopyBounded(buffer, capacity, "Normal");
  const char* toolKey = ToolKeyName(kind, kWord7Tree);
  if (toolKey == nullptr) return;
  PathText path;
  if (!path.Format("%s\\%s\\Proofing Tools\\%s\\%d", kMakerRoot, GetKvilVersionKey(), toolKey, lcid)) return;
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ, key) != ERROR_SUCCESS) return;
  for (DWORD index = 0;; ++index) {
    char name[256];
    DWORD nameLength = sizeof name;
    if (RegEnumKeyExA(key.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
      break;
    }
    if (_stricmp(name, "Original") == 0 || _stricmp(name, "Normal") == 0) continue;
    if (name[0] != '\0') AppendBounded(buffer, capacity, ",");
    AppendBounded(buffer, capacity, name);
  }
  std::size_t length = std::strlen(buffer);
  if (length > 0 && buffer[length - 1] == ',') buffer[length - 1] = '\0';
}

int AllLanguagesAttached(HKEY root, const char* toolKeyPath) {
  UniqueHKey key;
  if (RegOpenKeyView(root, toolKeyPath, KEY_READ, key) != ERROR_SUCCESS) return 1;
  for (DWORD index = 0;; ++index) {
    char name[256];
    DWORD nameLength = sizeof name;
    if (RegEnumKeyExA(key.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
      return 1;
    }
    std::string language = std::string(toolKeyPath) + "\\" + name;
    DWORD attached = 0;
    if (!RegReadDword(root, language.c_str(), "Attached", &attached) || attached != 1) return 0;
  }
}

void MoveMenuShortcut(const char* executableName, int hide, int lcid) {
  PathText uninstallKey;
  uninstallKey.Format("%s\\%d.0", kUninstallRoot, GetKvilVersion());
  PathText menuFolder;
  if (!RegReadString(HKEY_LOCAL_MACHINE, uninstallKey.c_str(), "MenuLink", menuFolder.data(), PathText::kCapacity)) {
    return;
  }
  PathText startupFolder;
  DWORD length = PathText::kCapacity;
  if (!GetStartupDir(startupFolder.data(), &length, lcid)) return;

  // Hiding moves the shortcut out of the menu into the start-up folder; restoring
  // copies it back and keeps the start-up folder's copy.
  const PathText& from = hide ? menuFolder : startupFolder;
  const PathText& to = hide ? startupFolder : menuFolder;
  PathText pattern;
  if (!pattern.Format("%s\\*.lnk", from.c_str())) return;
  WIN32_FIND_DATAA found{};
  UniqueFind search(FindFirstFileA(pattern.c_str(), &found));
  if (!search) return;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) continue;
    PathText source;
    PathText target;
    if (!source.Format("%s\\%s", from.c_str(), found.cFileName) ||
        !target.Format("%s\\%s", to.c_str(), found.cFileName)) {
      continue;
    }
    if (FindNoCase(ShortcutWords(source.c_str()).c_str(), executableName) == nullptr) continue;
    if (CopyFileA(source.c_str(), target.c_str(), FALSE) && hide) DeleteFileA(source.c_str());
    return;
  } while (FindNextFileA(search.get(), &found));
}

}  // namespace kvil

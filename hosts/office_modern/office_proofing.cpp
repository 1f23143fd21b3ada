#include "office_proofing.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "added_files.h"
#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "module_replacement.h"
#include "office.h"
#include "product.h"
#include "proofing.h"
#include "registry.h"

namespace kvil::modern {

namespace {

// Query and set values, enumerate subkeys, notify, read control.
constexpr REGSAM kListAccess = 0x2001B;
// Set values, create subkeys, read control.
constexpr REGSAM kCreateAccess = 0x20006;
constexpr int kUkrainian = 1058;
constexpr int kRussian = 1049;

// Office's proofing-tool module and the name its original is kept under.
struct ProofingModule {
  int officeVersion;
  const char* module;
  const char* backup;
};
constexpr ProofingModule kProofingModules[] = {
    {kOffice2007, "msproof6.dll", "msproof6.orig.dll"},
    {kOffice2010, "msproof7.dll", "msproof7.orig.dll"},
    {kOffice2013, "msproof7.dll", "msproof7.orig.dll"},
};
constexpr char kProductProofingModule[] = "kvilproof.dll";

// The two qualified-component values that list a tool's providers, and the word
// that marks the product's entry. Only the Russian lists exist.
struct QualifiedComponentList {
  const char* key;
  const char* valueName;
};
struct QualifiedComponentRow {
  int officeVersion;
  int kind;
  QualifiedComponentList lists[2];
  const char* marker;
};
constexpr QualifiedComponentRow kQualifiedComponents[] = {
    {kOffice2010, kGrammar,
     {{"Installer\\Components\\841D7D937A947D641B95375D7377D30F", "1049\\1049"},
      {"Installer\\Components\\EA77853199E1AFF4B87708D83E6A7046", "1049"}},
     "Grammar_Rus"},
    {kOffice2010, kThesaurus,
     {{"Installer\\Components\\C1B9F03778BFB9F44A7480D07DBA8673", "1049"},
      {"Installer\\Components\\52F71700CF4ECC943935F02FFE26CD94", "1049"}},
     "Thesaurus_Rus"},
    {kOffice2010, kHyphenator,
     {{"Installer\\Components\\D2BAB82BD3A45B64A98320C5DA73343A", "1049"},
      {"Installer\\Components\\90D36D095E6F36F4EA2170800E47A4B7", "1049"}},
     "Hyphenator_Rus"},
    // Office 2007 publishes no grammar list: its grammar is switched back by
    // restoring the registration the product saved.
    {kOffice2007, kThesaurus,
     {{"Installer\\Components\\54BE92CC2CB71D119A12000A9CE1A22A", "1049"},
      {"Installer\\Components\\34BE92CC2CB71D119A12000A9CE1A22A", "1049"}},
     "Thesaurus_Rus"},
    {kOffice2007, kHyphenator,
     {{"Installer\\Components\\73BE92CC2CB71D119A12000A9CE1A22A", "1049"},
      {"Installer\\Components\\53BE92CC2CB71D119A12000A9CE1A22A", "1049"}},
     "Hyphenator_Rus"},
};

// Microsoft's Office 2013 files of a tool and language, under "PROOF".
struct Office2013Tool {
  int kind;
  int lcid;
  const char* files[2];
};
constexpr Office2013Tool kOffice2013Tools[] = {
    {kGrammar, kRussian, {"1049\\MSGR8RU.DLL", "MSGR8RU.LEX"}},
    {kThesaurus, kRussian, {"MSTH8RU.DLL", "MSTH8RU.LEX"}},
    {kHyphenator, kRussian, {"MSHY7RU.DLL", nullptr}},
    {kHyphenator, kUkrainian, {"MSHY7UK.DLL", nullptr}},
};
constexpr char kSavedSuffix[] = ".ORIG";

using LongPath = FixedText<1024>;

const ProofingModule* FindProofingModule(int officeVersion) {
  for (const ProofingModule& module : kProofingModules) {
    if (module.officeVersion == officeVersion) return &module;
  }
  return nullptr;
}

const QualifiedComponentRow* FindQualifiedComponents(int officeVersion, int kind) {
  for (const QualifiedComponentRow& row : kQualifiedComponents) {
    if (row.officeVersion == officeVersion && row.kind == kind) return &row;
  }
  return nullptr;
}

const Office2013Tool* FindOffice2013Tool(int kind, int lcid) {
  for (const Office2013Tool& tool : kOffice2013Tools) {
    if (tool.kind == kind && tool.lcid == lcid) return &tool;
  }
  return nullptr;
}

bool WordFolder(int officeVersion, PathText& folder) {
  return GetOfficeInstallRoot(officeVersion, "Word", folder.data(), PathText::kCapacity, false) != 0;
}

// "Saved by Kvil <n> <value name>": the whole list as it was before the first switch.
bool SavedListName(const char* valueName, PathText& name) {
  return name.Format("Saved by Kvil %d %s", GetKvilVersion(), valueName);
}

bool ValueExists(HKEY key, const char* name) {
  return RegQueryValueExA(key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

// A value's bytes with one NUL more than stored, so that a list whose last entry
// lacks its terminator still ends inside the buffer.
struct ValueBytes {
  std::vector<char> bytes;
  DWORD size = 0;
  DWORD type = REG_NONE;
};
bool ReadWholeValue(HKEY key, const char* name, ValueBytes& value) {
  DWORD size = 0;
  if (RegQueryValueExA(key, name, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS) return false;
  value.bytes.assign(static_cast<std::size_t>(size) + 1, '\0');
  if (RegQueryValueExA(key, name, nullptr, &value.type, reinterpret_cast<BYTE*>(value.bytes.data()), &size) !=
      ERROR_SUCCESS) {
    return false;
  }
  value.size = size;
  return true;
}

// The NUL-terminated entries of a list, from its start while the offset is
// inside the stored size; a list ending in its double NUL yields a last, empty entry.
std::vector<std::string_view> ListEntries(const ValueBytes& value) {
  std::vector<std::string_view> entries;
  for (DWORD offset = 0; offset < value.size;) {
    const std::string_view entry(value.bytes.data() + offset);
    entries.push_back(entry);
    offset += static_cast<DWORD>(entry.size()) + 1;
  }
  return entries;
}

bool HoldsMarker(std::string_view entry, const char* marker) {
  const std::string text(entry);
  return FindNoCase(text.c_str(), marker) != nullptr;
}

LONG WriteList(HKEY key, const char* name, std::string_view list) {
  return RegSetValueExA(key, name, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list.data()),
                        static_cast<DWORD>(list.size()));
}

// Saves the whole list once, then leaves only the product's entry live. The
// entry is written without a terminator, as Office has always been given it.
void KeepProductEntry(int officeVersion, const QualifiedComponentList& list, const char* marker) {
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_CLASSES_ROOT, list.key, kListAccess, key) != ERROR_SUCCESS) return;
  PathText savedName;
  if (!SavedListName(list.valueName, savedName)) return;
  ValueBytes live;
  if (!ValueExists(key.get(), savedName.c_str()) && ReadWholeValue(key.get(), list.valueName, live)) {
    // Office 2007's lists are saved with the type they were read with.
    const DWORD type = officeVersion == kOffice2007 ? live.type : REG_MULTI_SZ;
    RegSetValueExA(key.get(), savedName.c_str(), 0, type, reinterpret_cast<const BYTE*>(live.bytes.data()),
                   live.size);
  }
  ValueBytes saved;
  if (!ReadWholeValue(key.get(), savedName.c_str(), saved)) return;
  for (std::string_view entry : ListEntries(saved)) {
    if (!HoldsMarker(entry, marker)) continue;
    RegDeleteValueA(key.get(), list.valueName);
    WriteList(key.get(), list.valueName, entry);
    return;
  }
}

// Puts the saved list back without the product's entry. The entries kept are
// joined by single NULs; the saved list's final empty entry counts as one, so a
// list that ends in its double NUL keeps its last terminator. The saved list
// stays for the next switch.
void DropProductEntry(const QualifiedComponentList& list, const char* marker) {
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_CLASSES_ROOT, list.key, kListAccess, key) != ERROR_SUCCESS) return;
  PathText savedName;
  ValueBytes saved;
  if (!SavedListName(list.valueName, savedName) || !ReadWholeValue(key.get(), savedName.c_str(), saved)) return;
  std::string kept;
  bool first = true;
  for (std::string_view entry : ListEntries(saved)) {
    if (HoldsMarker(entry, marker)) continue;
    if (!first) kept.push_back('\0');
    kept.append(entry);
    first = false;
  }
  RegDeleteValueA(key.get(), list.valueName);
  if (!kept.empty()) WriteList(key.get(), list.valueName, kept);
}

// A string of the saved registration with the type it was saved with; a value
// stored without its terminator is ended inside the buffer all the same.
bool ReadRegistrationValue(HKEY key, const char* name, PathText& text, DWORD& type) {
  DWORD size = PathText::kCapacity - 1;
  if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) != ERROR_SUCCESS) {
    text.Clear();
    return false;
  }
  text.data()[size] = '\0';
  return true;
}

// Office 2007's grammar goes back to the registration the product saved as
// "Original" when it took the grammar over; with nothing saved, Office's
// grammar key is removed. An existing key is left as it is.
void RestoreOffice2007Grammar(int lcid) {
  const char* grammar = ToolKeyName(kGrammar, kWord7Tree);
  PathText originalKey;
  PathText officeKey;
  if (!originalKey.Format("%s\\KVIL\\%d.0\\%s\\%s\\%d\\%s", kMakerRoot, GetKvilVersion(), "Proofing Tools", grammar,
                          lcid, "Original") ||
      !officeKey.Format("%s\\%s\\%d\\%s", kSharedProofingTree, grammar, lcid, "Normal")) {
    return;
  }
  PathText dictionary;
  PathText engine;
  DWORD dictionaryType = REG_SZ;
  DWORD engineType = REG_SZ;
  {
    UniqueHKey original;
    if (RegOpenKeyView(HKEY_LOCAL_MACHINE, originalKey.c_str(), kListAccess, original) != ERROR_SUCCESS) {
      RegDeleteKeyTree(HKEY_LOCAL_MACHINE, officeKey.c_str(), 0);
      return;
    }
    ReadRegistrationValue(original.get(), "Dictionary", dictionary, dictionaryType);
    ReadRegistrationValue(original.get(), "Engine", engine, engineType);
  }
  if (RegKeyExists(HKEY_LOCAL_MACHINE, officeKey.c_str())) return;
  UniqueHKey office;
  if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, officeKey.c_str(), 0, nullptr, 0, kCreateAccess | RegistryView(), nullptr,
                      office.put(), nullptr) != ERROR_SUCCESS) {
    return;
  }
  for (const auto& [name, text, type] : {std::tuple{"Dictionary", &dictionary, dictionaryType},
                                         std::tuple{"Engine", &engine, engineType}}) {
    RegDeleteValueA(office.get(), name);
    RegSetValueExA(office.get(), name, 0, type, reinterpret_cast<const BYTE*>(text->c_str()),
                   static_cast<DWORD>(text->size()));
  }
}

// Office 2013's "PROOF" folder, from Office's own install root.
bool Office2013ProofFolder(LongPath& folder) {
  return GetOfficeInstallRoot(kOffice2013, "Word", folder.data(), LongPath::kCapacity, true) &&
         folder.Append("\\PROOF\\");
}

// Microsoft's 2013 files of a tool moved aside to "<name>.ORIG" (never over an
// existing one) or back. 1 when every move done was made.
HostResult MoveOffice2013Files(int kind, int lcid, bool aside) {
  LongPath folder;
  const Office2013Tool* tool = FindOffice2013Tool(kind, lcid);
  if (tool == nullptr || !Office2013ProofFolder(folder)) return 1;
  HostResult result = 1;
  for (const char* file : tool->files) {
    if (file == nullptr) continue;
    LongPath plain;
    LongPath saved;
    if (!plain.Format("%s%s", folder.c_str(), file) || !saved.Format("%s%s", plain.c_str(), kSavedSuffix)) {
      result = 0;
      continue;
    }
    if (aside && IsExistingFile(plain.c_str())) {
      if (!MoveFileA(plain.c_str(), saved.c_str())) result = 0;
    } else if (!aside && IsExistingFile(saved.c_str())) {
      // The product's copy in Microsoft's place gives way to Microsoft's file.
      if (!MoveFileExA(saved.c_str(), plain.c_str(), MOVEFILE_REPLACE_EXISTING)) result = 0;
    }
  }
  return result;
}

void SwitchEveryOffice2013Tool(bool aside) {
  for (int kind : {kGrammar, kThesaurus, kHyphenator}) MoveOffice2013Files(kind, kRussian, aside);
  MoveOffice2013Files(kHyphenator, kUkrainian, aside);
}

// The product's file copied into Office 2013's "PROOF" folder under Microsoft's
// name and announced for removal with the product. A Microsoft file still in
// that place is first kept as "<name>.ORIG", as switching the tool out would.
void CopyIntoOffice2013(const char* productFile, const char* proofFile, const char* folderToCreate) {
  LongPath proof;
  LongPath product;
  DWORD length = LongPath::kCapacity;
  if (!Office2013ProofFolder(proof) || !GetUninstallDir(product.data(), &length) || !product.Append("\\") ||
      !product.Append(productFile)) {
    return;
  }
  if (folderToCreate != nullptr) {
    LongPath language;
    if (!language.Format("%s%s", proof.c_str(), folderToCreate)) return;
    CreateDirectoryA(proof.c_str(), nullptr);
    CreateDirectoryA(language.c_str(), nullptr);
  }
  LongPath target;
  LongPath saved;
  if (!target.Format("%s%s", proof.c_str(), proofFile) || !saved.Format("%s%s", target.c_str(), kSavedSuffix)) return;
  if (ReplaceHostModule(target.c_str(), saved.c_str(), product.c_str())) extAddFilePath(target.c_str());
}

}  // namespace

void CopyGrammar2013() {
  CopyIntoOffice2013("kvilgr32.dll", "1049\\MSGR8RU.DLL", "1049");
  CopyIntoOffice2013("grRUnorm.lex", "MSGR8RU.LEX", nullptr);
}

void CopyThesaurus2013() {
  CopyIntoOffice2013("kvilth32.dll", "MSTH8RU.DLL", nullptr);
  CopyIntoOffice2013("thrunorm.lex", "MSTH8RU.LEX", nullptr);
}

// Any language but Russian takes the Ukrainian hyphenator.
void CopyHyphenator2013(int lcid) {
  if (lcid == kRussian) {
    CopyIntoOffice2013("inhy32ru.dll", "MSHY7RU.DLL", nullptr);
  } else {
    CopyIntoOffice2013("inhy32ur.dll", "MSHY7UK.DLL", nullptr);
  }
}

HostResult SwitchOutMicrosoftTool(int officeVersion, int kind, int lcid) {
  if (officeVersion == kOffice2013) return MoveOffice2013Files(kind, lcid, true);
  if (const QualifiedComponentRow* row = FindQualifiedComponents(officeVersion, kind)) {
    for (const QualifiedComponentList& list : row->lists) KeepProductEntry(officeVersion, list, row->marker);
  }
  return 1;
}

HostResult SwitchBackMicrosoftTool(int officeVersion, int kind, int lcid) {
  if (officeVersion == kOffice2013) return MoveOffice2013Files(kind, lcid, false);
  if (officeVersion == kOffice2007 && kind == kGrammar) {
    RestoreOffice2007Grammar(lcid);
  } else if (const QualifiedComponentRow* row = FindQualifiedComponents(officeVersion, kind)) {
    for (const QualifiedComponentList& list : row->lists) DropProductEntry(list, row->marker);
  }
  return 1;
}

HostResult AttachOffice(int officeVersion, const char* productDir) {
  if (officeVersion == kOffice2013) SwitchEveryOffice2013Tool(true);
  const ProofingModule* module = FindProofingModule(officeVersion);
  PathText word;
  if (module == nullptr || !WordFolder(officeVersion, word) || productDir == nullptr || productDir[0] == '\0') {
    return 0;
  }
  PathText hostModule;
  PathText backup;
  PathText productModule;
  if (!JoinPath(hostModule, word.c_str(), module->module) || !JoinPath(backup, word.c_str(), module->backup) ||
      !JoinPath(productModule, productDir, kProductProofingModule)) {
    return 0;
  }
  // Office's original is kept once per attach cycle; a module that cannot be
  // kept is not overwritten.
  if (!ReplaceHostModule(hostModule.c_str(), backup.c_str(), productModule.c_str())) return 0;
  extAddFilePath(hostModule.c_str());
  return 1;
}

HostResult DetachOffice(int officeVersion) {
  if (officeVersion == kOffice2010) SwitchBackMicrosoftTool(kOffice2010, kGrammar, kRussian);
  if (officeVersion == kOffice2013) SwitchEveryOffice2013Tool(false);
  const ProofingModule* module = FindProofingModule(officeVersion);
  PathText word;
  if (module == nullptr || !WordFolder(officeVersion, word)) return 1;
  // Office's "Path" ends in a backslash, and the backup is looked for right after it.
  PathText backupAsFound;
  if (!backupAsFound.Format("%s%s", word.c_str(), module->backup)) return 0;
  if (!IsExistingFile(backupAsFound.c_str())) return 1;
  PathText hostModule;
  PathText backup;
  if (!JoinPath(hostModule, word.c_str(), module->module) || !JoinPath(backup, word.c_str(), module->backup)) {
    return 0;
  }
  // The backup is consumed: the next attach keeps a fresh one.
  return RestoreHostModule(hostModule.c_str(), backup.c_str()) ? 1 : 0;
}

}  // namespace kvil::modern

namespace {

using kvil::HostResult;
using namespace kvil::modern;

template <typename Body>
void GuardVoid(Body&& body) noexcept {
  kvil::GuardExport(0, [&] {
    body();
    return HostResult{0};
  });
}

}  // namespace

extern "C" {

HostResult AttachOffice12(const char* productDir) {
  return kvil::GuardExport(0, [&] { return AttachOffice(kOffice2007, productDir); });
}
HostResult AttachOffice14(const char* productDir) {
  return kvil::GuardExport(0, [&] { return AttachOffice(kOffice2010, productDir); });
}
HostResult AttachOffice15(const char* productDir) {
  return kvil::GuardExport(0, [&] { return AttachOffice(kOffice2013, productDir); });
}
HostResult DetachOffice12() { return kvil::GuardExport(0, [] { return DetachOffice(kOffice2007); }); }
HostResult DetachOffice14() { return kvil::GuardExport(0, [] { return DetachOffice(kOffice2010); }); }
HostResult DetachOffice15() { return kvil::GuardExport(0, [] { return DetachOffice(kOffice2013); }); }

void DetachMS2007ProofingTool(std::int32_t kind, std::int32_t lcid) {
  GuardVoid([&] { SwitchOutMicrosoftTool(kOffice2007, kind, lcid); });
}
void AttachMS2007ProofingTool(std::int32_t kind, std::int32_t lcid) {
  GuardVoid([&] { SwitchBackMicrosoftTool(kOffice2007, kind, lcid); });
}
void DetachMS2010ProofingTool(std::int32_t kind, std::int32_t lcid) {
  GuardVoid([&] { SwitchOutMicrosoftTool(kOffice2010, kind, lcid); });
}
void AttachMS2010ProofingTool(std::int32_t kind, std::int32_t lcid) {
  GuardVoid([&] { SwitchBackMicrosoftTool(kOffice2010, kind, lcid); });
}
HostResult DetachMS2013ProofingTool(std::int32_t kind, std::int32_t lcid) {
  return kvil::GuardExport(0, [&] { return SwitchOutMicrosoftTool(kOffice2013, kind, lcid); });
}
HostResult AttachMS2013ProofingTool(std::int32_t kind, std::int32_t lcid) {
  return kvil::GuardExport(0, [&] { return SwitchBackMicrosoftTool(kOffice2013, kind, lcid); });
}

void DetachGrammarMS() { GuardVoid([] { SwitchOutMicrosoftTool(kOffice2010, kvil::kGrammar, 1049); }); }
void AttachGrammarMS() { GuardVoid([] { SwitchBackMicrosoftTool(kOffice2010, kvil::kGrammar, 1049); }); }
// Crossed on purpose for Office 2013: the caller's "detach the grammar" puts
// Microsoft's files back, and its "attach" moves them aside.
void DetachGrammarMS15() { GuardVoid([] { SwitchBackMicrosoftTool(kOffice2013, kvil::kGrammar, 1049); }); }
void AttachGrammarMS15() { GuardVoid([] { SwitchOutMicrosoftTool(kOffice2013, kvil::kGrammar, 1049); }); }


void CopyGrammar15() { GuardVoid([] { CopyGrammar2013(); }); }
void CopyThesaurus15() { GuardVoid([] { CopyThesaurus2013(); }); }
void CopyHyphenator15(std::int32_t lcid) { GuardVoid([&] { CopyHyphenator2013(lcid); }); }

}  // extern "C"

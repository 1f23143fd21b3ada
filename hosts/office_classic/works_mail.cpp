// Works 4.0 and 4.5, Visual FoxPro 3.0, the Exchange 4.0 client and Internet
// Mail and News: hosts of the Office 95 era that find their proofing tools in
// Microsoft's shared tree, as Office 95 does. The mail clients also keep the
// language of their own speller, and Works a numbered list of proofing tools
// with a default per user; Attach makes the product's language theirs and keeps
// the former one in the attachment record, from which Detach puts it back.

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "bounded_text.h"
#include "office_host.h"
#include "conditions.h"
#include "contract.h"
#include "handles.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;

// Where a host keeps the language its own tools use.
enum class HostLanguage {
  // Nowhere: nothing of the host's changes, and the record keeps 0 as the
  // saved language.
  kNone,
  // A REG_SZ value under HKCU holding the LCID in decimal.
  kDecimalValue,
  // Works' numbered tool list under HKLM and its default tool under HKCU.
  kWorksList,
};

// One kind of tool in Works' list: "<prefix><n>" = "<language>:<word> <LCID>,0"
// under HKLM, and "<default>" = "<word> <LCID>,0" under HKCU naming the one in use.
struct WorksTool {
  int kind;
  const char* word;
  const char* listPrefix;
  const char* defaultName;
};

const WorksTool kWorksTools[] = {
    {.kind = kSpeller, .word = "Spelling", .listPrefix = "SpellDict", .defaultName = "SpellDefault"},
    {.kind = kThesaurus, .word = "Thesaurus", .listPrefix = "ThesDict", .defaultName = "ThesDefault"},
};

struct WorksMailHost {
  const char* applicationKey;
  const char* version;  // of the record only; Works 4.5 keeps its list in Works 4.0's keys
  unsigned kinds;
  const ConditionRecord* installedWhen;
  HostLanguage hostLanguage;
  // The key of the speller value, or the key of Works' list (HKLM) and
  // defaults (HKCU).
  const char* hostKey;
  const char* hostValueName;
  std::span<const WorksTool> worksTools;
};

constexpr char kWorksProofingTools[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
constexpr char kExchangeOptions[] = "Software\\Microsoft\\Exchange\\Client\\Options";
constexpr char kInternetMail[] = "Software\\Microsoft\\Internet Mail and News";

const ConditionRecord kWorksInstalled[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, kWorksProofingTools);
const ConditionRecord kFoxProInstalled[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\VisualFoxPro\\3.0");
const ConditionRecord kExchangeInstalled[] = KVIL_KEY_PRESENT(HKEY_CURRENT_USER, kExchangeOptions);
const ConditionRecord kInternetMailInstalled[] = KVIL_KEY_PRESENT(HKEY_CURRENT_USER, kInternetMail);

const WorksMailHost kWorks40{
    .applicationKey = "MSWORKS", .version = "4.0", .kinds = Kinds({kSpeller, kThesaurus}),
    .installedWhen = kWorksInstalled, .hostLanguage = HostLanguage::kWorksList, .hostKey = kWorksProofingTools,
    .hostValueName = nullptr, .worksTools = kWorksTools};

const WorksMailHost kWorks45{
    .applicationKey = "MSWORKS", .version = "4.5", .kinds = Kinds({kSpeller, kThesaurus}),
    .installedWhen = kWorksInstalled, .hostLanguage = HostLanguage::kWorksList, .hostKey = kWorksProofingTools,
    .hostValueName = nullptr, .worksTools = kWorksTools};

const WorksMailHost kFoxPro30{
    .applicationKey = "VFP", .version = "3.0", .kinds = kSpellerOnly, .installedWhen = kFoxProInstalled,
    .hostLanguage = HostLanguage::kNone, .hostKey = nullptr, .hostValueName = nullptr, .worksTools = {}};

const WorksMailHost kExchange40{
    .applicationKey = "EXCHNG32", .version = "4.0", .kinds = kSpellerOnly, .installedWhen = kExchangeInstalled,
    .hostLanguage = HostLanguage::kDecimalValue, .hostKey = kExchangeOptions, .hostValueName = "DictionaryLangId",
    .worksTools = {}};

const WorksMailHost kInternetMail20{
    .applicationKey = "MAILNEWS", .version = "2.0", .kinds = kSpellerOnly, .installedWhen = kInternetMailInstalled,
    .hostLanguage = HostLanguage::kDecimalValue, .hostKey = kInternetMail, .hostValueName = "SpellLangID",
    .worksTools = {}};

// Works' list names a language by the full name Windows gives its locale.
constexpr std::size_t kLanguageNameCapacity = 80;
using LcidText = FixedText<16>;
// Longer list entries are not Works' own; the search reads past them.
constexpr DWORD kListEntryReadLimit = 100;
// Value names are "<prefix><slot>" in 32 characters.
using ListValueName = FixedText<32>;

const WorksTool& WorksToolFor(const WorksMailHost& host, int kind) {
  for (const WorksTool& tool : host.worksTools) {
    if (tool.kind == kind) return tool;
  }
  return host.worksTools.front();  // unreachable: Works takes only the kinds it lists
}

bool DataNamesLanguage(const char* data, int lcid) {
  LcidText number;
  number.Format("%d", lcid);
  return std::strstr(data, number.c_str()) != nullptr;
}

// The slot of the list that holds the language already, else the first free
// one; -1 when the list's key cannot be read.
int FindWorksSlot(const char* key, const char* prefix, int lcid) {
  UniqueHKey list;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, key, KEY_READ, list) != ERROR_SUCCESS) return -1;
  for (int slot = 1;; ++slot) {
    ListValueName name;
    if (!name.Format("%s%d", prefix, slot)) return -1;
    char data[kListEntryReadLimit + 1] = {};
    DWORD length = kListEntryReadLimit;
    const LONG status =
        RegQueryValueExA(list.get(), name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(data), &length);
    if (status == ERROR_FILE_NOT_FOUND) return slot;
    if (status == ERROR_SUCCESS && DataNamesLanguage(data, lcid)) return slot;
  }
}

bool WriteWorksDefault(const char* key, const WorksTool& tool, int lcid) {
  PathText entry;
  entry.Format("%s %d,0", tool.word, lcid);
  return RegSetText(HKEY_CURRENT_USER, key, tool.defaultName, entry.c_str()) == ERROR_SUCCESS;
}

// Lists the language for the tool and makes it the user's default.
bool RegisterInWorks(const char* key, const WorksTool& tool, int lcid) {
  char language[kLanguageNameCapacity] = {};
  if (GetLocaleInfoA(static_cast<LCID>(lcid), LOCALE_SLANGUAGE, language, sizeof language) == 0) return false;
  const int slot = FindWorksSlot(key, tool.listPrefix, lcid);
  if (slot <= 0) return false;
  ListValueName name;
  PathText entry;
  name.Format("%s%d", tool.listPrefix, slot);
  entry.Format("%s:%s %d,0", language, tool.word, lcid);
  return RegSetText(HKEY_LOCAL_MACHINE, key, name.c_str(), entry.c_str()) == ERROR_SUCCESS &&
         WriteWorksDefault(key, tool, lcid);
}

// Takes every list entry of the language out and makes the saved language the
// user's default again. Only a failed removal fails it.
bool RemoveFromWorks(const char* key, const WorksTool& tool, int lcid, int savedLcid) {
  UniqueHKey list;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, key, KEY_QUERY_VALUE | KEY_SET_VALUE, list) != ERROR_SUCCESS) return false;
  const std::string_view prefix = tool.listPrefix;
  bool removed = true;
  for (DWORD index = 0;;) {
    char name[256] = {};
    DWORD nameLength = sizeof name;
    char data[kPathCapacity] = {};
    DWORD dataLength = sizeof data - 1;
    const LONG status = RegEnumValueA(list.get(), index, name, &nameLength, nullptr, nullptr,
                                      reinterpret_cast<BYTE*>(data), &dataLength);
    if (status == ERROR_NO_MORE_ITEMS) break;
    const bool ours = status == ERROR_SUCCESS && std::string_view(name).starts_with(prefix) &&
                      DataNamesLanguage(data, lcid);
    // The entry after a deleted one takes its index.
    if (ours && RegDeleteValueA(list.get(), name) == ERROR_SUCCESS) continue;
    if (ours) removed = false;
    ++index;
  }
  WriteWorksDefault(key, tool, savedLcid);
  return removed;
}

// The language the host's own tool uses before Attach; 1033 when the host has
// none set, 0 for a host that keeps none.
int ReadHostLanguage(const WorksMailHost& host, int kind) {
  switch (host.hostLanguage) {
    case HostLanguage::kNone:
      return 0;
    case HostLanguage::kDecimalValue:
      return ReadLIDValue(HKEY_CURRENT_USER, host.hostKey, host.hostValueName);
    case HostLanguage::kWorksList: {
      const WorksTool& tool = WorksToolFor(host, kind);
      FixedText<32> word;
      word.Format("%s ", tool.word);
      return ReadLIDValueAfterPrefix(HKEY_CURRENT_USER, host.hostKey, tool.defaultName, word.c_str());
    }
  }
  return 0;
}

bool WriteHostLanguage(const WorksMailHost& host, int kind, int lcid) {
  switch (host.hostLanguage) {
    case HostLanguage::kNone:
      return true;
    case HostLanguage::kDecimalValue: {
      LcidText number;
      number.Format("%d", lcid);
      return RegSetText(HKEY_CURRENT_USER, host.hostKey, host.hostValueName, number.c_str()) == ERROR_SUCCESS;
    }
    case HostLanguage::kWorksList:
      return RegisterInWorks(host.hostKey, WorksToolFor(host, kind), lcid);
  }
  return false;
}

// Detach's way back: the saved language where the host keeps its language;
// Works also loses the product's entry in its list.
bool RestoreHostLanguage(const WorksMailHost& host, int kind, int lcid, int savedLcid) {
  if (host.hostLanguage != HostLanguage::kWorksList) return WriteHostLanguage(host, kind, savedLcid);
  return RemoveFromWorks(host.hostKey, WorksToolFor(host, kind), lcid, savedLcid);
}

HostRecord RecordOf(const WorksMailHost& host) { return {host.applicationKey, host.version, kWord7Tree}; }

struct WorksMailOps {
  static HostResult Exist(const WorksMailHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    return EvaluateConditions(host.installedWhen, nullptr);
  }

  static HostResult Info(const WorksMailHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, host.version, buffer, length);
  }

  static HostResult Avail(const WorksMailHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    return AvailInStartupFolder(kind, lcid, Exist(host, kind, lcid, 0, 0));
  }

  static HostResult Attach(const WorksMailHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    AttachFiles files;
    if (!files.Allocate()) return 0;
    const HostRecord record = RecordOf(host);
    if (!files.Find(kind, lcid) || !files.BuildRecord(record, kind, lcid)) return 0;

    const int savedLanguage = ReadHostLanguage(host, kind);
    const bool succeeded =
        WriteHostLanguage(host, kind, lcid) &&
        RegisterProofingToolShared(ToolKeyName(kind, kWord7Tree), files.folder(), files.engine(), files.lexicon(),
                                   lcid) != 0 &&
        WriteAttachRecordSaved(files.recordKey(), kind, lcid, savedLanguage, kWord7Tree) != 0;
    if (!succeeded && host.hostLanguage != HostLanguage::kNone) {
      // The host gets its own language back (Works lists it again if need be)
      // and the record says not attached.
      WriteHostLanguage(host, kind, savedLanguage);
      SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kWord7Tree, 0);
    }
    return succeeded ? 1 : 0;
  }

  static HostResult Detach(const WorksMailHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    if (host.hostLanguage == HostLanguage::kNone) {
      return SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kWord7Tree, 0);
    }
    return DetachRestoringLanguage(
        RecordOf(host), kind, lcid, [&] { return Exist(host, kind, lcid, 0, 0) != 0; },
        [&](int saved) { return RestoreHostLanguage(host, kind, lcid, saved); });
  }

  static HostResult Check(const WorksMailHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, kNotApplicable)) return *refusal;
    return CheckSharedRegistration(RecordOf(host), kind, lcid);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(WK40, kvil::WorksMailOps, kvil::kWorks40)
KVIL_HOST_EXPORTS(WK45, kvil::WorksMailOps, kvil::kWorks45)
KVIL_HOST_EXPORTS(VFP30, kvil::WorksMailOps, kvil::kFoxPro30)
KVIL_HOST_EXPORTS(EXCH40, kvil::WorksMailOps, kvil::kExchange40)
KVIL_HOST_EXPORTS(MAIL, kvil::WorksMailOps, kvil::kInternetMail20)

// Office 95 and 97, with Outlook 97/98 and Publisher 98: the product becomes the
// proofing tool these hosts find in Microsoft's shared proofing-tools tree (and,
// for Word 95, in Word's own keys), and the hosts that keep their own choice of
// speller language are switched to the product's language, the former one kept
// in the attachment record for Detach.

#include <cstdlib>
#include <cstring>
#include <optional>

#include "bounded_text.h"
#include "office_host.h"
#include "conditions.h"
#include "contract.h"
#include "files.h"
#include "office.h"
#include "product.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;

constexpr std::size_t kHostVersionCapacity = 10;

// What a host keeps of its own that Attach changes and Detach puts back.
enum class HostValue {
  kNone,
  // Word 95's own proofing registration in its user key and New User Settings.
  kOwnRegistration,
  // "Speller" = "<LCID>\Normal": the language of the host's own speller.
  kSpellerValue,
  // Access's "Language ID" (REG_DWORD) in its "Speller" key.
  kAccessLanguage,
};

// What Exist tests once the member's key has opened.
enum class ExistTest {
  kKeyOnly,
  kOfficeInstallRoot,  // Office 97's install root of the application
  kAccessProgram,      // MSACCESS.EXE in Office 97's program folder
  kOutlookBelow9,      // Outlook 2000 and later have hosts of their own
};

enum class RecordWriter { kPlain, kWithSavedLanguage };

struct Office97Host {
  const char* applicationKey;
  const char* version;
  bool versionFromOutlook;  // "8.0" unless the installed OUTLOOK.EXE tells otherwise
  unsigned kinds;
  // Members taking the speller only answer "not applicable" to any other kind,
  // also outside 0..3; the others refuse those with 0.
  bool outsideKindsNotApplicable;
  int generation;
  const ConditionRecord* installedWhen;
  ExistTest existTest;
  const char* installRootApplication;
  HostValue hostValue;
  HKEY hostRoot;
  const char* hostKey;
  const char* newUserKey;  // HKLM copy new users get; null: none
  unsigned sharedRegistrationKinds;
  RecordWriter recordWriter;
  int plainRecordMode;
  bool fixesTahoma;
};

// Exist's condition lists: the key each host's setup leaves behind.
const ConditionRecord kWord95Installed[] = KVIL_KEY_PRESENT(HKEY_CURRENT_USER, kWord7ProofingTree);
const ConditionRecord kWord97Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Word\\Options");
const ConditionRecord kExcel95Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Excel\\7.0\\Spell Checker");
const ConditionRecord kExcel97Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker");
const ConditionRecord kPowerPoint95Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\PowerPoint\\7.0\\Spelling\\Speller");
const ConditionRecord kPowerPoint97Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Office\\8.0\\PowerPoint");
const ConditionRecord kAccess95Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Access\\7.0\\Speller");
const ConditionRecord kAccess97Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller");
const ConditionRecord kOutlook97Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling");
const ConditionRecord kPublisher98Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\8.0\\Publisher\\5.0");

const Office97Host kWord95{
    .applicationKey = "WINWORD", .version = "7.0", .versionFromOutlook = false, .kinds = kAllKinds,
    .outsideKindsNotApplicable = false, .generation = kWord7Tree, .installedWhen = kWord95Installed,
    .existTest = ExistTest::kKeyOnly, .installRootApplication = nullptr, .hostValue = HostValue::kOwnRegistration,
    .hostRoot = HKEY_CURRENT_USER, .hostKey = kWord7ProofingTree,
    .newUserKey = "SOFTWARE\\Microsoft\\New User Settings\\Word\\7.0\\Proofing Tools",
    // Word 95 finds its grammar checker and hyphenator in its own keys only.
    .sharedRegistrationKinds = Kinds({kSpeller, kThesaurus}), .recordWriter = RecordWriter::kPlain,
    .plainRecordMode = 1, .fixesTahoma = false};

const Office97Host kWord97{
    .applicationKey = "WINWORD", .version = "8.0", .versionFromOutlook = false, .kinds = kAllKinds,
    .outsideKindsNotApplicable = false, .generation = kSharedTree, .installedWhen = kWord97Installed,
    .existTest = ExistTest::kOfficeInstallRoot, .installRootApplication = "Word", .hostValue = HostValue::kNone,
    .hostRoot = nullptr, .hostKey = nullptr, .newUserKey = nullptr, .sharedRegistrationKinds = kAllKinds,
    .recordWriter = RecordWriter::kPlain, .plainRecordMode = 2, .fixesTahoma = false};

const Office97Host kExcel95{
    .applicationKey = "EXCEL", .version = "7.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kWord7Tree, .installedWhen = kExcel95Installed,
    .existTest = ExistTest::kKeyOnly, .installRootApplication = nullptr, .hostValue = HostValue::kSpellerValue,
    .hostRoot = HKEY_CURRENT_USER, .hostKey = "Software\\Microsoft\\Excel\\7.0\\Spell Checker",
    .newUserKey = "SOFTWARE\\Microsoft\\New User Settings\\Excel\\7.0\\Spell Checker",
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

const Office97Host kExcel97{
    .applicationKey = "EXCEL", .version = "8.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kSharedTree, .installedWhen = kExcel97Installed,
    .existTest = ExistTest::kOfficeInstallRoot, .installRootApplication = "Excel",
    .hostValue = HostValue::kSpellerValue, .hostRoot = HKEY_CURRENT_USER,
    .hostKey = "Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker",
    .newUserKey = "Software\\Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker",
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

const Office97Host kPowerPoint95{
    .applicationKey = "POWERPNT", .version = "7.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kWord7Tree, .installedWhen = kPowerPoint95Installed,
    .existTest = ExistTest::kKeyOnly, .installRootApplication = nullptr, .hostValue = HostValue::kSpellerValue,
    .hostRoot = HKEY_CURRENT_USER, .hostKey = "Software\\Microsoft\\Office\\PowerPoint\\7.0\\Spelling\\Speller",
    .newUserKey = nullptr, .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage,
    .plainRecordMode = 0, .fixesTahoma = false};

const Office97Host kPowerPoint97{
    .applicationKey = "POWERPNT", .version = "8.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kSharedTree, .installedWhen = kPowerPoint97Installed,
    .existTest = ExistTest::kOfficeInstallRoot, .installRootApplication = "PowerPoint",
    .hostValue = HostValue::kNone, .hostRoot = nullptr, .hostKey = nullptr, .newUserKey = nullptr,
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

const Office97Host kAccess95{
    .applicationKey = "MSACCESS", .version = "7.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kWord7Tree, .installedWhen = kAccess95Installed,
    .existTest = ExistTest::kKeyOnly, .installRootApplication = nullptr, .hostValue = HostValue::kAccessLanguage,
    .hostRoot = HKEY_LOCAL_MACHINE, .hostKey = "SOFTWARE\\Microsoft\\Access\\7.0\\Speller", .newUserKey = nullptr,
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

const Office97Host kAccess97{
    .applicationKey = "MSACCESS", .version = "8.0", .versionFromOutlook = false, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kSharedTree, .installedWhen = kAccess97Installed,
    .existTest = ExistTest::kAccessProgram, .installRootApplication = nullptr,
    .hostValue = HostValue::kAccessLanguage, .hostRoot = HKEY_LOCAL_MACHINE,
    .hostKey = "SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller", .newUserKey = nullptr,
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = true};

const Office97Host kOutlook97{
    .applicationKey = "OUTLOOK", .version = "8.0", .versionFromOutlook = true, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .generation = kSharedTree, .installedWhen = kOutlook97Installed,
    .existTest = ExistTest::kOutlookBelow9, .installRootApplication = nullptr,
    .hostValue = HostValue::kSpellerValue, .hostRoot = HKEY_CURRENT_USER,
    .hostKey = "Software\\Microsoft\\Office\\8.0\\Outlook\\Options\\Spelling",
    .newUserKey = "SOFTWARE\\Microsoft\\Office\\8.0\\New User Settings\\Outlook\\Options\\Spelling",
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

const Office97Host kPublisher98{
    .applicationKey = "MSPUB", .version = "5.0", .versionFromOutlook = false,
    .kinds = Kinds({kSpeller, kHyphenator}), .outsideKindsNotApplicable = false, .generation = kSharedTree,
    .installedWhen = kPublisher98Installed, .existTest = ExistTest::kKeyOnly, .installRootApplication = nullptr,
    .hostValue = HostValue::kNone, .hostRoot = nullptr, .hostKey = nullptr, .newUserKey = nullptr,
    .sharedRegistrationKinds = kAllKinds, .recordWriter = RecordWriter::kWithSavedLanguage, .plainRecordMode = 0,
    .fixesTahoma = false};

enum class Operation { kExist, kOther };

// Members taking the speller only refuse a kind outside 0..3 as "not
// applicable" everywhere but in Exist.
std::optional<HostResult> RefuseKind(const Office97Host& host, int kind, Operation operation) {
  const bool notApplicable = operation == Operation::kOther && host.outsideKindsNotApplicable;
  return office::RefuseKind(host.kinds, kind, notApplicable ? kNotApplicable : 0);
}

// The version string the member files its records under.
class HostVersion {
 public:
  explicit HostVersion(const Office97Host& host) {
    CopyBounded(text_, sizeof text_, host.version);
    if (host.versionFromOutlook) ReadOutlookVersion();
  }
  const char* c_str() const { return text_; }

 private:
  void ReadOutlookVersion() {
    PathText folder;
    if (!RegReadString(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE",
                       "Path", folder.data(), PathText::kCapacity)) {
      return;
    }
    PathText program;
    if (!JoinPath(program, folder, "outlook.exe")) return;
    char version[kHostVersionCapacity];
    if (GetShortFileVersion(program.c_str(), version, sizeof version)) CopyBounded(text_, sizeof text_, version);
  }

  char text_[kHostVersionCapacity];
};

bool AccessProgramExists() {
  PathText folder;
  if (!RegReadString(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\8.0\\Common\\InstallRoot", "OfficeBin",
                     folder.data(), PathText::kCapacity)) {
    return false;
  }
  // "OfficeBin" is stored with its trailing backslash.
  PathText program;
  return program.Format("%s%s", folder.c_str(), "MSACCESS.EXE") && FileExists(program.c_str());
}

// The language of the host's own speller; 1033 when none is set.
int ReadHostLanguage(const Office97Host& host) {
  if (host.hostValue == HostValue::kSpellerValue) return ReadLIDValue(host.hostRoot, host.hostKey, "Speller");
  DWORD language = 0;
  if (!RegReadDword(host.hostRoot, host.hostKey, "Language ID", &language)) return kUsEnglish;
  return static_cast<int>(language);
}

// Sets the host's own speller language, in the user's key first, then in the
// copy new users get.
bool WriteHostLanguage(const Office97Host& host, int lcid) {
  if (host.hostValue == HostValue::kAccessLanguage) {
    return RegSetDword(host.hostRoot, host.hostKey, "Language ID", static_cast<DWORD>(lcid)) == ERROR_SUCCESS;
  }
  PathText speller;
  speller.Format("%d\\%s", lcid, "Normal");
  if (RegSetText(host.hostRoot, host.hostKey, "Speller", speller.c_str()) != ERROR_SUCCESS) return false;
  return host.newUserKey == nullptr ||
         RegSetText(HKEY_LOCAL_MACHINE, host.newUserKey, "Speller", speller.c_str()) == ERROR_SUCCESS;
}

// Word 95's own keys: the user's first, whose result counts, then the copy new
// users get, whose failure fails the whole step.
bool WriteOwnRegistrations(const Office97Host& host, const char* toolKey, int lcid, const char* folder,
                           const char* engine, const char* lexicon) {
  int userResult = WriteOwnRegistration(host.hostRoot, host.hostKey, toolKey, lcid, folder, engine, lexicon);
  if (!WriteOwnRegistration(HKEY_LOCAL_MACHINE, host.newUserKey, toolKey, lcid, folder, engine, lexicon)) {
    return false;
  }
  return userResult != 0;
}

bool RestoreOwnRegistrations(const Office97Host& host, const char* toolKey, int lcid) {
  PathText folder;
  DWORD length = PathText::kCapacity;
  if (!GetStartupDir(folder.data(), &length, lcid)) folder.Clear();
  bool user = RestoreOwnRegistration(host.hostRoot, host.hostKey, toolKey, lcid, folder.c_str()) != 0;
  bool newUsers = RestoreOwnRegistration(HKEY_LOCAL_MACHINE, host.newUserKey, toolKey, lcid, folder.c_str()) != 0;
  return user && newUsers;
}

struct Office97Ops {
  static HostResult Exist(const Office97Host& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host, kind, Operation::kExist)) return *refusal;
    if (!EvaluateConditions(host.installedWhen, nullptr)) return 0;
    switch (host.existTest) {
      case ExistTest::kKeyOnly:
        return 1;
      case ExistTest::kOfficeInstallRoot: {
        PathText root;
        return GetOfficeInstallRoot(8, host.installRootApplication, root.data(), PathText::kCapacity, false);
      }
      case ExistTest::kAccessProgram:
        return AccessProgramExists() ? 1 : 0;
      case ExistTest::kOutlookBelow9:
        return std::atoi(HostVersion(host).c_str()) < 9 ? 1 : 0;
    }
    return 0;
  }

  static HostResult Info(const Office97Host& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, HostVersion(host).c_str(), buffer, length);
  }

  static HostResult Avail(const Office97Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host, kind, Operation::kOther)) return *refusal;
    return AvailInStartupFolder(kind, lcid, Exist(host, kind, lcid, 0, 0));
  }

  static HostResult Attach(const Office97Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host, kind, Operation::kOther)) return *refusal;
    AttachFiles files;
    if (!files.Allocate()) return 0;
    const HostVersion version(host);
    const HostRecord record{host.applicationKey, version.c_str(), host.generation};
    if (!files.Find(kind, lcid)) return 0;
    TahomaSubstitute tahoma;
    if (host.fixesTahoma) tahoma.Apply(lcid);
    const char* toolKey = ToolKeyName(kind, host.generation);
    if (!files.BuildRecord(record, kind, lcid)) return 0;

    const bool changesLanguage =
        host.hostValue == HostValue::kSpellerValue || host.hostValue == HostValue::kAccessLanguage;
    const int savedLanguage = changesLanguage ? ReadHostLanguage(host) : 0;
    bool succeeded = true;
    if (changesLanguage) {
      succeeded = WriteHostLanguage(host, lcid);
    } else if (host.hostValue == HostValue::kOwnRegistration) {
      succeeded = WriteOwnRegistrations(host, toolKey, lcid, files.folder(), files.engine(), files.lexicon());
    }
    if (succeeded && TakesKind(host.sharedRegistrationKinds, kind)) {
      succeeded = RegisterProofingToolShared(toolKey, files.folder(), files.engine(), files.lexicon(), lcid) != 0;
    }
    if (succeeded) {
      succeeded = host.recordWriter == RecordWriter::kPlain
                      ? WriteAttachRecord(files.recordKey(), kind, lcid, host.generation, host.plainRecordMode) != 0
                      : WriteAttachRecordSaved(files.recordKey(), kind, lcid, savedLanguage, host.generation) != 0;
      tahoma.StoreOriginal(files.recordKey());
    }
    if (!succeeded && changesLanguage) {
      // The host gets its own language back and the record says not attached.
      WriteHostLanguage(host, savedLanguage);
      SetAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), host.generation, 0);
    }
    return succeeded ? 1 : 0;
  }

  static HostResult Detach(const Office97Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host, kind, Operation::kOther)) return *refusal;
    const HostVersion version(host);
    const HostRecord record{host.applicationKey, version.c_str(), host.generation};
    auto hostExists = [&] { return Exist(host, kind, lcid, 0, 0) != 0; };
    switch (host.hostValue) {
      case HostValue::kNone:
        return SetAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), host.generation, 0);
      case HostValue::kOwnRegistration: {
        if (!SetAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), host.generation, 0)) return 0;
        if (!hostExists() || RestoreOwnRegistrations(host, ToolKeyName(kind, host.generation), lcid)) return 1;
        SetAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), host.generation, 1);
        return 0;
      }
      case HostValue::kSpellerValue:
      case HostValue::kAccessLanguage:
        break;
    }
    if (host.fixesTahoma && hostExists()) TahomaSubstitute::Restore(kind, lcid);
    return DetachRestoringLanguage(record, kind, lcid, hostExists,
                                   [&](int saved) { return WriteHostLanguage(host, saved); });
  }

  static HostResult Check(const Office97Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host, kind, Operation::kOther)) return *refusal;
    const HostVersion version(host);
    const HostRecord record{host.applicationKey, version.c_str(), host.generation};
    if (host.hostValue != HostValue::kOwnRegistration) return CheckSharedRegistration(record, kind, lcid);
    // Word 95 reads its own registration in the user's key.
    if (CheckAttachedFlag(kind, lcid, host.applicationKey, version.c_str(), host.generation) != 1) return 0;
    PathText key;
    if (!key.Format("%s\\%s\\%d\\%s", host.hostKey, ToolKeyName(kind, host.generation), lcid, "Normal")) return 0;
    return CheckProofingEngine(host.hostRoot, key.c_str(), 0) ? 1 : 0;
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(WW70, kvil::Office97Ops, kvil::kWord95)
KVIL_HOST_EXPORTS(WW80, kvil::Office97Ops, kvil::kWord97)
KVIL_HOST_EXPORTS(EX70, kvil::Office97Ops, kvil::kExcel95)
KVIL_HOST_EXPORTS(EX80, kvil::Office97Ops, kvil::kExcel97)
KVIL_HOST_EXPORTS(PP70, kvil::Office97Ops, kvil::kPowerPoint95)
KVIL_HOST_EXPORTS(PP80, kvil::Office97Ops, kvil::kPowerPoint97)
KVIL_HOST_EXPORTS(ACC70, kvil::Office97Ops, kvil::kAccess95)
KVIL_HOST_EXPORTS(ACC80, kvil::Office97Ops, kvil::kAccess97)
KVIL_HOST_EXPORTS(OUTL97, kvil::Office97Ops, kvil::kOutlook97)
KVIL_HOST_EXPORTS(MSPub98, kvil::Office97Ops, kvil::kPublisher98)

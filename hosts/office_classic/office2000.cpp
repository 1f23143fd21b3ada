// Office 2000, XP and 2003 (versions 9.0, 10.0, 11.0) with Publisher and
// InfoPath 2003: as in Office 97 the product becomes the proofing tool in
// Microsoft's shared tree, but first the Office installation's own proofing
// components are pointed at the product through the Installer's component
// registry. Detach only clears the record: Office keeps the product's engine
// until the product itself is removed.

#include <cstdint>
#include <optional>

#include "bounded_text.h"
#include "office_host.h"
#include "conditions.h"
#include "contract.h"
#include "installer.h"
#include "office.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;

enum class RecordWriter { kPlain, kWithSavedLanguage };

struct Office2000Host {
  const char* applicationKey;
  const char* version;
  int officeVersion;  // passed to the Installer redirection and the install-root test
  unsigned kinds;
  // Members taking the speller only answer "not applicable" from Avail, Detach
  // and Check to any other kind, also outside 0..3.
  bool outsideKindsNotApplicable;
  const ConditionRecord* installedWhen;
  const char* installRootApplication;  // null: the key alone proves the host
  // Publisher 2002 makes its tests and then answers "not applicable" whatever
  // they found, so that Avail always goes on to look for the files.
  bool existAnswerDropped;
  // The host's own speller language (REG_DWORD, HKCU); null: none.
  const char* hostValueKey;
  const char* hostValueName;
  bool fixesTahoma;
  // Excel answers the Installer's 1 even when the shared registration fails.
  bool keepsInstallerResult;
  // Office 2003 records the application itself under this display name.
  const char* applicationRecordName;
  RecordWriter recordWriter;
};

const ConditionRecord kWord2000Installed[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\9.0\\Word");
const ConditionRecord kWordXpInstalled[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\10.0\\Word");
const ConditionRecord kWord2003Installed[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Word");
const ConditionRecord kExcel2000Installed[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\9.0\\Excel");
const ConditionRecord kExcelXpInstalled[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\10.0\\Excel");
const ConditionRecord kExcel2003Installed[] = KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Excel");
const ConditionRecord kPowerPoint2000Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\9.0\\PowerPoint");
const ConditionRecord kPowerPointXpInstalled[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\10.0\\PowerPoint");
const ConditionRecord kPowerPoint2003Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\PowerPoint");
const ConditionRecord kAccess2000Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\9.0\\Access\\Speller");
const ConditionRecord kAccessXpInstalled[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\10.0\\Access\\Speller");
const ConditionRecord kAccess2003Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Access\\Speller");
const ConditionRecord kOutlook2000Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\9.0\\Outlook");
const ConditionRecord kOutlookXpInstalled[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\10.0\\Outlook");
const ConditionRecord kOutlook2003Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Outlook");
const ConditionRecord kPublisher2000Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\9.0\\Publisher");
const ConditionRecord kPublisherXpInstalled[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\10.0\\Publisher");
const ConditionRecord kPublisher2003Installed[] =
    KVIL_KEY_PRESENT(HKEY_CURRENT_USER, "Software\\Microsoft\\Office\\11.0\\Publisher");
const ConditionRecord kInfoPath2003Installed[] =
    KVIL_KEY_PRESENT(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Office\\11.0\\Infopath\\Speller");

constexpr unsigned kPublisherKinds = Kinds({kSpeller, kThesaurus, kHyphenator});

// The members, in the order Office's versions list them.
const Office2000Host kWord2000{
    .applicationKey = "WINWORD", .version = "9.0", .officeVersion = 9, .kinds = kAllKinds,
    .outsideKindsNotApplicable = false, .installedWhen = kWord2000Installed, .installRootApplication = "Word",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = nullptr, .recordWriter = RecordWriter::kPlain};
const Office2000Host kWordXp{
    .applicationKey = "WINWORD", .version = "10.0", .officeVersion = 10, .kinds = kAllKinds,
    .outsideKindsNotApplicable = false, .installedWhen = kWordXpInstalled, .installRootApplication = "Word",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = nullptr, .recordWriter = RecordWriter::kPlain};
const Office2000Host kWord2003{
    .applicationKey = "WINWORD", .version = "11.0", .officeVersion = 11, .kinds = kAllKinds,
    .outsideKindsNotApplicable = false, .installedWhen = kWord2003Installed, .installRootApplication = "Word",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = "Microsoft Word 2003",
    .recordWriter = RecordWriter::kPlain};

const Office2000Host kExcel2000{
    .applicationKey = "EXCEL", .version = "9.0", .officeVersion = 9, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kExcel2000Installed, .installRootApplication = "Excel",
    .existAnswerDropped = false, .hostValueKey = "Software\\Microsoft\\Office\\9.0\\Excel\\Spell Checker",
    .hostValueName = "Speller", .fixesTahoma = false, .keepsInstallerResult = true,
    .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kExcelXp{
    .applicationKey = "EXCEL", .version = "10.0", .officeVersion = 10, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kExcelXpInstalled, .installRootApplication = "Excel",
    .existAnswerDropped = false, .hostValueKey = "Software\\Microsoft\\Office\\10.0\\Excel\\Spell Checker",
    .hostValueName = "Speller", .fixesTahoma = false, .keepsInstallerResult = true,
    .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kExcel2003{
    .applicationKey = "EXCEL", .version = "11.0", .officeVersion = 11, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kExcel2003Installed, .installRootApplication = "Excel",
    .existAnswerDropped = false, .hostValueKey = "Software\\Microsoft\\Office\\11.0\\Excel\\Spell Checker",
    .hostValueName = "Speller", .fixesTahoma = false, .keepsInstallerResult = true,
    .applicationRecordName = "Microsoft Excel 2003", .recordWriter = RecordWriter::kWithSavedLanguage};

const Office2000Host kPowerPoint2000{
    .applicationKey = "POWERPNT", .version = "9.0", .officeVersion = 9, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kPowerPoint2000Installed,
    .installRootApplication = "PowerPoint", .existAnswerDropped = false, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false, .applicationRecordName = nullptr,
    .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kPowerPointXp{
    .applicationKey = "POWERPNT", .version = "10.0", .officeVersion = 10, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kPowerPointXpInstalled,
    .installRootApplication = "PowerPoint", .existAnswerDropped = false, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false, .applicationRecordName = nullptr,
    .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kPowerPoint2003{
    .applicationKey = "POWERPNT", .version = "11.0", .officeVersion = 11, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kPowerPoint2003Installed,
    .installRootApplication = "PowerPoint", .existAnswerDropped = false, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false,
    .applicationRecordName = "Microsoft PowerPoint 2003", .recordWriter = RecordWriter::kWithSavedLanguage};

const Office2000Host kAccess2000{
    .applicationKey = "MSACCESS", .version = "9.0", .officeVersion = 9, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kAccess2000Installed, .installRootApplication = "Access",
    .existAnswerDropped = false, .hostValueKey = "SOFTWARE\\Microsoft\\Office\\9.0\\Access\\Speller",
    .hostValueName = "Language ID", .fixesTahoma = true, .keepsInstallerResult = false,
    .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kAccessXp{
    .applicationKey = "MSACCESS", .version = "10.0", .officeVersion = 10, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kAccessXpInstalled, .installRootApplication = "Access",
    .existAnswerDropped = false, .hostValueKey = "SOFTWARE\\Microsoft\\Office\\10.0\\Access\\Speller",
    .hostValueName = "Language ID", .fixesTahoma = true, .keepsInstallerResult = false,
    .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kAccess2003{
    .applicationKey = "MSACCESS", .version = "11.0", .officeVersion = 11, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kAccess2003Installed, .installRootApplication = "Access",
    .existAnswerDropped = false, .hostValueKey = "SOFTWARE\\Microsoft\\Office\\11.0\\Access\\Speller",
    .hostValueName = "Language ID", .fixesTahoma = true, .keepsInstallerResult = false,
    .applicationRecordName = "Microsoft Access 2003", .recordWriter = RecordWriter::kWithSavedLanguage};

const Office2000Host kOutlook2000{
    .applicationKey = "OUTLOOK", .version = "9.0", .officeVersion = 9, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kOutlook2000Installed, .installRootApplication = "Outlook",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kOutlookXp{
    .applicationKey = "OUTLOOK", .version = "10.0", .officeVersion = 10, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kOutlookXpInstalled, .installRootApplication = "Outlook",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = nullptr, .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kOutlook2003{
    .applicationKey = "OUTLOOK", .version = "11.0", .officeVersion = 11, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kOutlook2003Installed, .installRootApplication = "Outlook",
    .existAnswerDropped = false, .hostValueKey = nullptr, .hostValueName = nullptr, .fixesTahoma = false,
    .keepsInstallerResult = false, .applicationRecordName = "Microsoft Outlook 2003",
    .recordWriter = RecordWriter::kWithSavedLanguage};

const Office2000Host kPublisher2000{
    .applicationKey = "MSPUB", .version = "6.0", .officeVersion = 9, .kinds = Kinds({kSpeller, kHyphenator}),
    .outsideKindsNotApplicable = false, .installedWhen = kPublisher2000Installed,
    .installRootApplication = "Publisher", .existAnswerDropped = false, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false, .applicationRecordName = nullptr,
    .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kPublisherXp{
    .applicationKey = "MSPUB", .version = "10.0", .officeVersion = 10, .kinds = kPublisherKinds,
    .outsideKindsNotApplicable = false, .installedWhen = kPublisherXpInstalled,
    .installRootApplication = "Publisher", .existAnswerDropped = true, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false, .applicationRecordName = nullptr,
    .recordWriter = RecordWriter::kWithSavedLanguage};
const Office2000Host kPublisher2003{
    .applicationKey = "MSPUB", .version = "11.0", .officeVersion = 11, .kinds = kPublisherKinds,
    .outsideKindsNotApplicable = false, .installedWhen = kPublisher2003Installed,
    .installRootApplication = "Publisher", .existAnswerDropped = false, .hostValueKey = nullptr,
    .hostValueName = nullptr, .fixesTahoma = false, .keepsInstallerResult = false,
    .applicationRecordName = "Microsoft Publisher 2003", .recordWriter = RecordWriter::kWithSavedLanguage};

const Office2000Host kInfoPath2003{
    .applicationKey = "INFOPATH", .version = "11.0", .officeVersion = 11, .kinds = kSpellerOnly,
    .outsideKindsNotApplicable = true, .installedWhen = kInfoPath2003Installed, .installRootApplication = nullptr,
    .existAnswerDropped = false, .hostValueKey = "SOFTWARE\\Microsoft\\Office\\11.0\\Infopath\\Speller",
    .hostValueName = "DefaultLanguage", .fixesTahoma = false, .keepsInstallerResult = false,
    .applicationRecordName = "Microsoft InfoPath 2003", .recordWriter = RecordWriter::kWithSavedLanguage};

HostRecord RecordOf(const Office2000Host& host) { return {host.applicationKey, host.version, kSharedTree}; }

// Avail, Detach and Check: "not applicable" for a kind not taken, and outside
// 0..3 too for the members taking the speller only.
std::optional<HostResult> RefuseKindAfterExist(const Office2000Host& host, int kind) {
  return RefuseKind(host.kinds, kind, host.outsideKindsNotApplicable ? kNotApplicable : 0);
}

struct Office2000Ops {
  static HostResult Exist(const Office2000Host& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    HostResult installed = EvaluateConditions(host.installedWhen, nullptr) ? 1 : 0;
    if (installed && host.installRootApplication != nullptr) {
      PathText root;
      installed = GetOfficeInstallRoot(host.officeVersion, host.installRootApplication, root.data(),
                                       PathText::kCapacity, false);
    }
    return host.existAnswerDropped ? kNotApplicable : installed;
  }

  static HostResult Info(const Office2000Host& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, host.version, buffer, length);
  }

  static HostResult Avail(const Office2000Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKindAfterExist(host, kind)) return *refusal;
    return AvailInStartupFolder(kind, lcid, Exist(host, kind, lcid, 0, 0));
  }

  static HostResult Attach(const Office2000Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    AttachFiles files;
    if (!files.Allocate()) return 0;
    if (host.applicationRecordName != nullptr) {
      WriteOfficeApplicationRecord(host.officeVersion, host.applicationKey, host.applicationRecordName);
    }
    if (!files.Find(kind, lcid)) return 0;
    TahomaSubstitute tahoma;
    if (host.fixesTahoma) tahoma.Apply(lcid);
    if (host.hostValueKey != nullptr &&
        RegSetDword(HKEY_CURRENT_USER, host.hostValueKey, host.hostValueName, static_cast<DWORD>(lcid)) !=
            ERROR_SUCCESS) {
      return 0;
    }

    const HostResult installer =
        RegisterOffice90(kind, lcid, files.folder(), files.engine(), files.lexicon(), 0, host.officeVersion);
    // An Office without the Installer data for this tool and language: the
    // caller is told so, and nothing more is changed.
    if (installer == kNotApplicable) return kNotApplicable;
    HostResult result = 0;
    const HostRecord record = RecordOf(host);
    if (installer == 1) {
      if (host.keepsInstallerResult) result = installer;
      const char* toolKey = ToolKeyName(kind, kSharedTree);
      if (RegisterProofingToolShared(toolKey, files.folder(), files.engine(), files.lexicon(), lcid) &&
          files.BuildRecord(record, kind, lcid)) {
        result = host.recordWriter == RecordWriter::kPlain
                     ? WriteAttachRecord(files.recordKey(), kind, lcid, kSharedTree, 2)
                     : WriteAttachRecordSaved(files.recordKey(), kind, lcid, 0, kSharedTree);
        tahoma.StoreOriginal(files.recordKey());
      }
    }
    if (result == 0) SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kSharedTree, 0);
    return result;
  }

  static HostResult Detach(const Office2000Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKindAfterExist(host, kind)) return *refusal;
    const int cleared = SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kSharedTree, 0);
    if (host.fixesTahoma) TahomaSubstitute::Restore(kind, lcid);
    return cleared;
  }

  static HostResult Check(const Office2000Host& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKindAfterExist(host, kind)) return *refusal;
    return CheckSharedRegistration(RecordOf(host), kind, lcid);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(WW90, kvil::Office2000Ops, kvil::kWord2000)
KVIL_HOST_EXPORTS(WW100, kvil::Office2000Ops, kvil::kWordXp)
KVIL_HOST_EXPORTS(WW11, kvil::Office2000Ops, kvil::kWord2003)
KVIL_HOST_EXPORTS(EX90, kvil::Office2000Ops, kvil::kExcel2000)
KVIL_HOST_EXPORTS(EX100, kvil::Office2000Ops, kvil::kExcelXp)
KVIL_HOST_EXPORTS(EX11, kvil::Office2000Ops, kvil::kExcel2003)
KVIL_HOST_EXPORTS(PP90, kvil::Office2000Ops, kvil::kPowerPoint2000)
KVIL_HOST_EXPORTS(PP100, kvil::Office2000Ops, kvil::kPowerPointXp)
KVIL_HOST_EXPORTS(PP11, kvil::Office2000Ops, kvil::kPowerPoint2003)
KVIL_HOST_EXPORTS(ACC90, kvil::Office2000Ops, kvil::kAccess2000)
KVIL_HOST_EXPORTS(ACC100, kvil::Office2000Ops, kvil::kAccessXp)
KVIL_HOST_EXPORTS(ACC11, kvil::Office2000Ops, kvil::kAccess2003)
KVIL_HOST_EXPORTS(OUTL2000, kvil::Office2000Ops, kvil::kOutlook2000)
KVIL_HOST_EXPORTS(OUTL2002, kvil::Office2000Ops, kvil::kOutlookXp)
KVIL_HOST_EXPORTS(OUTL11, kvil::Office2000Ops, kvil::kOutlook2003)
KVIL_HOST_EXPORTS(MSPub90, kvil::Office2000Ops, kvil::kPublisher2000)
KVIL_HOST_EXPORTS(MSPub100, kvil::Office2000Ops, kvil::kPublisherXp)
KVIL_HOST_EXPORTS(MSPub11, kvil::Office2000Ops, kvil::kPublisher2003)
KVIL_HOST_EXPORTS(InfoPath11, kvil::Office2000Ops, kvil::kInfoPath2003)

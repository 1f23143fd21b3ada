// Office 2007, 2010 and 2013 (versions 12.0, 14.0, 15.0): the product becomes
// the proofing tool in Microsoft's shared tree as for Office 2000 to 2003, and in
// addition Office's own Russian and Ukrainian tools are switched aside and
// Office's proofing-tool module is replaced once for the whole installation.
// Detach clears the record and switches Microsoft's tools back; the module comes
// back only with the Office-wide DetachOffice.

#include <cstdint>
#include <optional>

#include "bounded_text.h"
#include "contract.h"
#include "handles.h"
#include "installer.h"
#include "office.h"
#include "office_host.h"
#include "office_proofing.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;
using namespace modern;

// What differs between the three Office versions.
struct ModernOffice {
  const char* version;
  int number;
  const char* year;  // in the applications' display names
  // Office 2007 switches Microsoft's grammar checker and thesaurus back on
  // Detach, but not the hyphenator it switched out on Attach.
  unsigned switchedBackOnDetach;
  // Office 2010 and 2013 take "StrictYO" out of a Russian speller's record.
  bool removesStrictYo;
};

const ModernOffice kOffice2007Row{.version = "12.0", .number = kOffice2007, .year = "2007",
                                  .switchedBackOnDetach = Kinds({kGrammar, kThesaurus}), .removesStrictYo = false};
const ModernOffice kOffice2010Row{.version = "14.0", .number = kOffice2010, .year = "2010",
                                  .switchedBackOnDetach = kAllKinds, .removesStrictYo = true};
const ModernOffice kOffice2013Row{.version = "15.0", .number = kOffice2013, .year = "2013",
                                  .switchedBackOnDetach = kAllKinds, .removesStrictYo = true};

enum class RecordWriter { kPlain, kWithSavedLanguage };

// One Office application, the same in the three versions.
struct ModernApplication {
  const char* applicationKey;
  const char* productName;  // "Microsoft Word", completed by the version's year
  // "SOFTWARE\Microsoft\Office\<version>\<word>\InstallRoot" proves the host.
  const char* installRootWord;
  // The install root's "Path" must be there too (not for InfoPath and OneNote).
  bool installRootPathTest = true;
  unsigned kinds = kAllKinds;
  // Word answers 0 to a kind outside 0..3, the others "not applicable" to every
  // kind they do not take.
  bool outsideKindsNotApplicable = true;
  // The application's own language, a REG_DWORD under HKCU
  // "Software\Microsoft\Office\<version>\<key>", written before the registration; null: none.
  const char* userLanguageKey = nullptr;
  const char* userLanguageValue = nullptr;
  bool fixesTahoma = false;
  // FrontPage keeps its language in "FrontPageLangID"; the record saves it.
  bool keepsFrontPageLanguage = false;
  bool switchesMicrosoftTools = true;
  bool detachSwitchesBack = true;
  // Publisher goes on with any non-zero answer of the Installer redirection.
  bool anyInstallerAnswerGoesOn = false;
  int registrationGeneration = kSharedTree;
  int recordGeneration = kWord7Tree;
  RecordWriter recordWriter = RecordWriter::kWithSavedLanguage;
};

const ModernApplication kWord{.applicationKey = "WINWORD", .productName = "Microsoft Word", .installRootWord = "Word",
                              .outsideKindsNotApplicable = false, .recordGeneration = kSharedTree,
                              .recordWriter = RecordWriter::kPlain};
const ModernApplication kExcel{.applicationKey = "EXCEL", .productName = "Microsoft Excel", .installRootWord = "Excel",
                               .kinds = Kinds({kSpeller, kThesaurus}),
                               .userLanguageKey = "Excel\\Spell Checker",
                               .userLanguageValue = "Speller", .registrationGeneration = kProductTree};
const ModernApplication kPowerPoint{.applicationKey = "POWERPNT", .productName = "Microsoft PowerPoint",
                                    .installRootWord = "PowerPoint", .kinds = Kinds({kSpeller, kThesaurus}),
                                    .detachSwitchesBack = false};
const ModernApplication kAccess{.applicationKey = "MSACCESS", .productName = "Microsoft Access",
                                .installRootWord = "Access", .kinds = kSpellerOnly,
                                .userLanguageKey = "Access\\InstallRoot",
                                .userLanguageValue = "Language ID", .fixesTahoma = true};
const ModernApplication kOutlook{.applicationKey = "OUTLOOK", .productName = "Microsoft Outlook",
                                 .installRootWord = "Outlook", .kinds = Kinds({kSpeller, kGrammar, kThesaurus})};
const ModernApplication kPublisher{.applicationKey = "MSPUB", .productName = "Microsoft Publisher",
                                   .installRootWord = "Publisher", .kinds = Kinds({kSpeller, kThesaurus, kHyphenator}),
                                   .anyInstallerAnswerGoesOn = true, .recordGeneration = kSharedTree};
const ModernApplication kFrontPage{.applicationKey = "FRONTPG", .productName = "Microsoft FrontPage",
                                   .installRootWord = "Frontpg", .kinds = Kinds({kSpeller, kThesaurus}),
                                   .keepsFrontPageLanguage = true, .switchesMicrosoftTools = false};
const ModernApplication kInfoPath{.applicationKey = "INFOPATH", .productName = "Microsoft InfoPath",
                                  .installRootWord = "Infopath", .installRootPathTest = false, .kinds = kSpellerOnly,
                                  .userLanguageKey = "Infopath\\InstallRoot",
                                  .userLanguageValue = "DefaultLanguage"};
const ModernApplication kOneNote{.applicationKey = "ONENOTE", .productName = "Microsoft OneNote",
                                 .installRootWord = "OneNote", .installRootPathTest = false,
                                 .kinds = Kinds({kSpeller, kThesaurus}),
                                 .userLanguageKey = "OneNote\\InstallRoot",
                                 .userLanguageValue = "DefaultLanguage"};

struct ModernOfficeHost {
  const ModernOffice* office;
  const ModernApplication* application;
  // Outlook 2007 is found for the speller only, though it attaches three tools.
  bool foundForSpellerOnly = false;
};

// The members, in the order of the Office versions.
const ModernOfficeHost kWord2007{.office = &kOffice2007Row, .application = &kWord};
const ModernOfficeHost kExcel2007{.office = &kOffice2007Row, .application = &kExcel};
const ModernOfficeHost kPowerPoint2007{.office = &kOffice2007Row, .application = &kPowerPoint};
const ModernOfficeHost kAccess2007{.office = &kOffice2007Row, .application = &kAccess};
const ModernOfficeHost kOutlook2007{.office = &kOffice2007Row, .application = &kOutlook, .foundForSpellerOnly = true};
const ModernOfficeHost kPublisher2007{.office = &kOffice2007Row, .application = &kPublisher};
const ModernOfficeHost kFrontPage2007{.office = &kOffice2007Row, .application = &kFrontPage};
const ModernOfficeHost kInfoPath2007{.office = &kOffice2007Row, .application = &kInfoPath};

const ModernOfficeHost kWord2010{.office = &kOffice2010Row, .application = &kWord};
const ModernOfficeHost kExcel2010{.office = &kOffice2010Row, .application = &kExcel};
const ModernOfficeHost kPowerPoint2010{.office = &kOffice2010Row, .application = &kPowerPoint};
const ModernOfficeHost kAccess2010{.office = &kOffice2010Row, .application = &kAccess};
const ModernOfficeHost kOutlook2010{.office = &kOffice2010Row, .application = &kOutlook};
const ModernOfficeHost kPublisher2010{.office = &kOffice2010Row, .application = &kPublisher};
const ModernOfficeHost kFrontPage2010{.office = &kOffice2010Row, .application = &kFrontPage};
const ModernOfficeHost kInfoPath2010{.office = &kOffice2010Row, .application = &kInfoPath};
const ModernOfficeHost kOneNote2010{.office = &kOffice2010Row, .application = &kOneNote};

const ModernOfficeHost kWord2013{.office = &kOffice2013Row, .application = &kWord};
const ModernOfficeHost kExcel2013{.office = &kOffice2013Row, .application = &kExcel};
const ModernOfficeHost kPowerPoint2013{.office = &kOffice2013Row, .application = &kPowerPoint};
const ModernOfficeHost kAccess2013{.office = &kOffice2013Row, .application = &kAccess};
const ModernOfficeHost kOutlook2013{.office = &kOffice2013Row, .application = &kOutlook};
const ModernOfficeHost kPublisher2013{.office = &kOffice2013Row, .application = &kPublisher};
const ModernOfficeHost kFrontPage2013{.office = &kOffice2013Row, .application = &kFrontPage};
const ModernOfficeHost kInfoPath2013{.office = &kOffice2013Row, .application = &kInfoPath};
const ModernOfficeHost kOneNote2013{.office = &kOffice2013Row, .application = &kOneNote};

std::optional<HostResult> RefuseKind(const ModernApplication& application, int kind) {
  return office::RefuseKind(application.kinds, kind, application.outsideKindsNotApplicable ? kNotApplicable : 0);
}

HostRecord RecordOf(const ModernOfficeHost& host) {
  return {host.application->applicationKey, host.office->version, host.application->recordGeneration};
}

// The application's own language set to the one attached; false when it could not be.
bool WriteUserLanguage(const ModernOfficeHost& host, int lcid) {
  const ModernApplication& application = *host.application;
  if (application.userLanguageKey == nullptr) return true;
  PathText key;
  return key.Format("Software\\Microsoft\\Office\\%s\\%s", host.office->version, application.userLanguageKey) &&
         RegSetDword(HKEY_CURRENT_USER, key.c_str(), application.userLanguageValue, static_cast<DWORD>(lcid)) ==
             ERROR_SUCCESS;
}

// FrontPage's language; US English when it has none.
int FrontPageLanguage() {
  DWORD language = 0;
  RegReadDword(HKEY_CURRENT_USER, "Software\\Microsoft\\FrontPage", "FrontPageLangID", &language);
  return language == 0 ? kUsEnglish : static_cast<int>(language);
}

struct ModernOfficeOps {
  static HostResult Exist(const ModernOfficeHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    const ModernApplication& application = *host.application;
    if (auto refusal = office::RefuseKind(host.foundForSpellerOnly ? kSpellerOnly : application.kinds, kind, 0)) {
      return *refusal;
    }
    PathText key;
    if (!key.Format("SOFTWARE\\Microsoft\\Office\\%s\\%s\\InstallRoot", host.office->version,
                    application.installRootWord) ||
        !RegKeyExists(HKEY_LOCAL_MACHINE, key.c_str())) {
      return 0;
    }
    if (!application.installRootPathTest) return 1;
    PathText root;
    return GetOfficeInstallRoot(host.office->number, application.installRootWord, root.data(), PathText::kCapacity,
                                false);
  }

  static HostResult Info(const ModernOfficeHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.application->applicationKey, host.office->version, buffer, length);
  }

  static HostResult Avail(const ModernOfficeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = office::RefuseKind(host.application->kinds, kind, 0)) return *refusal;
    return AvailInStartupFolder(kind, lcid, Exist(host, kind, lcid, 0, 0));
  }

  static HostResult Attach(const ModernOfficeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    const ModernApplication& application = *host.application;
    const ModernOffice& office = *host.office;
    if (auto refusal = RefuseKind(application, kind)) return *refusal;
    AttachFiles files;
    if (!files.Allocate()) return 0;
    PathText displayName;
    displayName.Format("%s %s", application.productName, office.year);
    WriteOfficeApplicationRecord(office.number, application.applicationKey, displayName.c_str());
    if (!files.Find(kind, lcid)) return 0;
    TahomaSubstitute tahoma;
    if (application.fixesTahoma) tahoma.Apply(lcid);
    if (!WriteUserLanguage(host, lcid)) return 0;

    const HostResult installer =
        RegisterOffice90(kind, lcid, files.folder(), files.engine(), files.lexicon(), 0, office.number);
    const bool goesOn = installer == 1 || (application.anyInstallerAnswerGoesOn && installer != 0);
    // An Office without the Installer data for this tool and language: the
    // caller is told so, and nothing more is changed.
    if (!goesOn && installer != 0) return installer;
    HostResult result = 0;
    const HostRecord record = RecordOf(host);
    if (goesOn) {
      const int savedLanguage = application.keepsFrontPageLanguage ? FrontPageLanguage() : 0;
      if (RegisterProofingToolShared(ToolKeyName(kind, application.registrationGeneration), files.folder(),
                                     files.engine(), files.lexicon(), lcid) &&
          files.BuildRecord(record, kind, lcid)) {
        result = application.recordWriter == RecordWriter::kPlain
                     ? WriteAttachRecord(files.recordKey(), kind, lcid, kSharedTree, 2)
                     : WriteAttachRecordSaved(files.recordKey(), kind, lcid, savedLanguage, record.generation);
      }
      if (result != 0) {
        tahoma.StoreOriginal(files.recordKey());
        if (application.switchesMicrosoftTools) {
          SwitchOutMicrosoftTool(office.number, kind, lcid);
          if (office.removesStrictYo && kind == kSpeller && lcid == kRussian) RemoveStrictYO(files.recordKey());
        }
        AttachOffice(office.number, files.folder());
      }
    }
    // Half done: Office keeps its own tools, and the record says not attached.
    if (result == 0) {
      if (application.switchesMicrosoftTools) SwitchBackMicrosoftTool(office.number, kind, lcid);
      SetAttachedFlag(kind, lcid, record.applicationKey, record.version, record.generation, 0);
    }
    return result;
  }

  static HostResult Detach(const ModernOfficeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    const ModernApplication& application = *host.application;
    if (auto refusal = RefuseKind(application, kind)) return *refusal;
    const HostRecord record = RecordOf(host);
    const int cleared = SetAttachedFlag(kind, lcid, record.applicationKey, record.version, record.generation, 0);
    if (application.switchesMicrosoftTools && application.detachSwitchesBack &&
        TakesKind(host.office->switchedBackOnDetach, kind)) {
      SwitchBackMicrosoftTool(host.office->number, kind, lcid);
    }
    if (application.fixesTahoma) TahomaSubstitute::Restore(kind, lcid);
    return cleared;
  }

  static HostResult Check(const ModernOfficeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(*host.application, kind)) return *refusal;
    return CheckSharedRegistration(RecordOf(host), kind, lcid);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(WW12, kvil::ModernOfficeOps, kvil::kWord2007)
KVIL_HOST_EXPORTS(EX12, kvil::ModernOfficeOps, kvil::kExcel2007)
KVIL_HOST_EXPORTS(PP12, kvil::ModernOfficeOps, kvil::kPowerPoint2007)
KVIL_HOST_EXPORTS(ACC12, kvil::ModernOfficeOps, kvil::kAccess2007)
KVIL_HOST_EXPORTS(OUTL12, kvil::ModernOfficeOps, kvil::kOutlook2007)
KVIL_HOST_EXPORTS(MSPub12, kvil::ModernOfficeOps, kvil::kPublisher2007)
KVIL_HOST_EXPORTS(FPAGE12, kvil::ModernOfficeOps, kvil::kFrontPage2007)
KVIL_HOST_EXPORTS(InfoPath12, kvil::ModernOfficeOps, kvil::kInfoPath2007)
KVIL_HOST_EXPORTS(WW14, kvil::ModernOfficeOps, kvil::kWord2010)
KVIL_HOST_EXPORTS(EX14, kvil::ModernOfficeOps, kvil::kExcel2010)
KVIL_HOST_EXPORTS(PP14, kvil::ModernOfficeOps, kvil::kPowerPoint2010)
KVIL_HOST_EXPORTS(ACC14, kvil::ModernOfficeOps, kvil::kAccess2010)
KVIL_HOST_EXPORTS(OUTL14, kvil::ModernOfficeOps, kvil::kOutlook2010)
KVIL_HOST_EXPORTS(MSPub14, kvil::ModernOfficeOps, kvil::kPublisher2010)
KVIL_HOST_EXPORTS(FPAGE14, kvil::ModernOfficeOps, kvil::kFrontPage2010)
KVIL_HOST_EXPORTS(InfoPath14, kvil::ModernOfficeOps, kvil::kInfoPath2010)
KVIL_HOST_EXPORTS(OneNote14, kvil::ModernOfficeOps, kvil::kOneNote2010)
KVIL_HOST_EXPORTS(WW15, kvil::ModernOfficeOps, kvil::kWord2013)
KVIL_HOST_EXPORTS(EX15, kvil::ModernOfficeOps, kvil::kExcel2013)
KVIL_HOST_EXPORTS(PP15, kvil::ModernOfficeOps, kvil::kPowerPoint2013)
KVIL_HOST_EXPORTS(ACC15, kvil::ModernOfficeOps, kvil::kAccess2013)
KVIL_HOST_EXPORTS(OUTL15, kvil::ModernOfficeOps, kvil::kOutlook2013)
KVIL_HOST_EXPORTS(MSPub15, kvil::ModernOfficeOps, kvil::kPublisher2013)
KVIL_HOST_EXPORTS(FPAGE15, kvil::ModernOfficeOps, kvil::kFrontPage2013)
KVIL_HOST_EXPORTS(InfoPath15, kvil::ModernOfficeOps, kvil::kInfoPath2013)
KVIL_HOST_EXPORTS(OneNote15, kvil::ModernOfficeOps, kvil::kOneNote2013)

// Word's folder of an Office version ("14.0"), for the caller's own use of
// Office's files. 260 (the capacity used) when found, else 0; the answer is always
// terminated within 260 bytes of the caller's buffer.
extern "C" std::int32_t GetOfficeApplicationsPath(const wchar_t* versionName, wchar_t* path) {
  return static_cast<std::int32_t>(kvil::GuardExport(0, [&]() -> kvil::HostResult {
    constexpr DWORD kPathBytes = 260;
    if (versionName == nullptr || path == nullptr) return 0;
    wchar_t key[kvil::kPathCapacity];
    const int written =
        _snwprintf(key, kvil::kPathCapacity, L"SOFTWARE\\Microsoft\\Office\\%ls\\Word\\InstallRoot", versionName);
    if (written < 0 || written >= static_cast<int>(kvil::kPathCapacity)) return 0;
    kvil::UniqueHKey opened;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_QUERY_VALUE | kvil::RegistryView(), opened.put()) !=
        ERROR_SUCCESS) {
      return 0;
    }
    wchar_t folder[kPathBytes / sizeof(wchar_t) + 1] = {};
    DWORD size = kPathBytes;
    DWORD type = REG_NONE;
    if (RegQueryValueExW(opened.get(), L"Path", nullptr, &type, reinterpret_cast<BYTE*>(folder), &size) !=
            ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
      return 0;
    }
    folder[kPathBytes / sizeof(wchar_t) - 1] = L'\0';
    wcsncpy(path, folder, kPathBytes / sizeof(wchar_t));
    return kPathBytes;
  }));
}

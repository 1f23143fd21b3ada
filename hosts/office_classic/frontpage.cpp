// FrontPage 97 to 2003: the product becomes the speller FrontPage finds in
// Microsoft's shared proofing-tools tree, and FrontPage's own choice of speller
// language, "FrontPageLangID", is switched to the product's language, the former
// one kept in the attachment record for Detach. FrontPage 97 and 98 keep that
// choice in the Windows folder's "frontpg.ini", one section per version;
// FrontPage 2000 and later keep it in the user's registry and, like the Office
// they came with, find Office's own proofing components through the Installer.

#include <cstdint>
#include <optional>

#include "bounded_text.h"
#include "office_host.h"
#include "conditions.h"
#include "contract.h"
#include "files.h"
#include "installer.h"
#include "office.h"
#include "product.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;

constexpr char kFrontPageUserKey[] = "Software\\Microsoft\\FrontPage";
constexpr char kLanguageValue[] = "FrontPageLangID";
constexpr char kFrontPageProgram[] = "Frontpg.exe";

// Where FrontPage keeps "FrontPageLangID".
enum class LanguageStore {
  // The Windows folder's "frontpg.ini", in the member's own section, as text.
  kIniSection,
  // A REG_DWORD in the user's FrontPage key.
  kUserRegistry,
};

// The record of FrontPage itself, beside its attachment records.
enum class ApplicationRecord {
  kNone,
  // "...\Products\FRONTPG\4.0": Office 2000's folder with "Frontpg.exe", and
  // "FrontPage 2000".
  kFrontPage2000,
  // The record every Office 2003 host keeps, under applicationName.
  kOffice2003,
};

// What Detach does besides clearing "Attached".
enum class DetachRestore {
  // FrontPage's language goes back to the one the record saved.
  kSavedLanguage,
  // FrontPage 2002 and 2003 keep the product's language, and Detach answers
  // done whatever the record said.
  kNothing,
};

struct FrontPageHost {
  const char* applicationKey;
  const char* version;
  unsigned kinds;
  LanguageStore languageStore;
  // kIniSection: FrontPage 97 and 98 each read and write only their own.
  const char* iniSection;
  // The Office FrontPage came with: Office's folder holds its program, and the
  // Installer components of that Office are pointed at the product. 0: FrontPage
  // 97 and 98, which came on their own.
  int officeVersion;
  ApplicationRecord applicationRecord;
  const char* applicationName;
  DetachRestore detachRestore;
};

const ConditionRecord kFrontPageInstalled[] = KVIL_KEY_PRESENT(HKEY_CURRENT_USER, kFrontPageUserKey);

constexpr unsigned kSpellerAndThesaurus = Kinds({kSpeller, kThesaurus});

const FrontPageHost kFrontPage97{
    .applicationKey = "FPEDITOR", .version = "2.0", .kinds = kSpellerOnly,
    .languageStore = LanguageStore::kIniSection, .iniSection = "FrontPage 2.0", .officeVersion = 0,
    .applicationRecord = ApplicationRecord::kNone, .applicationName = nullptr,
    .detachRestore = DetachRestore::kSavedLanguage};
const FrontPageHost kFrontPage98{
    .applicationKey = "FPEDITOR", .version = "3.0", .kinds = kSpellerOnly,
    .languageStore = LanguageStore::kIniSection, .iniSection = "FrontPage 3.0", .officeVersion = 0,
    .applicationRecord = ApplicationRecord::kNone, .applicationName = nullptr,
    .detachRestore = DetachRestore::kSavedLanguage};
const FrontPageHost kFrontPage2000{
    .applicationKey = "FRONTPG", .version = "4.0", .kinds = kSpellerAndThesaurus,
    .languageStore = LanguageStore::kUserRegistry, .iniSection = nullptr, .officeVersion = 9,
    .applicationRecord = ApplicationRecord::kFrontPage2000, .applicationName = "FrontPage 2000",
    .detachRestore = DetachRestore::kSavedLanguage};
const FrontPageHost kFrontPage2002{
    .applicationKey = "FRONTPG", .version = "10.0", .kinds = kSpellerAndThesaurus,
    .languageStore = LanguageStore::kUserRegistry, .iniSection = nullptr, .officeVersion = 10,
    .applicationRecord = ApplicationRecord::kNone, .applicationName = nullptr,
    .detachRestore = DetachRestore::kNothing};
const FrontPageHost kFrontPage2003{
    .applicationKey = "FRONTPG", .version = "11.0", .kinds = kSpellerAndThesaurus,
    .languageStore = LanguageStore::kUserRegistry, .iniSection = nullptr, .officeVersion = 11,
    .applicationRecord = ApplicationRecord::kOffice2003, .applicationName = "Microsoft FrontPage 2003",
    .detachRestore = DetachRestore::kNothing};

HostRecord RecordOf(const FrontPageHost& host) { return {host.applicationKey, host.version, kSharedTree}; }

bool IniPath(PathText& path) {
  PathText windows;
  const UINT length = GetWindowsDirectoryA(windows.data(), PathText::kCapacity);
  return length != 0 && length < PathText::kCapacity && path.Format("%s\\%s", windows.c_str(), "frontpg.ini");
}

// FrontPage 97 and 98 have no language of their own while their section names
// none, or something no language identifier can be.
int ReadIniLanguage(const FrontPageHost& host) {
  PathText path;
  if (!IniPath(path)) return 0;
  const UINT language = GetPrivateProfileIntA(host.iniSection, kLanguageValue, 0, path.c_str());
  return language > 0 && language < 0xFFFF ? static_cast<int>(language) : 0;
}

bool WriteIniLanguage(const FrontPageHost& host, int lcid) {
  PathText path;
  char text[16];
  return IniPath(path) && FormatBounded(text, sizeof text, "0x%04X", static_cast<unsigned>(lcid)) &&
         WritePrivateProfileStringA(host.iniSection, kLanguageValue, text, path.c_str()) != 0;
}

// FrontPage 2000 and later without a language of their own are recorded as
// Russian, and a recorded Russian goes back as 0, FrontPage's "none chosen": so
// a user who had chosen Russian himself gets 0 back too.
constexpr int kNoRegistryLanguage = kRussian;

// The language to record for Detach; 0 when FrontPage has none to give back.
int ReadSavedLanguage(const FrontPageHost& host) {
  if (host.languageStore == LanguageStore::kIniSection) return ReadIniLanguage(host);
  DWORD language = 0;
  if (!RegReadDword(HKEY_CURRENT_USER, kFrontPageUserKey, kLanguageValue, &language) || language == 0) {
    return kNoRegistryLanguage;
  }
  return static_cast<int>(language);
}

bool WriteLanguage(const FrontPageHost& host, int lcid) {
  if (host.languageStore == LanguageStore::kIniSection) return WriteIniLanguage(host, lcid);
  return RegSetDword(HKEY_CURRENT_USER, kFrontPageUserKey, kLanguageValue, static_cast<DWORD>(lcid)) ==
         ERROR_SUCCESS;
}

bool PutLanguageBack(const FrontPageHost& host, int saved) {
  if (host.languageStore == LanguageStore::kUserRegistry && saved == kNoRegistryLanguage) {
    return WriteLanguage(host, 0);
  }
  return WriteLanguage(host, saved);
}

// Office's folder (Word's install root, else the Common one) with FrontPage's
// program; the stored folder ends with its backslash.
bool FrontPageProgramPath(int officeVersion, PathText& program) {
  PathText folder;
  return GetOfficeInstallRoot(officeVersion, "Word", folder.data(), PathText::kCapacity, true) &&
         program.Format("%s%s", folder.c_str(), kFrontPageProgram);
}

// Failures are not reported: the record only informs the product.
void WriteApplicationRecord(const FrontPageHost& host) {
  switch (host.applicationRecord) {
    case ApplicationRecord::kNone:
      return;
    case ApplicationRecord::kOffice2003:
      WriteOfficeApplicationRecord(11, host.applicationKey, host.applicationName);
      return;
    case ApplicationRecord::kFrontPage2000: {
      RecordKeyText key;
      if (!key.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), host.applicationKey,
                      host.version)) {
        return;
      }
      PathText program;
      if (FrontPageProgramPath(host.officeVersion, program)) RegSetString(key.c_str(), "Path", program.c_str());
      RegSetString(key.c_str(), "Name", host.applicationName);
      return;
    }
  }
}

struct FrontPageOps {
  static HostResult Exist(const FrontPageHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    if (!EvaluateConditions(kFrontPageInstalled, nullptr)) return 0;
    // FrontPage 97 and 98 are there while their section of frontpg.ini names a
    // language; the later ones while Office's folder holds their program.
    if (host.languageStore == LanguageStore::kIniSection) {
      PathText ini;
      return IniPath(ini) && FileExists(ini.c_str()) && ReadIniLanguage(host) != 0 ? 1 : 0;
    }
    PathText program;
    return FrontPageProgramPath(host.officeVersion, program) && FileExists(program.c_str()) ? 1 : 0;
  }

  static HostResult Info(const FrontPageHost& host, int, int, char* buffer, std::int32_t* length) {
    return FormatInfoList(host.applicationKey, host.version, buffer, length);
  }

  static HostResult Avail(const FrontPageHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    return AvailInStartupFolder(kind, lcid, Exist(host, kind, lcid, 0, 0));
  }

  static HostResult Attach(const FrontPageHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    AttachFiles files;
    if (!files.Allocate()) return 0;
    WriteApplicationRecord(host);
    const HostRecord record = RecordOf(host);
    if (!files.Find(kind, lcid) || !files.BuildRecord(record, kind, lcid)) return 0;

    // An Office without Installer data for this tool and language still finds
    // the product through the shared tree, so only a failed redirection stops here.
    const HostResult installer =
        host.officeVersion == 0
            ? 1
            : RegisterOffice90(kind, lcid, files.folder(), files.engine(), files.lexicon(), 0, host.officeVersion);
    const int saved = ReadSavedLanguage(host);
    if (saved == 0 || installer == 0) return 0;

    const bool succeeded =
        WriteLanguage(host, lcid) &&
        RegisterProofingToolShared(ToolKeyName(kind, kSharedTree), files.folder(), files.engine(), files.lexicon(),
                                   lcid) != 0 &&
        WriteAttachRecordSaved(files.recordKey(), kind, lcid, saved, kSharedTree) != 0;
    if (!succeeded) {
      // FrontPage gets its own language back and the record says not attached.
      PutLanguageBack(host, saved);
      SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kSharedTree, 0);
    }
    return succeeded ? 1 : 0;
  }

  static HostResult Detach(const FrontPageHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    if (host.detachRestore == DetachRestore::kNothing) {
      SetAttachedFlag(kind, lcid, host.applicationKey, host.version, kSharedTree, 0);
      return 1;
    }
    return DetachRestoringLanguage(
        RecordOf(host), kind, lcid, [&] { return Exist(host, kind, lcid, 0, 0) != 0; },
        [&](int saved) { return PutLanguageBack(host, saved); });
  }

  static HostResult Check(const FrontPageHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(host.kinds, kind, 0)) return *refusal;
    return CheckSharedRegistration(RecordOf(host), kind, lcid);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(FPAGE97, kvil::FrontPageOps, kvil::kFrontPage97)
KVIL_HOST_EXPORTS(FPAGE98, kvil::FrontPageOps, kvil::kFrontPage98)
KVIL_HOST_EXPORTS(FPAGE2000, kvil::FrontPageOps, kvil::kFrontPage2000)
KVIL_HOST_EXPORTS(FPAGE2002, kvil::FrontPageOps, kvil::kFrontPage2002)
KVIL_HOST_EXPORTS(FPAGE11, kvil::FrontPageOps, kvil::kFrontPage2003)

#include "office_host.h"

#include <cstring>

#include "office.h"
#include "product.h"
#include "proofing.h"
#include "registry.h"

namespace kvil::office {

std::optional<HostResult> RefuseKind(unsigned kinds, int kind, HostResult outsideAnswer) {
  if (TakesKind(kinds, kind)) return std::nullopt;
  return IsToolKind(kind) ? kNotApplicable : outsideAnswer;
}

bool AttachFiles::Allocate() {
  return folder_.Allocate(kPathCapacity) && engine_.Allocate(kPathCapacity) && lexicon_.Allocate(kPathCapacity) &&
         recordKey_.Allocate(kRecordKeyCapacity);
}

bool AttachFiles::Find(int kind, int lcid) {
  DWORD length = kPathCapacity;
  if (!GetStartupDir(folder_.data(), &length, lcid)) return false;
  BuildEngineFileName(kind, lcid, engine_.data(), kPathCapacity, nullptr);
  BuildEngineFileName(kind, lcid, lexicon_.data(), kPathCapacity, "NORM");
  return true;
}

bool AttachFiles::BuildRecord(const HostRecord& record, int kind, int lcid) {
  return BuildRecordKey(recordKey_.data(), kRecordKeyCapacity, record.applicationKey, record.version,
                        ToolKeyName(kind, record.generation), lcid);
}

HostResult AvailInStartupFolder(int kind, int lcid, HostResult existAnswer) {
  PathText engine;
  PathText lexicon;
  PathText folder;
  BuildEngineFileName(kind, lcid, engine.data(), PathText::kCapacity, nullptr);
  BuildEngineFileName(kind, lcid, lexicon.data(), PathText::kCapacity, "NORM");
  DWORD length = PathText::kCapacity;
  if (!GetStartupDir(folder.data(), &length, lcid) || existAnswer == 0) return 0;
  return AvailFiles(folder.data(), engine.c_str(), lexicon.c_str(), ToolKeyName(kind, kWord7Tree), lcid, 0);
}

HostResult CheckSharedRegistration(const HostRecord& record, int kind, int lcid) {
  if (CheckAttachedFlag(kind, lcid, record.applicationKey, record.version, record.generation) != 1) return 0;
  PathText key;
  const char* toolKey = ToolKeyName(kind, record.generation);
  if (toolKey == nullptr || !key.Format("%s\\%s\\%d\\%s", kSharedProofingTree, toolKey, lcid, "Normal")) return 0;
  return CheckProofingEngine(HKEY_LOCAL_MACHINE, key.c_str(), 0) ? 1 : 0;
}

void WriteOfficeApplicationRecord(int officeVersion, const char* applicationKey, const char* displayName) {
  RecordKeyText key;
  if (!key.Format("%s\\%s\\Products\\%s\\%d.0", kMakerRoot, GetKvilVersionKey(), applicationKey, officeVersion)) {
    return;
  }
  PathText folder;
  if (GetOfficeInstallRoot(officeVersion, "Word", folder.data(), PathText::kCapacity, true)) {
    PathText programName;
    PathText program;
    if (programName.Format("%s.exe", applicationKey) && JoinPath(program, folder, programName)) {
      RegSetString(key.c_str(), "Path", program.c_str());
    }
  }
  RegSetString(key.c_str(), "Name", displayName);
}

namespace {
constexpr char kFontSubstitutes[] = "FontSubstitutes";
constexpr char kTahomaEntry[] = "Tahoma,0";
constexpr char kCyrillicTahoma[] = "Tahoma,204";
}  // namespace

void TahomaSubstitute::Apply(int lcid) {
  if (lcid != kRussian && lcid != kUkrainian) return;
  std::memset(original_, 0, sizeof original_);
  GetProfileStringA(kFontSubstitutes, kTahomaEntry, kCyrillicTahoma, original_, sizeof original_);
  WriteProfileStringA(kFontSubstitutes, kTahomaEntry, kCyrillicTahoma);
  applied_ = true;
}

void TahomaSubstitute::StoreOriginal(const char* recordKey) const {
  if (!applied_ || original_[0] == '\0' || std::strcmp(original_, kCyrillicTahoma) == 0) return;
  RegSetValueOpen(HKEY_LOCAL_MACHINE, recordKey, "Tahoma orig setting", REG_SZ, original_, sizeof original_);
}

void TahomaSubstitute::Restore(int kind, int lcid) {
  const int otherLanguage = lcid == kRussian ? kUkrainian : lcid == kUkrainian ? kRussian : 0;
  if (otherLanguage == 0 || CheckAttachedFlag(kind, otherLanguage, "MSACCESS", "10.0", kWord7Tree) != 0) return;
  RecordKeyText recordKey;
  if (!BuildRecordKey(recordKey.data(), RecordKeyText::kCapacity, "MSACCESS", "10.0", ToolKeyName(kind, kWord7Tree),
                      lcid)) {
    return;
  }
  PathText original;
  if (RegReadString(HKEY_LOCAL_MACHINE, recordKey.c_str(), "Tahoma orig setting", original.data(),
                    PathText::kCapacity) &&
      !original.empty()) {
    WriteProfileStringA(kFontSubstitutes, kTahomaEntry, original.c_str());
  }
}

}  // namespace kvil::office

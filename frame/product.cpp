#include "product.h"

#include <cstdlib>
#include <cstring>

#include "bounded_text.h"
#include "contract.h"
#include "export_scope.h"
#include "handles.h"
#include "registry.h"
#include "registry_view.h"

namespace kvil {

namespace {

int g_cachedVersion = 0;
char g_versionKey[260];
char g_versionWord[260];

constexpr const char* kStyleCodes[] = {"NORM", "BIOL", "BUS",  "CHEM", "COMP", "HUM", "LEGL",
                                       "MED",  "RELG", "SCNC", "TECH", "CONC", "COML"};
constexpr const char* kToolCodes[] = {"SP", "GR", "TH", "HY", "HY"};

constexpr int kDefaultVersion = 6;

}  // namespace

int GetKvilVersion() {
  if (g_cachedVersion != 0) return g_cachedVersion;
  UniqueHKey uninstall;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, kUninstallRoot, KEY_READ, uninstall) != ERROR_SUCCESS) return 0;
  int found = 0;
  for (DWORD index = 0; found == 0; ++index) {
    char name[256];
    DWORD nameLength = sizeof name;
    if (RegEnumKeyExA(uninstall.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    found = std::atoi(name);  // "6.0" gives 6, "abc" gives 0
  }
  g_cachedVersion = found != 0 ? found : kDefaultVersion;
  return g_cachedVersion;
}

void ResetKvilVersionCache() { g_cachedVersion = 0; }

const char* GetKvilVersionKey() {
  std::memset(g_versionKey, 0, sizeof g_versionKey);
  FormatBounded(g_versionKey, sizeof g_versionKey, "%s\\%d.0", "Kvil", GetKvilVersion());
  return g_versionKey;
}

const char* GetKvilVersionWord() {
  std::memset(g_versionWord, 0, sizeof g_versionWord);
  FormatBounded(g_versionWord, sizeof g_versionWord, "%d.0", GetKvilVersion());
  return g_versionWord;
}

int IsRegistry64() {
  ExportLookups* lookups = CurrentExportLookups();
  if (lookups != nullptr && lookups->registry64) return *lookups->registry64;
  const int registry64 = ProductInstalledFor64BitHosts() ? 1 : 0;
  if (lookups != nullptr) lookups->registry64 = registry64;
  return registry64;
}

int GetUninstallDir(char* buffer, DWORD* length) {
  if (buffer == nullptr || length == nullptr || *length == 0) return 0;
  PathText key;
  key.Format("%s\\%d.0", kUninstallRoot, GetKvilVersion());
  PathText uninstaller;
  if (!RegReadString(HKEY_LOCAL_MACHINE, key.c_str(), "UninstallString", uninstaller.data(), PathText::kCapacity)) {
    return 0;
  }
  char drive[_MAX_DRIVE];
  char directory[_MAX_DIR];
  if (_splitpath_s(uninstaller.c_str(), drive, sizeof drive, directory, sizeof directory, nullptr, 0, nullptr, 0) !=
      0) {
    return 0;
  }
  PathText folder;
  if (!folder.Format("%s%s", drive, directory) || folder.size() >= *length) return 0;
  CopyBounded(buffer, *length, folder.view());
  *length = static_cast<DWORD>(folder.size());
  return 1;
}

int GetStartupDir(char* buffer, DWORD* length, int lcid) {
  if (buffer == nullptr || length == nullptr || *length == 0) return 0;
  PathText key;
  key.Format("%s\\%s\\%s\\%d", kMakerRoot, GetKvilVersionKey(), "Options", lcid);
  if (!RegReadString(HKEY_LOCAL_MACHINE, key.c_str(), "Kvil startup dir", buffer, *length)) return 0;
  *length = static_cast<DWORD>(std::strlen(buffer));
  return 1;
}

void BuildEngineFileName(int kind, int lcid, char* buffer, std::size_t capacity, const char* style) {
  if (kind < 0 || kind > 4) return;
  const char* language = LanguageCode(lcid);
  if (style != nullptr) {
    FormatBounded(buffer, capacity, "%s%s%s.LEX", kToolCodes[kind], language, style);
    return;
  }
  switch (kind) {
    case kSpeller:
      CopyBounded(buffer, capacity, "kvilsp3.dll");
      break;
    case kGrammar:
      CopyBounded(buffer, capacity, "KVILGR32.DLL");
      break;
    case kThesaurus:
      CopyBounded(buffer, capacity, "KVILTH32.DLL");
      break;
    default:
      FormatBounded(buffer, capacity, "IN%s32%s.DLL", kToolCodes[kind], language);
      break;
  }
}

const char* DictStyleCode(int index) {
  if (index < 0 || index >= static_cast<int>(std::size(kStyleCodes))) return nullptr;
  return kStyleCodes[index];
}

}  // namespace kvil

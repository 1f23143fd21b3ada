#include "installer.h"

#include <cstdlib>
#include <cstring>

#include "contract.h"
#include "files.h"
#include "handles.h"
#include "product.h"
#include "registry.h"

namespace kvil {

namespace {

constexpr char kInstallerRoot[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";
constexpr char kUninstallKey[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr std::size_t kPackedCodeLength = 32;
constexpr std::size_t kPrefixLength = 8;

// The packed product codes whose values name Office's proofing files.
constexpr char kOffice2000Russian[] = "914000001E872D116BF00006799C897E";
constexpr char kOfficeXp[] = "9040820300063D11C8EF00054038389C";
constexpr char kOffice2003[] = "9040110200063D11C8EF10054038389C";
constexpr char kOffice2007On[] = "9040F10900063D11C8EF10054038389C";

constexpr char kEnglishSpellerEngine[] = "F3BE92CC2CB71D119A12000A9CE1A22A";
constexpr char kEnglishSpellerLexicon[] = "D3BE92CC2CB71D119A12000A9CE1A22A";
constexpr char kAustralianSpellerLexicon[] = "13608793E82C1D11FB5B000A9CF0828A";
constexpr char kRussianSpellerEngine[] = "CEF3839E23492D1109A00008F5B92110";
constexpr char kRussianSpellerLexicon[] = "7DF3839E23492D1109A00008F5B92110";
constexpr char kRussianGrammarEngine[] = "24B871BFD5A13D117B180008F5B92568";
constexpr char kRussianGrammarLexicon[] = "4857C3C6DC6D2D117B870008F5A40D05";

// Only the rows whose codes are known; any other combination answers "not
// applicable". New rows are data: append them here.
constexpr InstallerComponentRow kComponentTable[] = {
    {0, 1033, 9, kEnglishSpellerEngine, kEnglishSpellerLexicon, kOffice2000Russian, kOffice2000Russian},
    {0, 2057, 9, kEnglishSpellerEngine, kEnglishSpellerLexicon, kOffice2000Russian, kOffice2000Russian},
    {0, 3081, 9, kEnglishSpellerEngine, kAustralianSpellerLexicon, kOffice2000Russian, kOffice2000Russian},
    {0, 1049, 9, kRussianSpellerEngine, kRussianSpellerLexicon, kOffice2000Russian, kOffice2000Russian},
    {1, 1049, 9, kRussianGrammarEngine, kRussianGrammarLexicon, kOffice2000Russian, kOffice2000Russian},
    {1, 1049, 10, kRussianGrammarEngine, kRussianGrammarLexicon, kOfficeXp, kOfficeXp},
    {1, 1049, 11, kRussianGrammarEngine, kRussianGrammarLexicon, kOffice2003, kOffice2003},
    {1, 1049, 12, kRussianGrammarEngine, kRussianGrammarLexicon, kOffice2007On, kOffice2007On},
    {1, 1049, 14, kRussianGrammarEngine, kRussianGrammarLexicon, kOffice2007On, kOffice2007On},
    {1, 1049, 15, kRussianGrammarEngine, kRussianGrammarLexicon, kOffice2007On, kOffice2007On},
};

PathText BackupMarker() {
  PathText marker;
  marker.Format("Saved by Kvil %d", GetKvilVersion());
  return marker;
}

bool KeyOpens(const char* path) {
  UniqueHKey key;
  return RegOpenKeyView(HKEY_LOCAL_MACHINE, path, KEY_READ, key) == ERROR_SUCCESS;
}

// The data as the Installer would use it: REG_EXPAND_SZ expanded.
bool ExpandedData(const EnumeratedValue& value, PathText& data) {
  if (value.type != REG_EXPAND_SZ) return data.Assign(value.data);
  DWORD count = ExpandEnvironmentStringsA(value.data, data.data(), PathText::kCapacity);
  return count != 0 && count <= PathText::kCapacity;
}

void AttachValues(HKEY key, const char* newData, const std::vector<ProductPrefix>& products) {
  const PathText marker = BackupMarker();
  EnumeratedValue value;
  for (DWORD index = 0;; ++index) {
    EnumResult read = EnumerateTextValue(key, index, value);
    if (read == EnumResult::kEnd) break;
    if (read == EnumResult::kSkipped || !IsLocalizedProductValue(value.name, products)) continue;
    // Already the product's, or a backup: the first backup is the one to keep.
    if (_stricmp(value.data, newData) == 0 || std::strstr(value.data, marker.c_str()) != nullptr ||
        std::strstr(value.name, marker.c_str()) != nullptr) {
      continue;
    }
    PathText backupName;
    if (!backupName.Format("%s:%s", marker.c_str(), value.name)) continue;
    if (RegSetValueExA(key, backupName.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.data),
                       static_cast<DWORD>(std::strlen(value.data) + 1)) != ERROR_SUCCESS) {
      continue;
    }
    RegSetValueExA(key, value.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(newData),
                   static_cast<DWORD>(std::strlen(newData) + 1));
  }
}

void RestoreValues(HKEY key, const char* productDir) {
  EnumeratedValue value;
  for (DWORD index = 0;; ++index) {
    EnumResult read = EnumerateTextValue(key, index, value);
    if (read == EnumResult::kEnd) break;
    if (read == EnumResult::kSkipped) continue;
    PathText data;
    if (!ExpandedData(value, data)) continue;
    bool deleted = false;
    if (const char* colon = std::strchr(value.name, ':')) {
      // A backup: the former path goes back under the name it was kept for.
      if (RegSetValueExA(key, colon + 1, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.c_str()),
                         static_cast<DWORD>(data.size() + 1)) == ERROR_SUCCESS) {
        deleted = RegDeleteValueA(key, value.name) == ERROR_SUCCESS;
      }
    } else if (productDir != nullptr && *productDir != '\0' && FindNoCase(data.c_str(), productDir) != nullptr) {
      deleted = RegDeleteValueA(key, value.name) == ERROR_SUCCESS;
    }
    // The values after a deleted one move down by one place.
    if (deleted) --index;
  }
}

}  // namespace

EnumResult EnumerateTextValue(HKEY key, DWORD index, EnumeratedValue& value) {
  DWORD nameLength = sizeof value.name;
  DWORD dataLength = sizeof value.data;
  value.type = REG_NONE;
  LONG status = RegEnumValueA(key, index, value.name, &nameLength, nullptr, &value.type,
                              reinterpret_cast<BYTE*>(value.data), &dataLength);
  if (status == ERROR_NO_MORE_ITEMS) return EnumResult::kEnd;
  if (status != ERROR_SUCCESS) return EnumResult::kSkipped;
  if (value.type != REG_SZ && value.type != REG_EXPAND_SZ) return EnumResult::kSkipped;
  if (dataLength == 0 || value.data[dataLength - 1] != '\0') {
    // Stored without its terminator: usable only when there is room to add it.
    if (dataLength >= sizeof value.data) return EnumResult::kSkipped;
    value.data[dataLength] = '\0';
  }
  return EnumResult::kRead;
}

const InstallerComponentRow* FindInstallerComponentRow(int kind, int lcid, int officeVersion) {
  if (kind == 4) kind = 3;  // both hyphenator kinds share their rows
  for (const InstallerComponentRow& row : kComponentTable) {
    if (row.kind == kind && row.lcid == lcid && row.officeVersion == officeVersion) return &row;
  }
  return nullptr;
}

PathText ComponentKeyBase(int officeVersion) {
  PathText base;
  base.Format("%s\\Components", kInstallerRoot);
  const DWORD version = GetVersion();
  const bool ntFamily = (version & 0x80000000u) == 0;
  if (officeVersion < 9 || !ntFamily || LOBYTE(LOWORD(version)) < 5) return base;

  PathText localSystem;
  localSystem.Format("%s\\UserData\\S-1-5-18\\Components", kInstallerRoot);
  if (KeyOpens(localSystem.c_str())) return localSystem;

  PathText userData;
  userData.Format("%s\\UserData", kInstallerRoot);
  UniqueHKey users;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, userData.c_str(), KEY_READ, users) != ERROR_SUCCESS) return base;
  // The first user whose components key opens; when none does, the last user
  // looked at is taken all the same, as Office's setups have always found it.
  PathText userComponents;
  bool anyUser = false;
  for (DWORD index = 0;; ++index) {
    char sid[256];
    DWORD sidLength = sizeof sid;
    LONG status = RegEnumKeyExA(users.get(), index, sid, &sidLength, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) continue;
    anyUser = true;
    userComponents.Format("%s\\%s\\Components", userData.c_str(), sid);
    if (KeyOpens(userComponents.c_str())) break;
  }
  return anyUser ? userComponents : base;
}

bool ComponentKey(int officeVersion, const char* packedComponent, PathText& key) {
  return key.Format("%s\\%s", ComponentKeyBase(officeVersion).c_str(), packedComponent);
}

std::vector<ProductPrefix> BuildLocalizedProductList() {
  std::vector<ProductPrefix> products;
  UniqueHKey uninstall;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, kUninstallKey, KEY_READ, uninstall) != ERROR_SUCCESS) return products;
  for (DWORD index = 0;; ++index) {
    char name[256];
    DWORD nameLength = sizeof name;
    LONG status = RegEnumKeyExA(uninstall.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS || std::strchr(name, '{') == nullptr || nameLength < 1 + kPrefixLength) continue;
    // In Office 2000's product codes the first group is the language.
    char group[kPrefixLength + 1] = {};
    std::memcpy(group, name + 1, kPrefixLength);
    char* end = nullptr;
    unsigned long locale = std::strtoul(group, &end, 16);
    if (end != group + kPrefixLength || locale == 0 || (locale >> 20) != 0 ||
        !IsValidLocale(static_cast<LCID>(locale), LCID_SUPPORTED)) {
      continue;
    }
    // The packed form spells the first group backwards.
    ProductPrefix prefix{};
    for (std::size_t i = 0; i < kPrefixLength; ++i) prefix[i] = group[kPrefixLength - 1 - i];
    products.push_back(prefix);
  }
  return products;
}

bool IsLocalizedProductValue(const char* valueName, const std::vector<ProductPrefix>& products) {
  if (std::strlen(valueName) != kPackedCodeLength) return false;
  for (const ProductPrefix& prefix : products) {
    if (_strnicmp(valueName, prefix.data(), kPrefixLength) == 0) return true;
  }
  return false;
}

int ReplaceProductValues(const char* componentKey, const char* valueName, const char* newData,
                         const char* productDir, bool restore, const std::vector<ProductPrefix>& products) {
  UniqueHKey key;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, componentKey, KEY_READ | KEY_SET_VALUE, key) != ERROR_SUCCESS) {
    // No Installer registration of this component: Office looks for it by the
    // row's own product value.
    if (!restore) RegSetText(HKEY_LOCAL_MACHINE, componentKey, valueName, newData);
    return 1;
  }
  if (restore) {
    RestoreValues(key.get(), productDir);
    return 1;
  }
  AttachValues(key.get(), newData, products);
  if (std::strlen(valueName) == kPackedCodeLength) {
    // Every localized product gets the row's value under its own prefix.
    for (const ProductPrefix& prefix : products) {
      char name[kPackedCodeLength + 1];
      std::memcpy(name, valueName, sizeof name);
      std::memcpy(name, prefix.data(), kPrefixLength);
      RegSetValueExA(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(newData),
                     static_cast<DWORD>(std::strlen(newData) + 1));
    }
  }
  return 1;
}

int RedirectComponents(const char* directory, const char* file1, const char* file2, const char* component1,
                       const char* valueName1, const char* component2, const char* valueName2, int restore,
                       int officeVersion) {
  const std::vector<ProductPrefix> products = BuildLocalizedProductList();
  auto redirect = [&](const char* file, const char* component, const char* valueName) {
    PathText key;
    PathText newData;
    if (!ComponentKey(officeVersion, component, key)) return 0;
    // A path that does not fit is never written cut short; restoring needs only
    // the folder.
    if (!newData.Format("%s\\%s", directory, file) && !restore) return 0;
    return ReplaceProductValues(key.c_str(), valueName, newData.c_str(), directory, restore != 0, products);
  };
  if (redirect(file1, component1, valueName1) == 0 && restore != 1) return 0;
  return redirect(file2, component2, valueName2);
}

HostResult RegisterOffice90(int kind, int lcid, const char* productDir, const char* engineFile,
                            const char* lexiconFile, int restore, int officeVersion) {
  for (const char* argument : {productDir, engineFile, lexiconFile}) {
    if (argument == nullptr || strnlen(argument, kPathCapacity) >= kPathCapacity) return 0;
  }
  const InstallerComponentRow* row = FindInstallerComponentRow(kind, lcid, officeVersion);
  if (row == nullptr) return kNotApplicable;
  RedirectComponents(productDir, engineFile, lexiconFile, row->engineComponent, row->engineValueName,
                     row->lexiconComponent, row->lexiconValueName, restore, officeVersion);
  return 1;
}

}  // namespace kvil

extern "C" kvil::HostResult RegisterOffice90(std::int32_t kind, std::int32_t lcid, const char* productDir,
                                             const char* engineFile, const char* lexiconFile, std::int32_t restore,
                                             std::int32_t officeVersion) {
  return kvil::GuardExport(0, [&] {
    return kvil::RegisterOffice90(kind, lcid, productDir, engineFile, lexiconFile, restore, officeVersion);
  });
}

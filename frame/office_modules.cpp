// Where Office keeps its own English proofing engine and dictionary, so that the
// caller can hand them back or use them beside the product's: the Office 2013
// install root, the Installer's qualified components of Office 2007 and 2010,
// the Installer component registry of Office 2000 to 2003, and last the shared
// proofing-tools registration.

#include <windows.h>
// msi.h needs the Windows types first.
#include <msi.h>

#include <cstdint>
#include <cstring>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "handles.h"
#include "installer.h"
#include "office.h"
#include "product.h"
#include "proofing.h"
#include "registry.h"

namespace kvil {

namespace {

constexpr int kUsEnglish = 1033;
constexpr DWORD kSharedValueCapacity = 260;

bool IsEnglish(int lcid) { return lcid == 1033 || lcid == 2057 || lcid == 3081; }

// Office 2013 keeps its English speller in the "PROOF" folder of its install root.
bool FindOffice15Module(int lcid, bool dictionary, char* buffer, DWORD capacity, DWORD* length) {
  if (!IsEnglish(lcid)) return false;
  PathText root;
  if (!GetOfficeInstallRoot(15, "Word", root.data(), PathText::kCapacity, true)) return false;
  if (!FormatBounded(buffer, capacity, "%s%s", root.c_str(), dictionary ? "PROOF\\MSSP7EN.LEX" : "PROOF\\msspell7.dll")) {
    buffer[0] = '\0';
    return false;
  }
  *length = static_cast<DWORD>(std::strlen(buffer));
  return true;
}

bool ProvideQualifiedComponent(const char* category, const char* qualifier, char* buffer, DWORD capacity,
                               DWORD* length) {
  DWORD size = capacity;
  if (MsiProvideQualifiedComponentA(category, qualifier, INSTALLMODE_EXISTING, buffer, &size) != ERROR_SUCCESS) {
    return false;
  }
  *length = size;
  return size != 0;
}

// Office 2007 and 2010 publish their English speller as qualified components.
bool FindPublishedModule(int officeVersion, int lcid, bool dictionary, char* buffer, DWORD capacity, DWORD* length) {
  if (lcid != kUsEnglish) return false;
  const char* category = nullptr;
  if (officeVersion == 14) {
    const bool view64 = IsRegistry64() != 0;
    category = dictionary ? (view64 ? "{A91705A5-7B48-48D6-8A2F-01AEBD2A7DF9}" : "{A91705A5-7B48-48D6-8A2F-00AEBD2A7DF9}")
                          : (view64 ? "{86268A80-AA82-49A2-9A18-01DA27D3E053}" : "{86268A80-AA82-49A2-9A18-00DA27D3E053}");
  } else {
    category = dictionary ? "{58675C77-EFD5-4484-B1CF-1A853A8653CF}" : "{CC29EB3F-7BC2-11D1-A921-00A0C91E2AA2}";
  }
  return ProvideQualifiedComponent(category, "1033\\Normal", buffer, capacity, length);
}

// Office 2000 to 2003: the first localized product's path of the component,
// passing over paths that hold the excluded text (the product's own folder).
bool FindComponentModule(int kind, int lcid, int officeVersion, bool dictionary, const char* excluded,
                         char* buffer, DWORD capacity, DWORD* length) {
  const InstallerComponentRow* row = FindInstallerComponentRow(kind, lcid, officeVersion);
  if (row == nullptr) return false;
  PathText key;
  if (!ComponentKey(officeVersion, dictionary ? row->lexiconComponent : row->engineComponent, key)) return false;
  UniqueHKey component;
  if (RegOpenKeyView(HKEY_LOCAL_MACHINE, key.c_str(), KEY_READ, component) != ERROR_SUCCESS) return false;
  const std::vector<ProductPrefix> products = BuildLocalizedProductList();
  EnumeratedValue value;
  for (DWORD index = 0;; ++index) {
    const EnumResult read = EnumerateTextValue(component.get(), index, value);
    if (read == EnumResult::kEnd) return false;
    if (read == EnumResult::kSkipped || !IsLocalizedProductValue(value.name, products)) continue;
    if (excluded != nullptr && *excluded != '\0' && FindNoCase(value.data, excluded) != nullptr) continue;
    if (!CopyBounded(buffer, capacity, value.data)) {
      buffer[0] = '\0';
      continue;
    }
    *length = static_cast<DWORD>(std::strlen(buffer));
    return true;
  }
}

bool FindSharedRegistration(int kind, int lcid, int generation, bool dictionary, char* buffer, DWORD capacity,
                            DWORD* length) {
  const char* toolKey = ToolKeyName(kind, generation);
  if (toolKey == nullptr) return false;
  DWORD size = capacity < kSharedValueCapacity ? capacity : kSharedValueCapacity;
  if (!GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, toolKey, lcid, "Normal",
                                  dictionary ? "Dictionary" : "Engine", buffer, &size)) {
    return false;
  }
  *length = static_cast<DWORD>(strnlen(buffer, capacity));
  return true;
}

}  // namespace

std::uint32_t GetOriginalDictOrEngineModule(int kind, int lcid, char* buffer, DWORD* length, int which,
                                            int generation, const char* excluded) {
  if (buffer == nullptr || length == nullptr || *length == 0) return 0;
  const DWORD capacity = *length;
  const bool dictionary = which == 1;
  // With the product of version 6 only Office 2000's places are searched.
  bool found = false;
  for (int version = GetKvilVersion() == 6 ? 9 : 15; !found && version >= 9; --version) {
    *length = 0;
    buffer[0] = '\0';
    switch (version) {
      case 15:
        found = FindOffice15Module(lcid, dictionary, buffer, capacity, length);
        break;
      case 14:
      case 12:
        found = FindPublishedModule(version, lcid, dictionary, buffer, capacity, length);
        break;
      default:
        found = FindComponentModule(kind, lcid, version, dictionary, excluded, buffer, capacity, length);
        break;
    }
  }
  if (found) return static_cast<std::uint32_t>(lcid);
  *length = 0;
  buffer[0] = '\0';
  return FindSharedRegistration(kind, lcid, generation, dictionary, buffer, capacity, length)
             ? static_cast<std::uint32_t>(lcid)
             : 0;
}

void GetEngNLSModules(int, char* buffer, DWORD* length, int which) {
  if (buffer == nullptr || length == nullptr || *length == 0) return;
  const DWORD capacity = *length;
  *length = 0;
  buffer[0] = '\0';
  // The English files are asked for whatever the language.
  if (which == 1) {
    ProvideQualifiedComponent("{EDFEF10A-28C8-49B2-8085-A22C9179ACBB}", "ProofLexFile\\1033", buffer, capacity, length);
  } else {
    ProvideQualifiedComponent("{17761A9E-FA8B-447C-9DDB-7B2BBBCB511A}", "ProofDataFile\\1033", buffer, capacity,
                              length);
  }
}

}  // namespace kvil

namespace {

// The exports take the length as a fixed-width integer; the Installer's calls
// below them want a DWORD.
template <typename Lookup>
std::uint32_t WithDwordLength(std::uint32_t* length, Lookup&& lookup) {
  DWORD dwordLength = length == nullptr ? 0 : *length;
  const std::uint32_t result = lookup(length == nullptr ? nullptr : &dwordLength);
  if (length != nullptr) *length = dwordLength;
  return result;
}

}  // namespace

extern "C" std::uint32_t GetOriginalDictOrEngineModule(std::int32_t kind, std::int32_t lcid, char* buffer,
                                                       std::uint32_t* length, std::int32_t which,
                                                       std::int32_t generation, const char* excluded) {
  return kvil::GuardExport(0, [&] {
    return WithDwordLength(length, [&](DWORD* dwordLength) {
      return kvil::GetOriginalDictOrEngineModule(kind, lcid, buffer, dwordLength, which, generation, excluded);
    });
  });
}

extern "C" std::uint32_t GetEngNLSModules(std::int32_t lcid, char* buffer, std::uint32_t* length,
                                          std::int32_t which) {
  return kvil::GuardExport(0, [&] {
    return WithDwordLength(length, [&](DWORD* dwordLength) {
      kvil::GetEngNLSModules(lcid, buffer, dwordLength, which);
      return std::uint32_t{0};
    });
  });
}

#include "contract.h"

#include <algorithm>
#include <cstring>

namespace kvil {

int g_setKvilVersion = 0;

namespace {

// The fifth word is reached only through the hyphenator of generation 2.
constexpr const char* kToolKeyWords[] = {"Spelling", "Grammar", "Thesaurus", "Hyphenate", "Hyphenation"};

struct LanguageRow {
  int lcid;
  const char* code;
};
constexpr LanguageRow kLanguages[] = {
    {1049, "RU"}, {1058, "UR"}, {1033, "EN"}, {2057, "EN"}, {3081, "EN"}, {1031, "DE"},
    {1034, "SP"}, {1036, "FR"}, {1040, "IT"}, {1046, "BR"}, {2070, "PT"},
};

}  // namespace

const char* ToolKeyName(int kind, int generation) {
  if (!IsToolKind(kind)) return nullptr;
  if (kind == kHyphenator && generation == kSharedTree) return kToolKeyWords[4];
  return kToolKeyWords[kind];
}

const char* LanguageCode(int lcid) {
  for (const LanguageRow& row : kLanguages) {
    if (row.lcid == lcid) return row.code;
  }
  return "";
}

HostResult FormatInfoList(const char* applicationKey, const char* version, char* buffer, std::int32_t* length) {
  std::size_t keyLength = strnlen(applicationKey, kListItemCapacity);
  std::size_t versionLength = strnlen(version, kListItemCapacity);
  std::size_t listLength = keyLength + versionLength + 3;
  if (buffer == nullptr || length == nullptr) return 1;

  // The list is "%s%c%s%c%c" with NUL characters; a short buffer gets what fits,
  // ending in a NUL as the bounded formatter leaves it.
  std::int32_t capacity = *length;
  if (capacity > 0) {
    char list[2 * kListItemCapacity + 3] = {};
    std::memcpy(list, applicationKey, keyLength);
    std::memcpy(list + keyLength + 1, version, versionLength);
    std::size_t written = std::min(listLength, static_cast<std::size_t>(capacity));
    std::memcpy(buffer, list, written);
    buffer[written - 1] = '\0';
  }
  *length = static_cast<std::int32_t>(listLength);
  return 1;
}

}  // namespace kvil

extern "C" void SetKvilVersion(std::int32_t version) {
  if (version != 0) kvil::g_setKvilVersion = version;
}

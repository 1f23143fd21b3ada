#include "registry_view.h"

#include <string>
#include <type_traits>

#include "product.h"

namespace kvil {

namespace {

// The references a 32-bit program sees other folders behind, and the variable
// naming the 32-bit folder: only where the system has one (not on 32-bit Windows).
struct ThirtyTwoBitReference {
  std::string_view reference;
  std::string_view x86Reference;
  const char* x86Variable;
};
constexpr ThirtyTwoBitReference kThirtyTwoBitReferences[] = {
    {"%ProgramFiles%", "%ProgramFiles(x86)%", "ProgramFiles(x86)"},
    {"%CommonProgramFiles%", "%CommonProgramFiles(x86)%", "CommonProgramFiles(x86)"},
};

template <typename Char>
bool StartsWithNoCase(std::basic_string_view<Char> text, std::string_view ascii) {
  if (text.size() < ascii.size()) return false;
  for (std::size_t i = 0; i < ascii.size(); ++i) {
    const auto unit = static_cast<std::make_unsigned_t<Char>>(text[i]);
    if (unit > 0x7F || AsciiLower(static_cast<char>(unit)) != AsciiLower(ascii[i])) return false;
  }
  return true;
}

DWORD Expand(const char* text, char* out, DWORD capacity) { return ExpandEnvironmentStringsA(text, out, capacity); }
DWORD Expand(const wchar_t* text, wchar_t* out, DWORD capacity) {
  return ExpandEnvironmentStringsW(text, out, capacity);
}

template <typename Char>
DWORD ExpandInView(REGSAM view, const Char* text, Char* out, DWORD capacity) {
  if (view != KEY_WOW64_32KEY) return Expand(text, out, capacity);
  std::basic_string<Char> rewritten;
  const std::basic_string_view<Char> source(text);
  for (std::size_t at = 0; at < source.size();) {
    const ThirtyTwoBitReference* found = nullptr;
    for (const ThirtyTwoBitReference& entry : kThirtyTwoBitReferences) {
      if (StartsWithNoCase(source.substr(at), entry.reference) &&
          GetEnvironmentVariableA(entry.x86Variable, nullptr, 0) != 0) {
        found = &entry;
        break;
      }
    }
    if (found == nullptr) {
      rewritten += source[at++];
      continue;
    }
    rewritten.append(found->x86Reference.begin(), found->x86Reference.end());
    at += found->reference.size();
  }
  return Expand(rewritten.c_str(), out, capacity);
}

}  // namespace

REGSAM RegistryView() { return IsRegistry64() ? KEY_WOW64_64KEY : KEY_WOW64_32KEY; }

REGSAM RegistryViewOf(HKEY root, std::string_view path) {
  return IsInstallerKey(root, path) ? kInstallerView : RegistryView();
}

DWORD ExpandEnvironmentInView(REGSAM view, const char* text, char* out, DWORD capacity) {
  return ExpandInView(view, text, out, capacity);
}

DWORD ExpandEnvironmentInView(REGSAM view, const wchar_t* text, wchar_t* out, DWORD capacity) {
  return ExpandInView(view, text, out, capacity);
}

}  // namespace kvil

#include "key_location.h"

#include <vector>

#include "handles.h"
#include "host_suffixes.h"

namespace kvilhosts {
namespace {

// The registry's own name of a key, "\REGISTRY\Machine\Software\Wow6432Node\...",
// as NtQueryKey gives it (KeyNameInformation): the name of the key the handle
// was opened on after every view node and link was followed.
std::optional<std::string> RealKeyName(HKEY key) {
  using QueryKey = LONG(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);
  static const auto query = reinterpret_cast<QueryKey>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQueryKey"));
  constexpr int kKeyNameInformation = 3;
  constexpr LONG kBufferTooSmall = static_cast<LONG>(0xC0000023);
  constexpr LONG kBufferOverflow = static_cast<LONG>(0x80000005);
  if (query == nullptr) return std::nullopt;
  // ULONGs keep the name's length field aligned; a key name is at most 32767
  // characters, so the second attempt always fits.
  std::vector<ULONG> buffer(128);
  for (int attempt = 0; attempt < 2; ++attempt) {
    ULONG needed = 0;
    const ULONG bytes = static_cast<ULONG>(buffer.size() * sizeof(ULONG));
    const LONG status = query(key, kKeyNameInformation, buffer.data(), bytes, &needed);
    if (status == kBufferTooSmall || status == kBufferOverflow) {
      buffer.resize(needed / sizeof(ULONG) + 1);
      continue;
    }
    if (status != 0) return std::nullopt;
    const ULONG nameBytes = buffer[0];
    if (nameBytes > bytes - sizeof(ULONG)) return std::nullopt;
    const auto* name = reinterpret_cast<const wchar_t*>(buffer.data() + 1);
    const int units = static_cast<int>(nameBytes / sizeof(wchar_t));
    const int size = WideCharToMultiByte(CP_ACP, 0, name, units, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size > 0 ? size : 0), '\0');
    if (size > 0) WideCharToMultiByte(CP_ACP, 0, name, units, narrow.data(), size, nullptr, nullptr);
    return narrow;
  }
  return std::nullopt;
}

// A predefined root's own key: the pseudo handle has no name, and opening an
// empty path only gives it back, while creating one gives a handle of the key
// the root stands for in this process (its redirection included).
std::optional<std::string> RealRootName(HKEY root) {
  kvil::UniqueHKey opened;
  if (RegCreateKeyExA(root, "", 0, nullptr, 0, MAXIMUM_ALLOWED, nullptr, opened.put(), nullptr) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return RealKeyName(opened.get());
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// The part of name below the key named parent; empty when name is not at or below it.
std::optional<std::string_view> Below(std::string_view name, std::string_view parent) {
  if (!StartsWithIgnoringCase(name, parent)) return std::nullopt;
  name.remove_prefix(parent.size());
  if (name.empty()) return name;
  if (name.front() != '\\') return std::nullopt;
  return name.substr(1);
}

std::vector<std::string_view> Components(std::string_view path) {
  std::vector<std::string_view> components;
  while (!path.empty()) {
    const std::size_t slash = path.find('\\');
    if (slash != 0) components.push_back(path.substr(0, slash));
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return components;
}

// The named path with the view node inserted where the real one has it;
// empty when the two differ in anything else.
std::optional<std::string> WithViewNode(std::string_view named, std::string_view real) {
  const std::vector<std::string_view> names = Components(named);
  std::string merged;
  std::size_t next = 0;
  for (const std::string_view component : Components(real)) {
    std::string_view shown;
    if (next < names.size() && EqualsIgnoringCase(names[next], component)) {
      shown = names[next++];
    } else if (EqualsIgnoringCase(component, kThirtyTwoBitNode)) {
      shown = kThirtyTwoBitNode;
    } else {
      return std::nullopt;
    }
    if (!merged.empty()) merged += '\\';
    merged += shown;
  }
  if (next != names.size()) return std::nullopt;
  return merged;
}

// A key the registry names, under the root regedit shows it in.
std::optional<RegeditKey> AsRegeditShowsIt(std::string_view name) {
  struct Hive {
    std::string_view name;
    HKEY root;
  };
  const Hive kHives[] = {{"\\REGISTRY\\Machine", HKEY_LOCAL_MACHINE}, {"\\REGISTRY\\User", HKEY_USERS}};
  for (const Hive& hive : kHives) {
    if (const std::optional<std::string_view> below = Below(name, hive.name)) {
      return RegeditKey{hive.root, std::string(*below)};
    }
  }
  return std::nullopt;
}

}  // namespace

std::string_view PredefinedRootName(HKEY key) {
  if (key == HKEY_LOCAL_MACHINE) return "HKLM";
  if (key == HKEY_CURRENT_USER) return "HKCU";
  if (key == HKEY_CLASSES_ROOT) return "HKCR";
  if (key == HKEY_USERS) return "HKU";
  if (key == HKEY_CURRENT_CONFIG) return "HKCC";
  return {};
}

std::string RegeditKey::Text() const {
  std::string text(PredefinedRootName(root));
  if (!path.empty()) text += "\\" + path;
  return text;
}

std::optional<RegeditKey> LocateKey(HKEY handle, HKEY root, std::string_view path) {
  const std::optional<std::string> real = RealKeyName(handle);
  if (!real) return std::nullopt;
  if (!PredefinedRootName(root).empty()) {
    if (const std::optional<std::string> rootName = RealRootName(root)) {
      if (const std::optional<std::string_view> below = Below(*real, *rootName)) {
        if (std::optional<std::string> merged = WithViewNode(path, *below)) {
          return RegeditKey{root, std::move(*merged)};
        }
      }
    }
  }
  return AsRegeditShowsIt(*real);
}

}  // namespace kvilhosts

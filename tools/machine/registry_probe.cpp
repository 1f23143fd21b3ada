#include "registry_probe.h"

#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "handles.h"
#include "registry_view.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

REGSAM programs_view = KEY_WOW64_32KEY;

// Longest names the registry allows, plus the terminator.
constexpr DWORD kMaxKeyNameLength = 255 + 1;
constexpr DWORD kMaxValueNameLength = 16383 + 1;

std::string RootName(HKEY root) {
  if (root == HKEY_LOCAL_MACHINE) return "HKLM";
  if (root == HKEY_CURRENT_USER) return "HKCU";
  if (root == HKEY_CLASSES_ROOT) return "HKCR";
  if (root == HKEY_USERS) return "HKU";
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "HKEY(%p)", static_cast<void*>(root));
  return text.data();
}

std::string Describe(HKEY root, const std::string& path) { return RootName(root) + "\\" + path; }

std::string Describe(HKEY root, const std::string& path, const std::string& name) {
  return Describe(root, path) + " value \"" + name + "\"";
}

kvil::UniqueHKey OpenForReading(HKEY root, const std::string& path, REGSAM access) {
  kvil::UniqueHKey key;
  const kvil::KeyInView placed = kvil::PlaceInView(root, path, SeedingView(root, path));
  if (RegOpenKeyExA(root, placed.path.c_str(), 0, access | placed.flag, key.put()) != ERROR_SUCCESS) {
    key.reset();
  }
  return key;
}

void SetValue(HKEY root, const std::string& path, const std::string& name, DWORD type, const BYTE* data,
              std::size_t size) {
  const kvil::UniqueHKey key = CreateKeyForWriting(root, path);
  const LONG status = RegSetValueExA(key.get(), name.c_str(), 0, type, data, static_cast<DWORD>(size));
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot write " + Describe(root, path, name), status);
}

}  // namespace

ProgramsView::ProgramsView(REGSAM view) : previous_(std::exchange(programs_view, view)) {}

ProgramsView::~ProgramsView() { programs_view = previous_; }

REGSAM SeedingView(HKEY root, const std::string& path) {
  return kvil::IsInstallerKey(root, path) ? kvil::kInstallerView : programs_view;
}

kvil::UniqueHKey CreateKeyForWriting(HKEY root, const std::string& path) {
  kvil::UniqueHKey key;
  const kvil::KeyInView placed = kvil::PlaceInView(root, path, SeedingView(root, path));
  const LONG status = RegCreateKeyExA(root, placed.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                      KEY_SET_VALUE | KEY_QUERY_VALUE | placed.flag, nullptr, key.put(), nullptr);
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot create " + Describe(root, path), status);
  return key;
}

std::optional<RegValue> ReadValue(HKEY root, const std::string& path, const std::string& name) {
  const kvil::UniqueHKey key = OpenForReading(root, path, KEY_QUERY_VALUE);
  if (!key) return std::nullopt;
  RegValue value;
  DWORD size = 0;
  LONG status = RegQueryValueExA(key.get(), name.c_str(), nullptr, &value.type, nullptr, &size);
  // The value may grow between the size query and the read; ask again until it fits.
  while (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
    value.bytes.resize(size);
    status = RegQueryValueExA(key.get(), name.c_str(), nullptr, &value.type, value.bytes.data(), &size);
    if (status == ERROR_SUCCESS) {
      value.bytes.resize(size);
      return value;
    }
  }
  return std::nullopt;
}

std::optional<DWORD> ReadDword(HKEY root, const std::string& path, const std::string& name) {
  const std::optional<RegValue> value = ReadValue(root, path, name);
  if (!value || value->type != REG_DWORD || value->bytes.size() != sizeof(DWORD)) return std::nullopt;
  return static_cast<DWORD>(value->bytes[0]) | static_cast<DWORD>(value->bytes[1]) << 8 |
         static_cast<DWORD>(value->bytes[2]) << 16 | static_cast<DWORD>(value->bytes[3]) << 24;
}

std::optional<std::string> ReadText(HKEY root, const std::string& path, const std::string& name) {
  const std::optional<RegValue> value = ReadValue(root, path, name);
  if (!value || (value->type != REG_SZ && value->type != REG_EXPAND_SZ)) return std::nullopt;
  std::string text(value->bytes.begin(), value->bytes.end());
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

bool KeyExists(HKEY root, const std::string& path) {
  return static_cast<bool>(OpenForReading(root, path, KEY_QUERY_VALUE));
}

std::vector<std::string> SubkeyNames(HKEY root, const std::string& path) {
  std::vector<std::string> names;
  const kvil::UniqueHKey key = OpenForReading(root, path, KEY_ENUMERATE_SUB_KEYS);
  if (!key) return names;
  std::array<char, kMaxKeyNameLength> name{};
  for (DWORD index = 0;; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    const LONG status = RegEnumKeyExA(key.get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) ThrowWin32Error("cannot enumerate the subkeys of " + Describe(root, path), status);
    names.emplace_back(name.data(), length);
  }
  return names;
}

std::vector<std::string> ValueNames(HKEY root, const std::string& path) {
  std::vector<std::string> names;
  const kvil::UniqueHKey key = OpenForReading(root, path, KEY_QUERY_VALUE);
  if (!key) return names;
  std::vector<char> name(kMaxValueNameLength);
  for (DWORD index = 0;; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    const LONG status = RegEnumValueA(key.get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) ThrowWin32Error("cannot enumerate the values of " + Describe(root, path), status);
    names.emplace_back(name.data(), length);
  }
  return names;
}

std::map<std::string, std::string> DescribeValues(HKEY root, const std::string& path) {
  std::map<std::string, std::string> described;
  for (const std::string& name : ValueNames(root, path)) {
    if (const std::optional<DWORD> number = ReadDword(root, path, name)) {
      described[name] = std::to_string(*number);
    } else if (const std::optional<std::string> text = ReadText(root, path, name)) {
      described[name] = "sz:" + *text;
    } else if (const std::optional<RegValue> other = ReadValue(root, path, name)) {
      described[name] = "type " + std::to_string(other->type) + ":" + std::string(other->bytes.begin(), other->bytes.end());
    }
  }
  return described;
}

namespace {
void DescribeTreeInto(HKEY root, const std::string& path, const std::string& relative,
                      std::map<std::string, std::string>& tree) {
  tree[relative] = "key";
  for (const auto& [name, value] : DescribeValues(root, path)) tree[relative + ":" + name] = value;
  for (const std::string& subkey : SubkeyNames(root, path)) {
    DescribeTreeInto(root, path + "\\" + subkey, relative.empty() ? subkey : relative + "\\" + subkey, tree);
  }
}
}  // namespace

std::map<std::string, std::string> DescribeTree(HKEY root, const std::string& path) {
  std::map<std::string, std::string> tree;
  if (KeyExists(root, path)) DescribeTreeInto(root, path, "", tree);
  return tree;
}

std::map<std::string, std::string> Added(const std::map<std::string, std::string>& before,
                                         const std::map<std::string, std::string>& after) {
  std::map<std::string, std::string> added;
  for (const auto& [name, value] : after) {
    auto found = before.find(name);
    if (found == before.end() || found->second != value) added[name] = value;
  }
  return added;
}

void CreateKey(HKEY root, const std::string& path) { CreateKeyForWriting(root, path); }

void WriteText(HKEY root, const std::string& path, const std::string& name, const std::string& text, DWORD type) {
  SetValue(root, path, name, type, reinterpret_cast<const BYTE*>(text.c_str()), text.size() + 1);
}

void WriteDword(HKEY root, const std::string& path, const std::string& name, DWORD value) {
  SetValue(root, path, name, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

void WriteRaw(HKEY root, const std::string& path, const std::string& name, DWORD type,
              const std::vector<std::uint8_t>& bytes) {
  // RegSetValueExA counts one more byte for a string whose last counted byte is
  // not NUL but the byte after it is, quietly storing a terminator the caller
  // left out. A non-NUL byte past the end keeps the value exactly as given.
  std::vector<std::uint8_t> guarded = bytes;
  guarded.push_back(0xFF);
  SetValue(root, path, name, type, guarded.data(), bytes.size());
}

void PrintTo(const RegValue& value, std::ostream* out) {
  *out << "type " << value.type << " [";
  for (std::uint8_t byte : value.bytes) {
    if (byte >= 0x20 && byte < 0x7f) {
      *out << static_cast<char>(byte);
    } else {
      *out << "\\x" << "0123456789abcdef"[byte >> 4] << "0123456789abcdef"[byte & 15];
    }
  }
  *out << "] (" << value.bytes.size() << " bytes)";
}

RegValue SzValue(const std::string& text, bool withTerminator) {
  RegValue value{REG_SZ, std::vector<std::uint8_t>(text.begin(), text.end())};
  if (withTerminator) value.bytes.push_back(0);
  return value;
}

RegValue DwordValue(DWORD value) {
  return RegValue{REG_DWORD,
                  {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                   static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)}};
}

}  // namespace kvil::machine

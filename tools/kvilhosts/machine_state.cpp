#include "machine_state.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include "host_suffixes.h"
#include "handles.h"
#include "registry_view.h"

namespace kvilhosts {
namespace {

// Larger values, longer INI entries and deeper folders than these are not
// anything the library writes; they are read up to the bound.
constexpr DWORD kLargestValue = 1 << 20;
constexpr DWORD kIniEntryCapacity = 4096;
constexpr int kDeepestFolder = 16;
constexpr int kDeepestKey = 32;
constexpr std::size_t kReadChunk = 64 * 1024;

// GetPrivateProfileString hands back its default for a missing entry; no entry
// can hold a line break, so this default tells "missing" from "empty".
constexpr char kMissingEntry[] = "\n";

constexpr std::uint64_t kDigestSeed = 14695981039346656037ull;
std::uint64_t AddToDigest(std::uint64_t digest, const void* bytes, std::size_t size) {
  const auto* data = static_cast<const unsigned char*>(bytes);
  for (std::size_t i = 0; i < size; ++i) {
    digest ^= data[i];
    digest *= 1099511628211ull;
  }
  return digest;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20) {
      std::array<char, 5> escape{};
      std::snprintf(escape.data(), escape.size(), "\\x%02X", code);
      quoted += escape.data();
    } else {
      quoted += c;
    }
  }
  quoted += '"';
  return quoted;
}

std::string Counted(std::uint64_t count, std::string_view unit) {
  return std::to_string(count) + " " + std::string(unit) + (count == 1 ? "" : "s");
}

std::string Hex(const std::vector<BYTE>& bytes) {
  std::string hex = "hex:";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::array<char, 4> pair{};
    std::snprintf(pair.data(), pair.size(), i == 0 ? "%02x" : ",%02x", bytes[i]);
    hex += pair.data();
  }
  return hex;
}

std::string JoinPath(const std::string& folder, std::string_view name) {
  std::string path = folder;
  if (!path.empty() && path.back() != '\\') path += '\\';
  path += name;
  return path;
}

FileState ReadSingleFile(const std::string& path) {
  FileState state;
  state.kind = FileState::Kind::kFile;
  state.digest = kDigestSeed;
  // Shared every way, so that reading never stands in the way of the library.
  kvil::UniqueFile file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return state;
  std::vector<char> chunk(kReadChunk);
  DWORD read = 0;
  while (ReadFile(file.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr) && read > 0) {
    state.size += read;
    state.digest = AddToDigest(state.digest, chunk.data(), read);
  }
  return state;
}

FileState ReadFolder(const std::string& path, int depth) {
  FileState state;
  state.kind = FileState::Kind::kFolder;
  state.digest = kDigestSeed;
  if (depth > kDeepestFolder) return state;
  std::vector<std::pair<std::string, bool>> entries;  // name, is a folder
  WIN32_FIND_DATAA found{};
  kvil::UniqueFind find(FindFirstFileA(JoinPath(path, "*").c_str(), &found));
  if (find) {
    do {
      const std::string_view name(found.cFileName);
      if (name == "." || name == "..") continue;
      entries.emplace_back(std::string(name), (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
    } while (FindNextFileA(find.get(), &found));
  }
  // The file system's order is its own; names decide the digest's.
  std::sort(entries.begin(), entries.end());
  for (const auto& [name, isFolder] : entries) {
    const std::string child = JoinPath(path, name);
    const FileState inner = isFolder ? ReadFolder(child, depth + 1) : ReadSingleFile(child);
    state.size += isFolder ? inner.size : 1;
    const std::string lower = AsciiLowered(name);
    state.digest = AddToDigest(state.digest, lower.c_str(), lower.size() + 1);
    state.digest = AddToDigest(state.digest, &inner.kind, sizeof inner.kind);
    state.digest = AddToDigest(state.digest, &inner.size, sizeof inner.size);
    state.digest = AddToDigest(state.digest, &inner.digest, sizeof inner.digest);
  }
  return state;
}

// The key is opened as the library opens it: HKEY_CLASSES_ROOT's view spelt into
// its path, so that it stays the root this process has.
bool OpenPlace(const KeyPlace& key, REGSAM access, kvil::UniqueHKey& opened) {
  if (key.root == nullptr) return false;
  const kvil::KeyInView placed = kvil::PlaceInView(key.root, key.path, key.view);
  return RegOpenKeyExA(key.root, placed.path.c_str(), 0, access | placed.flag, opened.put()) == ERROR_SUCCESS;
}

}  // namespace

std::string RegistryTypeName(DWORD type) {
  switch (type) {
    case REG_NONE: return "REG_NONE";
    case REG_SZ: return "REG_SZ";
    case REG_EXPAND_SZ: return "REG_EXPAND_SZ";
    case REG_BINARY: return "REG_BINARY";
    case REG_DWORD: return "REG_DWORD";
    case REG_DWORD_BIG_ENDIAN: return "REG_DWORD_BIG_ENDIAN";
    case REG_LINK: return "REG_LINK";
    case REG_MULTI_SZ: return "REG_MULTI_SZ";
    case REG_QWORD: return "REG_QWORD";
    default: return "type " + std::to_string(type);
  }
}

std::string StringText(const RegistryData& data) {
  std::string text(data.bytes.begin(), data.bytes.end());
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

std::vector<std::string> MultiStringEntries(const RegistryData& data) {
  std::vector<std::string> entries;
  std::string current;
  for (const BYTE byte : data.bytes) {
    if (byte == 0) {
      entries.push_back(std::move(current));
      current.clear();
    } else {
      current += static_cast<char>(byte);
    }
  }
  // An entry may be stored without its terminator; it still counts.
  if (!current.empty()) entries.push_back(std::move(current));
  while (!entries.empty() && entries.back().empty()) entries.pop_back();
  return entries;
}

std::string DescribeData(const RegistryData& data) {
  switch (data.type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
      return Quoted(StringText(data));
    case REG_DWORD:
      if (data.bytes.size() == sizeof(DWORD)) {
        DWORD number = 0;
        std::memcpy(&number, data.bytes.data(), sizeof number);
        return std::to_string(number);
      }
      break;
    case REG_QWORD:
      if (data.bytes.size() == sizeof(std::uint64_t)) {
        std::uint64_t number = 0;
        std::memcpy(&number, data.bytes.data(), sizeof number);
        return std::to_string(number);
      }
      break;
    case REG_MULTI_SZ: {
      std::string list = "[";
      for (const std::string& entry : MultiStringEntries(data)) {
        if (list.size() > 1) list += ", ";
        list += Quoted(entry);
      }
      return list + "]";
    }
    default:
      break;
  }
  return Hex(data.bytes);
}

std::string DescribeValue(const ValueState& state) {
  if (!state) return "(none)";
  return RegistryTypeName(state->type) + " " + DescribeData(*state);
}

std::string KeyPlace::Text() const {
  std::string text(root != nullptr ? PredefinedRootName(root) : "(unknown key)");
  if (!path.empty()) text += "\\" + path;
  return text;
}

KeyPlace KeyPlace::Child(std::string_view subkey) const {
  while (!subkey.empty() && subkey.front() == '\\') subkey.remove_prefix(1);
  while (!subkey.empty() && subkey.back() == '\\') subkey.remove_suffix(1);
  KeyPlace child = *this;
  if (!subkey.empty()) {
    if (!child.path.empty()) child.path += '\\';
    child.path += subkey;
  }
  return child;
}

KeyPlace KeyPlace::Ancestor(int levels) const {
  KeyPlace ancestor = *this;
  for (int level = 0; level < levels; ++level) {
    const std::size_t slash = ancestor.path.rfind('\\');
    ancestor.path.resize(slash == std::string::npos ? 0 : slash);
  }
  return ancestor;
}

KeyPlace Located(HKEY handle, const KeyPlace& named) {
  std::optional<RegeditKey> located = LocateKey(handle, named.root, named.path);
  if (!located) return named;
  return KeyPlace{located->root, std::move(located->path), KEY_WOW64_64KEY};
}

ValueState ReadValueState(const KeyPlace& key, const std::string& valueName) {
  kvil::UniqueHKey opened;
  if (!OpenPlace(key, KEY_QUERY_VALUE, opened)) return std::nullopt;
  RegistryData data;
  DWORD size = 0;
  if (RegQueryValueExA(opened.get(), valueName.c_str(), nullptr, &data.type, nullptr, &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  // The value may grow between the two calls; ask again with the new size.
  for (int attempt = 0; attempt < 4; ++attempt) {
    data.bytes.resize(std::min(size, kLargestValue));
    size = static_cast<DWORD>(data.bytes.size());
    const LONG status =
        RegQueryValueExA(opened.get(), valueName.c_str(), nullptr, &data.type, data.bytes.data(), &size);
    if (status == ERROR_SUCCESS) {
      data.bytes.resize(size);
      return data;
    }
    if (status != ERROR_MORE_DATA || size > kLargestValue) return std::nullopt;
  }
  return std::nullopt;
}

FileState ReadFileState(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return {};
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ReadFolder(path, 0);
  return ReadSingleFile(path);
}

std::string DescribeFileState(const FileState& state) {
  switch (state.kind) {
    case FileState::Kind::kAbsent: return "(none)";
    case FileState::Kind::kFile: return "file of " + Counted(state.size, "byte");
    case FileState::Kind::kFolder: return "folder of " + Counted(state.size, "file");
  }
  return "?";
}

std::string IniPlace::FileText() const { return file.empty() ? "win.ini" : file; }

IniState ReadIniState(const IniPlace& place) {
  std::vector<char> text(kIniEntryCapacity);
  const DWORD capacity = static_cast<DWORD>(text.size());
  const DWORD length =
      place.file.empty()
          ? GetProfileStringA(place.section.c_str(), place.entry.c_str(), kMissingEntry, text.data(), capacity)
          : GetPrivateProfileStringA(place.section.c_str(), place.entry.c_str(), kMissingEntry, text.data(), capacity,
                                     place.file.c_str());
  const std::string value(text.data(), std::min<std::size_t>(length, text.size()));
  if (value == kMissingEntry) return std::nullopt;
  return value;
}

std::string DescribeIni(const IniState& state) { return state ? Quoted(*state) : "(none)"; }

std::string QuotedValueName(std::string_view name) { return name.empty() ? "(default)" : Quoted(name); }

std::string Difference::ItemText() const {
  switch (subject) {
    case Subject::kValue: return where + " " + QuotedValueName(name);
    case Subject::kFile: return where;
    case Subject::kIniEntry: return where + " " + name;
  }
  return where;
}

bool TouchedItems::FirstTouch(char kind, std::initializer_list<std::string_view> names) {
  // Registry and file names are compared without regard to case, as Windows does.
  std::string identity(1, kind);
  for (const std::string_view name : names) {
    identity += '\n';
    identity += AsciiLowered(name);
  }
  return identities_.insert(std::move(identity)).second;
}

void TouchedItems::Value(const KeyPlace& key, const std::string& valueName) {
  if (!FirstTouch('v', {key.Text(), valueName})) return;
  order_.emplace_back(Order::kValue, values_.size());
  values_.push_back({key, valueName, ReadValueState(key, valueName)});
}

void TouchedItems::ValuesOfKey(const KeyPlace& key, bool withSubkeys) { ValuesOfKey(key, withSubkeys, 0); }

void TouchedItems::ValuesOfKey(const KeyPlace& key, bool withSubkeys, int depth) {
  if (depth > kDeepestKey) return;
  kvil::UniqueHKey opened;
  if (!OpenPlace(key, KEY_READ, opened)) return;
  // Value and key names are at most 16383 characters.
  std::vector<char> name(16384);
  for (DWORD index = 0;; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    if (RegEnumValueA(opened.get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    Value(key, std::string(name.data(), length));
  }
  if (!withSubkeys) return;
  for (DWORD index = 0;; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    if (RegEnumKeyExA(opened.get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    ValuesOfKey(key.Child(std::string_view(name.data(), length)), true, depth + 1);
  }
}

void TouchedItems::File(const std::string& path) {
  if (path.empty() || !FirstTouch('f', {path})) return;
  order_.emplace_back(Order::kFile, files_.size());
  files_.push_back({path, ReadFileState(path)});
}

void TouchedItems::IniEntry(const IniPlace& place) {
  if (!FirstTouch('i', {place.FileText(), place.section, place.entry})) return;
  order_.emplace_back(Order::kIni, iniEntries_.size());
  iniEntries_.push_back({place, ReadIniState(place)});
}

std::vector<Difference> TouchedItems::DifferencesNow() const {
  std::vector<Difference> differences;
  for (const auto& [kind, index] : order_) {
    Difference difference;
    if (kind == Order::kValue) {
      const TouchedValue& value = values_[index];
      const ValueState now = ReadValueState(value.key, value.name);
      if (now == value.before) continue;
      difference = {Difference::Subject::kValue, value.key.Text(), value.name, DescribeValue(value.before),
                    DescribeValue(now)};
    } else if (kind == Order::kFile) {
      const TouchedFile& file = files_[index];
      const FileState now = ReadFileState(file.path);
      if (now == file.before) continue;
      std::string after = DescribeFileState(now);
      // Same size, other bytes: say so, or the line would read as no change.
      if (now.kind == file.before.kind && now.size == file.before.size) after += ", other content";
      difference = {Difference::Subject::kFile, file.path, "", DescribeFileState(file.before), after};
    } else {
      const TouchedIni& ini = iniEntries_[index];
      const IniState now = ReadIniState(ini.place);
      if (now == ini.before) continue;
      difference = {Difference::Subject::kIniEntry, ini.place.FileText(),
                    "[" + ini.place.section + "] " + Quoted(ini.place.entry), DescribeIni(ini.before),
                    DescribeIni(now)};
    }
    differences.push_back(std::move(difference));
  }
  return differences;
}

}  // namespace kvilhosts

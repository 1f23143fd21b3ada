#include "damage.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string_view>

#include "frontpage_fixture.h"
#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvilfuzz {
namespace {

using kvil::machine::RegValue;

// The longest key name and value name the registry allows, with a terminator.
constexpr DWORD kKeyNameCapacity = 256;
constexpr DWORD kValueNameCapacity = 16384;
constexpr std::size_t kLongValueBytes = 64 * 1024;

// Keys the system's shell writes into the redirected hives while the seeder
// makes its shortcuts: the library reaches them only through the shell, and
// damage there makes Wine build user profiles outside the machine's folder.
constexpr std::string_view kShellKeys[] = {
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
    "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList",
};

bool IsShellKey(std::string_view path) {
  for (const std::string_view shell : kShellKeys) {
    if (path.size() == shell.size() &&
        std::equal(path.begin(), path.end(), shell.begin(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
        })) {
      return true;
    }
  }
  return false;
}

// Collects the values and subkeys of key; true when it holds anything of the
// seeder's, so that a key holding nothing but the shell's is left out too.
bool CollectKeys(HKEY key, Hive hive, const std::string& path, DamageTargets& targets) {
  if (IsShellKey(path)) return false;
  std::vector<std::string> valueNames;
  std::string name(kValueNameCapacity, '\0');
  for (DWORD index = 0;; ++index) {
    DWORD length = kValueNameCapacity;
    if (RegEnumValueA(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    valueNames.emplace_back(name.data(), length);
  }
  std::sort(valueNames.begin(), valueNames.end());
  for (std::string& value : valueNames) targets.values.push_back({hive, path, std::move(value)});

  std::vector<std::string> subkeys;
  for (DWORD index = 0;; ++index) {
    std::array<char, kKeyNameCapacity> subkey{};
    DWORD length = kKeyNameCapacity;
    if (RegEnumKeyExA(key, index, subkey.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    subkeys.emplace_back(subkey.data(), length);
  }
  std::sort(subkeys.begin(), subkeys.end());
  bool seeded = !valueNames.empty() || subkeys.empty();
  for (const std::string& subkey : subkeys) {
    const std::string subpath = path.empty() ? subkey : path + "\\" + subkey;
    kvil::UniqueHKey child;
    if (RegOpenKeyExA(key, subkey.c_str(), 0, KEY_READ, child.put()) != ERROR_SUCCESS) continue;
    const std::size_t at = targets.keys.size();
    if (CollectKeys(child.get(), hive, subpath, targets)) {
      targets.keys.insert(targets.keys.begin() + static_cast<std::ptrdiff_t>(at), {hive, subpath});
      seeded = true;
    }
  }
  return seeded;
}

void CollectFiles(const std::string& folder, const std::string& relative, std::vector<std::string>& files) {
  WIN32_FIND_DATAA found{};
  const std::string pattern = folder + (relative.empty() ? "" : "\\" + relative) + "\\*";
  kvil::UniqueFind find(FindFirstFileA(pattern.c_str(), &found));
  if (!find) return;
  std::vector<std::pair<std::string, bool>> entries;
  do {
    const std::string_view name = found.cFileName;
    if (name == "." || name == "..") continue;
    entries.emplace_back(name, (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
  } while (FindNextFileA(find.get(), &found));
  std::sort(entries.begin(), entries.end());
  for (const auto& [name, isFolder] : entries) {
    const std::string inside = relative.empty() ? name : relative + "\\" + name;
    if (isFolder) {
      CollectFiles(folder, inside, files);
    } else {
      files.push_back(inside);
    }
  }
}

std::string Describe(const ValueTarget& target) {
  return std::string(HiveName(target.hive)) + "\\" + target.key + " \"" + target.name + "\"";
}

bool IsTextType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

std::string TypeName(DWORD type) {
  switch (type) {
    case REG_NONE:
      return "REG_NONE";
    case REG_SZ:
      return "REG_SZ";
    case REG_EXPAND_SZ:
      return "REG_EXPAND_SZ";
    case REG_BINARY:
      return "REG_BINARY";
    case REG_DWORD:
      return "REG_DWORD";
    case REG_MULTI_SZ:
      return "REG_MULTI_SZ";
    case REG_QWORD:
      return "REG_QWORD";
    default:
      return "type " + std::to_string(type);
  }
}

// The text of string data, without the NULs that end it.
std::string TextOf(const RegValue& value) {
  std::string text(value.bytes.begin(), value.bytes.end());
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

std::vector<std::uint8_t> Terminated(std::string_view text) {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.push_back(0);
  return bytes;
}

template <typename T>
const T& Pick(const std::vector<T>& items, std::mt19937_64& rng) {
  return items[std::uniform_int_distribution<std::size_t>(0, items.size() - 1)(rng)];
}

std::size_t Below(std::size_t bound, std::mt19937_64& rng) {
  return bound == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, bound - 1)(rng);
}

// A value as it will be written, and how it differs from the seeded one.
struct NewValue {
  DWORD type;
  std::vector<std::uint8_t> bytes;
  std::string how;
};

NewValue WrongType(const RegValue& value, std::mt19937_64& rng) {
  constexpr DWORD kTypes[] = {REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, REG_QWORD};
  DWORD type = value.type;
  while (type == value.type) type = kTypes[Below(std::size(kTypes), rng)];
  return {type, value.bytes, "its " + std::to_string(value.bytes.size()) + " bytes as " + TypeName(type)};
}

NewValue Unterminated(const RegValue& value) {
  if (IsTextType(value.type)) {
    const std::string text = TextOf(value);
    return {value.type, {text.begin(), text.end()}, "\"" + text + "\" without its terminator"};
  }
  std::vector<std::uint8_t> shorter = value.bytes;
  if (!shorter.empty()) shorter.pop_back();
  return {value.type, shorter, "one byte short (" + std::to_string(shorter.size()) + " bytes)"};
}

// The original text at the start, so that paths still begin where they did, and
// the rest a long file name.
NewValue Long(const RegValue& value, std::mt19937_64& rng) {
  if (IsTextType(value.type)) {
    std::string text = TextOf(value) + "\\";
    const bool terminated = rng() % 2 == 0;
    while (text.size() < kLongValueBytes - (terminated ? 1 : 0)) text += 'K';
    std::vector<std::uint8_t> bytes(text.begin(), text.end());
    if (terminated) bytes.push_back(0);
    return {value.type, bytes, terminated ? "64 KB of text, terminated" : "64 KB of text, unterminated"};
  }
  std::vector<std::uint8_t> bytes = value.bytes;
  while (bytes.size() < kLongValueBytes) bytes.push_back(static_cast<std::uint8_t>(bytes.size()));
  return {value.type, bytes, "64 KB of data"};
}

NewValue UnknownVariables(const RegValue& value, std::mt19937_64& rng) {
  const std::string text = IsTextType(value.type) ? TextOf(value) : std::string();
  std::string expand;
  switch (rng() % 4) {
    case 0:
      expand = "%KVILFUZZ_NO_SUCH_VARIABLE%\\" + text;
      break;
    case 1: {
      const std::size_t middle = Below(text.size() + 1, rng);
      expand = text.substr(0, middle) + "%KvilFuzzUnset%" + text.substr(middle);
      break;
    }
    case 2:
      // Known variables whose expansion runs past any 260-character path.
      for (int i = 0; i < 40; ++i) expand += "%windir%\\";
      expand += text;
      break;
    default:
      expand = "%" + text;
      break;
  }
  return {REG_EXPAND_SZ, Terminated(expand), "REG_EXPAND_SZ \"" + expand + "\""};
}

void ResizeFile(const std::string& path, std::uint64_t size) {
  const kvil::UniqueFile file(
      CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) kvil::machine::ThrowLastError("cannot open " + path + " to cut it");
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(size);
  if (!SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) || !SetEndOfFile(file.get())) {
    kvil::machine::ThrowLastError("cannot cut " + path);
  }
}

// A version block's header: its length, its value's length and its type, then
// its key in UTF-16.
constexpr std::size_t kBlockHeaderBytes = 6;
constexpr std::size_t kVersionKeyBytes = 32;  // "VS_VERSION_INFO" and its NUL

std::uint16_t ReadWord(const std::string& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) |
                                    static_cast<unsigned char>(bytes[at + 1]) << 8);
}

// Either the file ends inside its version resource, or the file stays whole and
// loadable while the version block claims fewer bytes than its strings and
// fixed information need, the rest overwritten with bytes that end no string.
// A file without a version resource is cut anywhere.
std::string TruncateVersionResource(const std::string& path, std::mt19937_64& rng) {
  std::string bytes = kvil::machine::ReadFileBytes(path);
  constexpr char kKey[] = "V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0";
  const std::size_t key = bytes.find(std::string_view(kKey, sizeof kKey - 1));
  const std::string size = std::to_string(bytes.size());
  if (key == std::string::npos || key < kBlockHeaderBytes) {
    const std::size_t cut = Below(bytes.size(), rng);
    ResizeFile(path, cut);
    return "cut to " + std::to_string(cut) + " of " + size + " bytes";
  }
  const std::size_t block = key - kBlockHeaderBytes;
  const std::size_t blockLength = std::min<std::size_t>(ReadWord(bytes, block), bytes.size() - block);
  if (rng() % 2 == 0 || blockLength <= kBlockHeaderBytes + kVersionKeyBytes) {
    const std::size_t cut = key + Below(bytes.size() - key, rng);
    ResizeFile(path, cut);
    return "cut to " + std::to_string(cut) + " of " + size + " bytes, inside its version resource";
  }
  const std::size_t claimed = kBlockHeaderBytes + kVersionKeyBytes +
                              Below(blockLength - kBlockHeaderBytes - kVersionKeyBytes, rng);
  bytes[block] = static_cast<char>(claimed & 0xFF);
  bytes[block + 1] = static_cast<char>(claimed >> 8);
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(block + claimed),
            bytes.begin() + static_cast<std::ptrdiff_t>(block + blockLength), 'K');
  kvil::machine::WriteFile(path, bytes);
  return "version block cut from " + std::to_string(blockLength) + " to " + std::to_string(claimed) +
         " bytes in place, the rest unterminated text";
}

}  // namespace

DamageTargets FindDamageTargets(const RunMachine& machine) {
  DamageTargets targets;
  for (const Hive hive : kHives) CollectKeys(machine.PristineHive(hive), hive, "", targets);
  std::vector<std::string> relative;
  CollectFiles(machine.image().PristineFolder(), "", relative);
  for (const std::string& file : relative) targets.files.push_back(machine.image().MachineFolder() + "\\" + file);
  if (kvil::machine::FileExists(machine.image().SavedFrontPageIni())) {
    targets.files.push_back(kvil::machine::FrontPageIniPath());
  }
  return targets;
}

Damage Damage::Inflict(const DamageTargets& targets, std::mt19937_64& rng) {
  constexpr DamageKind kKinds[] = {
      DamageKind::kValueWrongType,   DamageKind::kValueUnterminated,     DamageKind::kValueEmpty,
      DamageKind::kValueLong,        DamageKind::kValueDeleted,          DamageKind::kValueUnknownVariables,
      DamageKind::kKeyDeleted,       DamageKind::kFileEmpty,             DamageKind::kFileTruncated,
      DamageKind::kFileReplacedByFolder, DamageKind::kFileReadOnly,
  };
  Damage damage;
  const std::size_t count = 1 + Below(4, rng);
  for (std::size_t i = 0; i < count; ++i) damage.Apply(kKinds[Below(std::size(kKinds), rng)], targets, rng);
  return damage;
}

void Damage::Release() {
  heldFiles_.clear();
  heldPaths_.clear();
}

void Damage::Apply(DamageKind kind, const DamageTargets& targets, std::mt19937_64& rng) {
  switch (kind) {
    case DamageKind::kKeyDeleted: {
      const KeyTarget& target = Pick(targets.keys, rng);
      const LONG status = RegDeleteTreeA(PredefinedKey(target.hive), target.key.c_str());
      descriptions_.push_back(std::string(HiveName(target.hive)) + "\\" + target.key +
                              (status == ERROR_SUCCESS ? ": key deleted" : ": key already gone"));
      return;
    }
    case DamageKind::kFileEmpty:
    case DamageKind::kFileTruncated:
    case DamageKind::kFileReplacedByFolder:
    case DamageKind::kFileReadOnly: {
      const std::string& path = Pick(targets.files, rng);
      if (!kvil::machine::FileExists(path)) {
        descriptions_.push_back(path + ": already a folder");
        return;
      }
      // A file held open takes no further damage, as a running host's would not.
      if (std::find(heldPaths_.begin(), heldPaths_.end(), path) != heldPaths_.end()) {
        descriptions_.push_back(path + ": already held open");
        return;
      }
      if (kind == DamageKind::kFileEmpty) {
        ResizeFile(path, 0);
        descriptions_.push_back(path + ": zero length");
      } else if (kind == DamageKind::kFileTruncated) {
        descriptions_.push_back(path + ": " + TruncateVersionResource(path, rng));
      } else if (kind == DamageKind::kFileReplacedByFolder) {
        if (!DeleteFileA(path.c_str())) kvil::machine::ThrowLastError("cannot delete " + path);
        kvil::machine::CreateFolder(path);
        kvil::machine::WriteFile(path + "\\occupant.txt", "a folder where a file was");
        descriptions_.push_back(path + ": a folder in its place");
      } else {
        SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
        // Wine lets root write to read-only files; a host holding the file open
        // without write or delete sharing is what keeps it unwritable there.
        kvil::UniqueFile held(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!held) kvil::machine::ThrowLastError("cannot hold " + path + " open");
        heldFiles_.push_back(std::move(held));
        heldPaths_.push_back(path);
        descriptions_.push_back(path + ": read-only and held open");
      }
      return;
    }
    default:
      break;
  }

  const ValueTarget& target = Pick(targets.values, rng);
  const HKEY root = PredefinedKey(target.hive);
  const std::optional<RegValue> value = kvil::machine::ReadValue(root, target.key, target.name);
  if (!value) {
    descriptions_.push_back(Describe(target) + ": already gone");
    return;
  }
  if (kind == DamageKind::kValueDeleted) {
    kvil::UniqueHKey key;
    RegOpenKeyExA(root, target.key.c_str(), 0, KEY_SET_VALUE, key.put());
    RegDeleteValueA(key.get(), target.name.c_str());
    descriptions_.push_back(Describe(target) + ": deleted");
    return;
  }
  NewValue changed;
  switch (kind) {
    case DamageKind::kValueWrongType:
      changed = WrongType(*value, rng);
      break;
    case DamageKind::kValueUnterminated:
      changed = Unterminated(*value);
      break;
    case DamageKind::kValueEmpty:
      changed = {value->type, {}, "empty " + TypeName(value->type)};
      break;
    case DamageKind::kValueLong:
      changed = Long(*value, rng);
      break;
    default:
      changed = UnknownVariables(*value, rng);
      break;
  }
  kvil::machine::WriteRaw(root, target.key, target.name, changed.type, changed.bytes);
  descriptions_.push_back(Describe(target) + ": " + changed.how);
}

}  // namespace kvilfuzz

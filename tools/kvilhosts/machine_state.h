// What a registry value, a file or folder, or an INI entry holds at one moment:
// read before the library changes it and again after it has finished, so that a
// change can be shown as old -> new and a round trip can tell what it left behind.
#pragma once

#include <windows.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "key_location.h"

namespace kvilhosts {

// A value as the registry holds it: its type and its bytes, read in ANSI.
struct RegistryData {
  DWORD type = REG_NONE;
  std::vector<BYTE> bytes;
  bool operator==(const RegistryData&) const = default;
};
using ValueState = std::optional<RegistryData>;  // empty: there is no such value

// "REG_SZ", "REG_DWORD", ... or "type 42".
std::string RegistryTypeName(DWORD type);
// The data alone: "C:\x" in quotes, a DWORD in decimal, a multi-string as
// ["a", "b"], anything else as hex:01,02.
std::string DescribeData(const RegistryData& data);
// "(none)", or the type and the data: REG_DWORD 1.
std::string DescribeValue(const ValueState& state);
// The entries of a multi-string, without the empty one that ends the list.
std::vector<std::string> MultiStringEntries(const RegistryData& data);
// The text of a string value, without the terminators stored after it.
std::string StringText(const RegistryData& data);

// A key as the library named it: a predefined root, the path below it and the
// registry view it asked for; or, once located, where the registry really keeps
// it: the path names the view's node itself ("SOFTWARE\WOW6432Node\...") and is
// opened in the 64-bit view, which takes such a path literally.
struct KeyPlace {
  HKEY root = nullptr;  // null when the key was opened through a handle of unknown origin
  std::string path;     // below the root, without a leading backslash
  REGSAM view = 0;      // KEY_WOW64_64KEY or KEY_WOW64_32KEY when asked for

  // "HKLM\SOFTWARE\..."; "(unknown key)\..." when the root is not known.
  std::string Text() const;
  KeyPlace Child(std::string_view subkey) const;
  // The key that many levels above this one.
  KeyPlace Ancestor(int levels) const;
};

// Where the key a handle stands for really is, for a key the library named as
// named (see LocateKey); named itself when that cannot be told.
KeyPlace Located(HKEY handle, const KeyPlace& named);

ValueState ReadValueState(const KeyPlace& key, const std::string& valueName);

// A file as the round trip compares it; a folder counts its files and sums up
// their names and contents.
struct FileState {
  enum class Kind { kAbsent, kFile, kFolder };
  Kind kind = Kind::kAbsent;
  std::uint64_t size = 0;    // bytes of a file, files below a folder
  std::uint64_t digest = 0;  // of the content, or of the folder's names and contents
  bool operator==(const FileState&) const = default;
};
FileState ReadFileState(const std::string& path);
// "(none)", "file of 12 bytes", "folder of 3 files".
std::string DescribeFileState(const FileState& state);

// An entry of an INI file; an empty file names the user's win.ini.
struct IniPlace {
  std::string file;
  std::string section;
  std::string entry;
  std::string FileText() const;  // "win.ini" for the user's profile
};
using IniState = std::optional<std::string>;  // empty: no such entry
IniState ReadIniState(const IniPlace& place);
std::string DescribeIni(const IniState& state);

// One registry value, file or INI entry whose state after the library finished
// is not what it was before the library first changed it.
struct Difference {
  enum class Subject { kValue, kFile, kIniEntry };
  Subject subject = Subject::kValue;
  std::string where;  // the key, the file, or the INI file
  std::string name;   // the value name, or "[section] entry"; empty for a file
  std::string before;
  std::string after;
  // "HKLM\...\1049 "Attached"", the file's path, or "win.ini [section] entry".
  std::string ItemText() const;
};

// Everything the library was about to change, with what it held just before the
// first change: the earlier state of every item, however often it was changed.
class TouchedItems {
 public:
  void Value(const KeyPlace& key, const std::string& valueName);
  // Every value in the key, and in its subkeys when the whole tree is to go.
  void ValuesOfKey(const KeyPlace& key, bool withSubkeys);
  void File(const std::string& path);
  void IniEntry(const IniPlace& place);

  // What differs now, in the order the items were first touched.
  std::vector<Difference> DifferencesNow() const;

 private:
  struct TouchedValue {
    KeyPlace key;
    std::string name;
    ValueState before;
  };
  struct TouchedFile {
    std::string path;
    FileState before;
  };
  struct TouchedIni {
    IniPlace place;
    IniState before;
  };
  enum class Order { kValue, kFile, kIni };
  bool FirstTouch(char kind, std::initializer_list<std::string_view> names);
  void ValuesOfKey(const KeyPlace& key, bool withSubkeys, int depth);

  std::unordered_set<std::string> identities_;
  std::vector<std::pair<Order, std::size_t>> order_;
  std::vector<TouchedValue> values_;
  std::vector<TouchedFile> files_;
  std::vector<TouchedIni> iniEntries_;
};

// A value name as shown: quoted, or (default) for the key's unnamed value.
std::string QuotedValueName(std::string_view name);

}  // namespace kvilhosts

// Direct registry access for arranging a machine and asserting what the library
// left in it, in the view a host would see: no inheritance tricks.
#pragma once

#include <windows.h>

#include "handles.h"

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kvil::machine {

// The machine is laid out as installers leave a 64-bit Windows: a program's
// keys in the view of the program (32-bit unless a ProgramsView says 64), the
// Windows Installer's own data in the 64-bit view whatever the program. Every
// read and write below names the view SeedingView gives its key; where no
// views exist (a scratch registry) the flag changes nothing.
class ProgramsView {
 public:
  // KEY_WOW64_32KEY or KEY_WOW64_64KEY, for the life of the scope.
  explicit ProgramsView(REGSAM view);
  ProgramsView(const ProgramsView&) = delete;
  ProgramsView& operator=(const ProgramsView&) = delete;
  ~ProgramsView();

 private:
  REGSAM previous_;
};
REGSAM SeedingView(HKEY root, const std::string& path);

// The key opened for setting values, created when missing, in its seeding view.
kvil::UniqueHKey CreateKeyForWriting(HKEY root, const std::string& path);

struct RegValue {
  DWORD type = REG_NONE;
  std::vector<std::uint8_t> bytes;

  bool operator==(const RegValue&) const = default;
};

// How GoogleTest shows a value in a failed comparison: type, then the bytes.
void PrintTo(const RegValue& value, std::ostream* out);

// A value exactly as stored: its type and its raw bytes.
std::optional<RegValue> ReadValue(HKEY root, const std::string& path, const std::string& name);
// A REG_DWORD; nullopt when missing or of another type.
std::optional<DWORD> ReadDword(HKEY root, const std::string& path, const std::string& name);
// A REG_SZ or REG_EXPAND_SZ (not expanded), trailing NULs dropped; nullopt otherwise.
std::optional<std::string> ReadText(HKEY root, const std::string& path, const std::string& name);

bool KeyExists(HKEY root, const std::string& path);
std::vector<std::string> SubkeyNames(HKEY root, const std::string& path);
std::vector<std::string> ValueNames(HKEY root, const std::string& path);

// Every value of a key, for comparing a whole record at once: REG_DWORD as its
// decimal number, REG_SZ / REG_EXPAND_SZ as "sz:<text>", anything else
// "type <n>:<its bytes exactly>".
std::map<std::string, std::string> DescribeValues(HKEY root, const std::string& path);

// Every key and value below path, for stating all that an operation left
// behind: "<relative key>" -> "key" for each key, "<relative key>:<value>" -> the
// value described as DescribeValues does. Missing path: empty.
std::map<std::string, std::string> DescribeTree(HKEY root, const std::string& path);
// What after has that before had not, or had otherwise.
std::map<std::string, std::string> Added(const std::map<std::string, std::string>& before,
                                         const std::map<std::string, std::string>& after);

void CreateKey(HKEY root, const std::string& path);
// REG_SZ / REG_EXPAND_SZ stored with its terminating NUL.
void WriteText(HKEY root, const std::string& path, const std::string& name, const std::string& text,
               DWORD type = REG_SZ);
void WriteDword(HKEY root, const std::string& path, const std::string& name, DWORD value);
// Any type, bytes as given (no terminator added): for malformed data.
void WriteRaw(HKEY root, const std::string& path, const std::string& name, DWORD type,
              const std::vector<std::uint8_t>& bytes);

// REG_SZ bytes as the library stores a string: with or without its terminator.
RegValue SzValue(const std::string& text, bool withTerminator);
RegValue DwordValue(DWORD value);

}  // namespace kvil::machine

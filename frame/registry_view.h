// Which registry view the library reaches each key in. The library is a 64-bit
// program, and nearly every host it serves is a 32-bit program whose installer
// wrote its keys into the 32-bit view (Wow6432Node); the product itself is
// installed the same way unless its "Installing" value says 64. The view is
// chosen here, once, and every registry routine of the library asks for it.
//
// | keys the library reaches                                  | view                 | why                                                        |
// |-----------------------------------------------------------|----------------------|------------------------------------------------------------|
// | HKLM "Software\Tervane" "Installing"                      | 32-bit, then 64-bit  | read before the view is known; the first value found decides |
// | HKLM "SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\..." (component data, user SIDs) | 64-bit always | the Windows Installer keeps its own data in the 64-bit view for 32-bit and 64-bit products alike |
// | HKCR "Installer\Components\..." (qualified components)    | 64-bit always        | the Installer's data again; shared on Windows 7 and later, but redirected on Vista and earlier and under Wine |
// | HKLM SOFTWARE: the product's uninstall entry, options and records, the uninstall list, Office's, Shared Tools' and every host's own keys | the product's | redirected: 32-bit hosts and setups read and write Wow6432Node, 64-bit ones the native keys |
// | HKLM "...\App Paths\..."                                  | the product's        | shared on Windows 7 and later: the flag changes nothing     |
// | HKLM "SOFTWARE\Classes\QuarkXPress.XTension\..."           | the product's        | shared on Windows 7 and later, redirected under Wine: a setup and the library of one view agree either way |
// | HKCR "CLSID\..." (Internet Explorer's automation server)  | the product's        | redirected: a 32-bit browser registers under Wow6432Node\CLSID (reached by that path: PlaceInView) |
// | HKCU "Software\..." (hosts' per-user options)             | the product's        | shared: the flag changes nothing                            |
//
// The product's view is KEY_WOW64_32KEY, or KEY_WOW64_64KEY when "Installing" is
// the REG_DWORD 64. A key found only in the other view is not found: the library
// never attaches a 32-bit engine to a 64-bit host or the other way round.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "handles.h"

namespace kvil {

// Key names ignore the case of ASCII letters; other characters must match exactly.
inline char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The Windows Installer's own view.
inline constexpr REGSAM kInstallerView = KEY_WOW64_64KEY;

// path is key or lies below it; key names ignore the case of letters.
inline bool IsKeyOrBelow(std::string_view path, std::string_view key) {
  if (path.size() < key.size()) return false;
  for (std::size_t i = 0; i < key.size(); ++i) {
    if (AsciiLower(path[i]) != AsciiLower(key[i])) return false;
  }
  return path.size() == key.size() || path[key.size()] == '\\';
}

// The Installer's keys, as the library names them under each root: its
// component data under HKLM and its qualified components under HKCR. The
// machine seeder lays them out by the same rule.
inline bool IsInstallerKey(HKEY root, std::string_view path) {
  return (root == HKEY_LOCAL_MACHINE && IsKeyOrBelow(path, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer")) ||
         (root == HKEY_CLASSES_ROOT && IsKeyOrBelow(path, "Installer"));
}

// A key as the registry call is to name it: the path below the root and the
// view flag. HKEY_CLASSES_ROOT is the one root whose view is spelt into the
// path instead: a view flag on it bypasses a RegOverridePredefKey redirection
// under Wine (the Windows Installer's self-registration capture redirects it
// that way) and is not applied below a handle of it, while on Windows 7 and
// later only a few of its keys have a 32-bit copy at all. Those copies are
// reached as "Wow6432Node\<key>" with no flag, where Windows and Wine keep them.
struct KeyInView {
  std::string path;
  REGSAM flag;
};

inline KeyInView PlaceInView(HKEY root, std::string_view path, REGSAM view) {
  if (root != HKEY_CLASSES_ROOT) return {std::string(path), view};
  if (view != KEY_WOW64_32KEY) return {std::string(path), 0};
  constexpr std::string_view kRedirectedClassKeys[] = {"CLSID", "DirectShow", "Interface", "Media Type",
                                                       "MediaFoundation"};
  for (const std::string_view key : kRedirectedClassKeys) {
    if (IsKeyOrBelow(path, key)) return {"Wow6432Node\\" + std::string(path), 0};
  }
  return {std::string(path), 0};
}

// What "Installing" under "Software\Tervane" says: looked up in the 32-bit view
// and then in the 64-bit view, the first value found (of any type) decides, and
// only the REG_DWORD 64 means the product was installed for 64-bit hosts. The
// survey tool names the view it reports through this same reading.
inline bool ProductInstalledFor64BitHosts() {
  for (const REGSAM view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
    UniqueHKey key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Tervane", 0, KEY_QUERY_VALUE | view, key.put()) !=
        ERROR_SUCCESS) {
      continue;
    }
    DWORD installing = 0;
    DWORD size = sizeof installing;
    DWORD type = REG_NONE;
    const LONG status =
        RegQueryValueExA(key.get(), "Installing", nullptr, &type, reinterpret_cast<BYTE*>(&installing), &size);
    if (status == ERROR_MORE_DATA) return false;  // found, and too long to be the DWORD 64
    if (status == ERROR_SUCCESS) return type == REG_DWORD && size == sizeof installing && installing == 64;
  }
  return false;
}

// The product's view: KEY_WOW64_64KEY when installed for 64-bit hosts, else
// KEY_WOW64_32KEY. Read once per export.
REGSAM RegistryView();

// The view of one key, as the table above gives it: the Installer's own data in
// the 64-bit view, everything else in the product's. path is relative to root;
// a root that is no predefined key keeps the product's view.
REGSAM RegistryViewOf(HKEY root, std::string_view path);

// Environment references expanded as a program of that view expands them: in the
// 32-bit view "%ProgramFiles%" and "%CommonProgramFiles%" name the 32-bit folders
// ("%ProgramFiles(x86)%", "%CommonProgramFiles(x86)%"). The result and the
// count are those of ExpandEnvironmentStrings.
DWORD ExpandEnvironmentInView(REGSAM view, const char* text, char* out, DWORD capacity);
DWORD ExpandEnvironmentInView(REGSAM view, const wchar_t* text, wchar_t* out, DWORD capacity);

}  // namespace kvil

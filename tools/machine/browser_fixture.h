// Firefox 2, Internet Explorer 6, 7 and 8 and Opera 9 as their setups leave them
// on a machine, and the product's files the browsers are given. Registry under
// the current (in tests redirected) HKLM, HKCU and HKCR; files under the
// folders given.
#pragma once

#include <windows.h>

#include <string>

namespace kvil::machine {

inline constexpr const char kFirefoxKey[] = "SOFTWARE\\Mozilla\\Mozilla Firefox";
inline constexpr const char kIeKey[] = "Software\\Microsoft\\Internet Explorer";
inline constexpr const char kIeAppPathsKey[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\IEXPLORE.EXE";
inline constexpr const char kIe6SetupKey[] = "Software\\Microsoft\\IE Setup\\Setup";
// Under HKCR.
inline constexpr const char kIeLocalServerKey[] = "CLSID\\{0002DF01-0000-0000-C000-000000000046}\\LocalServer32";
// Under HKCU.
inline constexpr const char kOperaKey[] = "Software\\Opera Software";
inline constexpr const char kIeMenuKey[] = "Software\\Microsoft\\Internet Explorer\\MenuExt\\&KVIL SpellCheck";

// Opera's own spell-check settings as InstallOpera writes them.
inline constexpr const char kOperaOwnSettings[] =
    "[Spell check]\r\nSpell check engine=C:\\Opera\\aspell.dll\r\nDefault Language=English\r\n"
    "Default Encoding=iso-8859-1\r\n[Dictionaries]\r\nEnglish=en_US\r\n";

// REG_SZ in UTF-16 with its terminator, as the browsers' setups store their text.
void WriteWideText(HKEY root, const std::string& path, const std::string& name, const std::wstring& text);

// Firefox: "CurrentVersion" = currentVersion; "PathToExe" = folder\firefox.exe
// under "SOFTWARE\Mozilla\Mozilla Firefox <currentVersion up to its first
// blank>\bin"; firefox.exe of major.minor and Mozilla's
// "components\myspell.dll" in folder.
void InstallFirefox(const std::string& folder, const std::string& currentVersion, WORD major, WORD minor);
// Firefox 2.0.0.20 (en-US).
void InstallFirefox2(const std::string& folder);
// The product's Firefox module "myspell.dll" (Tervane, 9.0) in productFolder,
// beside the uninstaller that the uninstall entry of product 9.0 names.
void InstallFirefoxProductModule(const std::string& productFolder);

// Each Internet Explorer also leaves the user's "MenuExt" key.
// Internet Explorer 8: "Version" 8.0.6001.18702, App Paths "Path" = folder + ";",
// and folder\iexplore.exe.
void InstallInternetExplorer8(const std::string& folder);
// Internet Explorer 6: its setup's "Path" = folder, and folder\iexplore.exe of 6.0.
void InstallInternetExplorer6(const std::string& folder);
// Internet Explorer 7's automation server: the local server = program in double
// quotes, and program of major.0.
void InstallInternetExplorer7(const std::string& program, WORD major = 7);

// Opera: "Last CommandLine" = folder\opera.exe, opera.exe of major.minor and
// kOperaOwnSettings as folder\spellcheck.ini.
void InstallOpera(const std::string& folder, WORD major, WORD minor);
// Opera 9.64.
void InstallOpera9(const std::string& folder);
// An INI file's new contents, with the profile routines' cached copy dropped.
void WriteSettingsFile(const std::string& path, const std::string& contents);

// The product's page for Internet Explorer's menu, "kvilie.htm", and Opera's
// engine "spellcheck.dll" (Tervane, 8.0), in the product's folder.
void WriteBrowserProductFiles(const std::string& productFolder);

}  // namespace kvil::machine

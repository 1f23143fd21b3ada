// The mail clients that take the product's speller through Microsoft's shared
// proofing-tools registration, as their setups leave them on a machine: the
// keys the library looks for and the programs with their version resources.
// Registry under the current (in tests redirected) hives; files where given.
#pragma once

#include <windows.h>

#include <string>

namespace kvil::machine {

inline constexpr char kOutlookExpressKey[] = "SOFTWARE\\Microsoft\\Outlook Express";
inline constexpr char kOutlookExpressUserKey[] = "Software\\Microsoft\\Outlook Express\\5.0";
inline constexpr char kWindowsMailKey[] = "SOFTWARE\\Microsoft\\Windows Mail";
inline constexpr char kWindowsLiveMailKey[] = "SOFTWARE\\Microsoft\\Windows Live Mail Desktop Beta";
inline constexpr char kTheBatKey[] = "Software\\RIT\\The Bat!";

// A client's program: file and product version major.minor, or no version
// resource at all.
struct MailProgram {
  WORD major = 0;
  WORD minor = 0;
  bool versioned = true;
};

// Outlook Express 4: HKLM kOutlookExpressKey "InstallRoot" = folder and
// folder\msimn.exe.
void InstallOutlookExpress4(const std::string& folder, MailProgram program = {4, 72});
// Outlook Express 5 and later: as Outlook Express 4, and the per-user key
// HKCU kOutlookExpressUserKey its first start leaves.
void InstallOutlookExpress5(const std::string& folder, MailProgram program = {6, 0});
// Windows Mail: HKLM kWindowsMailKey "InstallRoot" = folder and folder\winmail.exe.
void InstallWindowsMail(const std::string& folder, MailProgram program = {6, 0});
// Windows Live Mail: HKLM kWindowsLiveMailKey "InstallRoot" = folder and
// folder\wlmail.exe.
void InstallWindowsLiveMail(const std::string& folder, MailProgram program = {8, 0});
// The Bat!: HKCU kTheBatKey "EXE path" = programPath as UTF-16, and the program
// there (maker "RIT Labs").
void InstallTheBat(const std::string& programPath, MailProgram program = {6, 0});
// "EXE path" alone, written through the wide registry interface with exactly
// the UTF-16 units given (a path ends with its L'\0'), REG_SZ unless told
// otherwise: for paths outside the library's code page, paths with no program
// behind them, and malformed values.
void SetTheBatExePath(const std::wstring& units, DWORD type = REG_SZ);

}  // namespace kvil::machine

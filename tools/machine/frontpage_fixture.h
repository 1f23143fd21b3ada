// FrontPage 97 to 2003 as their setups leave them on a machine: the user key the
// library looks for, the language FrontPage keeps for its own speller
// ("FrontPageLangID"), and for the later ones the program in Office's folder.
// Registry under the current (in tests redirected) hives; "frontpg.ini" in the
// real Windows folder, which no redirection reaches: tests keep it with
// FrontPageIniGuard.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace kvil::machine {

// "<Windows folder>\frontpg.ini".
std::string FrontPageIniPath();
inline constexpr const char kFrontPage97Section[] = "FrontPage 2.0";
inline constexpr const char kFrontPage98Section[] = "FrontPage 3.0";

// "FrontPageLangID" in a section of frontpg.ini, as FrontPage reads it; "" when
// absent. Writing nullptr removes it.
std::string ReadFrontPageIniLanguage(const std::string& section);
void WriteFrontPageIniLanguage(const std::string& section, const char* text);

// FrontPage 97 (section "FrontPage 2.0") and 98 ("FrontPage 3.0"): HKCU
// "Software\Microsoft\FrontPage" and "FrontPageLangID" = the language as
// "0x%04X" in the version's section of frontpg.ini.
void InstallFrontPage97(int languageLcid);
void InstallFrontPage98(int languageLcid);

// FrontPage 2000, 2002, 2003 with the Office they came with (9, 10, 11): HKCU
// "Software\Microsoft\FrontPage" holding "FrontPageLangID" (REG_DWORD) when a
// language is given, Office's Common install root "Path" = officeFolder + "\"
// (HKLM "SOFTWARE\Microsoft\Office\<v>.0\Common\InstallRoot"), and
// officeFolder\Frontpg.exe, a program of the FrontPage version (4.0, 10.0, 11.0).
void InstallFrontPage2000(const std::string& officeFolder, std::optional<DWORD> languageLcid);
void InstallFrontPage2002(const std::string& officeFolder, std::optional<DWORD> languageLcid);
void InstallFrontPage2003(const std::string& officeFolder, std::optional<DWORD> languageLcid);

// frontpg.ini as it was when constructed (its bytes, or its absence) is put back
// on destruction; in between the test starts without one. The profile calls
// keep files in a per-process cache, which is flushed on both sides so that
// neither the test nor the library reads a copy of a file that has changed or
// gone under it.
class FrontPageIniGuard {
 public:
  FrontPageIniGuard();
  FrontPageIniGuard(const FrontPageIniGuard&) = delete;
  FrontPageIniGuard& operator=(const FrontPageIniGuard&) = delete;
  ~FrontPageIniGuard();

 private:
  std::optional<std::string> contents_;
};

}  // namespace kvil::machine

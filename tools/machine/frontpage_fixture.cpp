#include "frontpage_fixture.h"

#include <cstdio>
#include <exception>

#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

constexpr char kFrontPageUserKey[] = "Software\\Microsoft\\FrontPage";
constexpr char kLanguageValue[] = "FrontPageLangID";

// Drops the profile cache's copy of frontpg.ini: the next profile call reads
// the file as it is on disk.
void FlushFrontPageIni() { WritePrivateProfileStringA(nullptr, nullptr, nullptr, FrontPageIniPath().c_str()); }

void InstallIniFrontPage(const char* section, int languageLcid) {
  CreateKey(HKEY_CURRENT_USER, kFrontPageUserKey);
  char text[16];
  std::snprintf(text, sizeof text, "0x%04X", static_cast<unsigned>(languageLcid));
  WriteFrontPageIniLanguage(section, text);
}

void InstallOfficeFrontPage(int officeVersion, WORD programMajor, const std::string& officeFolder,
                            std::optional<DWORD> languageLcid) {
  CreateKey(HKEY_CURRENT_USER, kFrontPageUserKey);
  if (languageLcid) WriteDword(HKEY_CURRENT_USER, kFrontPageUserKey, kLanguageValue, *languageLcid);
  // Office's setup records its folder with the separator; FrontPage's program
  // name is appended directly.
  WriteText(HKEY_LOCAL_MACHINE,
            "SOFTWARE\\Microsoft\\Office\\" + std::to_string(officeVersion) + ".0\\Common\\InstallRoot", "Path",
            officeFolder + "\\");
  CreateFolder(officeFolder);
  WriteVersionedModule(officeFolder + "\\Frontpg.exe", HostProgram(programMajor, 0));
}

}  // namespace

std::string FrontPageIniPath() {
  char windows[MAX_PATH];
  const UINT length = GetWindowsDirectoryA(windows, sizeof windows);
  if (length == 0 || length >= sizeof windows) ThrowLastError("cannot find the Windows folder");
  return std::string(windows, length) + "\\frontpg.ini";
}

std::string ReadFrontPageIniLanguage(const std::string& section) {
  char buffer[256];
  const DWORD length = GetPrivateProfileStringA(section.c_str(), kLanguageValue, "", buffer, sizeof buffer,
                                                FrontPageIniPath().c_str());
  return std::string(buffer, length);
}

void WriteFrontPageIniLanguage(const std::string& section, const char* text) {
  if (!WritePrivateProfileStringA(section.c_str(), kLanguageValue, text, FrontPageIniPath().c_str())) {
    ThrowLastError("cannot write \"" + std::string(kLanguageValue) + "\" to [" + section + "] of frontpg.ini");
  }
}

void InstallFrontPage97(int languageLcid) { InstallIniFrontPage(kFrontPage97Section, languageLcid); }
void InstallFrontPage98(int languageLcid) { InstallIniFrontPage(kFrontPage98Section, languageLcid); }

void InstallFrontPage2000(const std::string& officeFolder, std::optional<DWORD> languageLcid) {
  InstallOfficeFrontPage(9, 4, officeFolder, languageLcid);
}
void InstallFrontPage2002(const std::string& officeFolder, std::optional<DWORD> languageLcid) {
  InstallOfficeFrontPage(10, 10, officeFolder, languageLcid);
}
void InstallFrontPage2003(const std::string& officeFolder, std::optional<DWORD> languageLcid) {
  InstallOfficeFrontPage(11, 11, officeFolder, languageLcid);
}

FrontPageIniGuard::FrontPageIniGuard() {
  FlushFrontPageIni();
  const std::string path = FrontPageIniPath();
  if (FileExists(path)) {
    contents_ = ReadFileBytes(path);
    if (!DeleteFileA(path.c_str())) ThrowLastError("cannot move " + path + " aside");
  }
}

FrontPageIniGuard::~FrontPageIniGuard() {
  try {
    FlushFrontPageIni();
    const std::string path = FrontPageIniPath();
    if (contents_) {
      WriteFile(path, *contents_);
    } else if (FileExists(path) && !DeleteFileA(path.c_str())) {
      ThrowLastError("cannot delete " + path);
    }
    FlushFrontPageIni();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "FrontPageIniGuard: cannot put frontpg.ini back: %s\n", error.what());
  }
}

}  // namespace kvil::machine

#include "browser_fixture.h"

#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

// Internet Explorer's setup leaves the key of the menu extensions for every user.
void CreateMenuExtensions() { CreateKey(HKEY_CURRENT_USER, std::string(kIeKey) + "\\MenuExt"); }

VersionStamp ProgramBy(const std::string& maker, WORD major, WORD minor) {
  VersionStamp stamp = HostProgram(major, minor);
  stamp.companyName = maker;
  return stamp;
}

}  // namespace

void WriteWideText(HKEY root, const std::string& path, const std::string& name, const std::wstring& text) {
  const UniqueHKey key = CreateKeyForWriting(root, path);
  const std::wstring wideName = Widen(name);
  const LONG status = RegSetValueExW(key.get(), name.empty() ? nullptr : wideName.c_str(), 0, REG_SZ,
                                     reinterpret_cast<const BYTE*>(text.c_str()),
                                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot write " + path + "\\" + name, status);
}

void InstallFirefox(const std::string& folder, const std::string& currentVersion, WORD major, WORD minor) {
  WriteWideText(HKEY_LOCAL_MACHINE, kFirefoxKey, "CurrentVersion", Widen(currentVersion));
  const std::string release = currentVersion.substr(0, currentVersion.find(' '));
  WriteWideText(HKEY_LOCAL_MACHINE, std::string(kFirefoxKey) + " " + release + "\\bin", "PathToExe",
                Widen(folder + "\\firefox.exe"));
  CreateFolder(folder + "\\components");
  WriteVersionedModule(folder + "\\firefox.exe", ProgramBy("Mozilla Corporation", major, minor));
  WriteVersionedModule(folder + "\\components\\myspell.dll", ProgramBy("Mozilla Corporation", major, minor));
}

void InstallFirefox2(const std::string& folder) { InstallFirefox(folder, "2.0.0.20 (en-US)", 2, 0); }

void InstallFirefoxProductModule(const std::string& productFolder) {
  CreateFolder(productFolder);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil\\9.0",
            "UninstallString", productFolder + "\\uninst.exe");
  WriteVersionedModule(productFolder + "\\myspell.dll", VersionStamp{{9, 0, 0, 0}, {9, 0, 0, 0}, "Tervane", "9.0"});
}

void InstallInternetExplorer8(const std::string& folder) {
  CreateMenuExtensions();
  WriteWideText(HKEY_LOCAL_MACHINE, kIeKey, "Version", L"8.0.6001.18702");
  WriteWideText(HKEY_LOCAL_MACHINE, kIeAppPathsKey, "Path", Widen(folder + ";"));
  CreateFolder(folder);
  WriteVersionedModule(folder + "\\iexplore.exe", HostProgram(8, 0));
}

void InstallInternetExplorer6(const std::string& folder) {
  CreateMenuExtensions();
  WriteText(HKEY_LOCAL_MACHINE, kIe6SetupKey, "Path", folder);
  CreateFolder(folder);
  WriteVersionedModule(folder + "\\iexplore.exe", HostProgram(6, 0));
}

void InstallInternetExplorer7(const std::string& program, WORD major) {
  CreateMenuExtensions();
  WriteWideText(HKEY_CLASSES_ROOT, kIeLocalServerKey, "", Widen("\"" + program + "\""));
  CreateFolder(program.substr(0, program.rfind('\\')));
  WriteVersionedModule(program, HostProgram(major, 0));
}

void InstallOpera(const std::string& folder, WORD major, WORD minor) {
  WriteText(HKEY_CURRENT_USER, kOperaKey, "Last CommandLine", folder + "\\opera.exe");
  CreateFolder(folder);
  WriteVersionedModule(folder + "\\opera.exe", ProgramBy("Opera Software", major, minor));
  WriteSettingsFile(folder + "\\spellcheck.ini", kOperaOwnSettings);
}

void InstallOpera9(const std::string& folder) { InstallOpera(folder, 9, 64); }

void WriteSettingsFile(const std::string& path, const std::string& contents) {
  WriteFile(path, contents);
  WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str());
}

void WriteBrowserProductFiles(const std::string& productFolder) {
  CreateFolder(productFolder);
  WriteFile(productFolder + "\\kvilie.htm", "<html><script>/* spell check the selection */</script></html>\r\n");
  WriteVersionedModule(productFolder + "\\spellcheck.dll", VersionStamp{});
}

}  // namespace kvil::machine

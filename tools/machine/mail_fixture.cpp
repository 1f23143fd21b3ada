#include "mail_fixture.h"

#include "handles.h"
#include "registry_probe.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

void WriteProgram(const std::string& path, const MailProgram& program, const char* maker) {
  if (!program.versioned) return WriteUnversionedModule(path);
  VersionStamp stamp = HostProgram(program.major, program.minor);
  stamp.companyName = maker;
  WriteVersionedModule(path, stamp);
}

void InstallMicrosoftClient(const char* key, const std::string& folder, const char* programName,
                            const MailProgram& program) {
  CreateFolder(folder);
  WriteProgram(folder + "\\" + programName, program, "Microsoft Corporation");
  WriteText(HKEY_LOCAL_MACHINE, key, "InstallRoot", folder);
}

}  // namespace

void InstallOutlookExpress4(const std::string& folder, MailProgram program) {
  InstallMicrosoftClient(kOutlookExpressKey, folder, "msimn.exe", program);
}

void InstallOutlookExpress5(const std::string& folder, MailProgram program) {
  InstallMicrosoftClient(kOutlookExpressKey, folder, "msimn.exe", program);
  CreateKey(HKEY_CURRENT_USER, kOutlookExpressUserKey);
}

void InstallWindowsMail(const std::string& folder, MailProgram program) {
  InstallMicrosoftClient(kWindowsMailKey, folder, "winmail.exe", program);
}

void InstallWindowsLiveMail(const std::string& folder, MailProgram program) {
  InstallMicrosoftClient(kWindowsLiveMailKey, folder, "wlmail.exe", program);
}

void InstallTheBat(const std::string& programPath, MailProgram program) {
  CreateFolder(programPath.substr(0, programPath.rfind('\\')));
  WriteProgram(programPath, program, "RIT Labs");
  SetTheBatExePath(Widen(programPath) + L'\0');
}

void SetTheBatExePath(const std::wstring& units, DWORD type) {
  const UniqueHKey key = CreateKeyForWriting(HKEY_CURRENT_USER, kTheBatKey);
  const LONG status = RegSetValueExW(key.get(), L"EXE path", 0, type, reinterpret_cast<const BYTE*>(units.data()),
                                     static_cast<DWORD>(units.size() * sizeof(wchar_t)));
  if (status != ERROR_SUCCESS) ThrowWin32Error("cannot write The Bat!'s \"EXE path\"", status);
}

}  // namespace kvil::machine

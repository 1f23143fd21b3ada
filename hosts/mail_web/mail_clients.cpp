// Outlook Express 4, Outlook Express 5 and later, Windows Mail and Windows Live
// Mail: Microsoft's mail clients find their speller in the shared proofing-tools
// registration and take nothing else from the product. Each is filed under the
// version its program carries, or under a version of its own when the program
// carries none. Detach only clears the record: the clients keep the product's
// registration until another tool takes its place.

#include <windows.h>

#include <cstdint>
#include <span>

#include "bounded_text.h"
#include "contract.h"
#include "files.h"
#include "installer.h"
#include "office.h"
#include "office_host.h"
#include "product.h"
#include "proofing.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using namespace office;

// How a client's version is accepted: by the first character of its
// "major.minor" alone, compared as a byte, so that a version 10 or later of a
// client asking for "5 or above" is not the client this module knows.
enum class VersionTest { kFirstDigitIs, kFirstDigitAtLeast };

struct MailClient {
  const char* applicationKey;
  // The key whose presence proves the client.
  HKEY presenceRoot;
  const char* presenceKey;
  // HKLM key whose "InstallRoot" is the client's folder.
  const char* installRootKey;
  const char* program;
  VersionTest versionTest;
  char versionDigit;
  // Used for the records when the program carries no version.
  const char* recordVersionFallback;
  // The suite record of the client: its name, and the version it is filed under
  // when the program carries none. A null name writes no suite record.
  const char* suiteName;
  const char* suiteVersionFallback;
  // Office versions whose Installer components are pointed at the product too,
  // when that Office is installed; the last one's answer decides the attach.
  std::span<const int> officeComponentVersions;
};

constexpr char kOutlookExpress[] = "SOFTWARE\\Microsoft\\Outlook Express";
constexpr int kOffice2000AndXp[] = {9, 10};

const MailClient kOutlookExpress4{.applicationKey = "MSIMN",
                                  .presenceRoot = HKEY_LOCAL_MACHINE,
                                  .presenceKey = kOutlookExpress,
                                  .installRootKey = kOutlookExpress,
                                  .program = "msimn.exe",
                                  .versionTest = VersionTest::kFirstDigitIs,
                                  .versionDigit = '4',
                                  .recordVersionFallback = "4.72",
                                  .suiteName = "Outlook Express",
                                  .suiteVersionFallback = "4.0",
                                  .officeComponentVersions = {}};
const MailClient kOutlookExpress5{.applicationKey = "MSIMN",
                                  .presenceRoot = HKEY_CURRENT_USER,
                                  .presenceKey = "SOFTWARE\\Microsoft\\Outlook Express\\5.0",
                                  .installRootKey = kOutlookExpress,
                                  .program = "msimn.exe",
                                  .versionTest = VersionTest::kFirstDigitAtLeast,
                                  .versionDigit = '5',
                                  .recordVersionFallback = "5.0",
                                  .suiteName = "Outlook Express",
                                  .suiteVersionFallback = "4.0",
                                  .officeComponentVersions = kOffice2000AndXp};
const MailClient kWindowsMail{.applicationKey = "WINMAIL",
                              .presenceRoot = HKEY_LOCAL_MACHINE,
                              .presenceKey = "SOFTWARE\\Microsoft\\Windows Mail",
                              .installRootKey = "SOFTWARE\\Microsoft\\Windows Mail",
                              .program = "winmail.exe",
                              .versionTest = VersionTest::kFirstDigitAtLeast,
                              .versionDigit = '6',
                              .recordVersionFallback = "6.0",
                              .suiteName = "Windows Mail",
                              .suiteVersionFallback = "6.0",
                              .officeComponentVersions = {}};
const MailClient kWindowsLiveMail{.applicationKey = "WLMAIL",
                                  .presenceRoot = HKEY_LOCAL_MACHINE,
                                  .presenceKey = "SOFTWARE\\Microsoft\\Windows Live Mail Desktop Beta",
                                  .installRootKey = "SOFTWARE\\Microsoft\\Windows Live Mail Desktop Beta",
                                  .program = "wlmail.exe",
                                  .versionTest = VersionTest::kFirstDigitIs,
                                  .versionDigit = '8',
                                  .recordVersionFallback = "",
                                  .suiteName = nullptr,
                                  .suiteVersionFallback = nullptr,
                                  .officeComponentVersions = {}};

using VersionText = FixedText<10>;

bool IsAbsolute(const char* path) {
  const bool drive = ((path[0] | 0x20) >= 'a' && (path[0] | 0x20) <= 'z') && path[1] == ':' && path[2] == '\\';
  return drive || (path[0] == '\\' && path[1] == '\\');
}

// The client's program: its folder from "InstallRoot", taken only when it is an
// absolute path to an existing folder and the program's path fits in a path.
bool FindProgram(const MailClient& client, PathText& program) {
  PathText folder;
  if (!RegReadString(HKEY_LOCAL_MACHINE, client.installRootKey, "InstallRoot", folder.data(), PathText::kCapacity) ||
      !IsAbsolute(folder.c_str())) {
    return false;
  }
  const DWORD attributes = GetFileAttributesA(folder.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
         program.Format("%s\\%s", folder.c_str(), client.program);
}

// The program's own "major.minor"; empty when it carries no version.
VersionText ReadProgramVersion(const PathText& program) {
  VersionText version;
  if (!GetShortFileVersion(program.c_str(), version.data(), VersionText::kCapacity)) version.Clear();
  return version;
}

VersionText VersionOr(const VersionText& programVersion, const char* fallback) {
  return programVersion.empty() ? VersionText(fallback) : programVersion;
}

// The program's "major.minor", or the fallback when it carries no version.
VersionText ProgramVersion(const PathText& program, const char* fallback) {
  return VersionOr(ReadProgramVersion(program), fallback);
}

bool VersionAccepted(const MailClient& client, const VersionText& version) {
  const char first = version.c_str()[0];
  return client.versionTest == VersionTest::kFirstDigitIs ? first == client.versionDigit
                                                          : first >= client.versionDigit;
}

bool WriteSuiteRecord(const MailClient& client, const PathText& program, const VersionText& programVersion) {
  if (client.suiteName == nullptr) return true;
  RecordKeyText key;
  return key.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), client.applicationKey,
                    VersionOr(programVersion, client.suiteVersionFallback).c_str()) &&
         RegSetString(key.c_str(), "Path", program.c_str()) && RegSetString(key.c_str(), "Name", client.suiteName);
}

bool OfficeInstalled(int officeVersion) {
  PathText root;
  return GetOfficeInstallRoot(officeVersion, "Common", root.data(), PathText::kCapacity, false) != 0;
}

bool RegisterOfficeComponents(const MailClient& client, int kind, int lcid, const AttachFiles& files) {
  HostResult decisive = 1;
  for (const int officeVersion : client.officeComponentVersions) {
    if (!OfficeInstalled(officeVersion)) continue;
    const HostResult answer =
        RegisterOffice90(kind, lcid, files.folder(), files.engine(), files.lexicon(), 0, officeVersion);
    if (officeVersion == client.officeComponentVersions.back()) decisive = answer;
  }
  return decisive != 0;
}

struct MailClientOps {
  static HostResult Exist(const MailClient& client, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = RefuseKind(kSpellerOnly, kind, 0)) return *refusal;
    PathText program;
    return RegKeyExists(client.presenceRoot, client.presenceKey) && FindProgram(client, program) &&
                   VersionAccepted(client, ProgramVersion(program, client.recordVersionFallback))
               ? 1
               : 0;
  }

  static HostResult Info(const MailClient& client, int, int, char* buffer, std::int32_t* length) {
    PathText program;
    const VersionText version = FindProgram(client, program)
                                    ? ProgramVersion(program, client.recordVersionFallback)
                                    : VersionText(client.recordVersionFallback);
    return FormatInfoList(client.applicationKey, version.c_str(), buffer, length);
  }

  static HostResult Avail(const MailClient& client, int kind, int lcid, std::intptr_t, std::intptr_t) {
    return AvailInStartupFolder(kind, lcid, Exist(client, kind, lcid, 0, 0) == 1 ? 1 : 0);
  }

  // The installation itself is not tested: a client whose folder is there is
  // attached under the version it is found with.
  static HostResult Attach(const MailClient& client, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (kind != kSpeller) return kNotApplicable;
    PathText program;
    AttachFiles files;
    if (!FindProgram(client, program) || !files.Allocate()) return 0;
    // One reading of the program serves the record and the suite record, each
    // with its own fallback.
    const VersionText programVersion = ReadProgramVersion(program);
    const VersionText version = VersionOr(programVersion, client.recordVersionFallback);
    if (!files.BuildRecord({client.applicationKey, version.c_str(), kWord7Tree}, kind, lcid)) return 0;

    const bool attached =
        WriteSuiteRecord(client, program, programVersion) && files.Find(kind, lcid) &&
        RegisterProofingToolShared(ToolKeyName(kind, kWord7Tree), files.folder(), files.engine(), files.lexicon(),
                                   lcid) != 0 &&
        RegisterOfficeComponents(client, kind, lcid, files) &&
        WriteAttachRecord(files.recordKey(), kind, lcid, kWord7Tree, 2) != 0;
    // What was written stays; the record says not attached.
    if (!attached) Detach(client, kind, lcid, 0, 0);
    return attached ? 1 : 0;
  }

  static HostResult Detach(const MailClient& client, int kind, int lcid, std::intptr_t, std::intptr_t) {
    PathText program;
    if (!FindProgram(client, program)) return 0;
    return SetAttachedFlag(kind, lcid, client.applicationKey,
                           ProgramVersion(program, client.recordVersionFallback).c_str(), kWord7Tree, 0);
  }

  static HostResult Check(const MailClient& client, int kind, int lcid, std::intptr_t, std::intptr_t) {
    PathText program;
    if (!FindProgram(client, program)) return 0;
    const VersionText version = ProgramVersion(program, client.recordVersionFallback);
    return CheckSharedRegistration({client.applicationKey, version.c_str(), kWord7Tree}, kind, lcid);
  }
};

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(OUTL_EXPR, kvil::MailClientOps, kvil::kOutlookExpress4)
KVIL_HOST_EXPORTS(OUTL_EXPR5, kvil::MailClientOps, kvil::kOutlookExpress5)
KVIL_HOST_EXPORTS(WinMail7, kvil::MailClientOps, kvil::kWindowsMail)
KVIL_HOST_EXPORTS(WLMail8, kvil::MailClientOps, kvil::kWindowsLiveMail)

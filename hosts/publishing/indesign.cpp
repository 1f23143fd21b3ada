// InDesign and InCopy, CS4 to CC 2014: the applications load the product's
// speller as a plug-in of their own, so Attach copies the plug-in, its resource
// folder and a start-up script that switches the speller on into the
// application's folders, and records the attachment. Detach only clears the
// record; the files go when the setup program calls RemoveInDesign or
// RemoveInCopyPln.

#include <windows.h>
#include <shellapi.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "added_files.h"
#include "bounded_text.h"
#include "code_pages.h"
#include "contract.h"
#include "files.h"
#include "office_host.h"
#include "product.h"
#include "records.h"
#include "registry.h"

namespace kvil {
namespace {

using office::Kinds;

// The applications take a speller and a hyphenator from the plug-in.
inline constexpr unsigned kPluginKinds = Kinds({kSpeller, kHyphenator});

// The CS plug-in's names. Check and the removal know only these, also for CC 2014.
constexpr char kSpellerPlugin[] = "KVILSpeller.pln";
constexpr char kSpellerResources[] = "(KVILSpeller Resources)";
// Turns the product's speller on when the application starts.
constexpr char kStartupScript[] = "TervaneSpeller.jsx";

constexpr char kPluginFolder[] = "\\Plug-ins\\Tervane";
constexpr char kStartupScriptFolder[] = "\\Scripts\\Startup scripts";

// The shell's silent copy and delete: no progress window, no questions.
constexpr FILEOP_FLAGS kQuietShellOperation = FOF_SILENT | FOF_NOCONFIRMATION;

struct AdobeApplication {
  // Where the application's setup records its folder ("Path").
  const char* appPathsKey;
  // The program's name without ".exe", and the application key of the records.
  const char* applicationKey;
};

const AdobeApplication kInDesign{
    .appPathsKey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\InDesign.exe",
    .applicationKey = "INDESIGN"};
const AdobeApplication kInCopy{
    .appPathsKey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\InCopy.exe",
    .applicationKey = "INCOPY"};

// One release of the two applications and the plug-in built for it.
struct AdobeRelease {
  const char* versionRecord;  // the suite record's version
  // The program versions v the release answers for: lowest <= v < below.
  double lowest;
  double below;
  const char* plugin;
  const char* resources;  // null: CS4's plug-in has no resource folder
  // Avail of CS4 to CS6 first looks for the speller plug-in in the product's
  // start-up folder; CC 2014's Avail is its Exist.
  bool availLooksForPlugin;
};

const AdobeRelease kCS4{.versionRecord = "6.0", .lowest = 6.0, .below = 7.0, .plugin = kSpellerPlugin,
                        .resources = nullptr, .availLooksForPlugin = true};
const AdobeRelease kCS5{.versionRecord = "7.0", .lowest = 7.0, .below = 7.5, .plugin = kSpellerPlugin,
                        .resources = kSpellerResources, .availLooksForPlugin = true};
const AdobeRelease kCS55{.versionRecord = "7.5", .lowest = 7.5, .below = 8.0, .plugin = kSpellerPlugin,
                         .resources = kSpellerResources, .availLooksForPlugin = true};
const AdobeRelease kCS6{.versionRecord = "8.0", .lowest = 8.0, .below = 9.0, .plugin = kSpellerPlugin,
                        .resources = kSpellerResources, .availLooksForPlugin = true};
// CC (9.x) has no release of the plug-in.
const AdobeRelease kCC2014{.versionRecord = "10.0", .lowest = 10.0, .below = 11.0, .plugin = "KVILCC.pln",
                           .resources = "(KVILCC Resources)", .availLooksForPlugin = false};

struct AdobeHost {
  const AdobeApplication* application;
  const AdobeRelease* release;
  const char* suiteName;  // the suite record's "Name"
};

const AdobeHost kInDesign6{.application = &kInDesign, .release = &kCS4, .suiteName = "Adobe InDesign CS4"};
const AdobeHost kInDesign7{.application = &kInDesign, .release = &kCS5, .suiteName = "Adobe InDesign CS5"};
const AdobeHost kInDesign75{.application = &kInDesign, .release = &kCS55, .suiteName = "Adobe InDesign CS5.5"};
const AdobeHost kInDesign8{.application = &kInDesign, .release = &kCS6, .suiteName = "Adobe InDesign CS6"};
const AdobeHost kInDesign10{.application = &kInDesign, .release = &kCC2014, .suiteName = "Adobe InDesign CC 2014"};
const AdobeHost kInCopy6{.application = &kInCopy, .release = &kCS4, .suiteName = "Adobe InCopy CS4"};
const AdobeHost kInCopy7{.application = &kInCopy, .release = &kCS5, .suiteName = "Adobe InCopy CS5"};
const AdobeHost kInCopy75{.application = &kInCopy, .release = &kCS55, .suiteName = "Adobe InCopy CS5.5"};
const AdobeHost kInCopy8{.application = &kInCopy, .release = &kCS6, .suiteName = "Adobe InCopy CS6"};
const AdobeHost kInCopy10{.application = &kInCopy, .release = &kCC2014, .suiteName = "Adobe InCopy CC 2014"};

// The shell gets the library's ANSI paths as UTF-16.
void ShellFileOperation(UINT operation, const PathText& from, const PathText* to) {
  const std::wstring source = Widen(from.view(), CP_ACP);
  const std::wstring target = to != nullptr ? Widen(to->view(), CP_ACP) : std::wstring();
  const std::wstring_view targetView = target;
  kvil::ShellFileOperation(operation, source, to != nullptr ? &targetView : nullptr, kQuietShellOperation);
}

// The application as its App Paths entry and its program describe it.
class InstalledApplication {
 public:
  explicit InstalledApplication(const AdobeApplication& application) : application_(application) {}

  // The recorded folder and the program's path in it. A folder that is missing,
  // empty or too long to name the program is no folder: a cut path would name
  // another file.
  bool FindFolder() {
    return RegReadString(HKEY_LOCAL_MACHINE, application_.appPathsKey, "Path", folder_.data(), PathText::kCapacity) &&
           !folder_.empty() && executable_.Format("%s\\%s.exe", folder_.c_str(), application_.applicationKey);
  }
  // The program's short version string and the number it starts with ("7.5").
  bool ReadVersion() {
    if (!GetShortFileVersion(executable_.c_str(), version_.data(), decltype(version_)::kCapacity)) return false;
    versionNumber_ = std::strtod(version_.c_str(), nullptr);
    return true;
  }
  bool Find() { return FindFolder() && ReadVersion(); }

  bool SubFolder(PathText& path, const char* relative) const { return path.Format("%s%s", folder_.c_str(), relative); }

  const char* applicationKey() const { return application_.applicationKey; }
  const char* folder() const { return folder_.c_str(); }
  const char* executable() const { return executable_.c_str(); }
  const char* version() const { return version_.c_str(); }
  double versionNumber() const { return versionNumber_; }

 private:
  const AdobeApplication& application_;
  PathText folder_;
  PathText executable_;
  FixedText<32> version_;
  double versionNumber_ = 0;
};

// A file of the product's folder copied into folder, over an older copy.
void CopyProductFile(const char* productFolder, const char* name, const char* folder, bool listForRemoval) {
  PathText source, target;
  if (!JoinPath(source, productFolder, name) || !JoinPath(target, folder, name)) return;
  CopyFileA(source.c_str(), target.c_str(), FALSE);
  if (listForRemoval) extAddFilePath(target.c_str());
}

// A folder of the product's folder copied, with everything in it, into folder.
void CopyProductFolder(const char* productFolder, const char* name, const char* folder) {
  PathText source, target;
  if (!JoinPath(source, productFolder, name) || !source.Append("\\*") || !target.Format("%s\\%s", folder, name)) {
    return;
  }
  CreateDirectoryA(target.c_str(), nullptr);
  ShellFileOperation(FO_COPY, source, &target);
}

// "...\Products\<application key>\<version record>": where the product keeps the
// application's program and the suite's name. The record only informs the
// product, so its failures are not reported.
void WriteSuiteRecord(const AdobeHost& host, const char* executable) {
  RecordKeyText key;
  if (!key.Format("%s\\%s\\Products\\%s\\%s", kMakerRoot, GetKvilVersionKey(), host.application->applicationKey,
                  host.release->versionRecord)) {
    return;
  }
  RegSetString(key.c_str(), "Path", executable);
  RegSetString(key.c_str(), "Name", host.suiteName);
}

// The plug-in and its resources into the application's plug-in folder, the
// start-up script into the application's start-up scripts. Only the plug-in is
// listed for removal: the setup program removes it from the list, the rest
// through RemoveInDesign and RemoveInCopyPln.
void CopyPluginFiles(const AdobeHost& host, const InstalledApplication& application, const char* productFolder) {
  const AdobeRelease& release = *host.release;
  PathText plugins;
  if (application.SubFolder(plugins, kPluginFolder)) {
    CreateDirectoryA(plugins.c_str(), nullptr);
    CopyProductFile(productFolder, release.plugin, plugins.c_str(), true);
    if (release.resources != nullptr) CopyProductFolder(productFolder, release.resources, plugins.c_str());
  }
  PathText scripts;
  if (application.SubFolder(scripts, kStartupScriptFolder) &&
      (CreateDirectoryA(scripts.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS)) {
    CopyProductFile(productFolder, kStartupScript, scripts.c_str(), false);
  }
}

struct AdobeOps {
  static HostResult Exist(const AdobeHost& host, int kind, int, std::intptr_t, std::intptr_t) {
    if (auto refusal = office::RefuseKind(kPluginKinds, kind, 0)) return *refusal;
    InstalledApplication application(*host.application);
    if (!application.FindFolder()) return 0;
    // App Paths naming the program itself rather than its folder is not an
    // installation. A folder is no program, so only another path is opened.
    DWORD binaryType = 0;
    if (!IsExistingFolder(application.folder()) && GetBinaryTypeA(application.folder(), &binaryType)) return 0;
    if (!application.ReadVersion()) return 0;
    const double version = application.versionNumber();
    return host.release->lowest <= version && version < host.release->below ? 1 : 0;
  }

  static HostResult Info(const AdobeHost& host, int, int, char* buffer, std::int32_t* length) {
    InstalledApplication application(*host.application);
    if (!application.Find()) return 0;
    return FormatInfoList(application.applicationKey(), application.version(), buffer, length);
  }

  static HostResult Avail(const AdobeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (host.release->availLooksForPlugin) {
      if (auto refusal = office::RefuseKind(kPluginKinds, kind, kNotApplicable)) return *refusal;
      PathText startup, plugin;
      DWORD length = PathText::kCapacity;
      if (!GetStartupDir(startup.data(), &length, lcid) || !JoinPath(plugin, startup.c_str(), kSpellerPlugin) ||
          !FileExists(plugin.c_str())) {
        return 0;
      }
    }
    return Exist(host, kind, lcid, 0, 0);
  }

  // Answers 0 whenever it ran, attached or not: the setup program learns the
  // outcome from Check.
  static HostResult Attach(const AdobeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    // The suite is recorded for the grammar checker and the thesaurus too, which
    // it does not take; a kind that is no tool at all writes nothing.
    if (!IsToolKind(kind)) return kNotApplicable;
    InstalledApplication application(*host.application);
    const bool found = application.FindFolder();
    if (found) WriteSuiteRecord(host, application.executable());
    if (auto refusal = office::RefuseKind(kPluginKinds, kind, kNotApplicable)) return *refusal;
    if (!found) return 0;
    PathText productFolder;
    DWORD length = PathText::kCapacity;
    if (!application.ReadVersion() || !GetUninstallDir(productFolder.data(), &length)) return 0;

    const char* toolKey = ToolKeyName(kind, kSharedTree);
    RecordKeyText recordKey, toolRecordKey;
    if (!BuildRecordKey(recordKey.data(), RecordKeyText::kCapacity, application.applicationKey(), application.version(),
                        toolKey, lcid) ||
        !toolRecordKey.Format("%s\\%s\\Products\\%s\\%s\\%s", kMakerRoot, GetKvilVersionKey(),
                              application.applicationKey(), application.version(), toolKey)) {
      return 0;
    }
    RegSetDword(HKEY_LOCAL_MACHINE, toolRecordKey.c_str(), "Detachable", 1);
    if (!WriteAttachRecord(recordKey.c_str(), kind, lcid, kSharedTree, 2)) return 0;
    // In these applications the Russian speller does not insist on the letter yo.
    if (kind == kSpeller && lcid == office::kRussian) {
      RegSetDword(HKEY_LOCAL_MACHINE, recordKey.c_str(), "StrictYO", 0);
    }
    CopyPluginFiles(host, application, productFolder.c_str());
    return 0;
  }

  // Answers 0 whenever it ran. The plug-in stays until the setup program removes it.
  static HostResult Detach(const AdobeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = office::RefuseKind(kPluginKinds, kind, kNotApplicable)) return *refusal;
    InstalledApplication application(*host.application);
    if (!application.Find()) return 0;
    SetAttachedFlag(kind, lcid, application.applicationKey(), application.version(), kSharedTree, 0);
    return 0;
  }

  // Looks for the CS plug-in whatever the release: CC 2014, which has its own,
  // never reads as attached.
  static HostResult Check(const AdobeHost& host, int kind, int lcid, std::intptr_t, std::intptr_t) {
    if (auto refusal = office::RefuseKind(kPluginKinds, kind, kNotApplicable)) return *refusal;
    InstalledApplication application(*host.application);
    PathText plugins, plugin;
    if (!application.Find() ||
        CheckAttachedFlag(kind, lcid, application.applicationKey(), application.version(), kSharedTree) == 0 ||
        !application.SubFolder(plugins, kPluginFolder) || !JoinPath(plugin, plugins.c_str(), kSpellerPlugin)) {
      return 0;
    }
    return FileExists(plugin.c_str()) ? 1 : 0;
  }
};

// The CS plug-in, its resources and the start-up script go; CC 2014's plug-in
// and resources stay.
void RemovePluginFiles(const AdobeApplication& adobeApplication) {
  InstalledApplication application(adobeApplication);
  if (!application.FindFolder()) return;
  PathText plugins, file;
  if (application.SubFolder(plugins, kPluginFolder)) {
    if (JoinPath(file, plugins.c_str(), kSpellerPlugin)) DeleteFileA(file.c_str());
    if (JoinPath(file, plugins.c_str(), kSpellerResources)) ShellFileOperation(FO_DELETE, file, nullptr);
  }
  PathText scripts;
  if (application.SubFolder(scripts, kStartupScriptFolder) && JoinPath(file, scripts.c_str(), kStartupScript)) {
    DeleteFileA(file.c_str());
  }
}

}  // namespace
}  // namespace kvil

KVIL_HOST_EXPORTS(InDesign6, kvil::AdobeOps, kvil::kInDesign6)
KVIL_HOST_EXPORTS(InDesign7, kvil::AdobeOps, kvil::kInDesign7)
KVIL_HOST_EXPORTS(InDesign75, kvil::AdobeOps, kvil::kInDesign75)
KVIL_HOST_EXPORTS(InDesign8, kvil::AdobeOps, kvil::kInDesign8)
KVIL_HOST_EXPORTS(InDesign10, kvil::AdobeOps, kvil::kInDesign10)
KVIL_HOST_EXPORTS(InCopy6, kvil::AdobeOps, kvil::kInCopy6)
KVIL_HOST_EXPORTS(InCopy7, kvil::AdobeOps, kvil::kInCopy7)
KVIL_HOST_EXPORTS(InCopy75, kvil::AdobeOps, kvil::kInCopy75)
KVIL_HOST_EXPORTS(InCopy8, kvil::AdobeOps, kvil::kInCopy8)
KVIL_HOST_EXPORTS(InCopy10, kvil::AdobeOps, kvil::kInCopy10)

// Called by the setup program when the product goes; always 1.
extern "C" kvil::HostResult RemoveInDesign() {
  return kvil::GuardExport(1, [] {
    kvil::RemovePluginFiles(kvil::kInDesign);
    return kvil::HostResult{1};
  });
}
extern "C" kvil::HostResult RemoveInCopyPln() {
  return kvil::GuardExport(1, [] {
    kvil::RemovePluginFiles(kvil::kInCopy);
    return kvil::HostResult{1};
  });
}

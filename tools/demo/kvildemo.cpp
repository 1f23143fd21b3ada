// The demo machine: "kvildemo seed" installs the product and the hosts the
// library attaches it to into the Windows machine it runs on (a private Wine
// prefix), so that the DLL and the survey tool can be tried by hand. The machine
// is the one the library meets in the field: 64-bit Windows with 32-bit
// programs, each installed as its 32-bit setup leaves it. Their machine keys are
// in the 32-bit registry view (below HKLM\SOFTWARE\WOW6432Node), their folders
// under "C:\Program Files (x86)", and the Windows Installer keeps its own data
// in the 64-bit view as it does for every program.
#include <windows.h>
#include <shlobj.h>

#include <array>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "browser_fixture.h"
#include "frontpage_fixture.h"
#include "indesign_fixture.h"
#include "key_location.h"
#include "mail_fixture.h"
#include "office_fixture.h"
#include "open_office_fixture.h"
#include "product_fixture.h"
#include "registry_probe.h"
#include "registry_view.h"
#include "replacement_fixture.h"
#include "tool_app.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace {

using kvil::machine::InstalledProduct;
using kvil::machine::ProductOptions;

// Each seeding step reports every thing it put on the machine, one line each.
class SeedLog {
 public:
  explicit SeedLog(std::string_view step) : step_(step) {}
  void Seeded(const std::string& what) const { std::printf("%s: %s\n", step_.c_str(), what.c_str()); }

 private:
  std::string step_;
};

// A seeded key as regedit finds it: where the registry keeps it in the view the
// program that owns it reads it in.
std::string KeyText(HKEY root, const std::string& path) {
  kvil::UniqueHKey key;
  const kvil::KeyInView placed = kvil::PlaceInView(root, path, kvil::machine::SeedingView(root, path));
  if (RegOpenKeyExA(root, placed.path.c_str(), 0, KEY_READ | placed.flag, key.put()) == ERROR_SUCCESS) {
    if (const std::optional<kvilhosts::RegeditKey> located = kvilhosts::LocateKey(key.get(), root, path)) {
      return located->Text();
    }
  }
  return kvilhosts::RegeditKey{root, path}.Text();
}
std::string Hklm(const std::string& path) { return KeyText(HKEY_LOCAL_MACHINE, path); }
std::string Hkcu(const std::string& path) { return KeyText(HKEY_CURRENT_USER, path); }

struct SeedingStep {
  const char* name;
  void (*seed)(const SeedLog& log);
};

std::string CommonProgramsFolder() {
  std::array<char, MAX_PATH> folder{};
  const HRESULT status = SHGetFolderPathA(nullptr, CSIDL_COMMON_PROGRAMS, nullptr, SHGFP_TYPE_CURRENT, folder.data());
  if (FAILED(status)) kvil::machine::ThrowComError("cannot find the all-users Programs folder", status);
  return folder.data();
}

constexpr char kProductFolder[] = "C:\\Program Files (x86)\\Kvil";

// Kvil 8.0 with its Russian and Ukrainian engines, where its 32-bit setup puts
// it: the start-up folder is recorded as "%ProgramFiles%\Kvil", which a 32-bit
// program, and the library reading the product's 32-bit view, expands to the
// 32-bit programs' folder.
constexpr char kStartupDirText[] = "%ProgramFiles%\\Kvil";

void SeedProduct(const SeedLog& log) {
  ProductOptions options;
  options.majorVersion = 8;
  options.productDir = kProductFolder;
  options.menuDir = CommonProgramsFolder() + "\\Kvil";
  options.languages = {1049, 1058};
  options.startupDirExpandText = kStartupDirText;
  const InstalledProduct product = kvil::machine::InstallProduct(options);

  log.Seeded("uninstall entry " + Hklm(product.uninstallKey) + " (UninstallString " + options.productDir +
             "\\uninst.exe, MenuLink " + options.menuDir + ")");
  for (const int lcid : options.languages) {
    log.Seeded("options " + Hklm(product.OptionsKey(lcid)) + " (Kvil startup dir " + kStartupDirText + ", " +
               product.StartupDir(lcid) + " for a 32-bit program)");
  }
  log.Seeded("product folder " + options.productDir + " (uninst.exe, KvilEditor.exe)");
  for (const int lcid : options.languages) {
    log.Seeded("start-up folder " + product.StartupDir(lcid) + " for " + std::to_string(lcid) +
               " (engines, interface modules, hyphenators, lexicons)");
  }
  log.Seeded("shortcut " + options.menuDir + "\\Kvil Editor.lnk -> " + options.productDir + "\\KvilEditor.exe");
}

// Office 97 as its setup leaves it: Word, Excel and Access in one folder, with
// English as the language Excel and Access spell in before anything is attached.
constexpr char kOffice97Folder[] = "C:\\Program Files (x86)\\Microsoft Office\\Office";
constexpr int kEnglish = 1033;

void SeedWord97(const SeedLog& log) {
  kvil::machine::CreateFolder(kOffice97Folder);
  kvil::machine::InstallWord97(kOffice97Folder);
  log.Seeded("options " + Hkcu("Software\\Microsoft\\Office\\8.0\\Word\\Options"));
  log.Seeded("install root " + Hklm("SOFTWARE\\Microsoft\\Office\\8.0\\Word\\InstallRoot") + " (Path " +
             kOffice97Folder + ")");
}

void SeedExcel97(const SeedLog& log) {
  kvil::machine::CreateFolder(kOffice97Folder);
  kvil::machine::InstallExcel97(kOffice97Folder, kEnglish);
  const std::string speller = " (Speller " + std::to_string(kEnglish) + "\\Normal)";
  log.Seeded("speller " + Hkcu("Software\\Microsoft\\Office\\8.0\\Excel\\Spell Checker") + speller);
  log.Seeded("speller " + Hklm("Software\\Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker") +
             speller);
  log.Seeded("install root " + Hklm("SOFTWARE\\Microsoft\\Office\\8.0\\Excel\\InstallRoot") + " (Path " +
             kOffice97Folder + ")");
}

// Access draws Tahoma through win.ini's font substitute. Attaching a Russian or
// Ukrainian speller points it at the Cyrillic character set and records what it
// was, so the demo starts from a plain Western entry to show the change.
void SeedAccess97(const SeedLog& log) {
  kvil::machine::InstallAccess97(kOffice97Folder, kEnglish);
  kvil::machine::WriteTahomaSubstitute("Tahoma,0");
  log.Seeded("speller " + Hklm("SOFTWARE\\Microsoft\\Office\\8.0\\Access\\Speller") + " (Language ID " +
             std::to_string(kEnglish) + ")");
  log.Seeded("program folder " + Hklm("SOFTWARE\\Microsoft\\Office\\8.0\\Common\\InstallRoot") + " (OfficeBin " +
             kOffice97Folder + "\\)");
  log.Seeded(std::string("program ") + kOffice97Folder + "\\MSACCESS.EXE (8.0)");
  log.Seeded("font substitute win.ini [FontSubstitutes] Tahoma,0=Tahoma,0");
}

// Office 2000 in a folder of its own: Word, Excel and Access, and its Russian
// proofing tools as the Installer registered them, so that attaching Word 2000's
// Russian speller shows the Installer's paths pointed at the product.
constexpr char kOffice2000Folder[] = "C:\\Program Files (x86)\\Microsoft Office\\Office9";
constexpr char kOffice2000Proof[] = "C:\\Program Files (x86)\\Common Files\\Microsoft Shared\\Proof";

void SeedOffice2000(const SeedLog& log) {
  kvil::machine::CreateFolder(kOffice2000Folder);
  for (const char* application : {"Word", "Excel", "Access"}) {
    kvil::machine::InstallOfficeApplication(9, application, kOffice2000Folder);
    log.Seeded("install root " + Hklm(std::string("SOFTWARE\\Microsoft\\Office\\9.0\\") + application + "\\InstallRoot") +
               " (Path " + kOffice2000Folder + "\\)");
  }
  kvil::machine::RegisterOffice2000RussianSpeller(kOffice2000Proof);
  log.Seeded("uninstall entry " + Hklm(std::string("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\") +
                                      kvil::machine::kOffice2000RussianProductCode));
  const std::pair<const char*, const char*> components[] = {
      {kvil::machine::kRussianSpellerEngineComponent, "MSSP3RU.DLL"},
      {kvil::machine::kRussianSpellerLexiconComponent, "MSSP3RU.LEX"},
  };
  for (const auto& [component, file] : components) {
    log.Seeded("component " + Hklm(std::string(kvil::machine::kLocalSystemComponents) + "\\" + component) + " (" +
               kvil::machine::kOffice2000RussianPacked + " " + kOffice2000Proof + "\\" + file + ")");
  }
}

// FrontPage 2000 beside Office 2000, spelling in English before anything is
// attached.
void SeedFrontPage2000(const SeedLog& log) {
  kvil::machine::InstallFrontPage2000(kOffice2000Folder, kEnglish);
  log.Seeded("options " + Hkcu("Software\\Microsoft\\FrontPage") + " (FrontPageLangID " + std::to_string(kEnglish) +
             ")");
  log.Seeded(std::string("program ") + kOffice2000Folder + "\\Frontpg.exe (4.0)");
}

// Office 2010: Word, Excel and Outlook, Word's proofing-tool module, and the
// Installer's lists of Russian proofing tools naming Microsoft's and the
// product's side by side, so that attaching Word 2010's Russian grammar checker
// shows Microsoft's tools switched aside and the module replaced.
constexpr char kOffice2010Folder[] = "C:\\Program Files (x86)\\Microsoft Office\\Office14";

void SeedOffice2010(const SeedLog& log) {
  kvil::machine::InstallModernOffice(14, kOffice2010Folder, {"Word", "Excel", "Outlook"});
  for (const char* application : {"Word", "Excel", "Outlook"}) {
    log.Seeded("install root " + Hklm(std::string("SOFTWARE\\Microsoft\\Office\\14.0\\") + application + "\\InstallRoot") +
               " (Path " + kOffice2010Folder + "\\)");
  }
  log.Seeded(std::string("proofing-tool module ") + kOffice2010Folder + "\\msproof7.dll (14.0)");
  for (const kvil::machine::QualifiedComponentList& list : kvil::machine::ModernOfficeLists(14)) {
    log.Seeded("qualified components " + KeyText(HKEY_CLASSES_ROOT, list.key) + " (" + list.valueName +
               ": Microsoft's entry, " + list.productEntry + ")");
  }
}

// CorelDRAW 6 with its own speller module in its programs folder, and the
// product's replacement module in the start-up folder, so that attaching the
// Russian speller shows Corel's module kept as "cdrtpr60.org".
constexpr char kCorelFolder[] = "C:\\Corel60";

void SeedCorelDraw6(const SeedLog& log) {
  const std::string config = std::string(kCorelFolder) + "\\Config";
  const std::string programs = std::string(kCorelFolder) + "\\Programs";
  kvil::machine::InstallCorelDraw6(config, "..\\Programs", programs);
  kvil::machine::WriteReplacementModules(kProductFolder);
  log.Seeded("configuration " + Hklm(kvil::machine::kCorelDraw6Key) + " (ConfigDir " + config + ")");
  log.Seeded(config + "\\corelapp.ini ([Config] ProgramsDir=..\\Programs)");
  log.Seeded("speller module " + programs + "\\cdrtpr60.dll (Corel's)");
  log.Seeded(std::string("replacement modules in ") + kProductFolder + " (cdrtpr60.dll and the other hosts')");
}

// InDesign CS6 and the product's plug-in files.
constexpr char kInDesignFolder[] = "C:\\Program Files (x86)\\Adobe\\Adobe InDesign CS6";

void SeedInDesignCs6(const SeedLog& log) {
  kvil::machine::InstallAdobeApplication(kvil::machine::AdobeApplication::kInDesign, kInDesignFolder, 8, 0);
  kvil::machine::WriteProductPlugins(kProductFolder);
  log.Seeded("App Paths " + Hklm(kvil::machine::AdobeAppPathsKey(kvil::machine::AdobeApplication::kInDesign)) +
             " (Path " + kInDesignFolder + ")");
  log.Seeded(std::string("program ") + kInDesignFolder + "\\INDESIGN.exe (8.0)");
  log.Seeded(std::string("plug-in files in ") + kProductFolder + " (KVILSpeller.pln, (KVILSpeller Resources), TervaneSpeller.jsx)");
}

// LibreOffice 4 with its own Russian dictionary extension, and the product's
// extension folder, so that attaching the Russian speller shows the extension
// copied into LibreOffice and announced to the added-files list.
constexpr char kLibreOfficeFolder[] = "C:\\Program Files (x86)\\LibreOffice 4";

void SeedLibreOffice4(const SeedLog& log) {
  const std::string program =
      kvil::machine::InstallOfficeSuite(kvil::machine::SuiteFamily::kLibreOffice, "4.1.0", kLibreOfficeFolder);
  kvil::machine::WriteProductExtension(kProductFolder);
  log.Seeded("suite " + Hklm(kvil::machine::SuiteRegistryKey(kvil::machine::SuiteFamily::kLibreOffice, "4.1.0") +
                            "\\4.1.0") +
             " (Path " + program + ")");
  log.Seeded(std::string("extensions ") + kLibreOfficeFolder + "\\share\\extensions (dict-ru)");
  log.Seeded(std::string("extension folder ") + kProductFolder + "\\kvillo");
}

constexpr char kFirefoxFolder[] = "C:\\Program Files (x86)\\Mozilla Firefox";
constexpr char kLiveMailFolder[] = "C:\\Program Files (x86)\\Windows Live\\Mail";

void SeedFirefox2(const SeedLog& log) {
  kvil::machine::InstallFirefox2(kFirefoxFolder);
  log.Seeded("version " + Hklm(kvil::machine::kFirefoxKey) + " (CurrentVersion 2.0.0.20 (en-US))");
  log.Seeded(std::string("Firefox 2.0.0.20 in ") + kFirefoxFolder + " (firefox.exe, components\\myspell.dll)");
}

void SeedWindowsLiveMail(const SeedLog& log) {
  kvil::machine::InstallWindowsLiveMail(kLiveMailFolder);
  log.Seeded("install root " + Hklm(kvil::machine::kWindowsLiveMailKey) + " (InstallRoot " + kLiveMailFolder + ")");
  log.Seeded(std::string("Windows Live Mail in ") + kLiveMailFolder + " (wlmail.exe 8.0)");
}

// What the demo machine holds, in seeding order. The product comes first: every
// host step after it attaches to or looks for the product's files.
const std::vector<SeedingStep>& DemoMachine() {
  static const std::vector<SeedingStep> steps = {
      {"product", SeedProduct},
      {"Word 97", SeedWord97},
      {"Excel 97", SeedExcel97},
      {"Access 97", SeedAccess97},
      {"Office 2000", SeedOffice2000},
      {"FrontPage 2000", SeedFrontPage2000},
      {"Office 2010", SeedOffice2010},
      {"CorelDRAW 6", SeedCorelDraw6},
      {"InDesign CS6", SeedInDesignCs6},
      {"LibreOffice 4", SeedLibreOffice4},
      {"Firefox 2", SeedFirefox2},
      {"Windows Live Mail", SeedWindowsLiveMail},
  };
  return steps;
}

int Seed() {
  const char* current = "COM";
  try {
    const kvil::machine::ComApartment apartment;
    for (const SeedingStep& step : DemoMachine()) {
      current = step.name;
      step.seed(SeedLog(step.name));
    }
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvildemo: seeding %s failed: %s\n", current, error.what());
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Installs Kvil 8.0 (Russian, Ukrainian) and the hosts it attaches to into this\n"
               "machine, as 32-bit programs on 64-bit Windows, for trying the library by hand.",
               "kvildemo"};
  kvil::tools::SetUpToolApp(app, "Exit status: 0 seeded, 1 seeding failed, 2 usage error.");
  app.fallthrough();
  app.add_subcommand("seed", "Seeds this machine");
  app.require_subcommand(1);
  if (const std::optional<int> exitStatus = kvil::tools::ParseOrExit(app, argc, argv)) return *exitStatus;
  return Seed();
}

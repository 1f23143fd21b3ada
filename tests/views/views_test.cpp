// Where the library's keys land on a 64-bit Windows, in a Wine prefix of this
// program's own with nothing redirected (run_views_test.cmake): the seeder lays
// the machine out as installers leave it (a 32-bit program's keys in
// Wow6432Node, the Windows Installer's data in the 64-bit view, folders under
// "Program Files (x86)"), and every key is named by its real path, as regedit
// shows it. Each case starts from the clean machine and takes away all it added.

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "browser_fixture.h"
#include "frontpage_fixture.h"
#include "handles.h"
#include "indesign_fixture.h"
#include "library_under_test.h"
#include "mail_fixture.h"
#include "office_fixture.h"
#include "open_office_fixture.h"
#include "product_fixture.h"
#include "quark_fixture.h"
#include "registry_probe.h"
#include "replacement_fixture.h"

namespace kvil::test {
namespace {

struct NoCase {
  bool operator()(const std::string& a, const std::string& b) const { return _stricmp(a.c_str(), b.c_str()) < 0; }
};
using Keys = std::set<std::string, NoCase>;
Keys operator+(Keys keys, const Keys& more) {
  keys.insert(more.begin(), more.end());
  return keys;
}

// ---- The registry by real path: each key's values (type and bytes), and
// whether it has subkeys.

struct KeyState {
  std::map<std::string, std::string, NoCase> values;
  bool hasSubkeys = false;
};
using Registry = std::map<std::string, KeyState, NoCase>;

// Wine's own tables (the performance counters' names among them, values too
// long to read here) and the shell's folder lists, which neither the product
// nor any host writes, are most of the machine's keys and are not read. Of the
// machine's classes the 32-bit view's are read whole, and of the 64-bit view's
// the keys hosts and the Installer keep there.
const Keys kNotRead = {
    "HKLM\\SOFTWARE\\Classes",
    "HKLM\\SOFTWARE\\Microsoft\\Cryptography",
    "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib",
    "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Telephony",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer",
};

std::pair<HKEY, std::string> Split(const std::string& name) {
  return {name.starts_with("HKLM") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, name.substr(5)};
}

// Keys are opened by their real path in the 64-bit view, where no flag
// redirects them; a link (a key Wine shares between the views) is not followed:
// what it points at is read where it lies.
void Read(HKEY parent, const std::string& subkey, const std::string& name, Registry& registry) {
  UniqueHKey key;
  if (RegOpenKeyExA(parent, subkey.c_str(), REG_OPTION_OPEN_LINK, KEY_READ | KEY_WOW64_64KEY, key.put()) !=
      ERROR_SUCCESS) {
    return;
  }
  KeyState& state = registry[name];
  static std::string valueName(16384, '\0'), data(1 << 16, '\0');
  for (DWORD index = 0;; ++index) {
    DWORD nameLength = static_cast<DWORD>(valueName.size()), size = static_cast<DWORD>(data.size()), type = 0;
    const LONG status = RegEnumValueA(key.get(), index, valueName.data(), &nameLength, nullptr, &type,
                                      reinterpret_cast<BYTE*>(data.data()), &size);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) throw std::runtime_error("cannot read the values of " + name);
    state.values[valueName.substr(0, nameLength)] = std::to_string(type) + ":" + data.substr(0, size);
  }
  char child[256];
  for (DWORD index = 0, length = sizeof child;
       RegEnumKeyExA(key.get(), index, child, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
       ++index, length = sizeof child) {
    state.hasSubkeys = true;
    if (!kNotRead.contains(name + "\\" + child)) Read(key.get(), child, name + "\\" + child, registry);
  }
}

Registry ReadMachine() {
  Registry registry;
  for (const char* name :
       {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE\\Classes\\Wow6432Node", "HKLM\\SOFTWARE\\Classes\\Installer",
        "HKLM\\SOFTWARE\\Classes\\CLSID\\{0002DF01-0000-0000-C000-000000000046}",
        "HKLM\\SOFTWARE\\Classes\\QuarkXPress.XTension", "HKCU\\Software"}) {
    const auto [root, path] = Split(name);
    Read(root, path, name, registry);
  }
  return registry;
}

// The keys whose own values differ between two readings, and the keys that
// came or went holding values or nothing at all (not the bare parents of one).
Keys Landed(const Registry& before, const Registry& after) {
  Keys landed;
  for (const auto& [from, to] : {std::pair(&before, &after), std::pair(&after, &before)}) {
    for (const auto& [name, state] : *from) {
      const auto other = to->find(name);
      if (other == to->end() ? !state.values.empty() || !state.hasSubkeys : other->second.values != state.values) {
        landed.insert(name);
      }
    }
  }
  return landed;
}

// The 32-bit view of HKLM\SOFTWARE, the 64-bit view, and the user's keys, which
// both views share.
std::string Wow(const std::string& path) { return "HKLM\\SOFTWARE\\Wow6432Node\\" + path; }
std::string Native(const std::string& path) { return "HKLM\\SOFTWARE\\" + path; }
std::string User(const std::string& path) { return "HKCU\\Software\\" + path; }
using View = std::string (*)(const std::string&);

// A record of the product, in either view's SOFTWARE, and an Installer
// component key, always the 64-bit view's.
std::string Record(const std::string& path) { return "Tervane\\Kvil\\8.0\\Products\\" + path; }
std::string Component(const std::string& packed) {
  return Native("Microsoft\\Windows\\CurrentVersion\\Installer\\Components\\" + packed);
}

// What a Microsoft host's attach leaves in one view: its record, the shared
// registration, and the product's note of the registration that it replaced.
Keys Registered(View view, const std::string& hostAndVersion, const std::string& tool) {
  return {view(Record(hostAndVersion + "\\" + tool + "\\1049")),
          view("Microsoft\\Shared Tools\\Proofing Tools\\" + tool + "\\1049\\Normal"),
          view("Tervane\\Kvil\\8.0\\Saved connections\\" + tool + "\\1049\\Normal")};
}

// ---- The machine.

constexpr REGSAM kView32 = KEY_WOW64_32KEY, kView64 = KEY_WOW64_64KEY;
std::string ProgramsOf(REGSAM view) { return view == kView64 ? "C:\\Program Files" : "C:\\Program Files (x86)"; }

std::string CommonProgramsMenu() {
  char folder[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_COMMON_PROGRAMS, nullptr, SHGFP_TYPE_CURRENT, folder);
  return folder;
}

// What the Program Files folders and the common Start menu hold.
Keys FolderEntries() {
  Keys entries;
  for (const std::string& root : {ProgramsOf(kView32), ProgramsOf(kView64), CommonProgramsMenu()}) {
    for (const auto& entry : std::filesystem::directory_iterator(root)) entries.insert(entry.path().string());
  }
  return entries;
}

// The machine before any case: Wine's own keys and folders. A machine that
// already holds the product is no fresh prefix, and nothing is written to it.
struct CleanMachine {
  Registry registry;
  Keys folders;
};
const CleanMachine& Clean() {
  static const CleanMachine clean{ReadMachine(), FolderEntries()};
  if (clean.registry.contains(Wow("Tervane")) || clean.registry.contains(Native("Tervane"))) {
    throw std::runtime_error("not a fresh Wine prefix: the product is there");
  }
  return clean;
}

// The product (8.0, Russian and Ukrainian) by a setup of the given view, into
// that view's Program Files, its start-up folder being its product folder. A
// product installed for 64-bit hosts also has "Installing" = 64 in the 64-bit view.
InstalledProduct InstallKvil(REGSAM view, bool for64BitHosts = false, const std::string& startupDirExpandText = {}) {
  const ProgramsView in(view);
  return InstallProduct({.productDir = ProgramsOf(view) + "\\Kvil",
                         .menuDir = CommonProgramsMenu() + "\\Kvil",
                         .startupDirs = {},
                         .registry64 = for64BitHosts,
                         .startupDirExpandText = startupDirExpandText});
}

// ---- The cases: one export call after another, each answer stated, and after
// a call that writes, every key that differs from the machine as installed.

struct Step {
  std::string operation;  // Exist, Avail, Attach, Detach, Check of the case's host, or another export
  KvilResult answer;
  std::optional<Keys> landed = std::nullopt;  // none: not looked at after this call
};

// The case's host operations take the tool kind and the language; Office's
// restoring exports (RegisterOffice90 gives Office 2000's components their own
// files back) are called as the setup tool calls them.
KvilResult CallExport(const LibraryUnderTest& dll, const InstalledProduct& product, const std::string& suffix,
                      int kind, const std::string& operation) {
  if (operation.starts_with("DetachOffice")) return reinterpret_cast<KvilResult (*)()>(dll.Find(operation))();
  if (operation != "RegisterOffice90") return dll.Call(operation, suffix, kind, 1049);
  using Export = KvilResult (*)(std::int32_t, std::int32_t, const char*, const char*, const char*, std::int32_t,
                                std::int32_t);
  return reinterpret_cast<Export>(dll.Find(operation))(kind, 1049, product.StartupDir(1049).c_str(), "kvilsp3.dll",
                                                       "SPRUNORM.LEX", 1, 9);
}

// After the steps, every key, value and folder added since the clean machine
// goes, in whichever view it landed; a value changed in a key that was there
// before cannot be put back and stays for the check to find.
void RunCase(const std::function<InstalledProduct()>& install, const std::string& suffix, int kind,
             const std::vector<Step>& steps) {
  const CleanMachine& clean = Clean();
  const InstalledProduct product = install();
  const Registry installed = ReadMachine();
  {
    const LibraryUnderTest dll;
    for (const Step& step : steps) {
      EXPECT_EQ(CallExport(dll, product, suffix, kind, step.operation), step.answer) << step.operation;
      if (step.landed) {
        EXPECT_EQ(Landed(installed, ReadMachine()), *step.landed) << "after " << step.operation;
      }
    }
  }
  const Registry now = ReadMachine();
  for (const auto& [name, state] : now) {
    const auto [root, path] = Split(name);
    const auto was = clean.registry.find(name);
    const std::string parent = name.substr(0, name.rfind('\\'));
    if (was == clean.registry.end()) {
      // A new parent takes its new keys along.
      if (clean.registry.contains(parent) || !now.contains(parent)) RegDeleteTreeA(root, path.c_str());
      continue;
    }
    for (const auto& [value, data] : state.values) {
      if (!was->second.values.contains(value)) RegDeleteKeyValueA(root, path.c_str(), value.c_str());
    }
  }
  for (const std::string& entry : FolderEntries()) {
    if (!clean.folders.contains(entry)) std::filesystem::remove_all(entry);
  }
  EXPECT_EQ(Landed(clean.registry, ReadMachine()), Keys{}) << "left behind in the registry";
}

// One member of a family, installed with the product by setups of one view and
// taken through the typical request: there and available, attached and
// checked, then detached, Attach and Detach giving the same answer. What the
// attach leaves is kept and attachOnly; the detach takes attachOnly away, or,
// where a restoring export follows it, that export leaves kept.
struct Seeding {
  std::string programs;  // the view's Program Files
  const InstalledProduct& product;
};
struct Member {
  std::string suffix;
  int kind;
  std::function<void(const Seeding&)> install;
  Keys kept, attachOnly = {};
  KvilResult answer = 1;
  std::string restore = {};
};

void RunMember(const Member& member, REGSAM view) {
  SCOPED_TRACE(member.suffix);
  std::vector<Step> steps = {{"Exist", 1}, {"Avail", 1}, {"Attach", member.answer, member.kept + member.attachOnly},
                             {"Check", 1}, {"Detach", member.answer}};
  if (!member.restore.empty()) steps.push_back({member.restore, 1});
  steps.back().landed = member.kept;
  const auto install = [&] {
    const InstalledProduct product = InstallKvil(view, view == kView64);
    const ProgramsView in(view);
    member.install({ProgramsOf(view), product});
    return product;
  };
  RunCase(install, member.suffix, member.kind, steps);
}

// Word 2010 or 2013, as its setup of the product's view leaves it, attached for
// the grammar in that view; its components redirected and, for 2010,
// Microsoft's entry switched out of the qualified-component lists of
// HKEY_CLASSES_ROOT, both in the 64-bit view whatever the product's. Detaching
// Word and then Office keeps all of it, and the lists' saved copy.
Member ModernWord(REGSAM view, int officeVersion) {
  const std::string version = std::to_string(officeVersion), word = "WINWORD\\" + version + ".0";
  const View in = view == kView64 ? Native : Wow;
  // Office's Russian grammar checker components, as the Installer keys them.
  Keys kept = Registered(in, word, "Grammar") + Keys{in(Record(word)), Component("24B871BFD5A13D117B180008F5B92568"),
                                                     Component("4857C3C6DC6D2D117B870008F5A40D05")};
  if (officeVersion == 14) {
    kept = kept + Keys{Native("Classes\\Installer\\Components\\841D7D937A947D641B95375D7377D30F"),
                       Native("Classes\\Installer\\Components\\EA77853199E1AFF4B87708D83E6A7046")};
  }
  const auto install = [=](const Seeding& at) {
    InstallModernOffice(officeVersion, at.programs + "\\Microsoft Office\\Office" + version, {"Word"});
  };
  return {"WW" + version, KVIL_GRAMMAR, install, kept, {}, 1, "DetachOffice" + version};
}

}  // namespace

// The machine as 32-bit installers leave a 64-bit Windows: the product and one
// member of every family, attached, checked and detached through its exports.
// Everything lands in the 32-bit view but the user's keys, which both views
// share, and the Installer's component data and qualified components, which
// are the 64-bit view's for every program.
TEST(RegistryViews, ThirtyTwoBitHostsAreAttachedInThe32BitView) {
  const Member members[] = {
      {"EX80", KVIL_SPELLER,
       [](const Seeding& at) { InstallExcel97(at.programs + "\\Microsoft Office\\Office", 2057); },
       Registered(Wow, "EXCEL\\8.0", "Spelling"),
       {User("Microsoft\\Office\\8.0\\Excel\\Spell Checker"),
        Wow("Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker")}},
      // The Installer's components, the local system's, point at the product
      // until RegisterOffice90 gives them their own files back.
      {"WW90", KVIL_SPELLER,
       [](const Seeding& at) {
         InstallOfficeApplication(9, "Word", at.programs + "\\Microsoft Office\\Office");
         RegisterOffice2000RussianSpeller(at.programs + "\\Common Files\\Microsoft Shared\\Proof");
       },
       Registered(Wow, "WINWORD\\9.0", "Spelling"),
       {"HKLM\\" + std::string(kLocalSystemComponents) + "\\" + kRussianSpellerEngineComponent,
        "HKLM\\" + std::string(kLocalSystemComponents) + "\\" + kRussianSpellerLexiconComponent},
       1, "RegisterOffice90"},
      // No Installer data on this machine: the components go under the
      // Installer's plain key, in its view.
      {"FPAGE2000", KVIL_SPELLER,
       [](const Seeding& at) { InstallFrontPage2000(at.programs + "\\Microsoft Office\\Office", 1033); },
       Registered(Wow, "FRONTPG\\4.0", "Spelling") +
           Keys{Wow(Record("FRONTPG\\4.0")), Component(kRussianSpellerEngineComponent),
                Component(kRussianSpellerLexiconComponent)},
       {User("Microsoft\\FrontPage")}},
      {"WK40", KVIL_SPELLER,
       [](const Seeding&) {
         constexpr char list[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
         WriteText(HKEY_LOCAL_MACHINE, list, "SpellDict1", "English (United Kingdom):Spelling 2057,0");
         WriteText(HKEY_CURRENT_USER, list, "SpellDefault", "Spelling 2057,0");
       },
       Registered(Wow, "MSWORKS\\4.0", "Spelling"),
       {Wow("Microsoft\\Works\\4.0\\MS Proofing Tools"), User("Microsoft\\Works\\4.0\\MS Proofing Tools")}},
      ModernWord(kView32, 14),
      {"Editor", KVIL_GRAMMAR, [](const Seeding&) {},
       {Wow(Record("KVILEDITOR\\8.0")), Wow(Record("KVILEDITOR\\8.0\\Grammar\\1049"))}},
      // Found through App Paths, which both views share; it answers 0 by design.
      {"InDesign8", KVIL_SPELLER,
       [](const Seeding& at) {
         WriteProductPlugins(at.product.options.productDir);
         InstallAdobeApplication(AdobeApplication::kInDesign, at.programs + "\\Adobe\\Adobe InDesign CS6", 8, 0);
       },
       {Wow(Record("INDESIGN\\8.0")), Wow(Record("INDESIGN\\8.0\\Spelling")),
        Wow(Record("INDESIGN\\8.0\\Spelling\\1049"))},
       {}, 0},
      {"CDRW60", KVIL_SPELLER,
       [](const Seeding& at) {
         WriteReplacementModules(at.product.StartupDir(1049));
         InstallCorelDraw6(at.programs + "\\Corel\\Config", "..\\Programs", at.programs + "\\Corel\\Programs");
       },
       {Wow(Record("CORELDRW\\6.0\\Spelling\\1049"))}},
      // QuarkXPress 6 is where the Installer registered it, in the 64-bit view.
      {"QXS40", KVIL_SPELLER,
       [](const Seeding& at) {
         InstallProductXTensions(at.product.StartupDir(1049));
         InstallQuarkXPress({.folder = at.programs + "\\QuarkXPress 6", .major = 6, .minor = 0});
       },
       {Wow(Record("QuarkXPress\\6.0\\Spelling\\1049"))}},
      {"LibreOffice4", KVIL_SPELLER,
       [](const Seeding& at) {
         WriteProductExtension(at.product.options.productDir);
         InstallOfficeSuite(SuiteFamily::kLibreOffice, "4.1.0", at.programs + "\\LibreOffice 4");
       },
       {Wow(Record("SOFFICE\\4.1")), Wow(Record("SOFFICE\\4.1\\Spelling\\1049"))}},
      // Found through its automation server in the 32-bit classes.
      {"IE70", KVIL_SPELLER,
       [](const Seeding& at) {
         WriteBrowserProductFiles(at.product.options.productDir);
         InstallInternetExplorer7(at.programs + "\\Internet Explorer 7\\iexplore.exe");
       },
       Registered(Wow, "IEXPLORE\\7.0", "Spelling"), {User("Microsoft\\Internet Explorer\\MenuExt\\&KVIL SpellCheck")}},
      {"TheBat50", KVIL_SPELLER, [](const Seeding& at) { InstallTheBat(at.programs + "\\The Bat!\\thebat.exe"); },
       Registered(Wow, "THEBAT\\6.0", "Spelling") + Keys{Wow(Record("THEBAT\\6.0"))}},
      {"OUTL_EXPR", KVIL_SPELLER, [](const Seeding& at) { InstallOutlookExpress4(at.programs + "\\Outlook Express"); },
       Registered(Wow, "MSIMN\\4.72", "Spelling") + Keys{Wow(Record("MSIMN\\4.72"))}},
  };
  for (const Member& member : members) RunMember(member, kView32);
}

// The product installed for 64-bit hosts, with a 64-bit Office 2010 and 2013:
// the 64-bit view throughout, and nothing in the 32-bit one.
TEST(RegistryViews, ProductFor64BitHostsAttaches64BitOfficeInThe64BitView) {
  for (const int officeVersion : {14, 15}) RunMember(ModernWord(kView64, officeVersion), kView64);
}

// "Installing" is looked up in the 32-bit view first and the first value found
// decides, of whatever type; only the DWORD 64 means the 64-bit view. A host
// whose keys are only in the other view is not there.
TEST(RegistryViews, BadInputFollowsTheFirstInstallingValueAndNeverCrossesViews) {
  const auto attached = [](View in) {
    return std::vector<Step>{{"Exist", 1}, {"Avail", 1}, {"Attach", 1, Registered(in, "WINWORD\\8.0", "Spelling")}};
  };
  const std::vector<Step> noStartupFolder = {{"Exist", 1}, {"Avail", 0}, {"Attach", 0, Keys{}}};
  const std::vector<Step> notFound = {{"Exist", 0}, {"Avail", 0}};
  using Host = void (*)(const std::string& programs);
  const Host word97 = [](const std::string& programs) { InstallWord97(programs + "\\Microsoft Office\\Office"); };
  const Host word2010 = [](const std::string& programs) {
    InstallModernOffice(14, programs + "\\Microsoft Office\\Office14", {"Word"});
  };
  const RegValue dword64 = DwordValue(64);
  // "Installing" as given in each view, then the host (Internet Explorer: Wine's
  // own 64-bit automation server, 9.0) by a setup of one view, then the product
  // by one of another.
  const struct {
    std::optional<RegValue> installing32, installing64;
    Host host;
    REGSAM hostView, productView;
    const char* suffix;
    std::vector<Step> steps;
    std::string startupDirExpandText = {};
  } cases[] = {
      // The first value found decides, of whatever type and value.
      {SzValue("64", true), dword64, word97, kView32, kView32, "WW80", attached(Wow)},
      {RegValue{REG_QWORD, {64, 0, 0, 0, 0, 0, 0, 0}}, dword64, word97, kView32, kView32, "WW80", attached(Wow)},
      {DwordValue(1), dword64, word97, kView32, kView32, "WW80", attached(Wow)},
      {dword64, DwordValue(1), word97, kView64, kView64, "WW80", attached(Native)},
      {std::nullopt, dword64, word97, kView64, kView64, "WW80", attached(Native)},
      // The product's keys in the view "Installing" does not name: no product.
      {std::nullopt, dword64, word97, kView64, kView32, "WW80", noStartupFolder},
      // "C:\Program Files (x86)\" and 240 characters are past 260, where the
      // 64-bit view's "C:\Program Files\" would not be: no start-up folder.
      {std::nullopt, std::nullopt, word97, kView32, kView32, "WW80", noStartupFolder,
       "%ProgramFiles%\\" + std::string(240, 'k')},
      // The host's keys in the other view than the product's only: not found.
      {std::nullopt, std::nullopt, word2010, kView64, kView32, "WW14", notFound},
      {std::nullopt, dword64, word2010, kView32, kView64, "WW14", notFound},
      {std::nullopt, std::nullopt, nullptr, kView64, kView32, "IE70", notFound},
      // In the product's view: found.
      {std::nullopt, dword64, nullptr, kView64, kView64, "IE70", {{"Exist", 1}, {"Avail", 1}}},
  };
  for (const auto& bad : cases) {
    SCOPED_TRACE(::testing::Message() << "case " << &bad - cases << ", " << bad.suffix);
    const auto install = [&] {
      for (const auto& [view, value] : {std::pair(kView32, bad.installing32), std::pair(kView64, bad.installing64)}) {
        const ProgramsView in(view);
        if (value) WriteRaw(HKEY_LOCAL_MACHINE, "Software\\Tervane", "Installing", value->type, value->bytes);
      }
      if (bad.host) {
        const ProgramsView in(bad.hostView);
        bad.host(ProgramsOf(bad.hostView));
      }
      return InstallKvil(bad.productView, false, bad.startupDirExpandText);
    };
    RunCase(install, bad.suffix, KVIL_SPELLER, bad.steps);
  }
}

}  // namespace kvil::test

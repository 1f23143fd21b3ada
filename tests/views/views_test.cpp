// Where the library's keys land on a 64-bit Windows. run_views_test.cmake runs
// this program in a Wine prefix of its own, made for the run and deleted after
// it, with nothing redirected: the seeder lays the machine out as installers
// leave it (a 32-bit program's keys in Wow6432Node, the Windows Installer's data
// in the 64-bit view, folders under "Program Files (x86)"), and every key is
// named here by its real path, as regedit shows it. Each case starts from the
// clean machine and ends by taking away everything it added; a key it leaves
// behind fails it.

#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <cstdint>
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
#include "version_fixture.h"

namespace kvil::test {
namespace {

struct NoCase {
  bool operator()(const std::string& a, const std::string& b) const { return _stricmp(a.c_str(), b.c_str()) < 0; }
};
using Names = std::set<std::string, NoCase>;
using Keys = Names;

// ---- The registry by real path.

struct KeyState {
  std::map<std::string, std::string, NoCase> values;  // name -> type and bytes
  bool hasSubkeys = false;
};
using Registry = std::map<std::string, KeyState, NoCase>;

// Wine's own tables and the shell's folder lists, which neither the product nor
// any host writes, are most of the machine's keys and are not read. Of the machine's classes the 32-bit
// view's are read whole, and of the 64-bit view's the keys hosts and the
// Installer keep there.
const Keys kNotRead = {
    "HKLM\\SOFTWARE\\Classes",
    "HKLM\\SOFTWARE\\Microsoft\\Cryptography",
    "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Telephony",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer",
};

std::pair<HKEY, std::string> Split(const std::string& name) {
  const std::size_t separator = name.find('\\');
  return {name.starts_with("HKLM") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, name.substr(separator + 1)};
}

// Keys are opened by their real path in the 64-bit view, where no flag
// redirects them; a link (a key Wine shares between the views) is read where it
// points, not through the link.
void Read(HKEY parent, const std::string& subkey, const std::string& name, Registry& registry) {
  UniqueHKey key;
  if (RegOpenKeyExA(parent, subkey.c_str(), REG_OPTION_OPEN_LINK, KEY_READ | KEY_WOW64_64KEY, key.put()) !=
      ERROR_SUCCESS) {
    return;
  }
  KeyState& state = registry[name];
  static std::vector<char> valueName(16384);
  static std::vector<BYTE> data(1 << 16);
  for (DWORD index = 0;; ++index) {
    DWORD nameLength = static_cast<DWORD>(valueName.size());
    DWORD size = static_cast<DWORD>(data.size());
    DWORD type = REG_NONE;
    const LONG status =
        RegEnumValueA(key.get(), index, valueName.data(), &nameLength, nullptr, &type, data.data(), &size);
    if (status == ERROR_MORE_DATA && size > data.size()) {
      data.resize(size);
      --index;  // the same value again
      continue;
    }
    if (status != ERROR_SUCCESS) break;
    state.values[valueName.data()] = std::to_string(type) + ":" + std::string(data.begin(), data.begin() + size);
  }
  std::vector<std::string> subkeys;
  for (DWORD index = 0;; ++index) {
    char child[256];
    DWORD length = sizeof child;
    if (RegEnumKeyExA(key.get(), index, child, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    subkeys.emplace_back(child, length);
  }
  state.hasSubkeys = !subkeys.empty();
  for (const std::string& child : subkeys) {
    const std::string childName = name + "\\" + child;
    if (!kNotRead.contains(childName)) Read(key.get(), child, childName, registry);
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
  auto counts = [](const KeyState& state) { return !state.values.empty() || !state.hasSubkeys; };
  for (const auto& [name, state] : after) {
    const auto found = before.find(name);
    if (found == before.end() ? counts(state) : found->second.values != state.values) landed.insert(name);
  }
  for (const auto& [name, state] : before) {
    if (!after.contains(name) && counts(state)) landed.insert(name);
  }
  return landed;
}

// The 32-bit view of HKLM\SOFTWARE, the 64-bit view, and the user's keys, which
// both views share.
std::string Wow(const std::string& path) { return "HKLM\\SOFTWARE\\Wow6432Node\\" + path; }
std::string Native(const std::string& path) { return "HKLM\\SOFTWARE\\" + path; }
std::string User(const std::string& path) { return "HKCU\\Software\\" + path; }

// Under either view's SOFTWARE: a record of the product, a shared registration,
// an Installer component key (always the 64-bit view's), and a qualified
// component list of HKEY_CLASSES_ROOT in the 64-bit view.
std::string Record(const std::string& path) { return "Tervane\\Kvil\\8.0\\Products\\" + path; }
std::string Proofing(const std::string& tool) {
  return "Microsoft\\Shared Tools\\Proofing Tools\\" + tool + "\\1049\\Normal";
}
std::string Component(const std::string& packed) {
  return Native("Microsoft\\Windows\\CurrentVersion\\Installer\\Components\\" + packed);
}
std::string LocalSystemComponent(const std::string& packed) {
  return Native("Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components\\" + packed);
}
std::string QualifiedComponents(const std::string& packed) {
  return Native("Classes\\Installer\\Components\\" + packed);
}

// ---- The machine.

constexpr REGSAM kView32 = KEY_WOW64_32KEY;
constexpr REGSAM kView64 = KEY_WOW64_64KEY;
constexpr char kPrograms32[] = "C:\\Program Files (x86)";
constexpr char kPrograms64[] = "C:\\Program Files";
std::string ProgramsOf(REGSAM view) { return view == kView64 ? kPrograms64 : kPrograms32; }

std::string CommonProgramsMenu() {
  char folder[MAX_PATH] = {};
  SHGetFolderPathA(nullptr, CSIDL_COMMON_PROGRAMS, nullptr, SHGFP_TYPE_CURRENT, folder);
  return folder;
}

// What the Program Files folders and the common Start menu hold.
Names FolderEntries() {
  Names entries;
  for (const std::string& root : {std::string(kPrograms32), std::string(kPrograms64), CommonProgramsMenu()}) {
    for (const auto& entry : std::filesystem::directory_iterator(root)) entries.insert(entry.path().string());
  }
  return entries;
}

// The machine before any case: Wine's own keys and folders. A machine that
// already holds the product is no fresh prefix, and nothing is written to it.
struct CleanMachine {
  CleanMachine() {
    for (const std::string& product : {Wow("Tervane"), Native("Tervane")}) {
      if (registry.contains(product)) throw std::runtime_error("not a fresh Wine prefix: " + product + " is there");
    }
  }
  Registry registry = ReadMachine();
  Names folders = FolderEntries();
};
const CleanMachine& Clean() {
  static const CleanMachine clean;
  return clean;
}

// Every key, value and folder added since the clean machine goes, in whichever
// view it landed; a value changed in a key that was there before cannot be put
// back and stays for the check to find.
void TakeAwayCase() {
  const CleanMachine& clean = Clean();
  const Registry now = ReadMachine();
  for (const auto& [name, state] : now) {
    const auto [root, path] = Split(name);
    const auto was = clean.registry.find(name);
    if (was == clean.registry.end()) {
      const std::size_t separator = name.rfind('\\');
      const std::string parentName = name.substr(0, separator);
      if (now.contains(parentName) && !clean.registry.contains(parentName)) continue;  // goes with its new parent
      UniqueHKey parent;
      if (RegOpenKeyExA(root, Split(parentName).second.c_str(), 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY,
                        parent.put()) == ERROR_SUCCESS) {
        RegDeleteTreeA(parent.get(), name.substr(separator + 1).c_str());
      }
      continue;
    }
    UniqueHKey key;
    if (RegOpenKeyExA(root, path.c_str(), 0, KEY_SET_VALUE | KEY_WOW64_64KEY, key.put()) != ERROR_SUCCESS) continue;
    for (const auto& [value, data] : state.values) {
      if (!was->second.values.contains(value)) RegDeleteValueA(key.get(), value.c_str());
    }
  }
  auto addedFolders = [&] {
    Names added = FolderEntries();
    std::erase_if(added, [&](const std::string& entry) { return clean.folders.contains(entry); });
    return added;
  };
  for (const std::string& entry : addedFolders()) std::filesystem::remove_all(entry);
  EXPECT_EQ(Landed(clean.registry, ReadMachine()), Keys{}) << "left behind in the registry";
  EXPECT_EQ(addedFolders(), Names{}) << "left behind in the folders";
}

// The product (8.0, Russian and Ukrainian) by a setup of the given view, into
// that view's Program Files, its start-up folder being its product folder. A
// product installed for 64-bit hosts also has "Installing" = 64 in the 64-bit view.
InstalledProduct InstallKvil(REGSAM view, bool for64BitHosts = false, const std::string& startupDirExpandText = {}) {
  const ProgramsView in(view);
  ProductOptions options;
  options.productDir = ProgramsOf(view) + "\\Kvil";
  options.menuDir = CommonProgramsMenu() + "\\Kvil";
  options.registry64 = for64BitHosts;
  options.startupDirExpandText = startupDirExpandText;
  return InstallProduct(options);
}

void SetInstalling(REGSAM view, const RegValue& value) {
  const ProgramsView in(view);
  WriteRaw(HKEY_LOCAL_MACHINE, "Software\\Tervane", "Installing", value.type, value.bytes);
}

void InstallWord97In(REGSAM view) {
  const ProgramsView in(view);
  InstallWord97(ProgramsOf(view) + "\\Microsoft Office\\Office");
}

void InstallWord2010In(REGSAM view) {
  const ProgramsView in(view);
  InstallModernOffice(14, ProgramsOf(view) + "\\Microsoft Office\\Office14", {"Word"});
}

// The speller's shared registration "Engine", in whichever view it landed.
std::string RegisteredSpeller() {
  for (const std::string& key : {Wow(Proofing("Spelling")), Native(Proofing("Spelling"))}) {
    UniqueHKey registration;
    char engine[MAX_PATH] = {};
    DWORD size = sizeof engine - 1;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, Split(key).second.c_str(), 0, KEY_QUERY_VALUE | KEY_WOW64_64KEY,
                      registration.put()) == ERROR_SUCCESS &&
        RegQueryValueExA(registration.get(), "Engine", nullptr, nullptr, reinterpret_cast<BYTE*>(engine), &size) ==
            ERROR_SUCCESS) {
      return engine;
    }
  }
  return "";
}

// ---- The cases: one export call after another, each answer stated, and after
// a call that writes, every key that differs from the machine as installed.

struct Step {
  const char* operation;  // Exist, Avail, Attach, Detach, Check of the case's host, or another export
  HostResult answer;
  std::optional<Keys> landed;  // none: not looked at after this call
};
Step Ask(const char* operation, HostResult answer) { return {operation, answer, std::nullopt}; }
Step Change(const char* operation, HostResult answer, Keys landed) { return {operation, answer, std::move(landed)}; }

HostResult CallExport(const LibraryUnderTest& dll, const InstalledProduct& product, const char* suffix, int kind,
                      const std::string& operation) {
  for (const char* hostOperation : {"Exist", "Avail", "Attach", "Detach", "Check"}) {
    if (operation == hostOperation) return dll.Call(operation, suffix, kind, 1049);
  }
  if (operation == "RegisterOffice90") {
    // Office 2000's components given their own files back.
    using Export = HostResult (*)(std::int32_t, std::int32_t, const char*, const char*, const char*, std::int32_t,
                                  std::int32_t);
    const auto restore = reinterpret_cast<Export>(dll.Find(operation));
    return restore(kind, 1049, product.StartupDir(1049).c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1, 9);
  }
  return reinterpret_cast<HostResult (*)()>(dll.Find(operation))();
}

void RunCase(const std::function<InstalledProduct()>& install, const char* suffix, int kind,
             const std::vector<Step>& steps, const std::function<void()>& afterSteps = {}) {
  Clean();
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
    if (afterSteps) afterSteps();
  }
  TakeAwayCase();
}

// One member of a family, installed with the product by setups of one view.
struct Member {
  const char* suffix;
  int kind;
  std::function<void(const std::string& programs, const InstalledProduct& product)> install;
  std::vector<Step> steps;
};

void RunMember(const Member& member, REGSAM view) {
  SCOPED_TRACE(member.suffix);
  RunCase(
      [&] {
        const InstalledProduct product = InstallKvil(view, view == kView64);
        const ProgramsView in(view);
        member.install(ProgramsOf(view), product);
        return product;
      },
      member.suffix, member.kind, member.steps);
}

// What a Microsoft host's attach leaves in one view: its record, the shared
// registration, and the product's note of the registration that it replaced.
using View = std::string (*)(const std::string&);
Keys Registered(View view, const std::string& hostAndVersion, const std::string& tool) {
  return {view(Record(hostAndVersion + "\\" + tool + "\\1049")), view(Proofing(tool)),
          view("Tervane\\Kvil\\8.0\\Saved connections\\" + tool + "\\1049\\Normal")};
}
Keys operator+(Keys keys, const Keys& more) {
  keys.insert(more.begin(), more.end());
  return keys;
}

// Office's Russian speller and grammar checker components, as the Installer keys them.
constexpr char kSpellerEngine[] = "CEF3839E23492D1109A00008F5B92110";
constexpr char kSpellerLexicon[] = "7DF3839E23492D1109A00008F5B92110";
constexpr char kGrammarEngine[] = "24B871BFD5A13D117B180008F5B92568";
constexpr char kGrammarLexicon[] = "4857C3C6DC6D2D117B870008F5A40D05";

// Word 2010 or 2013 attached for the grammar in the product's view; its
// components redirected and, for 2010, Microsoft's entry switched out of the
// qualified-component lists, both in the 64-bit view whatever the product's.
// Detaching keeps both, and the lists' saved copy.
Keys ModernWordGrammar(View view, int officeVersion) {
  const std::string word = "WINWORD\\" + std::to_string(officeVersion) + ".0";
  Keys keys = Registered(view, word, "Grammar") +
              Keys{view(Record(word)), Component(kGrammarEngine), Component(kGrammarLexicon)};
  if (officeVersion == 14) {
    keys.insert(QualifiedComponents("841D7D937A947D641B95375D7377D30F"));
    keys.insert(QualifiedComponents("EA77853199E1AFF4B87708D83E6A7046"));
  }
  return keys;
}

// The typical request: the host is there and available, attached and checked,
// then detached; Attach and Detach give the same answer.
std::vector<Step> Typical(const Keys& attached, const Keys& detached, HostResult answer = 1) {
  return {Ask("Exist", 1), Ask("Avail", 1), Change("Attach", answer, attached), Ask("Check", 1),
          Change("Detach", answer, detached)};
}

// Office 2010 or 2013 as its setup of the product's view leaves it, and the
// Office-wide detach after Word's.
Member ModernWord(REGSAM view, int officeVersion) {
  const Keys attached = ModernWordGrammar(view == kView64 ? Native : Wow, officeVersion);
  const std::string version = std::to_string(officeVersion);
  return {officeVersion == 14 ? "WW14" : "WW15", kGrammar,
          [=](const std::string& programs, const InstalledProduct&) {
            InstallModernOffice(officeVersion, programs + "\\Microsoft Office\\Office" + version, {"Word"});
          },
          {Ask("Exist", 1), Ask("Avail", 1), Change("Attach", 1, attached), Ask("Check", 1), Ask("Detach", 1),
           Change(officeVersion == 14 ? "DetachOffice14" : "DetachOffice15", 1, attached)}};
}

}  // namespace

// The machine as 32-bit installers leave a 64-bit Windows: the product and one
// member of every family, attached, checked and detached through its exports.
// Everything lands in the 32-bit view but the user's keys, which both views
// share, and the Installer's component data and qualified components, which
// are the 64-bit view's for every program.
TEST(RegistryViews, ThirtyTwoBitHostsAreAttachedInThe32BitView) {
  const Keys excel97 = Registered(Wow, "EXCEL\\8.0", "Spelling");
  const Keys word2000 = Registered(Wow, "WINWORD\\9.0", "Spelling");
  const Keys frontPage2000 = Registered(Wow, "FRONTPG\\4.0", "Spelling") +
                             Keys{Wow(Record("FRONTPG\\4.0")), Component(kSpellerEngine), Component(kSpellerLexicon)};
  const Keys works = Registered(Wow, "MSWORKS\\4.0", "Spelling");
  const Keys editor = {Wow(Record("KVILEDITOR\\8.0")), Wow(Record("KVILEDITOR\\8.0\\Grammar\\1049"))};
  const Keys agent = {Wow(Record("KVLAGENT\\8.0\\Spelling\\1049"))};  // its options too
  const Keys inDesign = {Wow(Record("INDESIGN\\8.0")), Wow(Record("INDESIGN\\8.0\\Spelling")),
                         Wow(Record("INDESIGN\\8.0\\Spelling\\1049"))};
  const Keys corel = {Wow(Record("CORELDRW\\6.0\\Spelling\\1049"))};
  const Keys quark = {Wow(Record("QuarkXPress\\6.0\\Spelling\\1049"))};
  const Keys libreOffice = {Wow(Record("SOFFICE\\4.1")), Wow(Record("SOFFICE\\4.1\\Spelling\\1049"))};
  const Keys explorer = Registered(Wow, "IEXPLORE\\7.0", "Spelling");
  const Keys theBat = Registered(Wow, "THEBAT\\6.0", "Spelling") + Keys{Wow(Record("THEBAT\\6.0"))};
  const Keys outlookExpress = Registered(Wow, "MSIMN\\4.72", "Spelling") + Keys{Wow(Record("MSIMN\\4.72"))};
  const std::vector<Member> members = {
      {"EX80", kSpeller,
       [](const std::string& programs, const InstalledProduct&) {
         InstallExcel97(programs + "\\Microsoft Office\\Office", 2057);
       },
       Typical(excel97 + Keys{User("Microsoft\\Office\\8.0\\Excel\\Spell Checker"),
                              Wow("Microsoft\\Office\\8.0\\New User Settings\\Excel\\Spell Checker")},
               excel97)},
      // The Installer's components point at the product until RegisterOffice90
      // gives them their own files back.
      {"WW90", kSpeller,
       [](const std::string& programs, const InstalledProduct&) {
         InstallOfficeApplication(9, "Word", programs + "\\Microsoft Office\\Office");
         RegisterOffice2000RussianSpeller(programs + "\\Common Files\\Microsoft Shared\\Proof");
       },
       {Ask("Exist", 1), Ask("Avail", 1),
        Change("Attach", 1,
               word2000 + Keys{LocalSystemComponent(kSpellerEngine), LocalSystemComponent(kSpellerLexicon)}),
        Ask("Check", 1), Ask("Detach", 1), Change("RegisterOffice90", 1, word2000)}},
      // No Installer data on this machine: the components go under the
      // Installer's plain key, in its view.
      {"FPAGE2000", kSpeller,
       [](const std::string& programs, const InstalledProduct&) {
         InstallFrontPage2000(programs + "\\Microsoft Office\\Office", 1033);
       },
       Typical(frontPage2000 + Keys{User("Microsoft\\FrontPage")}, frontPage2000)},
      {"WK40", kSpeller,
       [](const std::string&, const InstalledProduct&) {
         constexpr char list[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
         WriteText(HKEY_LOCAL_MACHINE, list, "SpellDict1", "English (United Kingdom):Spelling 2057,0");
         WriteText(HKEY_CURRENT_USER, list, "SpellDefault", "Spelling 2057,0");
       },
       Typical(works + Keys{Wow("Microsoft\\Works\\4.0\\MS Proofing Tools"),
                            User("Microsoft\\Works\\4.0\\MS Proofing Tools")},
               works)},
      ModernWord(kView32, 14),
      {"Editor", kGrammar, [](const std::string&, const InstalledProduct&) {}, Typical(editor, editor)},
      {"AGENT", kSpeller,
       [](const std::string&, const InstalledProduct& product) {
         for (const char* file : {"kvlagent.exe", "kvilhook.dll", "kvilxsp3.dll"}) {
           WriteFile(product.StartupDir(1049) + "\\" + file, file);
         }
         CreateShortcut(product.options.menuDir + "\\Kvil Agent.lnk", product.options.productDir + "\\kvlagent.exe");
       },
       Typical(agent, agent)},
      // Found through App Paths, which both views share; it answers 0 by design.
      {"InDesign8", kSpeller,
       [](const std::string& programs, const InstalledProduct& product) {
         WriteProductPlugins(product.options.productDir);
         InstallAdobeApplication(AdobeApplication::kInDesign, programs + "\\Adobe\\Adobe InDesign CS6", 8, 0);
       },
       Typical(inDesign, inDesign, 0)},
      {"CDRW60", kSpeller,
       [](const std::string& programs, const InstalledProduct& product) {
         WriteReplacementModules(product.StartupDir(1049));
         InstallCorelDraw6(programs + "\\Corel\\Config", "..\\Programs", programs + "\\Corel\\Programs");
       },
       Typical(corel, corel)},
      // QuarkXPress 6 is where the Installer registered it, in the 64-bit view.
      {"QXS40", kSpeller,
       [](const std::string& programs, const InstalledProduct& product) {
         InstallProductXTensions(product.StartupDir(1049));
         InstallQuarkXPress({.folder = programs + "\\QuarkXPress 6", .major = 6, .minor = 0});
       },
       Typical(quark, quark)},
      {"LibreOffice4", kSpeller,
       [](const std::string& programs, const InstalledProduct& product) {
         WriteProductExtension(product.options.productDir);
         InstallOfficeSuite(SuiteFamily::kLibreOffice, "4.1.0", programs + "\\LibreOffice 4");
       },
       Typical(libreOffice, libreOffice)},
      // Found through its automation server in the 32-bit classes.
      {"IE70", kSpeller,
       [](const std::string& programs, const InstalledProduct& product) {
         WriteBrowserProductFiles(product.options.productDir);
         InstallInternetExplorer7(programs + "\\Internet Explorer 7\\iexplore.exe");
       },
       Typical(explorer + Keys{User("Microsoft\\Internet Explorer\\MenuExt\\&KVIL SpellCheck")}, explorer)},
      {"TheBat50", kSpeller,
       [](const std::string& programs, const InstalledProduct&) { InstallTheBat(programs + "\\The Bat!\\thebat.exe"); },
       Typical(theBat, theBat)},
      {"OUTL_EXPR", kSpeller,
       [](const std::string& programs, const InstalledProduct&) {
         InstallOutlookExpress4(programs + "\\Outlook Express");
       },
       Typical(outlookExpress, outlookExpress)},
      // Named, but never found or changed.
      {"WP80", kSpeller, [](const std::string&, const InstalledProduct&) {},
       {Ask("Exist", 0), Change("Attach", 0, {}), Change("Detach", 1, {})}},
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
// whose keys are only in the other view is not there. Each case ends with the
// speller's registered engine, or none.
TEST(RegistryViews, BadInputFollowsTheFirstInstallingValueAndNeverCrossesViews) {
  const std::vector<Step> attach32 = {Ask("Exist", 1), Ask("Avail", 1),
                                      Change("Attach", 1, Registered(Wow, "WINWORD\\8.0", "Spelling"))};
  const std::vector<Step> attach64 = {Ask("Exist", 1), Ask("Avail", 1),
                                      Change("Attach", 1, Registered(Native, "WINWORD\\8.0", "Spelling"))};
  const std::vector<Step> noStartupFolder = {Ask("Exist", 1), Ask("Avail", 0), Change("Attach", 0, {})};
  const std::vector<Step> notFound = {Ask("Exist", 0), Ask("Avail", 0)};
  const std::string engine32 = std::string(kPrograms32) + "\\Kvil\\kvilsp3.dll";
  const std::string engine64 = std::string(kPrograms64) + "\\Kvil\\kvilsp3.dll";
  // Installs Word 97 and the product in their views, "Installing" as given in each.
  auto word97 = [](REGSAM view, std::optional<RegValue> installing32, std::optional<RegValue> installing64) {
    return [=] {
      if (installing32) SetInstalling(kView32, *installing32);
      if (installing64) SetInstalling(kView64, *installing64);
      InstallWord97In(view);
      return InstallKvil(view);
    };
  };
  struct BadInput {
    const char* what;
    std::function<InstalledProduct()> install;
    const char* suffix;
    std::vector<Step> steps;
    std::string engine;
  };
  const std::vector<BadInput> cases = {
      {"REG_SZ \"64\" in the 32-bit view, DWORD 64 in the 64-bit view: the 32-bit view",
       word97(kView32, SzValue("64", true), DwordValue(64)), "WW80", attach32, engine32},
      {"REG_QWORD 64 in the 32-bit view, DWORD 64 in the 64-bit view: the 32-bit view",
       word97(kView32, RegValue{REG_QWORD, {64, 0, 0, 0, 0, 0, 0, 0}}, DwordValue(64)), "WW80", attach32, engine32},
      {"DWORD 1 in the 32-bit view, DWORD 64 in the 64-bit view: the 32-bit view",
       word97(kView32, DwordValue(1), DwordValue(64)), "WW80", attach32, engine32},
      {"DWORD 64 in the 32-bit view, DWORD 1 in the 64-bit view: the 64-bit view",
       word97(kView64, DwordValue(64), DwordValue(1)), "WW80", attach64, engine64},
      {"DWORD 64 in the 64-bit view only: the 64-bit view", word97(kView64, std::nullopt, DwordValue(64)), "WW80",
       attach64, engine64},
      {"DWORD 64 in the 64-bit view, the product's keys in the 32-bit view: no product",
       [] {
         SetInstalling(kView64, DwordValue(64));
         InstallWord97In(kView64);
         return InstallKvil(kView32);
       },
       "WW80", noStartupFolder, ""},
      {"a 32-bit product, Word 2010's install root in the 64-bit view only: not found",
       [] {
         InstallWord2010In(kView64);
         return InstallKvil(kView32);
       },
       "WW14", notFound, ""},
      {"a product for 64-bit hosts, Word 2010's install root in the 32-bit view only: not found",
       [] {
         InstallWord2010In(kView32);
         return InstallKvil(kView64, true);
       },
       "WW14", notFound, ""},
      // Wine registers its own 64-bit Internet Explorer (9.0) automation server.
      {"a 32-bit product, Internet Explorer's server in the 64-bit classes only: not found",
       [] { return InstallKvil(kView32); }, "IE70", notFound, ""},
      {"a product for 64-bit hosts, Internet Explorer's server in the 64-bit classes: found",
       [] { return InstallKvil(kView64, true); }, "IE70", {Ask("Exist", 1), Ask("Avail", 1)}, ""},
      {"\"Kvil startup dir\" expanding past 260 characters: no start-up folder",
       [] {
         InstallWord97In(kView32);
         return InstallKvil(kView32, false, "%ProgramFiles%\\" + std::string(240, 'k'));
       },
       "WW80", noStartupFolder, ""},
      {"\"%ProgramFiles%\\Kvil\" of a 32-bit product: the (x86) folder",
       [] {
         InstallWord97In(kView32);
         return InstallKvil(kView32, false, "%ProgramFiles%\\Kvil");
       },
       "WW80", attach32, engine32},
  };
  for (const BadInput& bad : cases) {
    SCOPED_TRACE(bad.what);
    RunCase(bad.install, bad.suffix, kSpeller, bad.steps, [&] { EXPECT_EQ(RegisteredSpeller(), bad.engine); });
  }
}

}  // namespace kvil::test

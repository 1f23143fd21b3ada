// The library against Wine's own Windows Installer on a 64-bit Windows, laid out
// by run_installer_test.cmake once with 64-bit programs and once with 32-bit
// ones: msiexec installs Word 2000's Russian proofing tools of that width and,
// on the 64-bit machine, Office 2010's Russian grammar checker and the
// product's, then the machine's tests run (x64/ or x86/). No scratch registry:
// msiexec, a separate process, must find in the prefix's own hives whatever
// these tests leave, and the registry's two views exist only there.

#include <windows.h>
// msi.h needs the Windows types first.
#include <msi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "library_under_test.h"
#include "office_fixture.h"
#include "product_fixture.h"
#include "registry_probe.h"
#include "scratch_machine.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

// A 64-bit Windows as the proofing-tools package of one width leaves it: its
// keys under that width's HKLM SOFTWARE (the 32-bit view's is
// "SOFTWARE\Wow6432Node"), its files in that width's Program Files, the
// Installer's own data in the 64-bit view for both. The product is installed
// for hosts of the same width.
struct Machine {
  bool programs64;
  const char* software;
  const char* otherSoftware;
  const char* programFiles;
};
constexpr Machine kPrograms64{true, "SOFTWARE", "SOFTWARE\\Wow6432Node", "C:\\Program Files"};
constexpr Machine kPrograms32{false, "SOFTWARE\\Wow6432Node", "SOFTWARE", "C:\\Program Files (x86)"};
void PrintTo(const Machine& machine, std::ostream* out) { *out << "programs under HKLM\\" << machine.software; }

template <typename Export>
Export Bind(const LibraryUnderTest& dll, const char* name) {
  if (const FARPROC entry = dll.Find(name)) return reinterpret_cast<Export>(entry);
  throw std::runtime_error(std::string("kvilintg.dll has no export ") + name);
}

// A value read by its key's real path below the SOFTWARE of the machine's
// view, whose key the other view does not have.
void ExpectOnlyIn(const Machine& view, const std::string& key, const char* name, const std::string& text) {
  const ProgramsView real(KEY_WOW64_64KEY);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, view.software + key, name), text) << view.software << key;
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, view.otherSoftware + key)) << view.otherSoftware << key;
}

// The Russian speller's two components: the code the package installs each
// under (the library's packed code, unpacked), its file there, and the product's
// file that takes its place.
struct SpellerComponent {
  const char* code;
  const char* packedCode;
  const char* packageFile;
  const char* productFile;
};
constexpr SpellerComponent kSpellerComponents[] = {
    {"{E9383FEC-9432-11D2-900A-00805F9B1201}", kRussianSpellerEngineComponent, "MSSP3RU.DLL", "kvilsp3.dll"},
    {"{E9383FD7-9432-11D2-900A-00805F9B1201}", kRussianSpellerLexiconComponent, "MSSP3RU.LEX", "SPRUNORM.LEX"},
};

// The product (8.0, Russian) installed on the prefix for hosts of the
// machine's width, its start-up folder in a temporary folder. What it and the
// library leave in the registry is taken away, in both views, after each test,
// so that msiexec later removes the packages from the machine it installed
// them on and the next machine starts without the product.
class InstalledPackage : public ::testing::TestWithParam<Machine> {
 protected:
  void SetUp() override {
    product_ = InstallProduct({.productDir = folder_.Join("Kvil"),
                               .menuDir = folder_.Join("Start Menu\\Kvil"),
                               .languages = {1049},
                               .startupDirs = {{1049, folder_.Join("Kvil\\Startup")}},
                               .registry64 = GetParam().programs64,
                               .startupDirExpandText = {}});
    dll_.emplace();
  }

  void TearDown() override {
    dll_.reset();
    for (const char* software : {kPrograms64.software, kPrograms32.software}) {
      for (const char* trace : {"\\Tervane", "\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil",
                                "\\Microsoft\\Shared Tools\\Proofing Tools"}) {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, (software + std::string(trace)).c_str());
      }
    }
  }

  std::string StartupDir() const { return product_.StartupDir(1049); }
  std::string InPackageFolder(const std::string& name) const {
    return std::string(GetParam().programFiles) + "\\Proofing Tools\\" + name;
  }

  // Each component as Office finds it, through the Installer and in the
  // Installer's data: the package's file, or the product's with the package's
  // path kept once under the backup name.
  void ExpectComponents(bool redirected, const std::string& when) const {
    for (const SpellerComponent& speller : kSpellerComponents) {
      SCOPED_TRACE(std::string(speller.packageFile) + ", " + when);
      const std::string installed = InPackageFolder(speller.packageFile);
      const std::string handedOut = redirected ? StartupDir() + "\\" + speller.productFile : installed;
      Values values{{kOffice2000RussianPacked, "sz:" + handedOut}};
      if (redirected) values[std::string("Saved by Kvil 8:") + kOffice2000RussianPacked] = "sz:" + installed;
      char path[MAX_PATH] = {};
      DWORD length = sizeof path;
      EXPECT_EQ(MsiGetComponentPathA(kOffice2000RussianProductCode, speller.code, path, &length), INSTALLSTATE_LOCAL);
      EXPECT_EQ(path, handedOut);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kLocalSystemComponents) + "\\" + speller.packedCode),
                values);
    }
  }

  ScratchFolder folder_;
  InstalledProduct product_;
  std::optional<LibraryUnderTest> dll_;
};
INSTANTIATE_TEST_SUITE_P(x64, InstalledPackage, ::testing::Values(kPrograms64));
INSTANTIATE_TEST_SUITE_P(x86, InstalledPackage, ::testing::Values(kPrograms32));

// msiexec writes the package's Registry table and its uninstall entry in the
// view of the package's width, and the components' data in the Installer's
// 64-bit view whatever the width; nothing of them in the other view.
TEST_P(InstalledPackage, TheInstallerWritesThePackagesKeysInItsViewAndItsOwnDataInThe64BitView) {
  ExpectOnlyIn(GetParam(), "\\Microsoft\\Office\\9.0\\Word\\InstallRoot", "Path",
               std::string(GetParam().programFiles) + "\\Microsoft Office\\Office\\");
  ExpectOnlyIn(GetParam(), std::string("\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\") +
                               kOffice2000RussianProductCode, "DisplayName", "Russian Proofing Tools");
  ExpectOnlyIn(kPrograms64,
               std::string("\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components\\") +
                   kRussianSpellerEngineComponent,
               kOffice2000RussianPacked, InPackageFolder("MSSP3RU.DLL"));
}

// Word 2000 of the machine's width is found by the install root the package
// wrote. Attaching its Russian speller (twice) hands Office the product's files
// through the Installer, the paths msiexec wrote kept once under the backup
// name, and registers the speller in the shared tree of Word's own view;
// restoring leaves the components exactly as msiexec wrote them.
TEST_P(InstalledPackage, Word2000IsHandedTheProductsSpellerByTheInstallerUntilRestored) {
  EXPECT_EQ(dll_->Call("Exist", "WW90", 0, 1049), 1);
  ExpectComponents(false, "as installed");
  for (int attach = 1; attach <= 2; ++attach) {
    ASSERT_EQ(dll_->Call("Attach", "WW90", 0, 1049), 1);
    ExpectComponents(true, "attach " + std::to_string(attach));
  }
  ExpectOnlyIn(GetParam(), "\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal", "Engine",
               StartupDir() + "\\kvilsp3.dll");
  using Restore = std::uint32_t (*)(std::int32_t, std::int32_t, const char*, const char*, const char*, std::int32_t,
                                    std::int32_t);
  const auto restore = Bind<Restore>(*dll_, "RegisterOffice90");
  ASSERT_EQ(restore(0, 1049, StartupDir().c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1, 9), 1u);
  ExpectComponents(false, "restored");
}

// The package publishes the English lexicon under the proofing-lexicon category
// and, as Office 2010 of the machine's width does, the English engine under
// that Office's category; the proofing-data and dictionary categories have
// nothing published. Each answer: the result, the path and its length.
TEST_P(InstalledPackage, TheEnglishModulesAreFoundAsPublished) {
  using Lookup = std::tuple<std::uint32_t, std::string, std::uint32_t>;
  const auto englishModule = [&](bool original, std::int32_t which) {
    using Nls = std::uint32_t (*)(std::int32_t, char*, std::uint32_t*, std::int32_t);
    using Original = std::uint32_t (*)(std::int32_t, std::int32_t, char*, std::uint32_t*, std::int32_t, std::int32_t,
                                       const char*);
    char buffer[MAX_PATH] = {};
    std::uint32_t length = sizeof buffer;
    const std::uint32_t result =
        original ? Bind<Original>(*dll_, "GetOriginalDictOrEngineModule")(0, 1033, buffer, &length, which, 2, "")
                 : Bind<Nls>(*dll_, "GetEngNLSModules")(1049, buffer, &length, which);
    return Lookup(result, buffer, length);
  };
  const std::string lexicon = InPackageFolder("MSSP3EN.LEX"), engine = InPackageFolder("MSSP3EN.DLL");
  EXPECT_EQ(englishModule(false, 1), Lookup(0, lexicon, lexicon.size()));
  EXPECT_EQ(englishModule(false, 0), Lookup(0, "", 0));
  EXPECT_EQ(englishModule(true, 0), Lookup(1033, engine, engine.size()));
  EXPECT_EQ(std::get<0>(englishModule(true, 1)), 0u);
}

// The entry each grammar package adds to each list (the product code packed
// into 20 characters, the feature, ">" and the component code packed likewise),
// and where its module lands: Office's and the product's.
constexpr char kOfficeEntry[] = "6?59EAnM3AfddoLB1zbdProofingTools_1049>Yq9W1y~U`=omj}hV&([X";
constexpr char kOfficeModule[] = "C:\\Program Files\\Common Files\\Microsoft Shared\\PROOF\\MSGR3RU.DLL";
constexpr char kProductEntry[] = "Qi~{CqChy86PRLrsu.OmGrammar_Rus>6Qz+]sb6t=qod@8AP6de";
constexpr char kProductModule[] = "C:\\Program Files\\Kvil Grammar\\kvilgr32.dll";

// The two lists Office 2010 finds its Russian grammar checker by: a category
// (its code and the code packed) and the qualifier naming the list.
struct GrammarList {
  const char* category;
  const char* packedCategory;
  const char* qualifier;
};
constexpr GrammarList kGrammarLists[] = {
    {"{39D7D148-49A7-46D7-B159-73D537773DF0}", "841D7D937A947D641B95375D7377D30F", "1049\\1049"},
    {"{135877AE-1E99-4FFA-8B77-808DE3A60764}", "EA77853199E1AFF4B87708D83E6A7046", "1049"},
};

// Where Office and the library look for a list, under HKEY_CLASSES_ROOT, and
// where Wine's Installer publishes and reads it, under HKEY_CURRENT_USER.
std::string OfficesList(const GrammarList& list) {
  return std::string("Installer\\Components\\") + list.packedCategory;
}
std::string WinesList(const GrammarList& list) { return "Software\\Microsoft\\" + OfficesList(list); }

// Each list as msiexec leaves it: the Installer appends each package's entry to
// the list it finds, so Office's comes first, then the product's, each ended by
// its NUL, and the list by one more.
const std::string kPublishedList = std::string(kOfficeEntry) + '\0' + kProductEntry + '\0' + '\0';

// One list's value carried from one key to another.
RegValue CopyList(const GrammarList& list, HKEY fromRoot, const std::string& from, HKEY toRoot, const std::string& to) {
  const RegValue value = ReadValue(fromRoot, from, list.qualifier).value();
  WriteRaw(toRoot, to, list.qualifier, value.type, value.bytes);
  return value;
}

class PublishedGrammar : public InstalledPackage {};
INSTANTIATE_TEST_SUITE_P(x64, PublishedGrammar, ::testing::Values(kPrograms64));

// Office, asking for a list, is handed the first entry's module: its own. Once
// Microsoft's checker is switched out (twice) it is handed the product's: each
// list holds the product's entry alone (with the NUL that follows it in the
// saved list, which the ANSI registry call stores), the whole published list
// saved once beside it. Switched back, Office is handed its own checker again.
// Wine's Installer keeps the lists per user, under HKEY_CURRENT_USER, where
// Windows keeps a per-machine package's under HKEY_CLASSES_ROOT: each list is
// copied to where the library looks for it, whatever the library leaves there
// is copied back before the Installer is asked, and at the end the copies go
// and Wine's lists are as msiexec wrote them, for msiexec /x.
TEST_P(PublishedGrammar, SwitchingOutHandsOfficeTheProductsCheckerUntilSwitchedBack) {
  std::vector<RegValue> asPublished;
  for (const GrammarList& list : kGrammarLists) {
    ASSERT_FALSE(KeyExists(HKEY_CLASSES_ROOT, OfficesList(list))) << "Wine's Installer wrote where Office looks";
    asPublished.push_back(CopyList(list, HKEY_CURRENT_USER, WinesList(list), HKEY_CLASSES_ROOT, OfficesList(list)));
  }
  const struct {
    const char* exportName;  // null: as published
    std::string live;
    const char* module;
  } steps[] = {{nullptr, kPublishedList, kOfficeModule},
               {"DetachMS2010ProofingTool", std::string(kProductEntry) + '\0', kProductModule},
               {"DetachMS2010ProofingTool", std::string(kProductEntry) + '\0', kProductModule},
               {"AttachMS2010ProofingTool", std::string(kOfficeEntry) + '\0', kOfficeModule}};
  for (const auto& step : steps) {
    if (step.exportName != nullptr) {
      Bind<void (*)(std::int32_t, std::int32_t)>(*dll_, step.exportName)(1, 1049);
      for (const GrammarList& list : kGrammarLists) {
        CopyList(list, HKEY_CLASSES_ROOT, OfficesList(list), HKEY_CURRENT_USER, WinesList(list));
      }
    }
    for (const GrammarList& list : kGrammarLists) {
      SCOPED_TRACE(std::string(step.exportName ? step.exportName : "published") + " " + list.qualifier);
      Values expected{{list.qualifier, "type 7:" + step.live}};
      if (step.exportName != nullptr) {
        expected[std::string("Saved by Kvil 8 ") + list.qualifier] = "type 7:" + kPublishedList;
      }
      EXPECT_EQ(DescribeValues(HKEY_CLASSES_ROOT, OfficesList(list)), expected);
      char module[MAX_PATH] = {};
      DWORD length = sizeof module;
      EXPECT_EQ(MsiProvideQualifiedComponentA(list.category, list.qualifier, static_cast<DWORD>(INSTALLMODE_EXISTING),
                                              module, &length),
                UINT{ERROR_SUCCESS});
      EXPECT_EQ(module, std::string(step.module));
    }
  }
  for (std::size_t i = 0; i < asPublished.size(); ++i) {
    const GrammarList& list = kGrammarLists[i];
    RegDeleteTreeA(HKEY_CLASSES_ROOT, OfficesList(list).c_str());
    WriteRaw(HKEY_CURRENT_USER, WinesList(list), list.qualifier, asPublished[i].type, asPublished[i].bytes);
  }
}

}  // namespace
}  // namespace kvil::test

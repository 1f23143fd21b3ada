// The library against Wine's own Windows Installer, on a 64-bit Windows laid
// out once with 64-bit programs and once with 32-bit ones.
// run_installer_test.cmake first installs with msiexec, in a prefix of their
// own, Word 2000's Russian proofing tools built for x64 (proofing_tools.wxs),
// Office 2010's Russian grammar checker (office_grammar.wxs) and the product's
// (product_grammar.wxs), runs x64/InstalledPackage.* and PublishedGrammar.*,
// removes the packages and runs x64/RemovedPackage.* and RemovedGrammar.*; then
// it does the same with the proofing tools built for x86 and the x86/ tests.
// No scratch registry here: msiexec, a separate process, must find in the
// prefix's own hives whatever these tests leave behind, and the registry's two
// views exist only there.

#include <windows.h>
// msi.h needs the Windows types first.
#include <msi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "library_under_test.h"
#include "office_fixture.h"
#include "product_fixture.h"
#include "registry_probe.h"
#include "scratch_machine.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

// Where a program keeps its HKLM SOFTWARE keys, by the keys' real paths (as
// regedit shows them): a 64-bit program's in the 64-bit view, a 32-bit
// program's in the 32-bit view, which is "SOFTWARE\Wow6432Node".
constexpr char kSoftware64[] = "SOFTWARE";
constexpr char kSoftware32[] = "SOFTWARE\\Wow6432Node";
constexpr const char* kBothViews[] = {kSoftware64, kSoftware32};

// A 64-bit Windows as the proofing-tools package of one width leaves it: its
// keys in that width's view and its files in that width's Program Files (the
// Installer's own data is in the 64-bit view for both). The product is
// installed for hosts of the same width.
struct Machine {
  bool programs64;
  const char* software;
  const char* otherSoftware;
  const char* programFiles;
};
constexpr Machine kPrograms64{true, kSoftware64, kSoftware32, "C:\\Program Files"};
constexpr Machine kPrograms32{false, kSoftware32, kSoftware64, "C:\\Program Files (x86)"};
void PrintTo(const Machine& machine, std::ostream* out) { *out << "programs under HKLM\\" << machine.software; }

constexpr char kUninstallList[] = "\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr char kWordInstallRoot[] = "\\Microsoft\\Office\\9.0\\Word\\InstallRoot";
constexpr char kSharedSpelling[] = "\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal";
// What the product and the library write outside the packages, in either view.
constexpr const char* kProductTraces[] = {"\\Tervane", "\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil",
                                          "\\Microsoft\\Shared Tools\\Proofing Tools"};

template <typename Export>
Export Bind(const LibraryUnderTest& dll, const char* name) {
  const FARPROC entry = dll.Find(name);
  if (entry == nullptr) throw std::runtime_error(std::string("kvilintg.dll has no export ") + name);
  return reinterpret_cast<Export>(entry);
}

std::string PackageFolder(const Machine& machine) { return std::string(machine.programFiles) + "\\Proofing Tools"; }
std::string InPackageFolder(const Machine& machine, const std::string& name) {
  return PackageFolder(machine) + "\\" + name;
}

// A value at its key's real path, read without redirection; nullopt for the
// text stands for "no such key".
struct RealValue {
  std::string key;
  const char* name;
  std::optional<std::string> text;
};
void ExpectRealValues(std::initializer_list<RealValue> values) {
  const ProgramsView real(KEY_WOW64_64KEY);
  for (const RealValue& value : values) {
    if (value.text) {
      EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, value.key, value.name), value.text) << value.key;
    } else {
      EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, value.key)) << value.key;
    }
  }
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

// Under the Installer's own key, which the 64-bit view holds.
std::string ComponentKey(const SpellerComponent& speller) {
  return std::string(kLocalSystemComponents) + "\\" + speller.packedCode;
}

// What the Installer hands an application asking for one of the package's components.
std::pair<INSTALLSTATE, std::string> InstallerPath(const SpellerComponent& speller) {
  char buffer[MAX_PATH] = {};
  DWORD length = sizeof buffer;
  const INSTALLSTATE state = MsiGetComponentPathA(kOffice2000RussianProductCode, speller.code, buffer, &length);
  return {state, buffer};
}

// A lookup export's answer: its result, the path and the length it reported.
using Lookup = std::tuple<std::uint32_t, std::string, std::uint32_t>;

Lookup EnglishNlsModule(const LibraryUnderTest& dll, std::int32_t which) {
  char buffer[MAX_PATH] = {};
  std::uint32_t length = sizeof buffer;
  using Export = std::uint32_t (*)(std::int32_t, char*, std::uint32_t*, std::int32_t);
  const std::uint32_t result = Bind<Export>(dll, "GetEngNLSModules")(1049, buffer, &length, which);
  return {result, buffer, length};
}

Lookup OriginalEnglishModule(const LibraryUnderTest& dll, std::int32_t which) {
  char buffer[MAX_PATH] = {};
  std::uint32_t length = sizeof buffer;
  using Export = std::uint32_t (*)(std::int32_t, std::int32_t, char*, std::uint32_t*, std::int32_t, std::int32_t,
                                   const char*);
  const std::uint32_t result =
      Bind<Export>(dll, "GetOriginalDictOrEngineModule")(0, 1033, buffer, &length, which, 2, "");
  return {result, buffer, length};
}

// The product (8.0, Russian) installed on the prefix for hosts of the
// machine's width, its start-up folder in a temporary folder. What it and the
// library leave in the registry is taken away, in both views, after each test,
// so that msiexec later removes the packages from the machine it installed
// them on and the next machine starts without the product.
class ProductOnPrefix : public ::testing::Test {
 protected:
  void InstallOn(const Machine& machine) {
    machine_ = &machine;
    folder_ = std::make_unique<ScratchFolder>();
    ProductOptions options;
    options.productDir = folder_->Join("Kvil");
    options.menuDir = folder_->Join("Start Menu\\Kvil");
    options.languages = {1049};
    options.startupDirs = {{1049, folder_->Join("Kvil\\Startup")}};
    options.registry64 = machine.programs64;
    product_ = InstallProduct(options);
    dll_ = std::make_unique<LibraryUnderTest>();
  }

  void TearDown() override {
    dll_.reset();
    for (const char* software : kBothViews) {
      for (const char* trace : kProductTraces) {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, (software + std::string(trace)).c_str());
      }
    }
    folder_.reset();
  }

  const Machine& machine() const { return *machine_; }
  const LibraryUnderTest& dll() const { return *dll_; }
  std::string StartupDir() const { return product_->StartupDir(1049); }

 private:
  const Machine* machine_ = nullptr;
  std::unique_ptr<ScratchFolder> folder_;
  std::optional<InstalledProduct> product_;
  std::unique_ptr<LibraryUnderTest> dll_;
};

class InstalledPackage : public ProductOnPrefix, public ::testing::WithParamInterface<Machine> {
 protected:
  void SetUp() override { InstallOn(GetParam()); }

  // Each component as Office finds it, in the Installer's data and through the
  // Installer: the package's file, or the product's with the package's path
  // kept once under the backup name.
  void ExpectComponents(bool redirected, const std::string& when) const {
    for (const SpellerComponent& speller : kSpellerComponents) {
      SCOPED_TRACE(std::string(speller.packageFile) + ", " + when);
      const std::string installed = InPackageFolder(machine(), speller.packageFile);
      const std::string handedOut = redirected ? StartupDir() + "\\" + speller.productFile : installed;
      Values values{{kOffice2000RussianPacked, "sz:" + handedOut}};
      if (redirected) values[std::string("Saved by Kvil 8:") + kOffice2000RussianPacked] = "sz:" + installed;
      EXPECT_EQ(InstallerPath(speller), std::pair(INSTALLSTATE_LOCAL, handedOut));
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, ComponentKey(speller)), values);
    }
  }
};
INSTANTIATE_TEST_SUITE_P(x64, InstalledPackage, ::testing::Values(kPrograms64));
INSTANTIATE_TEST_SUITE_P(x86, InstalledPackage, ::testing::Values(kPrograms32));

// msiexec writes the package's Registry table and its uninstall entry in the
// view of the package's width, beside the product's own entry, and nothing in
// the other view; the components' data goes to the Installer's 64-bit view
// whatever the width.
TEST_P(InstalledPackage, TheInstallerWritesThePackagesKeysInItsViewAndItsOwnDataInThe64BitView) {
  const std::string packageEntry = std::string(kUninstallList) + "\\" + kOffice2000RussianProductCode;
  const std::string productEntry = std::string(kUninstallList) + "\\Kvil\\8.0";
  const std::string engineComponent =
      std::string("\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components\\") +
      kRussianSpellerEngineComponent;
  const std::string software = machine().software;
  const std::string other = machine().otherSoftware;
  ExpectRealValues({
      {software + kWordInstallRoot, "Path", std::string(machine().programFiles) + "\\Microsoft Office\\Office\\"},
      {other + kWordInstallRoot, "Path", std::nullopt},
      {software + packageEntry, "DisplayName", "Russian Proofing Tools"},
      {other + packageEntry, "DisplayName", std::nullopt},
      {software + productEntry, "DisplayName", "Kvil 8.0"},
      {other + productEntry, "DisplayName", std::nullopt},
      {kSoftware64 + engineComponent, kOffice2000RussianPacked, InPackageFolder(machine(), "MSSP3RU.DLL")},
      {kSoftware32 + engineComponent, kOffice2000RussianPacked, std::nullopt},
  });
}

// Word 2000 of the machine's width is found by the install root the package
// wrote. Attaching its Russian speller (twice) hands Office the product's files
// through the Installer, the paths msiexec wrote kept once under the backup
// name, and registers the speller in the shared tree of Word's own view;
// restoring leaves the components exactly as msiexec wrote them.
TEST_P(InstalledPackage, Word2000IsHandedTheProductsSpellerByTheInstallerUntilRestored) {
  EXPECT_EQ(dll().Call("Exist", "WW90", 0, 1049), 1);
  ExpectComponents(false, "as installed");
  for (int attach = 1; attach <= 2; ++attach) {
    ASSERT_EQ(dll().Call("Attach", "WW90", 0, 1049), 1);
    ExpectComponents(true, "attach " + std::to_string(attach));
  }
  ExpectRealValues({{machine().software + std::string(kSharedSpelling), "Engine", StartupDir() + "\\kvilsp3.dll"},
                    {machine().otherSoftware + std::string(kSharedSpelling), "Engine", std::nullopt}});
  using Export = std::uint32_t (*)(std::int32_t, std::int32_t, const char*, const char*, const char*, std::int32_t,
                                   std::int32_t);
  ASSERT_EQ(Bind<Export>(dll(), "RegisterOffice90")(0, 1049, StartupDir().c_str(), "kvilsp3.dll", "SPRUNORM.LEX",
                                                     1, 9),
            1u);
  ExpectComponents(false, "restored");
}

// The package publishes the English lexicon under the proofing-lexicon category
// and, as Office 2010 of the machine's width does, the English engine under
// that Office's category; the proofing-data and dictionary categories have
// nothing published.
TEST_P(InstalledPackage, TheEnglishModulesAreFoundAsPublished) {
  const std::string lexicon = InPackageFolder(machine(), "MSSP3EN.LEX");
  const std::string engine = InPackageFolder(machine(), "MSSP3EN.DLL");
  EXPECT_EQ(EnglishNlsModule(dll(), 1), Lookup(0, lexicon, lexicon.size()));
  EXPECT_EQ(EnglishNlsModule(dll(), 0), Lookup(0, "", 0));
  EXPECT_EQ(OriginalEnglishModule(dll(), 0), Lookup(1033, engine, engine.size()));
  EXPECT_EQ(std::get<0>(OriginalEnglishModule(dll(), 1)), 0u);
}

// After msiexec /x the package is unknown and its files are gone, which also
// shows that restoring left no value of the library's in the Installer's
// components; neither view keeps anything of the package or the product, so
// the next machine starts bare.
class RemovedPackage : public ::testing::TestWithParam<Machine> {};
INSTANTIATE_TEST_SUITE_P(x64, RemovedPackage, ::testing::Values(kPrograms64));
INSTANTIATE_TEST_SUITE_P(x86, RemovedPackage, ::testing::Values(kPrograms32));

TEST_P(RemovedPackage, TheInstallerNoLongerKnowsItAndNeitherViewKeepsAnything) {
  EXPECT_EQ(MsiQueryProductStateA(kOffice2000RussianProductCode), INSTALLSTATE_UNKNOWN);
  for (const SpellerComponent& speller : kSpellerComponents) {
    EXPECT_EQ(InstallerPath(speller).first, INSTALLSTATE_UNKNOWN) << speller.packageFile;
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, ComponentKey(speller))) << speller.packageFile;
  }
  for (const char* software : kBothViews) {
    const std::string view = software;
    ExpectRealValues({{view + kUninstallList + "\\" + kOffice2000RussianProductCode, "", std::nullopt},
                      {view + kWordInstallRoot, "", std::nullopt}});
    for (const char* trace : kProductTraces) ExpectRealValues({{view + trace, "", std::nullopt}});
  }
  EXPECT_EQ(GetFileAttributesA(PackageFolder(GetParam()).c_str()), INVALID_FILE_ATTRIBUTES);
}

// One grammar package as installed: what the Installer files it under, where
// its module lands, and the entry it adds to each list (the product code packed
// into 20 characters, the feature, ">" and the component code packed likewise).
struct GrammarPackage {
  const char* productCode;
  const char* folder;
  const char* module;
  const char* entry;
};
constexpr GrammarPackage kOfficeGrammar = {
    "{5B01B8FC-B06B-4E59-A932-997204AAB1B9}", "C:\\Program Files\\Common Files\\Microsoft Shared\\PROOF",
    "C:\\Program Files\\Common Files\\Microsoft Shared\\PROOF\\MSGR3RU.DLL",
    "6?59EAnM3AfddoLB1zbdProofingTools_1049>Yq9W1y~U`=omj}hV&([X"};
constexpr GrammarPackage kProductGrammar = {
    "{570BBEB2-032A-412F-81DE-77E4180502D5}", "C:\\Program Files\\Kvil Grammar",
    "C:\\Program Files\\Kvil Grammar\\kvilgr32.dll", "Qi~{CqChy86PRLrsu.OmGrammar_Rus>6Qz+]sb6t=qod@8AP6de"};

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

// Where Office and the library look for a list, under HKEY_CLASSES_ROOT.
std::string OfficesList(const GrammarList& list) {
  return std::string("Installer\\Components\\") + list.packedCategory;
}
// Where Wine's Installer publishes and reads it, under HKEY_CURRENT_USER.
std::string WinesList(const GrammarList& list) {
  return std::string("Software\\Microsoft\\Installer\\Components\\") + list.packedCategory;
}

// A REG_MULTI_SZ as DescribeValues shows it.
std::string MultiSz(const std::string& bytes) { return "type 7:" + bytes; }

// Each list as msiexec leaves it: the Installer appends each package's entry to
// the list it finds, so Office's comes first, then the product's, each ended by
// its NUL, and the list by one more.
const std::string kPublishedList = std::string(kOfficeGrammar.entry) + '\0' + kProductGrammar.entry + '\0' + '\0';

// One list's value carried from one key to another; a value missing at the
// source is deleted at the destination.
void CopyList(const GrammarList& list, HKEY fromRoot, const std::string& from, HKEY toRoot, const std::string& to) {
  if (const std::optional<RegValue> value = ReadValue(fromRoot, from, list.qualifier)) {
    WriteRaw(toRoot, to, list.qualifier, value->type, value->bytes);
  } else {
    RegDeleteKeyValueA(toRoot, to.c_str(), list.qualifier);
  }
}

// What the Installer hands an application asking for a list's checker.
std::pair<UINT, std::string> ProvidedChecker(const GrammarList& list) {
  char buffer[MAX_PATH] = {};
  DWORD length = sizeof buffer;
  const UINT result = MsiProvideQualifiedComponentA(list.category, list.qualifier,
                                                    static_cast<DWORD>(INSTALLMODE_EXISTING), buffer, &length);
  return {result, buffer};
}

// Wine's Installer keeps the lists per user, under HKEY_CURRENT_USER, where
// Windows keeps a per-machine package's under HKEY_CLASSES_ROOT; each list is
// copied to where the library looks for it, and whatever the library leaves
// there is copied back before the Installer is asked. After each test the
// copies go and Wine's lists are as msiexec wrote them, for msiexec /x.
class PublishedGrammar : public ProductOnPrefix {
 protected:
  void SetUp() override {
    InstallOn(kPrograms64);
    for (const GrammarList& list : kGrammarLists) {
      // Wine's Installer writes nothing where Office looks.
      ASSERT_FALSE(KeyExists(HKEY_CLASSES_ROOT, OfficesList(list))) << list.qualifier;
      asPublished_.push_back(ReadValue(HKEY_CURRENT_USER, WinesList(list), list.qualifier));
      CopyList(list, HKEY_CURRENT_USER, WinesList(list), HKEY_CLASSES_ROOT, OfficesList(list));
    }
  }

  void TearDown() override {
    for (std::size_t i = 0; i < asPublished_.size(); ++i) {
      const GrammarList& list = kGrammarLists[i];
      RegDeleteTreeA(HKEY_CLASSES_ROOT, OfficesList(list).c_str());
      if (asPublished_[i]) {
        WriteRaw(HKEY_CURRENT_USER, WinesList(list), list.qualifier, asPublished_[i]->type, asPublished_[i]->bytes);
      }
    }
    ProductOnPrefix::TearDown();
  }

  // Calls one of the library's switches of the Russian grammar checker and
  // hands the lists it leaves to Wine's Installer.
  void Switch(const char* exportName) const {
    Bind<void (*)(std::int32_t, std::int32_t)>(dll(), exportName)(1, 1049);
    for (const GrammarList& list : kGrammarLists) {
      CopyList(list, HKEY_CLASSES_ROOT, OfficesList(list), HKEY_CURRENT_USER, WinesList(list));
    }
  }

 private:
  std::vector<std::optional<RegValue>> asPublished_;
};

// Office, asking for a list, is handed the first entry's module: its own. Once
// Microsoft's checker is switched out (twice) it is handed the product's: each
// list holds the product's entry alone (with the NUL that follows it in the
// saved list, which the ANSI registry call stores), the whole published list
// saved once beside it. Switched back, Office is handed its own checker again.
TEST_F(PublishedGrammar, SwitchingOutHandsOfficeTheProductsCheckerUntilSwitchedBack) {
  struct Step {
    const char* exportName;  // null: as published
    std::string live;
    const char* module;
  };
  const Step steps[] = {{nullptr, kPublishedList, kOfficeGrammar.module},
                        {"DetachMS2010ProofingTool", std::string(kProductGrammar.entry) + '\0', kProductGrammar.module},
                        {"DetachMS2010ProofingTool", std::string(kProductGrammar.entry) + '\0', kProductGrammar.module},
                        {"AttachMS2010ProofingTool", std::string(kOfficeGrammar.entry) + '\0', kOfficeGrammar.module}};
  for (const Step& step : steps) {
    if (step.exportName != nullptr) Switch(step.exportName);
    for (const GrammarList& list : kGrammarLists) {
      SCOPED_TRACE(std::string(step.exportName ? step.exportName : "published") + " " + list.qualifier);
      Values expected{{list.qualifier, MultiSz(step.live)}};
      if (step.exportName != nullptr) expected[std::string("Saved by Kvil 8 ") + list.qualifier] = MultiSz(kPublishedList);
      EXPECT_EQ(DescribeValues(HKEY_CLASSES_ROOT, OfficesList(list)), expected);
      EXPECT_EQ(ProvidedChecker(list), std::pair(UINT{ERROR_SUCCESS}, std::string(step.module)));
    }
  }
}

// After msiexec /x of the grammar packages neither is known and their files
// are gone. No grammar list is left, in Wine's place or in Office's: the
// categories themselves are unknown to the Installer.
TEST(RemovedGrammar, TheInstallerNoLongerKnowsEitherPackage) {
  for (const GrammarPackage& package : {kOfficeGrammar, kProductGrammar}) {
    EXPECT_EQ(MsiQueryProductStateA(package.productCode), INSTALLSTATE_UNKNOWN) << package.productCode;
    for (const char* software : kBothViews) {
      ExpectRealValues({{software + std::string(kUninstallList) + "\\" + package.productCode, "", std::nullopt}});
    }
    EXPECT_EQ(GetFileAttributesA(package.folder), INVALID_FILE_ATTRIBUTES) << package.folder;
  }
  for (const GrammarList& list : kGrammarLists) {
    EXPECT_EQ(ProvidedChecker(list), std::pair(UINT{ERROR_UNKNOWN_COMPONENT}, std::string())) << list.qualifier;
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, WinesList(list))) << list.qualifier;
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, OfficesList(list))) << list.qualifier;
  }
}

}  // namespace
}  // namespace kvil::test

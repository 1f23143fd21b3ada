// The library against Wine's own Windows Installer. run_installer_test.cmake
// installs the proofing-tools package (proofing_tools.wxs) with msiexec in a
// prefix made for this run, runs InstalledPackage.*, removes the package with
// msiexec and runs RemovedPackage.*; then it installs Office 2010's Russian
// grammar checker (office_grammar.wxs) and the product's (product_grammar.wxs),
// runs PublishedGrammar.*, removes both and runs RemovedGrammar.*. There is no
// scratch registry here: the Installer keeps its registrations in the prefix's
// own hives, and msiexec, a separate process, must find there whatever these
// tests leave behind.

#include <windows.h>
// msi.h needs the Windows types first.
#include <msi.h>

// MinGW's msi.h leaves this one out.
extern "C" UINT WINAPI MsiDecomposeDescriptorA(LPCSTR descriptor, LPSTR productCode, LPSTR feature,
                                               LPSTR componentCode, DWORD* usedChars);

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "library_under_test.h"
#include "office_fixture.h"
#include "product_fixture.h"
#include "registry_probe.h"
#include "scratch_machine.h"
#include "version_fixture.h"

namespace kvil::test {
namespace {

// kRussianSpellerEngineComponent and kRussianSpellerLexiconComponent unpacked:
// the codes the package installs its Russian speller under.
constexpr char kEngineComponent[] = "{E9383FEC-9432-11D2-900A-00805F9B1201}";
constexpr char kLexiconComponent[] = "{E9383FD7-9432-11D2-900A-00805F9B1201}";
// The package's folder under the prefix's 64-bit Program Files.
constexpr char kPackageFolder[] = "C:\\Program Files\\Proofing Tools";
constexpr char kUninstallList[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr int kOffice2000 = 9;

using RegisterOffice90Export = std::uint32_t (*)(std::int32_t kind, std::int32_t lcid, const char* productDir,
                                                 const char* engineFile, const char* lexiconFile,
                                                 std::int32_t restore, std::int32_t officeVersion);
using GetEngNLSModulesExport = std::uint32_t (*)(std::int32_t lcid, char* buffer, std::uint32_t* length,
                                                 std::int32_t which);
using GetOriginalDictOrEngineModuleExport = std::uint32_t (*)(std::int32_t kind, std::int32_t lcid, char* buffer,
                                                              std::uint32_t* length, std::int32_t which,
                                                              std::int32_t generation, const char* excluded);

template <typename Export>
Export Bind(const LibraryUnderTest& dll, const char* name) {
  const FARPROC entry = dll.Find(name);
  if (entry == nullptr) throw std::runtime_error(std::string("kvilintg.dll has no export ") + name);
  return reinterpret_cast<Export>(entry);
}

std::string InPackageFolder(const std::string& name) { return std::string(kPackageFolder) + "\\" + name; }

std::string ComponentKey(const char* packedComponent) {
  return std::string(kLocalSystemComponents) + "\\" + packedComponent;
}

// What the Installer hands an application asking for one of the package's
// components.
struct ComponentPath {
  INSTALLSTATE state;
  std::string path;

  bool operator==(const ComponentPath&) const = default;
};

void PrintTo(const ComponentPath& answer, std::ostream* out) {
  *out << "state " << answer.state << ", \"" << answer.path << "\"";
}

ComponentPath InstallerPath(const char* component) {
  char buffer[MAX_PATH] = {};
  DWORD length = sizeof buffer;
  const INSTALLSTATE state = MsiGetComponentPathA(kOffice2000RussianProductCode, component, buffer, &length);
  return {state, buffer};
}

// A lookup export's answer: the path and the length it reported.
struct Lookup {
  std::uint32_t result;
  std::string path;
  std::uint32_t length;
};

Lookup EnglishNlsModule(const LibraryUnderTest& dll, std::int32_t which) {
  char buffer[MAX_PATH] = {};
  std::uint32_t length = sizeof buffer;
  const std::uint32_t result = Bind<GetEngNLSModulesExport>(dll, "GetEngNLSModules")(1049, buffer, &length, which);
  return {result, buffer, length};
}

Lookup OriginalEnglishModule(const LibraryUnderTest& dll, std::int32_t which) {
  char buffer[MAX_PATH] = {};
  std::uint32_t length = sizeof buffer;
  const std::uint32_t result = Bind<GetOriginalDictOrEngineModuleExport>(dll, "GetOriginalDictOrEngineModule")(
      0, 1033, buffer, &length, which, 2, "");
  return {result, buffer, length};
}

// The Russian speller's two components, as the package installs them and as the
// product's start-up folder offers them.
struct SpellerComponent {
  const char* component;
  const char* packedComponent;
  const char* packageFile;
  const char* productFile;
};

constexpr SpellerComponent kSpellerComponents[] = {
    {kEngineComponent, kRussianSpellerEngineComponent, "MSSP3RU.DLL", "kvilsp3.dll"},
    {kLexiconComponent, kRussianSpellerLexiconComponent, "MSSP3RU.LEX", "SPRUNORM.LEX"},
};

// The product (8.0, Russian) installed on the prefix with its start-up folder in
// a temporary folder; its keys are taken away again after each test so that
// msiexec later removes the packages from the machine it installed them on.
class ProductOnPrefix : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::make_unique<ScratchFolder>();
    ProductOptions options;
    options.productDir = folder_->Join("Kvil");
    options.menuDir = folder_->Join("Start Menu\\Kvil");
    options.languages = {1049};
    options.startupDirs = {{1049, folder_->Join("Kvil\\Startup")}};
    product_ = InstallProduct(options);
    dll_ = std::make_unique<LibraryUnderTest>();
  }

  void TearDown() override {
    dll_.reset();
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, (std::string(kUninstallList) + "\\Kvil").c_str());
    folder_.reset();
  }

  const LibraryUnderTest& dll() const { return *dll_; }
  std::string StartupDir() const { return product_->StartupDir(1049); }

 private:
  std::unique_ptr<ScratchFolder> folder_;
  std::optional<InstalledProduct> product_;
  std::unique_ptr<LibraryUnderTest> dll_;
};

class InstalledPackage : public ProductOnPrefix {
 protected:
  std::uint32_t RegisterRussianSpeller(int restore) const {
    return Bind<RegisterOffice90Export>(dll(), "RegisterOffice90")(0, 1049, StartupDir().c_str(), "kvilsp3.dll",
                                                                   "SPRUNORM.LEX", restore, kOffice2000);
  }
};

// The package's codes are the ones the library knows: the Installer files each
// component's path under its packed code, as the product's value.
TEST_F(InstalledPackage, TheInstallerHandsOutThePackagesOwnFiles) {
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kUninstallList) + "\\" + kOffice2000RussianProductCode));
  for (const SpellerComponent& speller : kSpellerComponents) {
    SCOPED_TRACE(speller.packageFile);
    const std::string installed = InPackageFolder(speller.packageFile);
    EXPECT_EQ(InstallerPath(speller.component), (ComponentPath{INSTALLSTATE_LOCAL, installed}));
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, ComponentKey(speller.packedComponent)),
              (std::map<std::string, std::string>{{kOffice2000RussianPacked, "sz:" + installed}}));
    EXPECT_EQ(ReadFileBytes(installed), std::string("Office proofing file ") + speller.packageFile + "\r\n");
  }
}

// Attach, attach again, restore: Office is handed the product's files while
// attached, the Installer's own paths are kept once under the backup name, and
// restoring leaves the components exactly as msiexec wrote them.
TEST_F(InstalledPackage, RegisterOffice90RedirectsTheComponentsAndRestoresThem) {
  std::map<std::string, std::map<std::string, std::string>> asInstalled;
  for (const SpellerComponent& speller : kSpellerComponents) {
    asInstalled[speller.packageFile] = DescribeValues(HKEY_LOCAL_MACHINE, ComponentKey(speller.packedComponent));
  }

  for (int attach = 1; attach <= 2; ++attach) {
    ASSERT_EQ(RegisterRussianSpeller(0), 1u) << "attach " << attach;
    for (const SpellerComponent& speller : kSpellerComponents) {
      SCOPED_TRACE(std::string(speller.packageFile) + ", attach " + std::to_string(attach));
      const std::string productPath = StartupDir() + "\\" + speller.productFile;
      EXPECT_EQ(InstallerPath(speller.component), (ComponentPath{INSTALLSTATE_LOCAL, productPath}));
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, ComponentKey(speller.packedComponent)),
                (std::map<std::string, std::string>{
                    {kOffice2000RussianPacked, "sz:" + productPath},
                    {std::string("Saved by Kvil 8:") + kOffice2000RussianPacked,
                     "sz:" + InPackageFolder(speller.packageFile)},
                }));
    }
  }

  ASSERT_EQ(RegisterRussianSpeller(1), 1u);
  for (const SpellerComponent& speller : kSpellerComponents) {
    SCOPED_TRACE(speller.packageFile);
    EXPECT_EQ(InstallerPath(speller.component),
              (ComponentPath{INSTALLSTATE_LOCAL, InPackageFolder(speller.packageFile)}));
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, ComponentKey(speller.packedComponent)),
              asInstalled[speller.packageFile]);
  }
}

// The package publishes only the English lexicon under the proofing lexicon
// category; the proofing data file category stays empty.
TEST_F(InstalledPackage, GetEngNLSModulesAnswersThePublishedEnglishLexicon) {
  const std::string lexicon = InPackageFolder("MSSP3EN.LEX");
  const Lookup published = EnglishNlsModule(dll(), 1);
  EXPECT_EQ(published.result, 0u);
  EXPECT_EQ(published.path, lexicon);
  EXPECT_EQ(published.length, lexicon.size());

  const Lookup unpublished = EnglishNlsModule(dll(), 0);
  EXPECT_EQ(unpublished.result, 0u);
  EXPECT_EQ(unpublished.path, "");
  EXPECT_EQ(unpublished.length, 0u);
}

// Office 2010's English engine category answers; its dictionary category has
// nothing published, and neither has any older place on this machine.
TEST_F(InstalledPackage, GetOriginalDictOrEngineModuleAnswersThePublishedEnglishEngine) {
  const std::string engine = InPackageFolder("MSSP3EN.DLL");
  const Lookup found = OriginalEnglishModule(dll(), 0);
  EXPECT_EQ(found.result, 1033u);
  EXPECT_EQ(found.path, engine);
  EXPECT_EQ(found.length, engine.size());

  EXPECT_EQ(OriginalEnglishModule(dll(), 1).result, 0u);
}

// After msiexec /x: nothing of the package is left, which also shows that
// restoring left no value of the library's in the Installer's components.
TEST(RemovedPackage, TheInstallerNoLongerKnowsThePackage) {
  EXPECT_EQ(MsiQueryProductStateA(kOffice2000RussianProductCode), INSTALLSTATE_UNKNOWN);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kUninstallList) + "\\" + kOffice2000RussianProductCode));
  for (const SpellerComponent& speller : kSpellerComponents) {
    SCOPED_TRACE(speller.packageFile);
    EXPECT_EQ(InstallerPath(speller.component).state, INSTALLSTATE_UNKNOWN);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, ComponentKey(speller.packedComponent)));
  }
  for (const char* file : {"MSSP3RU.DLL", "MSSP3RU.LEX", "MSSP3EN.DLL", "MSSP3EN.LEX"}) {
    EXPECT_FALSE(FileExists(InPackageFolder(file))) << file;
  }
  EXPECT_EQ(GetFileAttributesA(kPackageFolder), INVALID_FILE_ATTRIBUTES);
}

TEST(RemovedPackage, TheEnglishModulesAreNoLongerPublished) {
  const LibraryUnderTest dll;
  const Lookup lexicon = EnglishNlsModule(dll, 1);
  EXPECT_EQ(lexicon.path, "");
  EXPECT_EQ(lexicon.length, 0u);
  EXPECT_EQ(OriginalEnglishModule(dll, 0).result, 0u);
}

using KindAndLanguageExport = void (*)(std::int32_t kind, std::int32_t lcid);

// One grammar package as installed: what the Installer files it under, where its
// module lands, and the entry it adds to each list (the product code packed into
// 20 characters, the feature, ">" and the component code packed likewise).
struct GrammarPackage {
  const char* productCode;
  const char* feature;
  const char* componentCode;
  const char* folder;
  const char* module;
  const char* entry;
};

constexpr GrammarPackage kOfficeGrammar = {
    "{5B01B8FC-B06B-4E59-A932-997204AAB1B9}",
    "ProofingTools_1049",
    "{2A2D9346-DE5A-467B-B9AF-15C7B1583797}",
    "C:\\Program Files\\Common Files\\Microsoft Shared\\PROOF",
    "C:\\Program Files\\Common Files\\Microsoft Shared\\PROOF\\MSGR3RU.DLL",
    "6?59EAnM3AfddoLB1zbdProofingTools_1049>Yq9W1y~U`=omj}hV&([X",
};
constexpr GrammarPackage kProductGrammar = {
    "{570BBEB2-032A-412F-81DE-77E4180502D5}",
    "Grammar_Rus",
    "{A21EE714-45DE-4734-B5DC-213F7E03DABC}",
    "C:\\Program Files\\Kvil Grammar",
    "C:\\Program Files\\Kvil Grammar\\kvilgr32.dll",
    "Qi~{CqChy86PRLrsu.OmGrammar_Rus>6Qz+]sb6t=qod@8AP6de",
};

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

std::string SavedListName(const GrammarList& list) { return std::string("Saved by Kvil 8 ") + list.qualifier; }

// A REG_MULTI_SZ as DescribeValues shows it.
std::string MultiSz(const std::string& bytes) { return "type 7:" + bytes; }

// Each list as msiexec leaves it: the Installer appends each package's entry to
// the list it finds, so Office's comes first, then the product's, each ended by
// its NUL, and the list by one more.
std::string PublishedList() {
  return std::string(kOfficeGrammar.entry) + '\0' + kProductGrammar.entry + '\0' + '\0';
}

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
struct QualifiedPath {
  UINT result;
  std::string path;

  bool operator==(const QualifiedPath&) const = default;
};

void PrintTo(const QualifiedPath& answer, std::ostream* out) {
  *out << "result " << answer.result << ", \"" << answer.path << "\"";
}

QualifiedPath ProvidedChecker(const GrammarList& list) {
  char buffer[MAX_PATH] = {};
  DWORD length = sizeof buffer;
  const UINT result =
      MsiProvideQualifiedComponentA(list.category, list.qualifier, static_cast<DWORD>(INSTALLMODE_EXISTING),
                                    buffer, &length);
  return {result, buffer};
}

// Both grammar packages installed, Office's first, with the product on the
// prefix. Wine's Installer keeps the lists per user, under HKEY_CURRENT_USER,
// where Windows keeps a per-machine package's under HKEY_CLASSES_ROOT; each
// list is copied to where the library looks for it, and whatever the library
// leaves there is copied back before the Installer is asked. After each test
// the copies go and Wine's lists are as msiexec wrote them, for msiexec /x.
class PublishedGrammar : public ProductOnPrefix {
 protected:
  void SetUp() override {
    ProductOnPrefix::SetUp();
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

  // Calls one of the library's switches for the Russian grammar checker and
  // hands the lists it leaves to Wine's Installer.
  void Switch(const char* exportName) const {
    Bind<KindAndLanguageExport>(dll(), exportName)(1, 1049);
    for (const GrammarList& list : kGrammarLists) {
      CopyList(list, HKEY_CLASSES_ROOT, OfficesList(list), HKEY_CURRENT_USER, WinesList(list));
    }
  }

 private:
  std::vector<std::optional<RegValue>> asPublished_;
};

// Office, asking for a list, is handed the first entry's module: its own.
TEST_F(PublishedGrammar, TheListsHoldOfficesEntryThenTheProducts) {
  for (const GrammarList& list : kGrammarLists) {
    SCOPED_TRACE(list.qualifier);
    EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, WinesList(list)),
              (std::map<std::string, std::string>{{list.qualifier, MultiSz(PublishedList())}}));
    EXPECT_EQ(ProvidedChecker(list), (QualifiedPath{ERROR_SUCCESS, kOfficeGrammar.module}));
  }
  // Each entry names its own package, feature and component.
  for (const GrammarPackage& package : {kOfficeGrammar, kProductGrammar}) {
    SCOPED_TRACE(package.feature);
    char productCode[39] = {};
    char feature[MAX_FEATURE_CHARS + 1] = {};
    char componentCode[39] = {};
    DWORD used = 0;
    ASSERT_EQ(MsiDecomposeDescriptorA(package.entry, productCode, feature, componentCode, &used),
              static_cast<UINT>(ERROR_SUCCESS));
    EXPECT_STREQ(productCode, package.productCode);
    EXPECT_STREQ(feature, package.feature);
    EXPECT_STREQ(componentCode, package.componentCode);
    EXPECT_EQ(used, std::string(package.entry).size());
  }
}

// Detach twice, then attach: while detached Office is handed the product's
// module and each list holds the product's entry alone (with the NUL that
// follows it in the saved list, which the ANSI registry call stores), the
// whole published list saved once beside it; attach hands Office its own
// checker again, from the saved list without the product's entry.
TEST_F(PublishedGrammar, DetachHandsOutTheProductsModuleUntilAttach) {
  for (int detach = 1; detach <= 2; ++detach) {
    Switch("DetachMS2010ProofingTool");
    for (const GrammarList& list : kGrammarLists) {
      SCOPED_TRACE(std::string(list.qualifier) + ", detach " + std::to_string(detach));
      EXPECT_EQ(DescribeValues(HKEY_CLASSES_ROOT, OfficesList(list)),
                (std::map<std::string, std::string>{
                    {list.qualifier, MultiSz(std::string(kProductGrammar.entry) + '\0')},
                    {SavedListName(list), MultiSz(PublishedList())},
                }));
      EXPECT_EQ(ProvidedChecker(list), (QualifiedPath{ERROR_SUCCESS, kProductGrammar.module}));
    }
  }

  Switch("AttachMS2010ProofingTool");
  for (const GrammarList& list : kGrammarLists) {
    SCOPED_TRACE(list.qualifier);
    EXPECT_EQ(DescribeValues(HKEY_CLASSES_ROOT, OfficesList(list)),
              (std::map<std::string, std::string>{
                  {list.qualifier, MultiSz(std::string(kOfficeGrammar.entry) + '\0')},
                  {SavedListName(list), MultiSz(PublishedList())},
              }));
    EXPECT_EQ(ProvidedChecker(list), (QualifiedPath{ERROR_SUCCESS, kOfficeGrammar.module}));
  }
}

// After msiexec /x of both: neither package is known, their files are gone, and
// no list is left, in Wine's place or in Office's: the categories themselves
// are unknown to the Installer. (Wine's UnpublishComponents takes a category's
// whole key away already with the first package removed.)
TEST(RemovedGrammar, TheInstallerNoLongerKnowsEitherPackage) {
  for (const GrammarPackage& package : {kOfficeGrammar, kProductGrammar}) {
    SCOPED_TRACE(package.feature);
    EXPECT_EQ(MsiQueryProductStateA(package.productCode), INSTALLSTATE_UNKNOWN);
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, std::string(kUninstallList) + "\\" + package.productCode));
    EXPECT_FALSE(FileExists(package.module));
    EXPECT_EQ(GetFileAttributesA(package.folder), INVALID_FILE_ATTRIBUTES);
  }
  for (const GrammarList& list : kGrammarLists) {
    SCOPED_TRACE(list.qualifier);
    EXPECT_EQ(ProvidedChecker(list), (QualifiedPath{ERROR_UNKNOWN_COMPONENT, ""}));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, WinesList(list)));
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, OfficesList(list)));
  }
}

}  // namespace
}  // namespace kvil::test

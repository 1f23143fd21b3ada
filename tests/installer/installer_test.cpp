// The library against Wine's own Windows Installer. run_installer_test.cmake
// installs the proofing-tools package (proofing_tools.wxs) with msiexec in a
// prefix made for this run, runs InstalledPackage.*, removes the package with
// msiexec and runs RemovedPackage.*. There is no scratch registry here: the
// Installer keeps its registrations in the prefix's own hives, and msiexec, a
// separate process, must find there whatever these tests leave behind.

#include <windows.h>
// msi.h needs the Windows types first.
#include <msi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

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

}  // namespace
}  // namespace kvil::test

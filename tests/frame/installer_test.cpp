#include "installer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame_test.h"
#include "office.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

constexpr const char kInstaller[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";
constexpr const char kPlainComponents[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\Components";
constexpr const char kSystemComponents[] =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Components";
constexpr const char kUserData[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData";
// English Office XP: not a language in its first group, so never redirected.
constexpr const char kOfficeXpEnglish[] = "00002109030000000000000000F01FEC";
// Office 2000 in Ukrainian, packed, and its product code.
constexpr const char kUkrainian2000[] = "224000001E872D116BF00006799C897E";
constexpr const char kUkrainian2000Code[] = "{00000422-78E1-11D2-B60F-006097C998E7}";
constexpr const char kSaved[] = "Saved by Kvil 8:";

class InstallerRedirection : public InstalledFrameTest {
 protected:
  void SetUp() override {
    InstalledFrameTest::SetUp();
    RegisterUninstallEntry(kOffice2000RussianProductCode);
  }
  HostResult Redirect(int restore, int kind = 0, int lcid = 1049, int version = 9) const {
    return RegisterOffice90(kind, lcid, startup_.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", restore, version);
  }
  std::string Product(const char* file) const { return "sz:" + InStartup(file); }
};

TEST_F(InstallerRedirection, RoundTripInEachComponentKeyFormat) {
  const std::string user = std::string(kUserData) + "\\S-1-5-21-7-7-7-1000\\Components";
  for (const std::string& components : {std::string(kPlainComponents), std::string(kSystemComponents), user}) {
    SCOPED_TRACE(components);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
    if (components != kPlainComponents) CreateKey(HKEY_LOCAL_MACHINE, components);
    EXPECT_EQ(ComponentKeyBase(9).view(), components);

    const std::string engine = components + "\\" + kRussianSpellerEngineComponent;
    const std::string lexicon = components + "\\" + kRussianSpellerLexiconComponent;
    RegisterComponentPath(components, kRussianSpellerEngineComponent, kOffice2000RussianPacked, "C:\\Proof\\MSSP3RU.DLL");
    RegisterComponentPath(components, kRussianSpellerEngineComponent, kOfficeXpEnglish, "C:\\Proof\\MSSP3EN.DLL");
    RegisterComponentPath(components, kRussianSpellerLexiconComponent, kOffice2000RussianPacked, "C:\\Proof\\MSSP3RU.LEX");
    const Values installed = DescribeValues(HKEY_LOCAL_MACHINE, engine);
    const Values attached{{kOffice2000RussianPacked, Product("kvilsp3.dll")},
                          {std::string(kSaved) + kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.DLL"},
                          {kOfficeXpEnglish, "sz:C:\\Proof\\MSSP3EN.DLL"}};
    // Attaching twice keeps the first backup.
    for (int time = 0; time < 2; ++time) {
      ASSERT_EQ(Redirect(0), 1u);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), attached);
    }
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, lexicon),
              (Values{{kOffice2000RussianPacked, Product("SPRUNORM.LEX")},
                      {std::string(kSaved) + kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.LEX"}}));
    ASSERT_EQ(Redirect(1), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), installed);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, lexicon), (Values{{kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.LEX"}}));
  }
}

TEST_F(InstallerRedirection, ValuesMadeWithoutBackupAreRemovedOnRestore) {
  // No component key at all: restoring creates nothing, attaching creates the
  // row's own value.
  ASSERT_EQ(Redirect(1), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
  ASSERT_EQ(Redirect(0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kPlainComponents) + "\\" + kRussianSpellerLexiconComponent),
            (Values{{kOffice2000RussianPacked, Product("SPRUNORM.LEX")}}));

  // Another language's Office 2000 gets the row's value under its own prefix.
  const std::string engine = std::string(kSystemComponents) + "\\" + kRussianSpellerEngineComponent;
  CreateKey(HKEY_LOCAL_MACHINE, engine);
  RegisterUninstallEntry(kUkrainian2000Code);
  ASSERT_EQ(Redirect(0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine),
            (Values{{kOffice2000RussianPacked, Product("kvilsp3.dll")}, {kUkrainian2000, Product("kvilsp3.dll")}}));
  WriteText(HKEY_LOCAL_MACHINE, engine, "Unrelated", "C:\\Other\\file.dll");
  ASSERT_EQ(Redirect(1), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), (Values{{"Unrelated", "sz:C:\\Other\\file.dll"}}));
}

TEST_F(InstallerRedirection, WithoutAnyUsersComponentsTheLastUserIsTaken) {
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUserData) + "\\S-1-5-21-1\\Products");
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUserData) + "\\S-1-5-21-2\\Products");
  EXPECT_EQ(ComponentKeyBase(9).view(), std::string(kUserData) + "\\S-1-5-21-2\\Components");
  CreateKey(HKEY_LOCAL_MACHINE, kSystemComponents);
  EXPECT_EQ(ComponentKeyBase(8).view(), kPlainComponents);  // before Office 2000: always the plain key
}

// The components a redirection on an empty Installer registry creates, each with
// the row's product value; any other combination has no row and changes nothing.
TEST_F(InstallerRedirection, TheComponentTableHasTheseRows) {
  const char* grammar = "24B871BFD5A13D117B180008F5B92568";
  const char* grammarLexicon = "4857C3C6DC6D2D117B870008F5A40D05";
  const struct {
    int kind, lcid, version;
    const char *engine, *lexicon, *valueName;
  } rows[] = {
      {0, 1033, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "D3BE92CC2CB71D119A12000A9CE1A22A", kOffice2000RussianPacked},
      {0, 2057, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "D3BE92CC2CB71D119A12000A9CE1A22A", kOffice2000RussianPacked},
      {0, 3081, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "13608793E82C1D11FB5B000A9CF0828A", kOffice2000RussianPacked},
      {1, 1049, 9, grammar, grammarLexicon, kOffice2000RussianPacked},
      {1, 1049, 10, grammar, grammarLexicon, "9040820300063D11C8EF00054038389C"},
      {1, 1049, 11, grammar, grammarLexicon, "9040110200063D11C8EF10054038389C"},
      {1, 1049, 12, grammar, grammarLexicon, "9040F10900063D11C8EF10054038389C"},
      {1, 1049, 14, grammar, grammarLexicon, "9040F10900063D11C8EF10054038389C"},
      {1, 1049, 15, grammar, grammarLexicon, "9040F10900063D11C8EF10054038389C"},
  };
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall");
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.kind << "/" << row.lcid << "/" << row.version);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
    ASSERT_EQ(Redirect(0, row.kind, row.lcid, row.version), 1u);
    EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kPlainComponents),
              (Values{{"", "key"}, {row.engine, "key"}, {row.lexicon, "key"},
                      {std::string(row.engine) + ":" + row.valueName, Product("kvilsp3.dll")},
                      {std::string(row.lexicon) + ":" + row.valueName, Product("SPRUNORM.LEX")}}));
  }
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
  const int missing[][3] = {{0, 1049, 10}, {0, 1058, 9}, {1, 1049, 13}, {1, 1058, 9}, {2, 1049, 9}, {3, 1049, 9}};
  for (const auto& [kind, lcid, version] : missing) {
    EXPECT_EQ(Redirect(0, kind, lcid, version), kNotApplicable) << kind << "/" << lcid << "/" << version;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
}

TEST_F(InstallerRedirection, MissingOrOverlongArgumentsWriteNothing) {
  const std::string overlong(300, 'x');
  const char* dir = startup_.c_str();
  EXPECT_EQ(RegisterOffice90(0, 1049, nullptr, "kvilsp3.dll", "SPRUNORM.LEX", 0, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, dir, "kvilsp3.dll", nullptr, 1, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, dir, overlong.c_str(), "SPRUNORM.LEX", 0, 9), 0u);
  // A folder that fits but cannot take the file name: no path is written cut short.
  const std::string deep = "C:\\" + std::string(250, 'x');
  EXPECT_EQ(RegisterOffice90(0, 1049, deep.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 0, 9), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
}

TEST_F(InstallerRedirection, MalformedValuesArePassedOverAndTheRestStillRedirected) {
  const std::string engine = std::string(kSystemComponents) + "\\" + kRussianSpellerEngineComponent;
  RegisterUninstallEntry("{00000409-78E1-11D2-B60F-006097C998E7}");
  RegisterUninstallEntry(kUkrainian2000Code);
  const std::string noTerminator = "C:\\Proof\\NOTERM.DLL";
  WriteDword(HKEY_LOCAL_MACHINE, engine, "904000001E872D116BF00006799C897E", 7);
  WriteRaw(HKEY_LOCAL_MACHINE, engine, kOffice2000RussianPacked, REG_SZ,
           std::vector<std::uint8_t>(noTerminator.begin(), noTerminator.end()));
  WriteText(HKEY_LOCAL_MACHINE, engine, kUkrainian2000, "C:\\" + std::string(300, 'x'));
  ASSERT_EQ(Redirect(0), 1u);
  // Each localized product's value is the product's afterwards; only the one that
  // could be read was kept.
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine),
            (Values{{"904000001E872D116BF00006799C897E", Product("kvilsp3.dll")},
                    {kOffice2000RussianPacked, Product("kvilsp3.dll")},
                    {kUkrainian2000, Product("kvilsp3.dll")},
                    {std::string(kSaved) + kOffice2000RussianPacked, "sz:" + noTerminator}}));
}

TEST_F(InstallerRedirection, OnlyProductCodesOpeningWithALanguageAreLocalized) {
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall");
  for (const char* code : {"{00000419-78E1-11D2-B60F-006097C998E7}", "{90280409-6000-11D3-8CFE-0050048383C9}",
                           "{00000409-78E1-11D2-B60F-006097C998E7}", "{ZZZZ0419-0000-0000-0000-000000000000}",
                           "{00000000-0000-0000-0000-000000000000}", "Kvil", "{0419}"}) {
    RegisterUninstallEntry(code);
  }
  std::vector<std::string> prefixes;
  for (const ProductPrefix& prefix : BuildLocalizedProductList()) prefixes.emplace_back(prefix.data());
  EXPECT_EQ(prefixes, (std::vector<std::string>{"90400000", "91400000"}));
}

// Office's own proofing modules, newest Office first: the path found, or "none".
class OfficeModules : public InstallerRedirection {
 protected:
  std::string Find(int kind, int lcid, int which, const char* excluded = "") {
    char buffer[260] = "untouched";
    DWORD length = sizeof buffer;
    const std::uint32_t found = GetOriginalDictOrEngineModule(kind, lcid, buffer, &length, which, 2, excluded);
    EXPECT_EQ(length, std::strlen(buffer));
    EXPECT_TRUE(found == 0 || found == static_cast<std::uint32_t>(lcid)) << found;
    return found == 0 ? "none" : buffer;
  }
};

TEST_F(OfficeModules, EachOfficeIsAskedInTurn) {
  RegisterComponentPath(kSystemComponents, "F3BE92CC2CB71D119A12000A9CE1A22A", kOffice2000RussianPacked, "C:\\O2000\\MSSP3EN.DLL");
  // The first product's value already points at the product's lexicon.
  RegisterComponentPath(kSystemComponents, kRussianSpellerLexiconComponent, kUkrainian2000, InStartup("SPRUNORM.LEX"));
  RegisterComponentPath(kSystemComponents, kRussianSpellerLexiconComponent, kOffice2000RussianPacked, "C:\\O2000\\MSSP3RU.LEX");
  RegisterUninstallEntry(kUkrainian2000Code);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1058\\Normal", "Engine",
            "C:\\Shared\\MSSP3UA.DLL");

  EXPECT_EQ(Find(0, 1033, 0), "C:\\O2000\\MSSP3EN.DLL");
  SetOfficeInstallRoot(15, "Common", "C:\\Office15\\");
  char root[260];
  EXPECT_EQ(GetOfficeInstallRoot(15, "Word", root, sizeof root, false), 0);  // the shared root only where allowed
  EXPECT_EQ(Find(0, 1033, 0), "C:\\Office15\\PROOF\\msspell7.dll");
  EXPECT_EQ(Find(0, 2057, 1), "C:\\Office15\\PROOF\\MSSP7EN.LEX");
  SetOfficeInstallRoot(15, "Word", "C:\\Word15\\");
  EXPECT_EQ(Find(0, 3081, 0), "C:\\Word15\\PROOF\\msspell7.dll");
  // Russian skips Office 2007 to 2013; the product's own folder is passed over.
  EXPECT_EQ(Find(0, 1049, 1, startup_.c_str()), "C:\\O2000\\MSSP3RU.LEX");
  EXPECT_EQ(Find(0, 1049, 0), "none");
  EXPECT_EQ(Find(0, 1058, 0), "C:\\Shared\\MSSP3UA.DLL");
}

TEST_F(OfficeModules, TheProductOfVersion6AsksOffice2000AndTheSharedTreeOnly) {
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, kUninstallKvil);
  ProductOptions options = DefaultProductOptions();
  options.majorVersion = 6;
  Install(options);
  ResetKvilVersionCache();
  SetOfficeInstallRoot(15, "Word", "C:\\Word15\\");
  EXPECT_EQ(Find(0, 1033, 0), "none");
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1033\\Normal", "Engine",
            "C:\\Shared\\MSSP3EN.DLL");
  EXPECT_EQ(Find(0, 1033, 0), "C:\\Shared\\MSSP3EN.DLL");
}

TEST_F(OfficeModules, WithoutInstallerDataTheEnglishFilesAreNotFound) {
  char buffer[260] = "untouched";
  for (int which : {0, 1}) {
    DWORD length = sizeof buffer;
    GetEngNLSModules(1049, buffer, &length, which);
    EXPECT_EQ(length, 0u) << which;
  }
}

}  // namespace
}  // namespace kvil::test

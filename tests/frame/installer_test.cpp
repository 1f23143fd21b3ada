#include "installer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "frame_test.h"
#include "office.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr const char kInstaller[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";
constexpr const char kPlainComponents[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\Components";
constexpr const char kUserData[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData";
// English Office XP: not a language in its first group, so never redirected.
constexpr const char kOfficeXpEnglish[] = "00002109030000000000000000F01FEC";

class InstallerRedirection : public FrameTest {
 protected:
  void SetUp() override {
    FrameTest::SetUp();
    InstallDefaultProduct();
    startup_ = product().StartupDir(1049);
    RegisterUninstallEntry(kOffice2000RussianProductCode);
  }
  HostResult Redirect(int restore, int kind = 0, int lcid = 1049, int version = 9) const {
    return RegisterOffice90(kind, lcid, startup_.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", restore, version);
  }
  std::string startup_;
};

// The component keys the three kinds of Installer registry hold, and where each
// is looked for.
struct KeyFormatCase {
  const char* name;
  std::vector<std::string> keysPresent;
  std::string components;
};

TEST_F(InstallerRedirection, RoundTripInEachComponentKeyFormat) {
  const KeyFormatCase cases[] = {
      {"plain", {}, kPlainComponents},
      {"local system", {std::string(kUserData) + "\\S-1-5-18\\Components"}, std::string(kUserData) + "\\S-1-5-18\\Components"},
      {"user",
       {std::string(kUserData) + "\\S-1-5-21-7-7-7-1000\\Components"},
       std::string(kUserData) + "\\S-1-5-21-7-7-7-1000\\Components"},
  };
  for (const KeyFormatCase& c : cases) {
    SCOPED_TRACE(c.name);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
    for (const std::string& key : c.keysPresent) CreateKey(HKEY_LOCAL_MACHINE, key);
    EXPECT_EQ(ComponentKeyBase(9).view(), c.components);

    const std::string engine = c.components + "\\" + kRussianSpellerEngineComponent;
    const std::string lexicon = c.components + "\\" + kRussianSpellerLexiconComponent;
    RegisterComponentPath(c.components, kRussianSpellerEngineComponent, kOffice2000RussianPacked, "C:\\Proof\\MSSP3RU.DLL");
    RegisterComponentPath(c.components, kRussianSpellerEngineComponent, kOfficeXpEnglish, "C:\\Proof\\MSSP3EN.DLL");
    RegisterComponentPath(c.components, kRussianSpellerLexiconComponent, kOffice2000RussianPacked, "C:\\Proof\\MSSP3RU.LEX");
    const Values installed = DescribeValues(HKEY_LOCAL_MACHINE, engine);

    const Values attached{{kOffice2000RussianPacked, "sz:" + startup_ + "\\kvilsp3.dll"},
                          {std::string("Saved by Kvil 8:") + kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.DLL"},
                          {kOfficeXpEnglish, "sz:C:\\Proof\\MSSP3EN.DLL"}};
    ASSERT_EQ(Redirect(0), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), attached);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, lexicon),
              (Values{{kOffice2000RussianPacked, "sz:" + startup_ + "\\SPRUNORM.LEX"},
                      {std::string("Saved by Kvil 8:") + kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.LEX"}}));
    ASSERT_EQ(Redirect(0), 1u);  // finds the product's path and keeps the first backup
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), attached);

    ASSERT_EQ(Redirect(1), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), installed);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, lexicon),
              (Values{{kOffice2000RussianPacked, "sz:C:\\Proof\\MSSP3RU.LEX"}}));
  }
}

TEST_F(InstallerRedirection, ANewProductWithoutBackupIsRemovedOnRestore) {
  const std::string engine = std::string(kUserData) + "\\S-1-5-18\\Components\\" + kRussianSpellerEngineComponent;
  CreateKey(HKEY_LOCAL_MACHINE, engine);
  // Another Office 2000 language product: its value is made by the redirection
  // itself, with no backup, from the row's value name.
  RegisterUninstallEntry("{00000422-78E1-11D2-B60F-006097C998E7}");
  ASSERT_EQ(Redirect(0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine),
            (Values{{kOffice2000RussianPacked, "sz:" + startup_ + "\\kvilsp3.dll"},
                    {"224000001E872D116BF00006799C897E", "sz:" + startup_ + "\\kvilsp3.dll"}}));
  WriteText(HKEY_LOCAL_MACHINE, engine, "Unrelated", "C:\\Other\\file.dll");
  ASSERT_EQ(Redirect(1), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, engine), (Values{{"Unrelated", "sz:C:\\Other\\file.dll"}}));
}

TEST_F(InstallerRedirection, AMissingComponentKeyIsCreatedOnAttachOnly) {
  ASSERT_EQ(Redirect(1), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
  ASSERT_EQ(Redirect(0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kPlainComponents) + "\\" + kRussianSpellerLexiconComponent),
            (Values{{kOffice2000RussianPacked, "sz:" + startup_ + "\\SPRUNORM.LEX"}}));
}

TEST_F(InstallerRedirection, WithoutAnyUsersComponentsTheLastUserIsTaken) {
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUserData) + "\\S-1-5-21-1\\Products");
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUserData) + "\\S-1-5-21-2\\Products");
  EXPECT_EQ(ComponentKeyBase(9).view(), std::string(kUserData) + "\\S-1-5-21-2\\Components");
  CreateKey(HKEY_LOCAL_MACHINE, std::string(kUserData) + "\\S-1-5-18\\Components");
  EXPECT_EQ(ComponentKeyBase(8).view(), kPlainComponents);  // before Office 2000: always the plain key
}

// Every row of the component table: the components a redirection on an empty
// Installer registry creates, each with the row's product value.
TEST_F(InstallerRedirection, TheTableHasExactlyTheseRows) {
  struct RowCase {
    int kind, lcid, version;
    const char* engine;
    const char* lexicon;
    const char* valueName;
  };
  const char* ru2000 = kOffice2000RussianPacked;
  const RowCase rows[] = {
      {0, 1033, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "D3BE92CC2CB71D119A12000A9CE1A22A", ru2000},
      {0, 2057, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "D3BE92CC2CB71D119A12000A9CE1A22A", ru2000},
      {0, 3081, 9, "F3BE92CC2CB71D119A12000A9CE1A22A", "13608793E82C1D11FB5B000A9CF0828A", ru2000},
      {0, 1049, 9, kRussianSpellerEngineComponent, kRussianSpellerLexiconComponent, ru2000},
      {1, 1049, 9, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", ru2000},
      {1, 1049, 10, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", "9040820300063D11C8EF00054038389C"},
      {1, 1049, 11, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", "9040110200063D11C8EF10054038389C"},
      {1, 1049, 12, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", "9040F10900063D11C8EF10054038389C"},
      {1, 1049, 14, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", "9040F10900063D11C8EF10054038389C"},
      {1, 1049, 15, "24B871BFD5A13D117B180008F5B92568", "4857C3C6DC6D2D117B870008F5A40D05", "9040F10900063D11C8EF10054038389C"},
  };
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall");
  for (const RowCase& row : rows) {
    SCOPED_TRACE(testing::Message() << row.kind << "/" << row.lcid << "/" << row.version);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
    ASSERT_EQ(Redirect(0, row.kind, row.lcid, row.version), 1u);
    EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, kPlainComponents).size(), 2u);
    EXPECT_EQ(ValueNames(HKEY_LOCAL_MACHINE, std::string(kPlainComponents) + "\\" + row.engine),
              std::vector<std::string>{row.valueName});
    EXPECT_EQ(ValueNames(HKEY_LOCAL_MACHINE, std::string(kPlainComponents) + "\\" + row.lexicon),
              std::vector<std::string>{row.valueName});
  }
  // Any other combination has no row and changes nothing.
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInstaller);
  const int missing[][3] = {{0, 1049, 10}, {0, 1049, 11}, {0, 1058, 9}, {1, 1049, 13}, {1, 1058, 9},
                            {2, 1049, 9},  {3, 1049, 9},  {4, 1049, 9}, {0, 1031, 9}};
  for (const auto& [kind, lcid, version] : missing) {
    EXPECT_EQ(Redirect(0, kind, lcid, version), kNotApplicable) << kind << "/" << lcid << "/" << version;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
}

TEST_F(InstallerRedirection, MissingOrOverlongArgumentsWriteNothing) {
  const std::string overlong(300, 'x');
  EXPECT_EQ(RegisterOffice90(0, 1049, nullptr, "kvilsp3.dll", "SPRUNORM.LEX", 0, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, startup_.c_str(), nullptr, "SPRUNORM.LEX", 0, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, startup_.c_str(), "kvilsp3.dll", nullptr, 1, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, overlong.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 0, 9), 0u);
  EXPECT_EQ(RegisterOffice90(0, 1049, startup_.c_str(), overlong.c_str(), "SPRUNORM.LEX", 0, 9), 0u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
  // A folder that fits but cannot take the file name: no path is written cut short.
  const std::string deep = "C:\\" + std::string(250, 'x');
  EXPECT_EQ(RegisterOffice90(0, 1049, deep.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 0, 9), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
}

TEST_F(InstallerRedirection, MalformedValuesArePassedOverAndTheRestStillRedirected) {
  const std::string components = std::string(kUserData) + "\\S-1-5-18\\Components";
  const std::string engine = components + "\\" + kRussianSpellerEngineComponent;
  RegisterUninstallEntry("{00000409-78E1-11D2-B60F-006097C998E7}");
  RegisterUninstallEntry("{00000422-78E1-11D2-B60F-006097C998E7}");
  const std::string noTerminator = "C:\\Proof\\NOTERM.DLL";
  const std::string overlong = "C:\\" + std::string(300, 'x');
  WriteDword(HKEY_LOCAL_MACHINE, engine, "904000001E872D116BF00006799C897E", 7);
  WriteRaw(HKEY_LOCAL_MACHINE, engine, "914000001E872D116BF00006799C897E", REG_SZ,
           std::vector<std::uint8_t>(noTerminator.begin(), noTerminator.end()));
  WriteText(HKEY_LOCAL_MACHINE, engine, "224000001E872D116BF00006799C897E", overlong);
  ASSERT_EQ(Redirect(0), 1u);
  // Each localized product's value is the product's afterwards; only the one that
  // could be read was kept.
  const Values after = DescribeValues(HKEY_LOCAL_MACHINE, engine);
  EXPECT_EQ(after.at("904000001E872D116BF00006799C897E"), "sz:" + startup_ + "\\kvilsp3.dll");
  EXPECT_EQ(after.at("914000001E872D116BF00006799C897E"), "sz:" + startup_ + "\\kvilsp3.dll");
  EXPECT_EQ(after.at("224000001E872D116BF00006799C897E"), "sz:" + startup_ + "\\kvilsp3.dll");
  EXPECT_EQ(after.at("Saved by Kvil 8:914000001E872D116BF00006799C897E"), "sz:" + noTerminator);
  EXPECT_EQ(after.size(), 4u);
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

// Office's own proofing modules, newest Office first.
class OfficeModules : public InstallerRedirection {
 protected:
  std::string Find(int kind, int lcid, int which, const char* excluded = "", std::uint32_t* answer = nullptr) {
    char buffer[260] = "untouched";
    DWORD length = sizeof buffer;
    const std::uint32_t found = GetOriginalDictOrEngineModule(kind, lcid, buffer, &length, which, 2, excluded);
    if (answer != nullptr) *answer = found;
    EXPECT_EQ(length, std::strlen(buffer));
    return found == 0 ? "none" : buffer;
  }
};

TEST_F(OfficeModules, EachOfficeIsAskedInTurn) {
  const std::string components = std::string(kUserData) + "\\S-1-5-18\\Components";
  RegisterComponentPath(components, "F3BE92CC2CB71D119A12000A9CE1A22A", kOffice2000RussianPacked, "C:\\O2000\\MSSP3EN.DLL");
  // The first product's value already points at the product's lexicon.
  RegisterComponentPath(components, kRussianSpellerLexiconComponent, "224000001E872D116BF00006799C897E", startup_ + "\\SPRUNORM.LEX");
  RegisterComponentPath(components, kRussianSpellerLexiconComponent, kOffice2000RussianPacked, "C:\\O2000\\MSSP3RU.LEX");
  RegisterUninstallEntry("{00000422-78E1-11D2-B60F-006097C998E7}");
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1058\\Normal", "Engine",
            "C:\\Shared\\MSSP3UA.DLL");

  std::uint32_t answer = 0;
  EXPECT_EQ(Find(0, 1033, 0, "", &answer), "C:\\O2000\\MSSP3EN.DLL");
  EXPECT_EQ(answer, 1033u);
  SetOfficeInstallRoot(15, "Common", "C:\\Office15\\");
  EXPECT_EQ(Find(0, 1033, 0), "C:\\Office15\\PROOF\\msspell7.dll");
  EXPECT_EQ(Find(0, 2057, 1), "C:\\Office15\\PROOF\\MSSP7EN.LEX");
  SetOfficeInstallRoot(15, "Word", "C:\\Word15\\");
  EXPECT_EQ(Find(0, 3081, 0), "C:\\Word15\\PROOF\\msspell7.dll");
  // Russian skips Office 2007 to 2013; the product's own folder is passed over.
  EXPECT_EQ(Find(0, 1049, 1, startup_.c_str()), "C:\\O2000\\MSSP3RU.LEX");
  EXPECT_EQ(Find(0, 1049, 0), "none");
  EXPECT_EQ(Find(0, 1058, 0, "", &answer), "C:\\Shared\\MSSP3UA.DLL");
  EXPECT_EQ(answer, 1058u);
}

TEST_F(OfficeModules, TheProductOfVersion6AsksOffice2000AndTheSharedTreeOnly) {
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, kUninstallKvil);
  Install([&] {
    ProductOptions options = DefaultProductOptions();
    options.majorVersion = 6;
    return options;
  }());
  ResetKvilVersionCache();
  SetOfficeInstallRoot(15, "Word", "C:\\Word15\\");
  EXPECT_EQ(Find(0, 1033, 0), "none");
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1033\\Normal", "Engine",
            "C:\\Shared\\MSSP3EN.DLL");
  EXPECT_EQ(Find(0, 1033, 0), "C:\\Shared\\MSSP3EN.DLL");
}

TEST_F(OfficeModules, WithoutInstallerDataTheLexiconsAreNotFound) {
  char buffer[260] = "untouched";
  DWORD length = sizeof buffer;
  GetEngNLSModules(1049, buffer, &length, 1);
  EXPECT_EQ(length, 0u);
  length = sizeof buffer;
  GetEngNLSModules(1049, buffer, &length, 0);
  EXPECT_EQ(length, 0u);
}

}  // namespace
}  // namespace kvil::test

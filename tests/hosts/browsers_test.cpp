// Firefox 2, Internet Explorer 6 to 8 and Opera 9 through the DLL's exports: the
// replaced module, the menu entry and the spell-check settings, each kept once
// and put back.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "browser_fixture.h"
#include "non_office_host_test.h"
#include "win32_support.h"

namespace kvil::test {
namespace {

constexpr char kFirefoxOptions[] = "SOFTWARE\\Tervane\\Kvil\\9.0\\Products\\FIREFOX\\2.0\\Spelling";

enum class Effect { kModule, kMenu, kSettings };

struct Member {
  const char* suffix;
  const char* info;     // the list's first item
  const char* filedAs;  // application key and version
  KvilResult found;     // Exist and Avail of the speller
  Effect effect;
  void (*install)(const std::string& browsers);
};

const Member kMembers[] = {
    {"FireFox20", "FireFox", "FIREFOX\\2.0", 1, Effect::kModule,
     [](const std::string& b) { InstallFirefox2(b + "\\Firefox"); }},
    {"IE", "IEXPLORE", "IEXPLORE\\8.0", 1, Effect::kMenu,
     [](const std::string& b) { InstallInternetExplorer8(b + "\\IE8"); }},
    // Wine answers 9.0 for every program named iexplore.exe: there Internet
    // Explorer 6 is recorded under that version and never found.
    {"IE60", "IEXPLORE", "IEXPLORE\\9.0", 0, Effect::kMenu,
     [](const std::string& b) { InstallInternetExplorer6(b + "\\IE6"); }},
    {"IE70", "IEXPLORE", "IEXPLORE\\7.0", 1, Effect::kMenu,
     [](const std::string& b) { InstallInternetExplorer7(b + "\\IE7\\ie7.exe"); }},
    {"Opera90", "OPERA", "OPERA\\9.64", 1, Effect::kSettings, [](const std::string& b) { InstallOpera9(b + "\\Opera"); }},
};

class Browsers : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    WriteBrowserProductFiles(product().options.productDir);
    InstallFirefoxProductModule(folder().Join("Kvil9"));
  }
  std::string Browser(const std::string& relative) const { return folder().Join("Browsers\\" + relative); }
  // Opera's settings naming the product's engine, then the rest of the file.
  std::string OperaSettings(const std::string& rest) const {
    return "[Spell check]\r\nSpell check engine=" + product().options.productDir +
           "\\spellcheck.dll\r\nDefault Language=Russian\r\nDefault Encoding=cp1251\r\n" + rest;
  }
  void ExpectAttached(const Member& m, const std::string& firefoxModule) const {
    if (m.effect == Effect::kModule) {
      // The options go under the product version Firefox's module was written for.
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kFirefoxOptions) + "\\1049"), kSpellerRecord);
      EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Spelling")), (Values{{"Attached", "1"}}));
      const std::string module = Browser("Firefox\\components\\myspell.dll");
      EXPECT_EQ(ReadFileBytes(module), ReadFileBytes(folder().Join("Kvil9\\myspell.dll")));
      EXPECT_EQ(ReadFileBytes(module + ".orig"), firefoxModule);
      return;
    }
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Spelling")), kSpellerRecord);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), SpellerRegistration());
    if (m.effect == Effect::kMenu) {
      EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kIeMenuKey),
                (Values{{"", "sz:" + product().options.productDir + "\\kvilie.htm"}, {"Contexts", "55"}}));
    } else {
      EXPECT_EQ(ReadFileBytes(Browser("Opera\\spellcheck.ini")), OperaSettings("[Dictionaries]\r\nEnglish=en_US\r\n"));
      EXPECT_EQ(ReadFileBytes(Browser("Opera\\spellcheck.orig.ini")), kOperaOwnSettings);
    }
  }
};

class BrowserRequest : public Browsers, public testing::WithParamInterface<Member> {};

TEST_P(BrowserRequest, TheSpellerIsAttachedTwiceKeepingTheFirstBackupAndDetachedByteForByte) {
  const Member& m = GetParam();
  m.install(folder().Join("Browsers"));
  const Values before = HostsOwn();
  const std::string firefoxModule =
      m.effect == Effect::kModule ? ReadFileBytes(Browser("Firefox\\components\\myspell.dll")) : "";
  std::string list = m.info + std::string(1, '\0') + std::string(m.filedAs).substr(std::strcspn(m.filedAs, "\\") + 1);
  EXPECT_EQ(InfoList(m.suffix), list + std::string(2, '\0'));
  EXPECT_EQ(Call("Exist", m.suffix, 0), m.found);
  EXPECT_EQ(Call("Avail", m.suffix, 0), m.found);
  for (int time = 0; time < 2; ++time) {
    ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
    ExpectAttached(m, firefoxModule);
  }
  EXPECT_EQ(Call("Check", m.suffix, 0), m.effect == Effect::kModule ? m.found : 1u);

  EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Spelling"), "Attached"), 0u);
  EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
  EXPECT_EQ(HostsOwn(), before);
}

INSTANTIATE_TEST_SUITE_P(Members, BrowserRequest, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return std::string(member.param.suffix); });

TEST_F(Browsers, KindsOtherThanTheSpellerGetTheirAnswerAndWriteNothing) {
  for (const Member& m : kMembers) m.install(folder().Join("Browsers"));
  const Values machine = Machine();
  for (const KindAnswers& answers :
       {KindAnswers{"FireFox20", 1, kNA, kNA, kNA, kNA, 0}, {"FireFox20", 3, kNA, kNA, kNA, kNA, 0},
        {"FireFox20", 4, 0, 0, kNA, kNA, 0}, {"IE", 2, kNA, kNA, kNA, kNA, 0}, {"IE", -1, 0, 0, kNA, kNA, 0},
        {"IE60", 1, kNA, 0, kNA, kNA, 0}, {"IE60", 7, 0, 0, kNA, kNA, 0}, {"IE70", 3, kNA, 0, kNA, kNA, 0},
        {"IE70", 4, 0, 0, kNA, kNA, 0}, {"Opera90", 2, kNA, 0, kNA, kNA, 0}, {"Opera90", -1, 0, 0, kNA, kNA, 0}}) {
    ExpectAnswers(answers);
  }
  EXPECT_EQ(Machine(), machine);
}

// Internet Explorer 8 by its own "Version"; Internet Explorer 7 and Opera by the
// first character of their program's version, so that 10 reads as "1".
TEST_F(Browsers, EachMemberFindsOnlyTheVersionsItStandsFor) {
  using Installer = void (*)(const std::string& browsers, const char* version);
  const Installer ie = [](const std::string&, const char* v) {
    WriteWideText(HKEY_LOCAL_MACHINE, kIeKey, "Version", Widen(v));
  };
  const Installer server = [](const std::string& b, const char* v) {
    InstallInternetExplorer7(b + "\\IE\\ie.exe", static_cast<WORD>(std::atoi(v)));
  };
  const Installer opera = [](const std::string& b, const char* v) {
    InstallOpera(b + "\\Opera", static_cast<WORD>(std::atoi(v)), 10);
  };
  const Installer firefox = [](const std::string& b, const char* v) {
    InstallFirefox(b + "\\Firefox", v, static_cast<WORD>(std::atoi(v)), 0);
  };
  const struct {
    const char* suffix;
    const char* version;
    KvilResult exist;
    Installer install;
  } cases[] = {
      {"IE", "7.0.5730.13", 0, ie},   {"IE", "8.0.7601.17514", 1, ie}, {"IE", "9.0.8112.16421", 0, ie},
      {"IE70", "6", 0, server},       {"IE70", "7", 1, server},        {"IE70", "9", 1, server},
      {"IE70", "10", 0, server},      {"Opera90", "8", 0, opera},      {"Opera90", "9", 1, opera},
      {"Opera90", "10", 0, opera},    {"FireFox20", "2.0.0.4", 1, firefox}, {"FireFox20", "3.0.5 (ru)", 0, firefox},
  };
  for (const auto& c : cases) {
    c.install(folder().Join("Browsers"), c.version);
    EXPECT_EQ(Call("Exist", c.suffix, 0), c.exist) << c.suffix << " " << c.version;
  }
}

// The records are written whatever becomes of the module: while a language of
// product 9.0 (the one Firefox's module was written for) is detached, and when
// the module is missing or its Firefox cannot be found, Firefox's own module is
// never lost or made up.
TEST_F(Browsers, FirefoxsModuleIsNeverLost) {
  InstallFirefox2(Browser("Firefox"));
  const std::string module = Browser("Firefox\\components\\myspell.dll");
  const std::string bin = std::string(kFirefoxKey) + " 2.0.0.20\\bin";
  auto expectRecordsOnly = [&] {
    const Values state = HostsOwn();
    EXPECT_EQ(Call("Attach", "FireFox20", 0), 1u);
    EXPECT_EQ(HostsOwn(), state);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kFirefoxOptions) + "\\1049"), kSpellerRecord);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("FIREFOX\\2.0", "Spelling")), (Values{{"Attached", "1"}}));
  };
  WriteDword(HKEY_LOCAL_MACHINE, std::string(kFirefoxOptions) + "\\1058", "Attached", 0);
  expectRecordsOnly();
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, (std::string(kFirefoxOptions) + "\\1058").c_str());
  for (const std::string& pathToExe :
       {std::string("firefox.exe"), Browser("Firefox\\") + std::string(300, 'x') + "\\firefox.exe"}) {
    WriteWideText(HKEY_LOCAL_MACHINE, bin, "PathToExe", Widen(pathToExe));
    EXPECT_EQ(Call("Exist", "FireFox20", 0), 0u);
    expectRecordsOnly();
  }
  WriteWideText(HKEY_LOCAL_MACHINE, bin, "PathToExe", Widen(Browser("Firefox\\firefox.exe")));
  ASSERT_TRUE(DeleteFileA(module.c_str()));
  expectRecordsOnly();
}

// The menu entry comes only while every language recorded for the browser is
// attached; an attach that fails half-way (a language the product has no folder
// for) is undone by Detach, which takes the entry with it and also clears the
// toolbar button of earlier products. Internet Explorer 8 is filed as an
// application of the suite.
TEST_F(Browsers, InternetExplorersMenuEntryFollowsEveryRecordedLanguage) {
  InstallInternetExplorer8(Browser("IE8"));
  WriteDword(HKEY_LOCAL_MACHINE, Record("IEXPLORE\\8.0", "Spelling", 1058), "Attached", 0);
  ASSERT_EQ(Call("Attach", "IE", 0), 1u);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, kIeMenuKey));
  ASSERT_EQ(Call("Attach", "IE", 0, 1058), 1u);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, kIeMenuKey));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kProductRecords + std::string("\\IEXPLORE\\8.0")),
            (Values{{"Path", "sz:" + Browser("IE8\\IEXPLORE.EXE")}, {"Name", "sz:Internet Explorer"}}));

  EXPECT_EQ(Call("Attach", "IE", 0, 1033), 0u);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, kIeMenuKey));
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("IEXPLORE\\8.0", "Spelling", 1033), "Attached"), 0u);

  const std::string button =
      "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\{D343B8D4-B9F8-49A1-81DC-6DC7F34D4F71}";
  WriteText(HKEY_LOCAL_MACHINE, button + "\\Options", "Shown", "1");
  ASSERT_EQ(Call("Detach", "IE70", 0, 1058), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, button));
}

// Internet Explorer 6 without its program is recorded as 6.0; Internet Explorer
// 7's server registration may name its program through the environment and in quotes.
TEST_F(Browsers, InternetExplorerVersionsFindTheirProgramsTheirOwnWay) {
  InstallInternetExplorer6(Browser("IE6"));
  ASSERT_TRUE(DeleteFileA(Browser("IE6\\iexplore.exe").c_str()));
  EXPECT_EQ(Call("Exist", "IE60", 0), 0u);
  EXPECT_EQ(InfoList("IE60"), std::string("IEXPLORE\0" "6.0\0\0", 14));
  ASSERT_EQ(Call("Attach", "IE60", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("IEXPLORE\\6.0", "Spelling"), "Attached"), 1u);

  InstallInternetExplorer7(Browser("IE7\\ie7.exe"));
  SetEnvironmentVariableA("KVIL_IE7", Browser("IE7").c_str());
  WriteWideText(HKEY_CLASSES_ROOT, kIeLocalServerKey, "", L"\"%KVIL_IE7%\\ie7.exe\"");
  EXPECT_EQ(Call("Exist", "IE70", 0), 1u);
  WriteWideText(HKEY_CLASSES_ROOT, kIeLocalServerKey, "", L"\"ie7.exe\"");
  EXPECT_EQ(Call("Exist", "IE70", 0), 0u);
  SetEnvironmentVariableA("KVIL_IE7", nullptr);
}

TEST_F(Browsers, GetIEFullExePathWritesTheProgramOnlyWhenItFits) {
  const std::pair<KvilResult, std::string> untouched{0u, std::string(300, 'g')};
  EXPECT_EQ(FullExePath("GetIEFullExePath", 300), untouched);
  InstallInternetExplorer8(Browser("IE8"));
  const std::string program = Browser("IE8\\IEXPLORE.EXE");
  const auto size = static_cast<std::int32_t>(program.size());
  EXPECT_EQ(FullExePath("GetIEFullExePath", size), std::make_pair(0u, std::string(size, 'g')));
  EXPECT_EQ(FullExePath("GetIEFullExePath", size + 2), std::make_pair(1u, program + '\0' + 'g'));
  WriteWideText(HKEY_LOCAL_MACHINE, kIeKey, "Version", L"9.0.8112.16421");
  EXPECT_EQ(FullExePath("GetIEFullExePath", 300), untouched);
}

// Opera's folder comes from the user's registry: only an existing folder named in
// full, with room for the files handled there, is used; and only a settings file
// of a sensible size is edited. A missing one is created with the product's
// three settings and, with no backup of it, left so by Detach.
TEST_F(Browsers, OperaEditsOnlySettingsItCanTrust) {
  InstallOpera9(Browser("Opera"));
  // Room for "opera.exe" but not for "spellcheck.orig.ini".
  const std::string deep = Browser(std::string(245 - Browser("").size(), 'd'));
  CreateFolder(deep);
  WriteVersionedModule(deep + "\\opera.exe", HostProgram(9, 64));
  for (const std::string& commandLine : {std::string("Opera\\opera.exe"), Browser("Opera\\..\\Opera\\opera.exe"),
                                         Browser("Gone\\opera.exe"), deep + "\\opera.exe"}) {
    SCOPED_TRACE(commandLine);
    WriteText(HKEY_CURRENT_USER, kOperaKey, "Last CommandLine", commandLine);
    const Values state = HostsOwn();
    EXPECT_EQ(Call("Exist", "Opera90", 0), 0u);
    EXPECT_EQ(Call("Attach", "Opera90", 0), 0u);
    EXPECT_EQ(Call("Detach", "Opera90", 0), 1u);
    EXPECT_EQ(HostsOwn(), state);
  }
  WriteText(HKEY_CURRENT_USER, kOperaKey, "Last CommandLine", Browser("Opera\\opera.exe"));
  WriteSettingsFile(Browser("Opera\\spellcheck.ini"), kOperaOwnSettings + std::string(64 * 1024, ';'));
  const Values state = HostsOwn();
  EXPECT_EQ(Call("Attach", "Opera90", 0), 0u);
  EXPECT_EQ(HostsOwn(), state);

  ASSERT_TRUE(DeleteFileA(Browser("Opera\\spellcheck.ini").c_str()));
  ASSERT_EQ(Call("Attach", "Opera90", 0), 1u);
  EXPECT_EQ(ReadFileBytes(Browser("Opera\\spellcheck.ini")), OperaSettings(""));
  EXPECT_FALSE(FileExists(Browser("Opera\\spellcheck.orig.ini")));
  EXPECT_EQ(Call("Detach", "Opera90", 0), 1u);
  EXPECT_EQ(ReadFileBytes(Browser("Opera\\spellcheck.ini")), OperaSettings(""));
}

}  // namespace
}  // namespace kvil::test

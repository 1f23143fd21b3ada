// FrontPage 97 to 2003 through the DLL's exports.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>

#include "frontpage_fixture.h"
#include "office_family_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

constexpr char kFrontPageUser[] = "Software\\Microsoft\\FrontPage";
constexpr char kInstaller[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";

std::optional<DWORD> RegistryLanguage() { return ReadDword(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID"); }

class FrontPage : public OfficeFamilyTest {
 protected:
  FrontPageIniGuard ini_;
};

// One member's typical request, the members installed one after the other, each
// set to US English; its language is the frontpg.ini entry's text, or the
// registry value. Only FrontPage 2000 points Office 2000's Installer components
// at the product; FrontPage 2002 and 2003 keep the product's language.
struct Member {
  const char* suffix;
  void (*install)(const std::string& officeFolder);
  const char* host;        // application key \ version
  const char* iniSection;  // null: the registry
  const char* attached;
  const char* detached;
  const char* program = nullptr;  // the application record's "Path" in the Office folder, and its "Name"
  const char* displayName = nullptr;
};
const Member kMembers[] = {
    {"FPAGE97", [](auto&) { InstallFrontPage97(1033); }, "FPEDITOR\\2.0", kFrontPage97Section, "0x0419", "0x0409"},
    {"FPAGE98", [](auto&) { InstallFrontPage98(1033); }, "FPEDITOR\\3.0", kFrontPage98Section, "0x0419", "0x0409"},
    {"FPAGE2002", [](auto& office) { InstallFrontPage2002(office, 1033); }, "FRONTPG\\10.0", nullptr, "1049", "1049"},
    {"FPAGE11", [](auto& office) { InstallFrontPage2003(office, 1033); }, "FRONTPG\\11.0", nullptr, "1049", "1049",
     "FRONTPG.exe", "Microsoft FrontPage 2003"},
    {"FPAGE2000", [](auto& office) { InstallFrontPage2000(office, 1033); }, "FRONTPG\\4.0", nullptr, "1049", "1033",
     "Frontpg.exe", "FrontPage 2000"},
};

TEST_F(FrontPage, EveryMembersTypicalRequestRoundTripsItsLanguage) {
  for (const Member& member : kMembers) {
    SCOPED_TRACE(member.suffix);
    const char* suffix = member.suffix;
    auto language = [&]() -> std::string {
      if (member.iniSection != nullptr) return ReadFrontPageIniLanguage(member.iniSection);
      return RegistryLanguage() ? std::to_string(*RegistryLanguage()) : "";
    };
    EXPECT_EQ(Call("Exist", suffix, 0), 0u);
    member.install(office_);
    EXPECT_EQ(Call("Exist", suffix, 0), 1u);
    EXPECT_EQ(InfoList(suffix), InfoListOf(member.host));

    ASSERT_EQ(Call("Attach", suffix, 0), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(member.host, "Spelling")), SpellerRecord(1033));
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), ProductRegistration(0));
    EXPECT_EQ(language(), member.attached);
    Values application;
    if (member.program != nullptr) {
      application = {{"Path", "sz:" + office_ + "\\" + member.program}, {"Name", std::string("sz:") + member.displayName}};
    }
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + member.host), application);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kInstaller) + "\\Components\\" + kRussianSpellerEngineComponent,
                       kOffice2000RussianPacked),
              std::string(suffix) == "FPAGE2000" ? std::optional(startup_ + "\\kvilsp3.dll") : std::nullopt);
    EXPECT_EQ(Call("Check", suffix, 0), 1u);

    EXPECT_EQ(Call("Detach", suffix, 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(member.host, "Spelling"), "Attached"), 0u);
    EXPECT_EQ(language(), member.detached);
    EXPECT_EQ(Call("Check", suffix, 0), 0u);
  }
}

TEST_F(FrontPage, KindsNotTakenAndKindsOutsideTheRangeWriteNothing) {
  InstallFrontPage97(1033);
  InstallFrontPage98(1033);
  InstallFrontPage2000(office_, 1033);
  InstallFrontPage2002(office_, 1033);
  InstallFrontPage2003(office_, 1033);
  const std::tuple<const char*, int, KvilResult> cases[] = {
      {"FPAGE97", 1, kNA},   {"FPAGE97", 2, kNA},   {"FPAGE98", 3, kNA}, {"FPAGE97", 4, 0},   {"FPAGE98", -1, 0},
      {"FPAGE2000", 1, kNA}, {"FPAGE2002", 3, kNA}, {"FPAGE11", 1, kNA}, {"FPAGE2000", 4, 0}, {"FPAGE11", -1, 0}};
  const auto before = RegistrySnapshot();
  const std::string iniBefore = ReadFileBytes(FrontPageIniPath());
  for (const auto& [suffix, kind, answer] : cases) ExpectAnswers({suffix, kind, answer, answer, answer, answer, answer});
  EXPECT_EQ(RegistrySnapshot(), before);
  EXPECT_EQ(ReadFileBytes(FrontPageIniPath()), iniBefore);
}

// FrontPage 97 and 98 each keep their language in their own section of
// frontpg.ini, and find themselves installed only by it.
TEST_F(FrontPage, FrontPage97And98UseOnlyTheirOwnSectionAndPutTheFileBack) {
  InstallFrontPage97(1031);
  EXPECT_EQ(Call("Exist", "FPAGE98", 0), 0u);
  EXPECT_EQ(Call("Attach", "FPAGE98", 0), 0u);
  EXPECT_EQ(ReadFrontPageIniLanguage(kFrontPage98Section), "");

  InstallFrontPage98(1031);
  WritePrivateProfileStringA(kFrontPage98Section, "SpellCheckAsYouType", "1", FrontPageIniPath().c_str());
  const std::string installed = ReadFileBytes(FrontPageIniPath());
  const char* const members[][4] = {{"FPAGE97", kFrontPage97Section, kFrontPage98Section, "FPEDITOR\\2.0"},
                                    {"FPAGE98", kFrontPage98Section, kFrontPage97Section, "FPEDITOR\\3.0"}};
  for (const auto& [suffix, section, otherSection, host] : members) {
    SCOPED_TRACE(suffix);
    ASSERT_EQ(Call("Attach", suffix, 0, 1058), 1u);
    EXPECT_EQ(ReadFrontPageIniLanguage(section), "0x0422");
    EXPECT_EQ(ReadFrontPageIniLanguage(otherSection), "0x0407");
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(host, "Spelling", 1058), "Saved LID"), 1031u);
    EXPECT_EQ(Call("Detach", suffix, 0, 1058), 1u);
    EXPECT_EQ(ReadFileBytes(FrontPageIniPath()), installed);
  }
}

TEST_F(FrontPage, AnIniLanguageOf65535OrMoreIsNone) {
  InstallFrontPage97(1033);
  const std::pair<const char*, KvilResult> cases[] = {{"0xFFFE", 1}, {"0xFFFF", 0}, {"65535", 0},
                                                      {"0x10419", 0}, {"-1", 0},    {"0", 0}};
  for (const auto& [text, exist] : cases) {
    WriteFrontPageIniLanguage(kFrontPage97Section, text);
    EXPECT_EQ(Call("Exist", "FPAGE97", 0), exist) << text;
    if (exist == 0) {
      EXPECT_EQ(Call("Attach", "FPAGE97", 0), 0u) << text;
    }
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kProductRecords));
}

// FrontPage 2000 records a missing or Russian language as Russian, and puts a
// recorded Russian back as 0, its "none chosen".
TEST_F(FrontPage, FrontPage2000PutsAnAbsentOrRussianLanguageBackAsZero) {
  InstallFrontPage2000(office_, std::nullopt);
  const std::tuple<std::optional<DWORD>, DWORD, DWORD> cases[] = {
      {std::nullopt, 1049, 0}, {0, 1049, 0}, {1049, 1049, 0}, {1033, 1033, 1033}};
  for (const auto& [installed, saved, afterDetach] : cases) {
    SCOPED_TRACE(installed ? std::to_string(*installed) : "absent");
    RegDeleteKeyValueA(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID");
    if (installed) WriteDword(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID", *installed);
    ASSERT_EQ(Call("Attach", "FPAGE2000", 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("FRONTPG\\4.0", "Spelling"), "Saved LID"), saved);
    EXPECT_EQ(RegistryLanguage(), 1049u);
    EXPECT_EQ(Call("Detach", "FPAGE2000", 0), 1u);
    EXPECT_EQ(RegistryLanguage(), afterDetach);
  }
}

TEST_F(FrontPage, FrontPage2002And2003DetachAnswersDoneEvenWithoutARecordToWrite) {
  InstallFrontPage2000(office_, 1033);
  InstallFrontPage2002(office_, 1033);
  InstallFrontPage2003(office_, 1033);
  // Without the product there is no record to write "Attached" in.
  ASSERT_EQ(RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil"), 0);
  EXPECT_EQ(Call("Detach", "FPAGE2000", 0), 0u);
  EXPECT_EQ(Call("Detach", "FPAGE2002", 0), 1u);
  EXPECT_EQ(Call("Detach", "FPAGE11", 0), 1u);
}

}  // namespace
}  // namespace kvil::test

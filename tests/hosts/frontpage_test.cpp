// FrontPage 97 to 2003 through the DLL's exports.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "frontpage_fixture.h"
#include "host_family_test.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr const char kFrontPageUser[] = "Software\\Microsoft\\FrontPage";
constexpr const char kSharedSpelling[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal";
constexpr const char kInstaller[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer";
constexpr HostResult kNA = kNotApplicable;

std::optional<DWORD> RegistryLanguage() { return ReadDword(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID"); }

class FrontPage : public HostFamilyTest {
 protected:
  FrontPageIniGuard ini_;
};

// One member's typical request on a machine holding only that member, set to US
// English; its language is the frontpg.ini entry's text, or the registry value.
struct TypicalRequest {
  const char* suffix;
  std::function<void(const std::string& officeFolder)> install;
  const char* host;        // application key \ version
  const char* iniSection;  // null: the registry
  std::string attached, detached;
  const char* program;  // the application record's "Path" in the Office folder, and its "Name"; null: none
  const char* displayName;
  bool redirectsOffice2000Speller;
};

const TypicalRequest kTypicalRequests[] = {
    {"FPAGE97", [](const std::string&) { InstallFrontPage97(1033); }, "FPEDITOR\\2.0", kFrontPage97Section,
     "0x0419", "0x0409", nullptr, nullptr, false},
    {"FPAGE98", [](const std::string&) { InstallFrontPage98(1033); }, "FPEDITOR\\3.0", kFrontPage98Section,
     "0x0419", "0x0409", nullptr, nullptr, false},
    {"FPAGE2000", [](const std::string& office) { InstallFrontPage2000(office, 1033); }, "FRONTPG\\4.0", nullptr,
     "1049", "1033", "Frontpg.exe", "FrontPage 2000", true},
    // FrontPage 2002 and 2003 keep the product's language.
    {"FPAGE2002", [](const std::string& office) { InstallFrontPage2002(office, 1033); }, "FRONTPG\\10.0", nullptr,
     "1049", "1049", nullptr, nullptr, false},
    {"FPAGE11", [](const std::string& office) { InstallFrontPage2003(office, 1033); }, "FRONTPG\\11.0", nullptr,
     "1049", "1049", "FRONTPG.exe", "Microsoft FrontPage 2003", false},
};

class FrontPageTypicalRequest : public FrontPage, public testing::WithParamInterface<TypicalRequest> {
 protected:
  std::string Language() const {
    const char* section = GetParam().iniSection;
    if (section != nullptr) return ReadFrontPageIniLanguage(section);
    return RegistryLanguage() ? std::to_string(*RegistryLanguage()) : "";
  }
};

TEST_P(FrontPageTypicalRequest, AttachesTheSpellerAndDetaches) {
  const TypicalRequest& request = GetParam();
  request.install(office_);
  EXPECT_EQ(Call("Exist", request.suffix, 0), 1u);

  ASSERT_EQ(Call("Attach", request.suffix, 0), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(request.host, "Spelling")),
            (Values{{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"}, {"Action", "1"},
                    {"Saved LID", "1033"}, {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}}));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling),
            (Values{{"Engine", "sz:" + startup_ + "\\kvilsp3.dll"},
                    {"Dictionary", "sz:" + startup_ + "\\SPRUNORM.LEX"}}));
  EXPECT_EQ(Language(), request.attached);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\" + request.host),
            (request.program == nullptr ? Values{}
                                        : Values{{"Path", "sz:" + office_ + "\\" + request.program},
                                                 {"Name", std::string("sz:") + request.displayName}}));
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE,
                     std::string(kInstaller) + "\\Components\\CEF3839E23492D1109A00008F5B92110",
                     "914000001E872D116BF00006799C897E"),
            request.redirectsOffice2000Speller ? std::optional(startup_ + "\\kvilsp3.dll") : std::nullopt);
  EXPECT_EQ(Call("Check", request.suffix, 0), 1u);

  EXPECT_EQ(Call("Detach", request.suffix, 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(request.host, "Spelling"), "Attached"), 0u);
  EXPECT_EQ(Language(), request.detached);
  EXPECT_EQ(Call("Check", request.suffix, 0), 0u);
}

INSTANTIATE_TEST_SUITE_P(Members, FrontPageTypicalRequest, testing::ValuesIn(kTypicalRequests),
                         [](const testing::TestParamInfo<TypicalRequest>& member) { return member.param.suffix; });

TEST_F(FrontPage, FrontPage97And98ChangeOnlyTheirOwnSectionAndPutTheFileBack) {
  InstallFrontPage97(1031);
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

TEST_F(FrontPage, FrontPage2000PutsAnAbsentOrRussianLanguageBackAsZero) {
  InstallFrontPage2000(office_, std::nullopt);
  const std::optional<DWORD> installed[] = {std::nullopt, 0, 1049, 1033};
  const DWORD saved[] = {1049, 1049, 1049, 1033};
  const DWORD afterDetach[] = {0, 0, 0, 1033};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(installed[i] ? std::to_string(*installed[i]) : "absent");
    RegDeleteKeyValueA(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID");
    if (installed[i]) WriteDword(HKEY_CURRENT_USER, kFrontPageUser, "FrontPageLangID", *installed[i]);
    ASSERT_EQ(Call("Attach", "FPAGE2000", 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("FRONTPG\\4.0", "Spelling"), "Saved LID"), saved[i]);
    EXPECT_EQ(RegistryLanguage(), 1049u);
    EXPECT_EQ(Call("Detach", "FPAGE2000", 0), 1u);
    EXPECT_EQ(RegistryLanguage(), afterDetach[i]);
  }
}

TEST_F(FrontPage, FrontPage98IsNotFoundInFrontPage97sSection) {
  InstallFrontPage97(1033);
  EXPECT_EQ(Call("Exist", "FPAGE97", 0), 1u);
  EXPECT_EQ(Call("Exist", "FPAGE98", 0), 0u);
  EXPECT_EQ(Call("Attach", "FPAGE98", 0), 0u);
  EXPECT_EQ(ReadFrontPageIniLanguage(kFrontPage98Section), "");
}

TEST_F(FrontPage, AnIniLanguageOf65535OrMoreIsNone) {
  InstallFrontPage97(1033);
  const std::pair<const char*, HostResult> cases[] = {{"0xFFFE", 1}, {"0xFFFF", 0}, {"65535", 0},
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

TEST_F(FrontPage, FrontPage2000AttachesWhereOffice2000HasNoInstallerComponents) {
  InstallFrontPage2000(office_, 1033);
  const std::pair<int, int> kindAndLanguage[] = {{0, 1058}, {2, 1049}};
  for (const auto& [kind, lcid] : kindAndLanguage) {
    EXPECT_EQ(Call("Attach", "FPAGE2000", kind, lcid), 1u) << lcid;
    EXPECT_EQ(RegistryLanguage(), static_cast<DWORD>(lcid));
    EXPECT_EQ(Call("Check", "FPAGE2000", kind, lcid), 1u) << lcid;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kInstaller));
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

TEST_F(FrontPage, KindsNotTakenAndKindsOutsideTheRangeWriteNothing) {
  InstallFrontPage97(1033);
  InstallFrontPage98(1033);
  InstallFrontPage2000(office_, 1033);
  InstallFrontPage2002(office_, 1033);
  InstallFrontPage2003(office_, 1033);
  const std::tuple<const char*, int, HostResult> cases[] = {
      {"FPAGE97", 1, kNA},   {"FPAGE97", 2, kNA},   {"FPAGE98", 3, kNA},   {"FPAGE97", 4, 0}, {"FPAGE98", -1, 0},
      {"FPAGE2000", 1, kNA}, {"FPAGE2002", 3, kNA}, {"FPAGE11", 1, kNA},   {"FPAGE2000", 4, 0}, {"FPAGE11", -1, 0}};
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const std::string iniBefore = ReadFileBytes(FrontPageIniPath());
  for (const auto& [suffix, kind, answer] : cases) {
    for (const char* operation : {"Exist", "Avail", "Attach", "Detach", "Check"}) {
      EXPECT_EQ(Call(operation, suffix, kind), answer) << operation << suffix << " kind " << kind;
    }
  }
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
  EXPECT_EQ(ReadFileBytes(FrontPageIniPath()), iniBefore);
}

}  // namespace
}  // namespace kvil::test

// LibreOffice and OpenOffice 3 and 4 through the DLL's exports.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "non_office_host_test.h"
#include "open_office_fixture.h"
#include "win32_support.h"

namespace kvil::test {
namespace {

using Files = std::map<std::string, std::string>;
using enum SuiteFamily;

constexpr char kExtension[] = "\\share\\extensions\\kvillo";
constexpr char kUnoModule[] = "\\share\\extensions\\kvillo\\Windows\\kvil4ooo-kvil.uno.dll";

class Suites : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    WriteProductExtension(product().options.productDir);
    suite_ = folder().Join("Suite");
  }
  Files ProductExtension() const { return FolderContents(product().options.productDir + "\\kvillo"); }
  // The added-files list, saved as the setup program saves it, names the suite's
  // UNO module and nothing else.
  void ExpectOnlyTheModuleListed() const {
    const std::string list = SavedAddedFiles();
    EXPECT_NE(list.find("fullpath=\"" + suite_ + kUnoModule + "\""), std::string::npos) << list;
    EXPECT_EQ(list.find("fullpath="), list.rfind("fullpath=")) << list;
  }
  static std::string SuiteRecord(const std::string& version) { return kProductRecords + ("\\SOFFICE\\" + version); }
  static std::string Soffice(const std::string& version) { return "SOFFICE" + std::string(1, '\0') + version + '\0' + '\0'; }

  std::string suite_;
};

struct Member {
  const char* suffix;
  SuiteFamily family;
  const char* subkey;
  const char* version;
  const char* name;
  int lcid;
};
const Member kMembers[] = {
    {"LibreOffice3", kLibreOffice, "3.5.4", "3.5", "Libre Office 3.5", 1049},
    {"LibreOffice4", kLibreOffice, "4.1.0", "4.1", "Libre Office 4.1", 1058},
    {"OpenOffice3", kOpenOffice, "3.4.1", "3.4", "Open Office 3.4", 1049},
    {"OpenOffice4", kOpenOffice, "4.0.1", "4.0", "Open Office 4.0", 1058},
};

class SuiteMember : public Suites, public testing::WithParamInterface<Member> {};

// The list outlives the detach: the uninstaller still learns of the module.
TEST_P(SuiteMember, AttachPlacesTheExtensionAndDetachTakesItOut) {
  const Member& m = GetParam();
  const std::string program = InstallOfficeSuite(m.family, m.subkey, suite_);
  const auto installed = HostsOwn();
  EXPECT_EQ(Call("Exist", m.suffix, 0, m.lcid), 1u);
  EXPECT_EQ(Call("Avail", m.suffix, 0, m.lcid), 1u);
  EXPECT_EQ(InfoList(m.suffix), Soffice(m.version));

  ASSERT_EQ(Call("Attach", m.suffix, 0, m.lcid), 1u);
  const std::string record = Record(std::string("SOFFICE\\") + m.version, "Spelling", m.lcid);
  Values options = kSpellerRecord;
  if (m.lcid != 1049) options.erase("StrictYO");
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), options);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, SuiteRecord(m.version)),
            (Values{{"Path", "sz:" + program}, {"Name", std::string("sz:") + m.name}}));
  EXPECT_EQ(FolderContents(suite_ + kExtension), ProductExtension());
  EXPECT_EQ(Call("Check", m.suffix, 0, m.lcid), 1u);

  EXPECT_EQ(Call("Detach", m.suffix, 0, m.lcid), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), With(options, {{"Attached", "0"}}));
  EXPECT_EQ(Call("Check", m.suffix, 0, m.lcid), 0u);
  EXPECT_EQ(HostsOwn(), installed);
  ExpectOnlyTheModuleListed();
}

INSTANTIATE_TEST_SUITE_P(Members, SuiteMember, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return member.param.suffix; });

// Only the version subkey enumerated first is looked at, and only when it starts
// with the member's major digit.
TEST_F(Suites, TheFirstVersionSubkeyDecides) {
  const std::tuple<std::vector<std::string>, KvilResult, KvilResult, std::string, std::string> cases[] = {
      {{}, 0, 0, "0.0", "0.0"},       {{"3.2.1"}, 0, 0, "3.2", "0.0"},          {{"3.10"}, 1, 0, "3.10", "0.0"},
      {{"4"}, 0, 1, "0.0", "4.0"},    {{"40.1"}, 0, 0, "0.0", "40.1"},          {{"3.3.0", "4.0.1"}, 1, 0, "3.3", "0.0"},
      {{"3.2.9", "4.0.1"}, 0, 0, "3.2", "0.0"}};
  for (const auto& [subkeys, libreOffice3, libreOffice4, version3, version4] : cases) {
    SCOPED_TRACE(subkeys.empty() ? "none" : subkeys.front());
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\LibreOffice");
    for (const std::string& subkey : subkeys) InstallOfficeSuite(kLibreOffice, subkey, suite_);
    for (const char* operation : {"Exist", "Avail"}) {
      EXPECT_EQ(Call(operation, "LibreOffice3", 2), libreOffice3) << operation;
      EXPECT_EQ(Call(operation, "LibreOffice4", 2), libreOffice4) << operation;
    }
    EXPECT_EQ(InfoList("LibreOffice3"), Soffice(version3));
    EXPECT_EQ(InfoList("LibreOffice4"), Soffice(version4));
  }
}

// OpenOffice 4 takes its version from OpenOffice.org's key whenever that key is
// there and its program from its own key; OpenOffice 3 its version from either
// and its program from OpenOffice.org's key.
TEST_F(Suites, OpenOfficeLooksUnderOpenOfficeOrgFirst) {
  const std::string program = InstallOfficeSuite(kOpenOffice, "4.0.1", suite_);
  EXPECT_EQ(Call("Exist", "OpenOffice4", 0), 1u);
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\OpenOffice.org\\OpenOffice.org");
  EXPECT_EQ(Call("Exist", "OpenOffice4", 0), 0u);
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\OpenOffice.org\\OpenOffice.org\\4.0.1");
  ASSERT_EQ(Call("Attach", "OpenOffice4", 0), 1u);
  EXPECT_EQ(FolderContents(suite_ + kExtension), ProductExtension());

  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\OpenOffice.org");
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\OpenOffice");
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\OpenOffice\\OpenOffice\\3.4.1", "Path", program);
  EXPECT_EQ(Call("Exist", "OpenOffice3", 0), 1u);
  EXPECT_EQ(Call("Attach", "OpenOffice3", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, SuiteRecord("3.4"), "Path"), "");
}

// Without a suite the records go under 0.0, the suite record names no program,
// and LibreOffice 4 says "not applicable" for the speller. A program that is not
// registered, relative or too long names no folder either: the records are
// written and the suite, with the extension already there, left alone.
TEST_F(Suites, AProgramThatNamesNoFolderLeavesTheSuiteAlone) {
  for (const Member& m : kMembers) {
    const bool notApplicable = std::string(m.suffix) == "LibreOffice4";
    EXPECT_EQ(Call("Attach", m.suffix, 0), notApplicable ? KVIL_NOT_APPLICABLE : 1u) << m.suffix;
    const std::string name = std::string(m.name).substr(0, std::string(m.name).rfind(' ') + 1) + "0.0";
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, SuiteRecord("0.0")),
              notApplicable ? Values{} : (Values{{"Path", "sz:"}, {"Name", "sz:" + name}}));
    EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
    EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("SOFFICE\\0.0", "Spelling"), "Attached"), 0u);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kProductRecords);
  }

  InstallOfficeSuite(kOpenOffice, "3.4.1", suite_);
  ASSERT_EQ(Call("Attach", "OpenOffice3", 0), 1u);
  const std::string suiteKey = "SOFTWARE\\OpenOffice.org\\OpenOffice.org\\3.4.1";
  const std::string overLong = suite_ + std::string(260, 'x') + "\\program\\soffice.exe";
  for (const std::string program : {"", "program\\soffice.exe", "\\Suite\\program\\soffice.exe", overLong.c_str()}) {
    SCOPED_TRACE(program);
    if (program.empty()) RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, suiteKey.c_str(), "Path");
    if (!program.empty()) WriteText(HKEY_LOCAL_MACHINE, suiteKey, "Path", program);
    const auto attached = HostsOwn();
    EXPECT_EQ(Call("Attach", "OpenOffice3", 0), 1u);
    EXPECT_EQ(Call("Detach", "OpenOffice3", 0), 1u);
    EXPECT_EQ(HostsOwn(), attached);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, SuiteRecord("3.4"), "Path"), "");
  }
  ExpectOnlyTheModuleListed();
}

// The extension carries only the speller, but detaching any tool takes it out;
// the hyphenator, filed under "Hyphenation", is checked under "Hyphenate". A
// kind outside the tools writes nothing.
TEST_F(Suites, OnlyTheSpellerCopiesAndAnyToolDetaches) {
  InstallOfficeSuite(kLibreOffice, "3.5.4", suite_);
  const Values machine = Machine();
  for (const Member& m : kMembers) {
    for (int kind : {4, -1}) ExpectAnswers({m.suffix, kind, 0, 0, 0, 0, 0});
  }
  EXPECT_EQ(Machine(), machine);

  const auto installed = HostsOwn();
  ASSERT_EQ(Call("Attach", "LibreOffice3", 1), 1u);
  ASSERT_EQ(Call("Attach", "LibreOffice3", 3), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("SOFFICE\\3.5", "Grammar")),
            (Values{{"Attached", "1"}, {"Action", "1"}}));
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("SOFFICE\\3.5", "Hyphenation"), "Attached"), 1u);
  EXPECT_EQ(Call("Check", "LibreOffice3", 3), 0u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, SuiteRecord("3.5")), Values{});
  EXPECT_EQ(HostsOwn(), installed);

  ASSERT_EQ(Call("Attach", "LibreOffice3", 0), 1u);
  EXPECT_EQ(Call("Detach", "LibreOffice3", 1), 1u);
  EXPECT_EQ(HostsOwn(), installed);
  EXPECT_EQ(Call("Check", "LibreOffice3", 0), 1u);
}

// The suite keeps its program's path in UTF-16, the record in the Cyrillic code
// page: "€" is 0x88 there and 0x80 in this test's Western one.
TEST_F(Suites, TheSuiteRecordHoldsTheProgramInTheCyrillicCodePage) {
  if (GetACP() != 1252) GTEST_SKIP() << "needs the Western ANSI code page";
  suite_ = folder().Join("Office \x80");
  std::string program = InstallOfficeSuite(kOpenOffice, "3.4.1", suite_);
  ASSERT_EQ(Call("Attach", "OpenOffice3", 0), 1u);
  EXPECT_EQ(FolderContents(suite_ + kExtension), ProductExtension());
  program[program.find('\x80')] = '\x88';
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, SuiteRecord("3.4"), "Path"), program);
}

// The setup program removes the extension with the product's files, so its
// detach leaves the folder. The test runs again in a copy of this program named
// like the setup program, beside copies of the library and the template modules.
TEST_F(Suites, DetachByTheSetupProgramLeavesTheExtension) {
  char self[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, self, sizeof self);
  if (std::string(self).ends_with("\\KvilSetup.exe")) {
    InstallOfficeSuite(kOpenOffice, "3.4.1", suite_);
    ASSERT_EQ(Call("Attach", "OpenOffice3", 0), 1u);
    EXPECT_EQ(Call("Detach", "OpenOffice3", 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("SOFFICE\\3.4", "Spelling"), "Attached"), 0u);
    EXPECT_EQ(FolderContents(suite_ + kExtension), ProductExtension());
    return;
  }
  const std::string setup = folder().Join("setup");
  CreateFolder(setup);
  for (const std::string file : {"kvilintg.dll", "template_module.dll", "template_program.exe"}) {
    ASSERT_TRUE(CopyFileA((RunningExecutableFolder() + "\\" + file).c_str(), (setup + "\\" + file).c_str(), FALSE));
  }
  ASSERT_TRUE(CopyFileA(self, (setup + "\\KvilSetup.exe").c_str(), FALSE));
  std::string command = "KvilSetup.exe --gtest_filter=Suites.DetachByTheSetupProgramLeavesTheExtension";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  ASSERT_TRUE(CreateProcessA((setup + "\\KvilSetup.exe").c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             setup.c_str(), &startup, &process));
  // Closed like any kernel handle.
  const UniqueHandle<HANDLE, FileTraits> thread(process.hThread), child(process.hProcess);
  DWORD exitCode = 1;
  WaitForSingleObject(process.hProcess, INFINITE);
  GetExitCodeProcess(process.hProcess, &exitCode);
  EXPECT_EQ(exitCode, 0u);
}

}  // namespace
}  // namespace kvil::test

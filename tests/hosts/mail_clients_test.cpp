// Outlook Express, Windows Mail and Windows Live Mail through the DLL's exports.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "host_family_test.h"
#include "mail_fixture.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
using Installer = void (*)(const std::string& folder, MailProgram program);

const Values kSpellerRecord{{"Learning", "1"}, {"StrictYO", "1"},  {"Original LID", "1033"},
                            {"Action", "1"},   {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};

struct Member {
  const char* suffix;
  Installer install;
  MailProgram version;
  const char* hostKey;  // HKLM, compared whole
  const char* program;
  const char* applicationKey;
  const char* recordVersion;
  const char* suiteName;  // null: no suite record
};

const Member kMembers[] = {
    {"OUTL_EXPR", InstallOutlookExpress4, {4, 72}, kOutlookExpressKey, "msimn.exe", "MSIMN", "4.72", "Outlook Express"},
    {"OUTL_EXPR5", InstallOutlookExpress5, {6, 0}, kOutlookExpressKey, "msimn.exe", "MSIMN", "6.0", "Outlook Express"},
    {"WinMail7", InstallWindowsMail, {6, 0}, kWindowsMailKey, "winmail.exe", "WINMAIL", "6.0", "Windows Mail"},
    {"WLMail8", InstallWindowsLiveMail, {8, 0}, kWindowsLiveMailKey, "wlmail.exe", "WLMAIL", "8.0", nullptr},
};

class MailClients : public HostFamilyTest {
 protected:
  std::string InfoList(const char* suffix) const {
    char buffer[80] = {};
    std::int32_t length = sizeof buffer;
    dll().Info(suffix, 0, 1049, buffer, &length);
    return std::string(buffer, length);
  }
};

class MailClientTypicalRequest : public MailClients, public testing::WithParamInterface<Member> {};

TEST_P(MailClientTypicalRequest, AttachRegistersTheSpellerAndDetachClearsOnlyTheRecord) {
  const Member& m = GetParam();
  const std::string client = folder().Join("Mail");
  m.install(client, m.version);
  const Values host = DescribeTree(HKEY_LOCAL_MACHINE, m.hostKey);
  const Values user = DescribeTree(HKEY_CURRENT_USER, "Software");
  const Values files = FolderContents(client);
  EXPECT_EQ(Call("Exist", m.suffix, 0), 1u);
  EXPECT_EQ(Call("Avail", m.suffix, 0), 1u);
  EXPECT_EQ(InfoList(m.suffix), std::string(m.applicationKey) + '\0' + m.recordVersion + '\0' + '\0');

  ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
  const std::string record = std::string(m.applicationKey) + "\\" + m.recordVersion;
  Values products{{"", "key"}, {m.applicationKey, "key"}, {record, "key"}, {record + "\\Spelling", "key"},
                  {record + "\\Spelling\\1049", "key"}};
  for (const auto& [name, value] : kSpellerRecord) products[record + "\\Spelling\\1049:" + name] = value;
  if (m.suiteName != nullptr) {
    products[record + ":Path"] = "sz:" + client + "\\" + m.program;
    products[record + ":Name"] = std::string("sz:") + m.suiteName;
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kProductRecords), products);
  const Values registration{{"Engine", InStartup("kvilsp3.dll")}, {"Dictionary", InStartup("SPRUNORM.LEX")}};
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
  EXPECT_EQ(Call("Check", m.suffix, 0), 1u);

  EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(record, "Spelling"), "Attached"), 0u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
  EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, m.hostKey), host);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), user);
  EXPECT_EQ(FolderContents(client), files);
}

INSTANTIATE_TEST_SUITE_P(Members, MailClientTypicalRequest, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return std::string(member.param.suffix); });

// The version is the program's "major.minor", or the client's fallback; a
// client is found by its first character alone.
TEST_F(MailClients, VersionComesFromTheProgramOrTheClientsFallbacks) {
  const struct {
    const char* suffix;
    Installer install;
    MailProgram version;
    HostResult exist;
    const char* record;
    const char* suite;  // the suite record's version, checked after an attach; null: not attached
  } cases[] = {
      {"OUTL_EXPR5", InstallOutlookExpress4, {6, 0}, 0, "6.0", nullptr},  // the per-user key is not there yet
      {"OUTL_EXPR", InstallOutlookExpress4, {6, 0}, 0, "6.0", nullptr},
      {"OUTL_EXPR5", InstallOutlookExpress5, {10, 0}, 0, "10.0", nullptr},
      {"OUTL_EXPR5", InstallOutlookExpress5, {5, 0}, 1, "5.0", nullptr},
      {"WinMail7", InstallWindowsMail, {5, 5}, 0, "5.5", nullptr},
      {"WLMail8", InstallWindowsLiveMail, {15, 0}, 0, "15.0", nullptr},
      {"WLMail8", InstallWindowsLiveMail, {0, 0, false}, 0, "", nullptr},
      {"OUTL_EXPR", InstallOutlookExpress4, {0, 0, false}, 1, "4.72", "4.0"},
      {"OUTL_EXPR5", InstallOutlookExpress5, {0, 0, false}, 1, "5.0", "4.0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.suffix << " " << c.version.major << "." << c.version.minor);
    c.install(folder().Join(c.suffix), c.version);
    EXPECT_EQ(Call("Exist", c.suffix, 0), c.exist);
    const std::string info = InfoList(c.suffix);
    EXPECT_EQ(info.substr(info.find('\0') + 1), std::string(c.record) + '\0' + '\0');
    if (c.suite == nullptr) continue;
    ASSERT_EQ(Call("Attach", c.suffix, 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(std::string("MSIMN\\") + c.record, "Spelling"), "Attached"), 1u);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\MSIMN\\" + c.suite, "Name"),
              "Outlook Express");
  }
}

TEST_F(MailClients, OutlookExpress5AlsoHandsOffice2000sInstallerComponentsToTheProduct) {
  InstallOutlookExpress5(folder().Join("Outlook Express"));
  SetOfficeInstallRoot(9, "Common", office_ + "\\");
  RegisterUninstallEntry(kOffice2000RussianProductCode);
  RegisterComponentPath(kLocalSystemComponents, kRussianSpellerEngineComponent, kOffice2000RussianPacked,
                        office_ + "\\Proof\\MSSP3RU.DLL");
  ASSERT_EQ(Call("Attach", "OUTL_EXPR5", 0), 1u);
  const std::string packed = kOffice2000RussianPacked;
  const std::string component = std::string(kLocalSystemComponents) + "\\" + kRussianSpellerEngineComponent;
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, component),
            (Values{{packed, InStartup("kvilsp3.dll")},
                    {"Saved by Kvil 8:" + packed, "sz:" + office_ + "\\Proof\\MSSP3RU.DLL"}}));
}

TEST_F(MailClients, FailedAttachLeavesTheSuiteRecordAndARecordSayingNotAttached) {
  InstallWindowsMail(folder().Join("Mail"));
  ASSERT_EQ(Call("Attach", "WinMail7", 0, 1033), 0u);  // the product has no English start-up folder
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\WINMAIL\\6.0"),
            (Values{{"", "key"}, {":Path", "sz:" + folder().Join("Mail") + "\\winmail.exe"},
                    {":Name", "sz:Windows Mail"}, {"Spelling", "key"}, {"Spelling\\1033", "key"},
                    {"Spelling\\1033:Attached", "0"}}));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, kSharedProofingTools));
}

// Only the speller is taken, and a client is found only through a usable
// "InstallRoot"; whatever is refused leaves the machine as it was.
TEST_F(MailClients, OtherToolKindsAndUnusableInstallRootsAreRefusedAndChangeNothing) {
  for (const Member& m : kMembers) m.install(folder().Join(m.suffix), m.version);
  // A folder whose program's path would take 260 characters.
  const std::string longFolder = folder().path() + "\\" + std::string(247 - folder().path().size(), 'm');
  CreateFolder(longFolder);
  const Values machine = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  for (const Member& m : kMembers) {
    for (const int kind : {1, 2, 3, 4, -1}) {
      SCOPED_TRACE(testing::Message() << m.suffix << " kind " << kind);
      EXPECT_EQ(Call("Exist", m.suffix, kind), IsToolKind(kind) ? kNotApplicable : 0);
      EXPECT_EQ(Call("Avail", m.suffix, kind), 0u);
      EXPECT_EQ(Call("Attach", m.suffix, kind), kNotApplicable);
      EXPECT_EQ(Call("Check", m.suffix, kind), 0u);
    }
    EXPECT_EQ(Call("Detach", m.suffix, 4), 0u);
  }

  const std::string program = folder().Join("WinMail7\\winmail.exe");
  for (const char* root : {static_cast<const char*>(nullptr), "WinMail7", longFolder.c_str(), "C:\\Missing\\Mail",
                           program.c_str()}) {
    SCOPED_TRACE(root != nullptr ? root : "no value");
    RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kWindowsMailKey, "InstallRoot");
    if (root != nullptr) WriteText(HKEY_LOCAL_MACHINE, kWindowsMailKey, "InstallRoot", root);
    ExpectAnswers({"WinMail7", 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(InfoList("WinMail7"), std::string("WINMAIL\0" "6.0\0\0", 13));
  }
  WriteText(HKEY_LOCAL_MACHINE, kWindowsMailKey, "InstallRoot", folder().Join("WinMail7"));
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machine);
}

}  // namespace
}  // namespace kvil::test

// Outlook Express, Windows Mail and Windows Live Mail through the DLL's exports,
// and The Bat!'s typical request, which is theirs.

#include <gtest/gtest.h>

#include <string>

#include "mail_fixture.h"
#include "non_office_host_test.h"
#include "office_fixture.h"

namespace kvil::test {
namespace {

using Installer = void (*)(const std::string& folder, MailProgram program);

struct Member {
  const char* suffix;
  Installer install;
  MailProgram version;
  const char* program;
  const char* filedAs;    // application key and version
  const char* suiteName;  // null: no suite record
  const char* infoVersion = nullptr;  // Info's, where it is not the record's
  KvilResult availOfOtherTools = 0;
};

const Member kMembers[] = {
    {"OUTL_EXPR", InstallOutlookExpress4, {4, 72}, "msimn.exe", "MSIMN\\4.72", "Outlook Express"},
    {"OUTL_EXPR5", InstallOutlookExpress5, {6, 0}, "msimn.exe", "MSIMN\\6.0", "Outlook Express"},
    {"WinMail7", InstallWindowsMail, {6, 0}, "winmail.exe", "WINMAIL\\6.0", "Windows Mail"},
    {"WLMail8", InstallWindowsLiveMail, {8, 0}, "wlmail.exe", "WLMAIL\\8.0", nullptr},
    // The Bat! is filed under its program's name, and under 6.0 whatever its 6.x.
    {"TheBat50", [](const std::string& folder, MailProgram v) { InstallTheBat(folder + "\\thebat.exe", v); }, {6, 2},
     "thebat.exe", "THEBAT\\6.0", "The Bat!", "6.x", kNA},
};

class MailClients : public NonOfficeHostTest {};
class MailClientTypicalRequest : public MailClients, public testing::WithParamInterface<Member> {};

// Detach clears only the record: the shared registration and the suite record
// stay, and the client's own keys and files are never touched.
TEST_P(MailClientTypicalRequest, AttachRegistersTheSpellerAndDetachClearsOnlyTheRecord) {
  const Member& m = GetParam();
  const std::string client = folder().Join("Mail");
  m.install(client, m.version);
  const Values installed = Machine();
  const std::string record = m.filedAs;
  const std::string key = record.substr(0, record.find('\\'));
  const std::string version = m.infoVersion != nullptr ? m.infoVersion : record.substr(key.size() + 1);
  EXPECT_EQ(InfoList(m.suffix), key + '\0' + version + std::string(2, '\0'));
  EXPECT_EQ(Call("Exist", m.suffix, 0), 1u);
  EXPECT_EQ(Call("Avail", m.suffix, 0), 1u);

  ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
  Values products{{"", "key"}, {key, "key"}, {record, "key"}, {record + "\\Spelling", "key"},
                  {record + "\\Spelling\\1049", "key"}};
  for (const auto& [name, value] : kSpellerRecord) products[record + "\\Spelling\\1049:" + name] = value;
  if (m.suiteName != nullptr) {
    products[record + ":Path"] = "sz:" + client + "\\" + m.program;
    products[record + ":Name"] = std::string("sz:") + m.suiteName;
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kProductRecords), products);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), SpellerRegistration());
  EXPECT_EQ(Call("Check", m.suffix, 0), 1u);
  const Values attached = Machine();
  for (const auto& [name, value] : Added(installed, attached)) EXPECT_TRUE(name.starts_with("SOFTWARE|")) << name;

  EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
  EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
  EXPECT_EQ(Added(attached, Machine()), (Values{{MachineValue(Record(record, "Spelling"), "Attached"), "0"}}));
}

INSTANTIATE_TEST_SUITE_P(Members, MailClientTypicalRequest, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return std::string(member.param.suffix); });

// The version is the program's "major.minor", or the client's fallback, which
// for Outlook Express differs between the records and the suite record; a
// client is found by the version's first character alone.
TEST_F(MailClients, VersionComesFromTheProgramOrTheClientsFallbacks) {
  const struct {
    const char* suffix;
    Installer install;
    MailProgram version;
    KvilResult exist;
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

// Outlook Express 5 also points Office 2000's Installer components at the
// product. An attach that fails (the product has no English start-up folder)
// keeps what it wrote, with a record saying not attached.
TEST_F(MailClients, OutlookExpress5HandsOffice2000sComponentsOverAndAFailedAttachKeepsWhatItWrote) {
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

  ASSERT_EQ(Call("Attach", "OUTL_EXPR5", 0, 1033), 0u);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\MSIMN\\6.0\\Spelling\\1033"),
            (Values{{"", "key"}, {":Attached", "0"}}));
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\MSIMN\\6.0", "Name"), "Outlook Express");
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Registration("Spelling", 1033)));
}

// Only the speller is taken, and a client is found only through a usable
// "InstallRoot"; whatever is refused leaves the machine as it was. The Bat!'s
// Avail of another tool is its Exist.
TEST_F(MailClients, OtherToolKindsAndUnusableInstallRootsAreRefusedAndChangeNothing) {
  for (const Member& m : kMembers) m.install(folder().Join(m.suffix), m.version);
  // A folder whose program's path would take 260 characters.
  const std::string longFolder = folder().path() + "\\" + std::string(247 - folder().path().size(), 'm');
  CreateFolder(longFolder);
  const Values machine = Machine();
  for (const Member& m : kMembers) {
    for (const int kind : {1, 2, 3, 4, -1}) {
      SCOPED_TRACE(testing::Message() << m.suffix << " kind " << kind);
      const bool toolKind = kind >= KVIL_SPELLER && kind < KVIL_TOOL_KIND_COUNT;
      EXPECT_EQ(Call("Exist", m.suffix, kind), toolKind ? KVIL_NOT_APPLICABLE : 0);
      EXPECT_EQ(Call("Avail", m.suffix, kind), toolKind ? m.availOfOtherTools : 0);
      EXPECT_EQ(Call("Attach", m.suffix, kind), KVIL_NOT_APPLICABLE);
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
  EXPECT_EQ(Machine(), machine);
}

}  // namespace
}  // namespace kvil::test

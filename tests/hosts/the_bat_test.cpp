// The Bat! through the DLL's exports: the client its program names in the
// current user's registry, filed under that program's name.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host_family_test.h"
#include "mail_fixture.h"
#include "office_fixture.h"
#include "win32_support.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

class TheBat : public HostFamilyTest {
 protected:
  void SetUp() override {
    HostFamilyTest::SetUp();
    client_ = folder().Join("The Bat!");
    program_ = client_ + "\\thebat.exe";
  }
  std::string InfoList() const {
    char buffer[80] = {};
    std::int32_t length = sizeof buffer;
    dll().Info("TheBat50", 0, 1049, buffer, &length);
    return std::string(buffer, length);
  }
  // GetTheBatFullExePath's answer and its buffer of capacity bytes, filled with 'g' before.
  std::pair<HostResult, std::string> FullExePath(std::int32_t capacity) const {
    std::string buffer(capacity, 'g');
    const auto entry = reinterpret_cast<TheBatFullExePathExport>(dll().Find("GetTheBatFullExePath"));
    return {entry(buffer.data(), capacity), buffer};
  }
  std::string client_;
  std::string program_;
};

TEST_F(TheBat, AttachFilesTheClientUnderItsProgramAndDetachClearsOnlyTheRecord) {
  InstallTheBat(program_, {6, 2});
  const Values user = DescribeTree(HKEY_CURRENT_USER, "Software");
  const Values files = FolderContents(client_);
  EXPECT_EQ(Call("Exist", "TheBat50", 0), 1u);
  EXPECT_EQ(Call("Avail", "TheBat50", 0), 1u);
  EXPECT_EQ(InfoList(), std::string("THEBAT\0" "6.x\0\0", 12));
  const auto size = static_cast<std::int32_t>(program_.size());
  EXPECT_EQ(FullExePath(size), std::make_pair(0u, std::string(size, 'g')));  // no room for the terminator
  EXPECT_EQ(FullExePath(size + 2), std::make_pair(1u, program_ + '\0' + 'g'));

  ASSERT_EQ(Call("Attach", "TheBat50", 0), 1u);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\THEBAT\\6.0"),
            (Values{{"", "key"}, {":Path", "sz:" + program_}, {":Name", "sz:The Bat!"}, {"Spelling", "key"},
                    {"Spelling\\1049", "key"}, {"Spelling\\1049:Learning", "1"}, {"Spelling\\1049:StrictYO", "1"},
                    {"Spelling\\1049:Original LID", "1033"}, {"Spelling\\1049:Action", "1"},
                    {"Spelling\\1049:Attached", "1"}, {"Spelling\\1049:Supplement dictionaries", "sz:Normal"}}));
  const Values registration{{"Engine", InStartup("kvilsp3.dll")}, {"Dictionary", InStartup("SPRUNORM.LEX")}};
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
  EXPECT_EQ(Call("Check", "TheBat50", 0), 1u);

  EXPECT_EQ(Call("Detach", "TheBat50", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("THEBAT\\6.0", "Spelling"), "Attached"), 0u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
  EXPECT_EQ(Call("Check", "TheBat50", 0), 0u);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), user);
  EXPECT_EQ(FolderContents(client_), files);
}

TEST_F(TheBat, ProgramNameGivesTheApplicationKeyAndThePathIsKeptInTheCyrillicCodePage) {
  const std::wstring mail = Widen(folder().path()) + L"\\\x041f\x043e\x0447\x0442\x0430";
  ASSERT_TRUE(CreateDirectoryW(mail.c_str(), nullptr));
  SetTheBatExePath(mail + L"\\TheBat64.EXE" + L'\0');
  EXPECT_EQ(InfoList(), std::string("THEBAT64\0" "6.x\0\0", 14));
  ASSERT_EQ(Call("Attach", "TheBat50", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\THEBAT64\\6.0", "Path"),
            folder().path() + "\\\xcf\xee\xf7\xf2\xe0\\TheBat64.EXE");
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("THEBAT64\\6.0", "Spelling"), "Attached"), 1u);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, kProductRecords), std::vector<std::string>{"THEBAT64"});
}

TEST_F(TheBat, OnlyAProgramOfProductVersion6IsTheClientYetAttachDoesNotAsk) {
  for (const WORD major : {5, 7}) {
    SCOPED_TRACE(major);
    InstallTheBat(program_, {major, 0});
    EXPECT_EQ(Call("Avail", "TheBat50", 0), 0u);
    EXPECT_EQ(FullExePath(300).first, 0u);
    EXPECT_EQ(Call("Attach", "TheBat50", 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("THEBAT\\6.0", "Spelling"), "Attached"), 1u);
    EXPECT_EQ(Call("Check", "TheBat50", 0), 0u);
  }
}

TEST_F(TheBat, LanguageWithoutAStartupFolderIsRegisteredWithoutFilesAndTheFormerOneKept) {
  InstallTheBat(program_);
  RegisterForeignProofingTool("Spelling", 1033, office_ + "\\MSSP3EN.DLL", office_ + "\\MSSP3EN.LEX");
  ASSERT_EQ(Call("Attach", "TheBat50", 0, 1033), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling", 1033)),
            (Values{{"Engine", "sz:\\"}, {"Dictionary", "sz:\\"}}));
  const char saved[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections\\Spelling\\1033\\Normal";
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, saved),
            (Values{{"Engine", "sz:" + office_ + "\\MSSP3EN.DLL"}, {"Dictionary", "sz:" + office_ + "\\MSSP3EN.LEX"}}));
}

// Only the speller is taken, and a client is found only through a usable
// "EXE path"; whatever is refused leaves the machine as it was.
TEST_F(TheBat, OtherToolKindsAndUnusableProgramPathsAreRefusedAndChangeNothing) {
  InstallTheBat(program_);
  const Values machine = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  for (const int kind : {1, 2, 3, 4, -1}) {
    SCOPED_TRACE(kind);
    const HostResult exist = IsToolKind(kind) ? kNotApplicable : 0;
    EXPECT_EQ(Call("Exist", "TheBat50", kind), exist);
    EXPECT_EQ(Call("Avail", "TheBat50", kind), exist);
    EXPECT_EQ(Call("Attach", "TheBat50", kind), kNotApplicable);
    EXPECT_EQ(Call("Check", "TheBat50", kind), 0u);
  }
  EXPECT_EQ(Call("Detach", "TheBat50", 4), 0u);

  const std::wstring client = Widen(client_);
  const std::wstring han = Widen(folder().path()) + L"\\\x4e2d";
  ASSERT_TRUE(CreateDirectoryW(han.c_str(), nullptr));
  const struct {
    std::wstring units;  // "EXE path"; empty: none
    DWORD type;
  } paths[] = {
      {L"", REG_SZ},
      {std::wstring(L"The Bat!\\thebat.exe") + L'\0', REG_SZ},
      {client + L"\\Old\\thebat.exe" + L'\0', REG_SZ},
      {client + L"\\" + L'\0', REG_SZ},
      {client + L"\\.exe" + L'\0', REG_SZ},  // names no application
      {client + L"\\" + std::wstring(259 - client.size(), L'a'), REG_SZ},  // 260 characters, no terminator
      {han + L"\\thebat.exe" + L'\0', REG_SZ},  // outside the Cyrillic code page
      {Widen(program_) + L'\0', REG_BINARY},
  };
  for (const auto& path : paths) {
    SCOPED_TRACE(testing::Message() << "EXE path of " << path.units.size() << " units, type " << path.type);
    RegDeleteKeyA(HKEY_CURRENT_USER, kTheBatKey);
    if (!path.units.empty()) SetTheBatExePath(path.units, path.type);
    ExpectAnswers({"TheBat50", 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(InfoList(), std::string("\0" "6.x\0\0", 6));
    EXPECT_EQ(FullExePath(300), std::make_pair(0u, std::string(300, 'g')));
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machine);
}

}  // namespace
}  // namespace kvil::test

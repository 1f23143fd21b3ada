// The Bat! through the DLL's exports: the client its program names in the
// current user's registry, filed under that program's name. Its typical request
// and the tools it does not take are the mail clients'.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "mail_fixture.h"
#include "non_office_host_test.h"
#include "win32_support.h"

namespace kvil::test {
namespace {

class TheBat : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    client_ = folder().Join("The Bat!");
    program_ = client_ + "\\thebat.exe";
  }
  std::pair<KvilResult, std::string> FullExePath(std::int32_t capacity) const {
    return NonOfficeHostTest::FullExePath("GetTheBatFullExePath", capacity);
  }
  std::string client_;
  std::string program_;
};

TEST_F(TheBat, GetTheBatFullExePathWritesTheProgramOnlyWhenItFits) {
  InstallTheBat(program_, {6, 2});
  const auto size = static_cast<std::int32_t>(program_.size());
  EXPECT_EQ(FullExePath(size), std::make_pair(0u, std::string(size, 'g')));  // no room for the terminator
  EXPECT_EQ(FullExePath(size + 2), std::make_pair(1u, program_ + '\0' + 'g'));
}

// The program's file name is the application key of every record; its path is
// kept in the Cyrillic code page.
TEST_F(TheBat, ProgramNameGivesTheApplicationKeyAndThePathIsKeptInTheCyrillicCodePage) {
  const std::wstring mail = Widen(folder().path()) + L"\\\x041f\x043e\x0447\x0442\x0430";
  ASSERT_TRUE(CreateDirectoryW(mail.c_str(), nullptr));
  SetTheBatExePath(mail + L"\\TheBat64.EXE" + L'\0');
  EXPECT_EQ(InfoList("TheBat50"), std::string("THEBAT64\0" "6.x\0\0", 14));
  ASSERT_EQ(Call("Attach", "TheBat50", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\THEBAT64\\6.0", "Path"),
            folder().path() + "\\\xcf\xee\xf7\xf2\xe0\\TheBat64.EXE");
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("THEBAT64\\6.0", "Spelling"), "Attached"), 1u);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, kProductRecords), std::vector<std::string>{"THEBAT64"});
}

// Only a program of product version 6 is the client, yet Attach does not ask;
// and a language without a start-up folder is still registered, without files.
TEST_F(TheBat, AttachAsksNeitherTheVersionNorTheLanguagesFiles) {
  for (const WORD major : {5, 7}) {
    SCOPED_TRACE(major);
    InstallTheBat(program_, {major, 0});
    EXPECT_EQ(Call("Avail", "TheBat50", 0), 0u);
    EXPECT_EQ(FullExePath(300).first, 0u);
    EXPECT_EQ(Call("Attach", "TheBat50", 0), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("THEBAT\\6.0", "Spelling"), "Attached"), 1u);
    EXPECT_EQ(Call("Check", "TheBat50", 0), 0u);
  }
  ASSERT_EQ(Call("Attach", "TheBat50", 0, 1033), 1u);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling", 1033)),
            (Values{{"Engine", "sz:\\"}, {"Dictionary", "sz:\\"}}));
}

// A client is found only through a usable "EXE path"; whatever is refused
// leaves the machine as it was.
TEST_F(TheBat, UnusableProgramPathsAreRefusedAndChangeNothing) {
  InstallTheBat(program_);
  const Values machine = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const std::wstring client = Widen(client_);
  const std::wstring han = Widen(folder().path()) + L"\\\x4e2d";
  ASSERT_TRUE(CreateDirectoryW(han.c_str(), nullptr));
  const std::pair<std::wstring, DWORD> paths[] = {
      {L"", REG_SZ},  // none
      {std::wstring(L"The Bat!\\thebat.exe") + L'\0', REG_SZ},
      {client + L"\\Old\\thebat.exe" + L'\0', REG_SZ},
      {client + L"\\" + L'\0', REG_SZ},
      {client + L"\\.exe" + L'\0', REG_SZ},                             // names no application
      {client + L"\\" + std::wstring(259 - client.size(), L'a'), REG_SZ},  // 260 characters, no terminator
      {han + L"\\thebat.exe" + L'\0', REG_SZ},                          // outside the Cyrillic code page
      {Widen(program_) + L'\0', REG_BINARY},
  };
  for (const auto& [units, type] : paths) {
    SCOPED_TRACE(testing::Message() << "EXE path of " << units.size() << " units, type " << type);
    RegDeleteKeyA(HKEY_CURRENT_USER, kTheBatKey);
    if (!units.empty()) SetTheBatExePath(units, type);
    ExpectAnswers({"TheBat50", 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(InfoList("TheBat50"), std::string("\0" "6.x\0\0", 6));
    EXPECT_EQ(FullExePath(300), std::make_pair(0u, std::string(300, 'g')));
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machine);
}

}  // namespace
}  // namespace kvil::test

#include "proofing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "frame_test.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;

constexpr const char kSharedSpelling[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Spelling\\1049\\Normal";
constexpr const char kSavedSpelling[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections\\Spelling\\1049\\Normal";

class ProofingRegistration : public FrameTest {
 protected:
  void SetUp() override {
    FrameTest::SetUp();
    InstallDefaultProduct();
    startup_ = product().StartupDir(1049);
  }
  std::string InStartup(const std::string& file) const { return startup_ + "\\" + file; }
  int RegisterSpeller() const {
    return RegisterProofingToolShared("Spelling", startup_.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1049);
  }
  Values ProductSpeller() const {
    return {{"Engine", "sz:" + InStartup("kvilsp3.dll")}, {"Dictionary", "sz:" + InStartup("SPRUNORM.LEX")}};
  }

  std::string startup_;
};

TEST_F(ProofingRegistration, WithoutARegistrationAnEmptyOneIsSavedFirst) {
  EXPECT_EQ(RegisterSpeller(), 1);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), ProductSpeller());
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine"), SzValue(InStartup("kvilsp3.dll"), true));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), (Values{{"Engine", "sz:"}, {"Dictionary", "sz:"}}));
}

TEST_F(ProofingRegistration, AForeignRegistrationIsSavedOnceTheProductHoldsTheKey) {
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", "C:\\MSOffice\\MSSP2_RU.DLL");
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("SPRUNORM.LEX"));
  ASSERT_EQ(RegisterSpeller(), 1);
  const Values foreign{{"Engine", "sz:C:\\MSOffice\\MSSP2_RU.DLL"}, {"Dictionary", "sz:" + InStartup("SPRUNORM.LEX")}};
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), foreign);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), ProductSpeller());

  // Attaching again finds the product's own registration and keeps the first backup.
  ASSERT_EQ(RegisterSpeller(), 1);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), foreign);
}

TEST_F(ProofingRegistration, TheProductsOwnRegistrationInAnotherCaseIsNotSaved) {
  std::string engine = InStartup("KVILSP3.DLL");
  std::string lexicon = InStartup("sprunorm.lex");
  for (char& c : engine) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", engine);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", lexicon);
  ASSERT_EQ(RegisterSpeller(), 1);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections"));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), ProductSpeller());
}

TEST_F(ProofingRegistration, AFailedBackupReportsSuccessWithoutWriting) {
  const std::string longTool(240, 'T');
  EXPECT_EQ(RegisterProofingToolShared(longTool.c_str(), startup_.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1049), 1);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\" + longTool));
}

TEST_F(ProofingRegistration, AFolderTooDeepForItsFilesKeepsTheRegistrationAndFails) {
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", "C:\\MSOffice\\MSSP2_RU.DLL");
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", "C:\\MSOffice\\MSSP2_RU.LEX");
  const Values foreign = DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling);
  const std::string deep = "C:\\" + std::string(250, 'x');
  EXPECT_EQ(RegisterProofingToolShared("Spelling", deep.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1049), 0);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), foreign);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), foreign);
}

TEST_F(ProofingRegistration, LeavesFollowTheStyleTable) {
  const std::string prefix = "SOFTWARE\\Tervane\\Kvil\\8.0\\Proofing Tools\\Spelling";
  EXPECT_EQ(WriteProofingValues(HKEY_LOCAL_MACHINE, prefix.c_str(), "e.dll", "d.lex", 13, 1049),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(WriteProofingValues(HKEY_LOCAL_MACHINE, prefix.c_str(), "e.dll", "d.lex", -1, 1049),
            ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, prefix));
  EXPECT_EQ(WriteProofingValues(HKEY_LOCAL_MACHINE, prefix.c_str(), "e.dll", "d.lex", 7, 1058), ERROR_SUCCESS);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, prefix + "\\1058\\Medical"),
            (Values{{"Engine", "sz:e.dll"}, {"Dictionary", "sz:d.lex"}}));
  const char* leaves[] = {"Normal",    "Biological", "Business", "Chemistry", "Computers", "Humanitarian", "Legal",
                          "Medical",   "Religion",   "Science",  "Technical", "Concise",   "Complete"};
  for (int index = 0; index < 13; ++index) EXPECT_STREQ(ProofingLeafName(index), leaves[index]);
}

TEST_F(ProofingRegistration, AFolderEndingInABackslashIsJoinedAsItIs) {
  const std::string folderWithSlash = startup_ + "\\";
  EXPECT_EQ(RegisterProofingTool(HKEY_LOCAL_MACHINE, kSharedProofingTree, folderWithSlash.c_str(), "Thesaurus",
                                 "KVILTH32.DLL", "thrunorm.lex", 1049),
            ERROR_SUCCESS);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools\\Thesaurus\\1049\\Normal",
                     "Engine"),
            startup_ + "\\\\KVILTH32.DLL");
}

TEST_F(ProofingRegistration, AvailabilityFindsBothFilesInTheFolderAlone) {
  char folder[260];
  std::strcpy(folder, startup_.c_str());
  EXPECT_EQ(AvailFiles(folder, "kvilsp3.dll", "SPRUNORM.LEX", "Spelling", 1049, 0), 1);
  EXPECT_STREQ(folder, InStartup("SPRUNORM.LEX").c_str());

  std::strcpy(folder, startup_.c_str());
  EXPECT_EQ(AvailFiles(folder, "kvilsp3.dll", "SPENNORM.LEX", "Spelling", 1033, 0), 0);
  EXPECT_STREQ(folder, (startup_ + "\\").c_str());

  std::strcpy(folder, startup_.c_str());
  EXPECT_EQ(AvailFiles(folder, "notepad.exe", "SPRUNORM.LEX", "Spelling", 1049, 0), 0);  // not on a search path
  EXPECT_STREQ(folder, startup_.c_str());
}

TEST_F(ProofingRegistration, AvailabilityCanRequireAUsableSharedRegistration) {
  char folder[260];
  auto avail = [&] {
    std::strcpy(folder, startup_.c_str());
    return AvailFiles(folder, "kvilsp3.dll", "SPRUNORM.LEX", "Spelling", 1049, 1);
  };
  EXPECT_EQ(avail(), 0);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", InStartup("kvilsp3.dll"));
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("missing.lex"));
  EXPECT_EQ(avail(), 0);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("SPRUNORM.LEX"));
  EXPECT_EQ(avail(), 1);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", "");
  EXPECT_EQ(avail(), 0);
}

TEST_F(ProofingRegistration, RegisteredValuesMustBeNonEmptyRegSz) {
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", "C:\\e.dll");
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", "C:\\d.lex", REG_EXPAND_SZ);
  char value[260];
  DWORD length = sizeof value;
  EXPECT_TRUE(GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, "Spelling", 1049, "Normal",
                                         "Engine", value, &length));
  EXPECT_STREQ(value, "C:\\e.dll");
  length = sizeof value;
  EXPECT_FALSE(GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, "Spelling", 1049, "Normal",
                                          "Dictionary", value, &length));
  length = sizeof value;
  EXPECT_FALSE(GetRegisteredProofingValue(HKEY_LOCAL_MACHINE, kSharedProofingTree, "Grammar", 1049, "Normal",
                                          "Engine", value, &length));
}

class OwnRegistration : public ProofingRegistration {
 protected:
  static constexpr const char kBase[] = "Software\\Microsoft\\Word\\7.0\\Proofing Tools";
  static constexpr const char kKey[] = "Software\\Microsoft\\Word\\7.0\\Proofing Tools\\Spelling\\1049\\Normal";
  int Write() const {
    return WriteOwnRegistration(HKEY_CURRENT_USER, kBase, "Spelling", 1049, startup_.c_str(), "kvilsp3.dll",
                                "SPRUNORM.LEX");
  }
  int Restore() const { return RestoreOwnRegistration(HKEY_CURRENT_USER, kBase, "Spelling", 1049, startup_.c_str()); }
};

TEST_F(OwnRegistration, HostValuesAreKeptOnceAndPutBack) {
  WriteText(HKEY_CURRENT_USER, kKey, "Engine", "C:\\WINWORD\\MSSP_RU.DLL");
  WriteText(HKEY_CURRENT_USER, kKey, "Dictionary", "C:\\WINWORD\\MSSP_RU.LEX");
  const Values host = DescribeValues(HKEY_CURRENT_USER, kKey);
  ASSERT_EQ(Write(), 1);
  Values attached = ProductSpeller();
  attached["Saved by Kvil 8:Engine"] = "sz:C:\\WINWORD\\MSSP_RU.DLL";
  attached["Saved by Kvil 8:Dictionary"] = "sz:C:\\WINWORD\\MSSP_RU.LEX";
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), attached);
  ASSERT_EQ(Write(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), attached);

  ASSERT_EQ(Restore(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), host);
}

TEST_F(OwnRegistration, ProductValuesWithoutBackupGoWithTheirKey) {
  CreateKey(HKEY_CURRENT_USER, std::string(kBase) + "\\Spelling\\1033\\Normal");
  ASSERT_EQ(Write(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), ProductSpeller());
  ASSERT_EQ(Restore(), 1);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, std::string(kBase) + "\\Spelling\\1049"));
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, std::string(kBase) + "\\Spelling\\1033\\Normal"));
  EXPECT_EQ(Restore(), 1);  // nothing left to restore
}

TEST_F(OwnRegistration, ForeignValueWithoutBackupStaysAndOnlyTheProductsGoes) {
  WriteText(HKEY_CURRENT_USER, kKey, "Engine", InStartup("kvilsp3.dll"));
  WriteText(HKEY_CURRENT_USER, kKey, "Dictionary", "C:\\Custom\\user.lex");
  WriteText(HKEY_CURRENT_USER, kKey, "Saved by Kvil 8:Dictionary", "C:\\WINWORD\\MSSP_RU.LEX");
  ASSERT_EQ(Restore(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), (Values{{"Dictionary", "sz:C:\\WINWORD\\MSSP_RU.LEX"}}));
}

}  // namespace
}  // namespace kvil::test

#include "proofing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame_test.h"

namespace kvil::test {
namespace {

constexpr const char kSavedConnections[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections";
constexpr const char kSavedSpelling[] = "SOFTWARE\\Tervane\\Kvil\\8.0\\Saved connections\\Spelling\\1049\\Normal";

class ProofingRegistration : public InstalledFrameTest {
 protected:
  int RegisterSpeller(const std::string& folder) const {
    return RegisterProofingToolShared("Spelling", folder.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1049);
  }
  Values Registration(const std::string& engine, const std::string& dictionary) const {
    return {{"Engine", "sz:" + engine}, {"Dictionary", "sz:" + dictionary}};
  }
  Values ProductSpeller() const { return Registration(InStartup("kvilsp3.dll"), InStartup("SPRUNORM.LEX")); }
};

// The shared registration as it stood before two attaches, and the backup they
// leave: the first foreign registration, once; none for the product's own.
TEST_F(ProofingRegistration, TheSharedRegistrationIsSavedOnceUnlessItIsTheProducts) {
  std::string upperEngine = InStartup("KVILSP3.DLL");
  for (char& c : upperEngine) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const struct {
    const char* what;
    Values before;
    Values saved;  // empty: no backup key at all
  } cases[] = {
      {"none", {}, Registration("", "")},
      {"a foreign engine with the product's lexicon", Registration("C:\\MSOffice\\MSSP2_RU.DLL", InStartup("SPRUNORM.LEX")),
       Registration("C:\\MSOffice\\MSSP2_RU.DLL", InStartup("SPRUNORM.LEX"))},
      {"the product's own in another case", Registration(upperEngine, InStartup("sprunorm.lex")), {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools");
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSavedConnections);
    for (const auto& [name, value] : c.before) WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, name, value.substr(3));
    EXPECT_EQ(RegisterSpeller(startup_), 1);
    EXPECT_EQ(RegisterSpeller(startup_), 1);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), ProductSpeller());
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine"), SzValue(InStartup("kvilsp3.dll"), true));
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), c.saved);
    EXPECT_EQ(KeyExists(HKEY_LOCAL_MACHINE, kSavedConnections), !c.saved.empty());
  }
}

TEST_F(ProofingRegistration, PathsThatDoNotFitWriteNoRegistration) {
  // A backup key that does not fit: reported as success, nothing written.
  const std::string longTool(240, 'T');
  EXPECT_EQ(RegisterProofingToolShared(longTool.c_str(), startup_.c_str(), "kvilsp3.dll", "SPRUNORM.LEX", 1049), 1);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Shared Tools"));
  // A folder too deep for its files: the foreign registration is kept, and saved.
  const Values foreign = Registration("C:\\MSOffice\\MSSP2_RU.DLL", "C:\\MSOffice\\MSSP2_RU.LEX");
  for (const auto& [name, value] : foreign) WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, name, value.substr(3));
  EXPECT_EQ(RegisterSpeller("C:\\" + std::string(250, 'x')), 0);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling), foreign);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSavedSpelling), foreign);
}

TEST_F(ProofingRegistration, LeavesFollowTheStyleTableAndFoldersAreJoinedAsTheyAre) {
  const std::string prefix = "SOFTWARE\\Tervane\\Kvil\\8.0\\Proofing Tools\\Spelling";
  EXPECT_EQ(WriteProofingValues(HKEY_LOCAL_MACHINE, prefix.c_str(), "e.dll", "d.lex", 13, 1049), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, prefix));
  EXPECT_EQ(WriteProofingValues(HKEY_LOCAL_MACHINE, prefix.c_str(), "e.dll", "d.lex", 7, 1058), ERROR_SUCCESS);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, prefix + "\\1058\\Medical"), Registration("e.dll", "d.lex"));
  EXPECT_STREQ(ProofingLeafName(0), "Normal");
  EXPECT_STREQ(ProofingLeafName(12), "Complete");
  EXPECT_EQ(ProofingLeafName(-1), nullptr);

  EXPECT_EQ(RegisterProofingTool(HKEY_LOCAL_MACHINE, kSharedProofingTree, (startup_ + "\\").c_str(), "Spelling",
                                 "kvilsp3.dll", "SPRUNORM.LEX", 1049),
            ERROR_SUCCESS);
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, kSharedSpelling),
            Registration(startup_ + "\\\\kvilsp3.dll", startup_ + "\\\\SPRUNORM.LEX"));
}

TEST_F(ProofingRegistration, AvailabilityFindsBothFilesInTheFolderAlone) {
  const struct {
    const char* engine;
    const char* lexicon;
    int result;
    std::string folderAfter;
  } cases[] = {
      {"kvilsp3.dll", "SPRUNORM.LEX", 1, InStartup("SPRUNORM.LEX")},
      {"kvilsp3.dll", "SPENNORM.LEX", 0, startup_ + "\\"},
      {"notepad.exe", "SPRUNORM.LEX", 0, startup_},  // not on a search path
  };
  for (const auto& c : cases) {
    char folder[260];
    std::strcpy(folder, startup_.c_str());
    EXPECT_EQ(AvailFiles(folder, c.engine, c.lexicon, "Spelling", 1049, 0), c.result) << c.engine << " " << c.lexicon;
    EXPECT_EQ(folder, c.folderAfter);
  }
}

TEST_F(ProofingRegistration, AvailabilityCanRequireAUsableSharedRegistration) {
  auto avail = [&] {
    char folder[260];
    std::strcpy(folder, startup_.c_str());
    return AvailFiles(folder, "kvilsp3.dll", "SPRUNORM.LEX", "Spelling", 1049, 1);
  };
  EXPECT_EQ(avail(), 0);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", InStartup("kvilsp3.dll"));
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("missing.lex"));
  EXPECT_EQ(avail(), 0);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("SPRUNORM.LEX"));
  EXPECT_EQ(avail(), 1);
  // Only a REG_SZ counts as registered.
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("SPRUNORM.LEX"), REG_EXPAND_SZ);
  EXPECT_EQ(avail(), 0);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", InStartup("SPRUNORM.LEX"));
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", "");
  EXPECT_EQ(avail(), 0);
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
  const Values host = Registration("C:\\WINWORD\\MSSP_RU.DLL", "C:\\WINWORD\\MSSP_RU.LEX");
  for (const auto& [name, value] : host) WriteText(HKEY_CURRENT_USER, kKey, name, value.substr(3));
  Values attached = ProductSpeller();
  attached["Saved by Kvil 8:Engine"] = "sz:C:\\WINWORD\\MSSP_RU.DLL";
  attached["Saved by Kvil 8:Dictionary"] = "sz:C:\\WINWORD\\MSSP_RU.LEX";
  for (int time = 0; time < 2; ++time) {
    ASSERT_EQ(Write(), 1);
    EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), attached);
    // The host's speller taken back meanwhile: the first backup still stays.
    WriteText(HKEY_CURRENT_USER, kKey, "Engine", "C:\\WINWORD\\MSSP3_RU.DLL");
  }
  ASSERT_EQ(Restore(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), host);
}

TEST_F(OwnRegistration, OnlyTheProductsValuesGoAndTheirKeyWithThem) {
  CreateKey(HKEY_CURRENT_USER, std::string(kBase) + "\\Spelling\\1033\\Normal");
  ASSERT_EQ(Write(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), ProductSpeller());
  ASSERT_EQ(Restore(), 1);
  EXPECT_EQ(SubkeyNames(HKEY_CURRENT_USER, std::string(kBase) + "\\Spelling"), std::vector<std::string>{"1033"});
  EXPECT_EQ(Restore(), 1);  // nothing left to restore

  // A foreign value without backup stays.
  WriteText(HKEY_CURRENT_USER, kKey, "Engine", InStartup("kvilsp3.dll"));
  WriteText(HKEY_CURRENT_USER, kKey, "Dictionary", "C:\\Custom\\user.lex");
  WriteText(HKEY_CURRENT_USER, kKey, "Saved by Kvil 8:Dictionary", "C:\\WINWORD\\MSSP_RU.LEX");
  ASSERT_EQ(Restore(), 1);
  EXPECT_EQ(DescribeValues(HKEY_CURRENT_USER, kKey), (Values{{"Dictionary", "sz:C:\\WINWORD\\MSSP_RU.LEX"}}));
}

}  // namespace
}  // namespace kvil::test

#include "files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame_test.h"

namespace kvil::test {
namespace {

using FilePrimitives = FrameTest;

constexpr const char kSetupFile[] =
    "; product setup\r\n"
    "[Files]\r\n"
    "Name=wrong section\r\n"
    "[applications]\r\n"
    "KVIL Agent=\"Kvil Agent\"\r\n"
    "Spaced = no match\r\n"
    "  Editor=   Kvil Editor   \r\n"
    "Empty=\r\n"
    "Long=0123456789\r\n"
    ";Commented=1\r\n"
    "'Quoted=1\r\n"
    "[Other]\r\n"
    "Last=1\r\n";

TEST_F(FilePrimitives, SetupFileKeysMatchExactlyValuesAreTrimmedAndSectionsListed) {
  const std::string file = folder().Join("setup32.inf");
  WriteFile(file, kSetupFile);
  const struct {
    const char* section;
    const char* key;
    std::size_t capacity;
    int expectedResult;
    const char* expectedText;
  } cases[] = {
      {"Applications", "kvil agent", 64, 1, "Kvil Agent"},  // section and key ignore case; quotes go
      {"APPLICATIONS", "Spaced", 64, 0, "default"},         // a blank before "=" is no match
      {"APPLICATIONS", "Editor", 64, 0, "default"},         // nor is a key after leading blanks
      {"APPLICATIONS", "Empty", 64, 0, "default"},          // an empty value is not found
      {"APPLICATIONS", "Long", 12, 1, "0123456789"},        // ten characters fit capacity 12
      {"APPLICATIONS", "Long", 11, 0, "012345678"},         // cut to capacity - 2, and failed
      {"APPLICATIONS", "Name", 64, 0, "default"},           // belongs to another section
      {"Other", "Last", 64, 1, "1"},
      {"", "Last", 64, 0, "default"},
      {"Other", "", 64, 0, "default"},
      {"Other", "Last", 1, 0, ""},  // below 2: only the default's terminator fits
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.section << "/" << c.key << " capacity " << c.capacity);
    char out[64];
    std::memset(out, 'g', sizeof out);
    EXPECT_EQ(ReadIniString(c.section, c.key, "default", out, c.capacity, file.c_str()), c.expectedResult);
    EXPECT_STREQ(out, c.expectedText);
  }
  char out[128];
  EXPECT_EQ(ReadIniString("Other", "Last", "default", out, sizeof out, folder().Join("none.inf").c_str()), 0);
  EXPECT_STREQ(out, "default");

  // Without a key the section's names are listed.
  std::memset(out, 'g', sizeof out);
  EXPECT_EQ(ReadIniString("APPLICATIONS", nullptr, "", out, sizeof out, file.c_str()), 37);
  EXPECT_EQ(std::string(out, 38), std::string("KVIL Agent\0Spaced \0Editor\0Empty\0Long\0\0", 38));
  // With capacity 18, "Spaced " would end past capacity - 2: the listing stops
  // before it and reports capacity - 1.
  std::memset(out, 'g', sizeof out);
  EXPECT_EQ(ReadIniString("APPLICATIONS", nullptr, "", out, 18, file.c_str()), 17);
  EXPECT_EQ(std::string(out, 12), std::string("KVIL Agent\0\0", 12));
  EXPECT_EQ(out[18], 'g');
}

TEST(FilePrimitivesWithoutMachine, WorkBuffersAndCaseInsensitiveFind) {
  char* buffer = nullptr;
  ASSERT_EQ(AllocBuffer(&buffer, 260), 1);
  EXPECT_EQ(std::string(buffer, 260), std::string(260, '\0'));
  FreeBuffer(&buffer);
  EXPECT_EQ(buffer, nullptr);
  // No heap has this much: the user is told and the caller gets 0.
  EXPECT_EQ(AllocBuffer(&buffer, static_cast<std::size_t>(1) << 62), 0);
  EXPECT_EQ(buffer, nullptr);

  const char* text = "C:\\Program Files\\Kvil\\KVILSP3.DLL";
  EXPECT_EQ(FindNoCase(text, "kvilsp3.dll"), text + 22);
  EXPECT_EQ(FindNoCase(text, "word"), nullptr);
}

VersionStamp Stamp(WORD major, WORD minor, const char* company, const char* productText) {
  VersionStamp stamp;
  stamp.fileVersion = stamp.productVersion = {major, minor, 0, 0};
  stamp.companyName = company;
  stamp.productVersionText = productText;
  return stamp;
}

TEST_F(FilePrimitives, VersionResourcesTellTheProductsEnginesApart) {
  const struct {
    const char* file;
    VersionStamp stamp;
    int isKvilEngine, company, companyVersion;  // CheckCompanyName without and with "8.0"
  } cases[] = {
      {"kvilsp3.dll", Stamp(8, 0, "Tervane", "8.0.1"), 1, 1, 1},
      {"kvilsp3.dll", Stamp(7, 5, "Tervane", "7.5"), 0, 1, 0},
      {"kvilsp3.dll", Stamp(6, 0, "Tervane", "6.0"), 0, 1, 0},
      {"inhy32ru.dll", Stamp(6, 0, "Tervane", "6.0"), 1, 1, 0},
      {"INHY32UR.DLL", Stamp(6, 0, "Tervane", "6.0"), 1, 1, 0},
      {"inhy32ru.dll", Stamp(6, 1, "Tervane", "6.1"), 0, 1, 0},
      {"mssp3en.lex", Stamp(9, 0, "Microsoft Corporation", "9.0"), 1, 0, 0},
      {"kvilsp3.dll", Stamp(8, 0, "TERVANE Ltd", ""), 1, 1, 0},
  };
  for (const auto& c : cases) {
    const std::string path = folder().Join(c.file);
    SCOPED_TRACE(testing::Message() << c.file << " " << c.stamp.productVersion[0] << "." << c.stamp.productVersion[1]
                                    << " " << c.stamp.companyName);
    WriteVersionedModule(path, c.stamp);
    EXPECT_EQ(IsKvilEngine(path.c_str()), c.isKvilEngine);
    EXPECT_EQ(CheckCompanyName(path.c_str(), nullptr), c.company);
    EXPECT_EQ(CheckCompanyName(path.c_str(), "8.0"), c.companyVersion);
  }
  const std::string plain = folder().Join("plain.dll");
  WriteUnversionedModule(plain);
  EXPECT_EQ(IsKvilEngine(plain.c_str()), 0);
  EXPECT_EQ(CheckCompanyName(plain.c_str(), nullptr), 0);
}

TEST_F(FilePrimitives, ShortVersionAndProductMajorOfAProgram) {
  const std::string program = folder().Join("WINWORD.EXE");
  VersionStamp stamp = HostProgram(8, 0);
  stamp.fileVersion = {12345, 6789, 1, 2};
  stamp.productVersion = {11, 0, 0, 0};
  WriteVersionedModule(program, stamp);
  char version[32];
  ASSERT_TRUE(GetShortFileVersion(program.c_str(), version, sizeof version));
  EXPECT_STREQ(version, "12345.678");  // at most nine characters
  EXPECT_EQ(GetProductVersionMajor(program.c_str()), 11);
  EXPECT_FALSE(GetShortFileVersion(folder().Join("none.exe").c_str(), version, sizeof version));
}

TEST_F(FilePrimitives, ProofingEngineCheckReadsTheRegistrationAndTheEngine) {
  const std::string engine = folder().Join("kvilsp3.dll");
  const std::string foreign = folder().Join("mssp3ru.dll");
  WriteVersionedModule(engine, ProductEngine());
  WriteVersionedModule(foreign, Stamp(3, 0, "Microsoft Corporation", "3.0"));
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", engine);
  EXPECT_EQ(CheckProofingEngine(HKEY_LOCAL_MACHINE, kSharedSpelling, 0), 0);  // no "Dictionary"
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Dictionary", folder().Join("SPRUNORM.LEX"));
  EXPECT_EQ(CheckProofingEngine(HKEY_LOCAL_MACHINE, kSharedSpelling, 0), 1);
  WriteText(HKEY_LOCAL_MACHINE, kSharedSpelling, "Engine", foreign);
  EXPECT_EQ(CheckProofingEngine(HKEY_LOCAL_MACHINE, kSharedSpelling, 0), 0);
}

}  // namespace
}  // namespace kvil::test

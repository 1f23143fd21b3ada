// CorelDRAW 6, Word Pro and PageMaker through the DLL's exports: the host's own
// speller module replaced by the product's, kept once, and put back.

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "handles.h"
#include "host_family_test.h"
#include "replacement_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
constexpr HostResult kNA = kNotApplicable;

// One member as the tests install it under the scratch folder.
struct Member {
  const char* suffix;
  const char* applicationKey;
  const char* version;
  const char* hostKey;       // the host's registry tree, compared whole
  const char* hostFolder;    // the host's files, compared whole
  const char* moduleFolder;  // where the module lies, below the scratch folder
  const char* module;
  const char* saved;
  bool spellerNamesHostModule;  // "Speller" names the module itself, not its kept copy
  const char* spellerEngine;
  void (*install)(const std::string& root);
};

const Member kMembers[] = {
    {"CDRW60", "CORELDRW", "6.0", "SOFTWARE\\Corel", "Corel60", "Corel60\\Programs", "cdrtpr60.dll", "cdrtpr60.org",
     true, "cdrtpr60.org",
     [](const std::string& root) {
       InstallCorelDraw6(root + "\\Corel60\\Config", "..\\Programs", root + "\\Corel60\\Programs");
     }},
    {"WPRO96", "WORDPRO", "96.0", "SOFTWARE\\Lotus\\Components\\Spell\\3.0", "Lotus96", "Lotus96\\Spell",
     "ltspln03.dll", "ltspln03.org", false, "ltspln03.dll",
     [](const std::string& root) {
       InstallWordProSpeller("3.0", "ltspln03.dll", root + "\\Lotus96\\Spell\\", root + "\\Lotus96\\Spell");
     }},
    {"WPRO97", "WORDPRO", "97.0", "SOFTWARE\\Lotus\\Components\\Spell\\4.0", "Lotus97", "Lotus97\\Spell",
     "ltspln04.dll", "ltspln04.org", false, "ltspln04.dll",
     [](const std::string& root) {
       InstallWordProSpeller("4.0", "ltspln04.dll", root + "\\Lotus97\\Spell\\", root + "\\Lotus97\\Spell");
     }},
    {"WPRO2000", "WORDPRO", "98.0", "SOFTWARE\\Lotus\\Components\\Spell\\4.1", "Lotus2000", "Lotus2000\\Spell",
     "ltspln41.dll", "ltspln41.org", false, "ltspln41.dll",
     [](const std::string& root) {
       InstallWordProSpeller("4.1", "ltspln41.dll", root + "\\Lotus2000\\Spell\\", root + "\\Lotus2000\\Spell");
     }},
    {"PM60", "PM6", "6.0", "SOFTWARE\\Adobe\\PageMaker", "PM6", "PM6\\RSRC\\USENGLSH", "prxlng1.dll", "prxlng1.org",
     false, "prxlng1.org",
     [](const std::string& root) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker", "PM6.exe", 6, 0, root + "\\PM6", "RSRC\\USENGLSH");
     }},
    {"PM65", "PM65", "6.5", "SOFTWARE\\Adobe\\PageMaker65", "PM65", "PM65\\RSRC\\USENGLSH", "prxlng1.dll",
     "prxlng1.org", false, "prxlng1.org",
     [](const std::string& root) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker65", "PM65.exe", 6, 5, root + "\\PM65", "RSRC\\USENGLSH");
     }},
    {"PM70", "PM70", "7.0", "SOFTWARE\\Adobe\\PageMaker70", "PM70", "PM70\\RSRC\\USENGLSH", "prxlng1.dll",
     "prxlng1.org", false, "prxlng1.org",
     [](const std::string& root) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker70", "PM70.exe", 7, 0, root + "\\PM70", "RSRC\\USENGLSH");
     }},
};
const Member& kCorelDraw = kMembers[0];
const Member& kWordPro96 = kMembers[1];
const Member& kWordPro97 = kMembers[2];
const Member& kPageMaker65 = kMembers[5];
const Member& kPageMaker70 = kMembers[6];

const Values kSpellerOptions{{"Learning", "1"}, {"StrictYO", "1"},  {"Original LID", "1033"},
                             {"Action", "1"},   {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};

class SpellerReplacement : public HostFamilyTest {
 protected:
  void SetUp() override {
    HostFamilyTest::SetUp();
    WriteReplacementModules(startup_);
  }
  std::string Module(const Member& m) const { return folder().Join(m.moduleFolder) + "\\" + m.module; }
  std::string Saved(const Member& m) const { return folder().Join(m.moduleFolder) + "\\" + m.saved; }
  std::string Product(const Member& m) const { return ReadFileBytes(startup_ + "\\" + m.module); }
  std::string RecordOf(const Member& m, const char* tool) const {
    return Record(std::string(m.applicationKey) + "\\" + m.version, tool);
  }
  // The host's own keys and files, for round trips.
  std::pair<Values, Values> HostState(const Member& m) const {
    return {DescribeTree(HKEY_LOCAL_MACHINE, m.hostKey), FolderContents(folder().Join(m.hostFolder))};
  }
  std::string InfoList(const char* suffix) const {
    char buffer[64] = {};
    std::int32_t length = sizeof buffer;
    if (dll().Info(suffix, 0, 1049, buffer, &length) != 1) return "Info failed";
    return std::string(buffer, length);
  }
};

class TypicalRequest : public SpellerReplacement, public testing::WithParamInterface<Member> {};

TEST_P(TypicalRequest, TheHostsModuleIsReplacedKeptOnceAndPutBackByteForByte) {
  const Member& m = GetParam();
  m.install(folder().path());
  const auto before = HostState(m);
  const std::string hostModule = ReadFileBytes(Module(m));
  EXPECT_EQ(Call("Exist", m.suffix, 0), 1u);
  EXPECT_EQ(InfoList(m.suffix), std::string(m.applicationKey) + '\0' + m.version + '\0' + '\0');
  EXPECT_EQ(Call("Avail", m.suffix, 0), 1u);

  ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
  Values record = kSpellerOptions;
  record["Speller"] = "sz:" + (m.spellerNamesHostModule ? Module(m) : Saved(m));
  record["Engine"] = std::string("sz:") + m.spellerEngine;
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, RecordOf(m, "Spelling")), record);
  EXPECT_EQ(ReadFileBytes(Module(m)), Product(m));
  EXPECT_EQ(ReadFileBytes(Saved(m)), hostModule);
  // A second attach finds the product's module in place and keeps the first backup.
  ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
  EXPECT_EQ(ReadFileBytes(Saved(m)), hostModule);
  EXPECT_EQ(Call("Check", m.suffix, 0), 1u);

  EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, RecordOf(m, "Spelling"), "Attached"), 0u);
  EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
  EXPECT_EQ(HostState(m), before);
}

INSTANTIATE_TEST_SUITE_P(Members, TypicalRequest, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return std::string(member.param.suffix); });

// CorelDRAW and PageMaker load one module for both tools: it is kept once and
// goes back only with the second Detach.
TEST_F(SpellerReplacement, SpellerAndHyphenatorShareTheModule) {
  for (const Member* m : {&kCorelDraw, &kPageMaker65}) {
    SCOPED_TRACE(m->suffix);
    m->install(folder().path());
    const auto before = HostState(*m);
    const std::string hostModule = ReadFileBytes(Module(*m));
    ASSERT_EQ(Call("Attach", m->suffix, 0), 1u);
    ASSERT_EQ(Call("Attach", m->suffix, 3), 1u);
    EXPECT_EQ(ReadFileBytes(Saved(*m)), hostModule);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, RecordOf(*m, "Hyphenate")),
              (Values{{"Original LID", "1033"},
                      {"Action", "0"},
                      {"Quality", "1"},
                      {"Attached", "1"},
                      {"Hyphenator", "sz:" + (m->spellerNamesHostModule ? Module(*m) : Saved(*m))},
                      {"Engine", InStartup("INHY32RU.DLL")}}));

    EXPECT_EQ(Call("Detach", m->suffix, 0), 1u);
    EXPECT_EQ(ReadFileBytes(Module(*m)), Product(*m));
    EXPECT_EQ(Call("Check", m->suffix, 3), 1u);
    EXPECT_EQ(Call("Detach", m->suffix, 3), 1u);
    EXPECT_EQ(HostState(*m), before);
  }
}

TEST_F(SpellerReplacement, AttachFailsWithTheHostsOwnModuleIntact) {
  for (const Member* m : {&kCorelDraw, &kWordPro97, &kPageMaker70}) {
    SCOPED_TRACE(m->suffix);
    m->install(folder().path());
    const auto before = HostState(*m);
    {
      // The host is running: its module is open, shared for reading only.
      const UniqueFile inUse(
          CreateFileA(Module(*m).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
      ASSERT_TRUE(inUse);
      EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    }
    EXPECT_EQ(HostState(*m), before);

    const std::string product = startup_ + "\\" + m->module;
    ASSERT_TRUE(MoveFileA(product.c_str(), (product + ".away").c_str()));
    EXPECT_EQ(Call("Avail", m->suffix, 0), 0u);
    EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    EXPECT_EQ(HostState(*m), before);
    ASSERT_TRUE(MoveFileA((product + ".away").c_str(), product.c_str()));

    ASSERT_TRUE(DeleteFileA(Module(*m).c_str()));
    EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    EXPECT_FALSE(FileExists(Module(*m)));
    EXPECT_FALSE(FileExists(Saved(*m)));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, RecordOf(*m, "Spelling")));
  }
}

TEST_F(SpellerReplacement, KindsAMemberDoesNotTakeGetItsAnswerAndWriteNothing) {
  for (const Member& m : kMembers) m.install(folder().path());
  const KindAnswers cases[] = {
      {"CDRW60", 1, kNA, kNA, kNA, kNA, kNA},   {"CDRW60", 2, kNA, kNA, kNA, kNA, kNA},
      {"CDRW60", 4, 0, kNA, kNA, kNA, kNA},     {"CDRW60", -1, 0, kNA, kNA, kNA, kNA},
      {"WPRO96", 1, kNA, kNA, kNA, kNA, kNA},   {"WPRO97", 2, kNA, kNA, kNA, kNA, kNA},
      {"WPRO2000", 3, kNA, kNA, kNA, kNA, kNA}, {"WPRO96", 4, 0, kNA, kNA, kNA, kNA},
      {"PM60", 1, kNA, kNA, kNA, kNA, kNA},     {"PM65", 2, kNA, kNA, kNA, kNA, kNA},
      {"PM70", 4, kNA, kNA, kNA, kNA, kNA},     {"PM60", -1, kNA, kNA, kNA, kNA, kNA},
  };
  const auto machine = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const auto files = FolderContents(folder().path());
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machine);
  EXPECT_EQ(FolderContents(folder().path()), files);
}

// "ProgramsDir" is always taken relative to "ConfigDir": a leading "." climbs as
// ".." does, a leading "\" keeps the drive, and a drive path names no folder.
TEST_F(SpellerReplacement, CorelProgramsDirIsResolvedAgainstTheConfigurationFolder) {
  struct ProgramsDirCase {
    std::string programsDir;
    const char* programsFolder;  // below the case's folder
    bool found;
  };
  const std::string root = folder().Join("Case");
  const ProgramsDirCase cases[] = {
      {"..\\Programs", "Corel60\\Programs", true},
      {".\\Programs", "Corel60\\Programs", true},
      {".", "Corel60", true},
      {"..\\..\\Shared\\Programs\\", "Shared\\Programs", true},
      {"Programs", "Corel60\\Config\\Programs", true},
      {"", "Corel60\\Config", true},
      {"..Programs", "Corel60\\Config\\..Programs", true},
      {root.substr(2) + "7\\Corel60\\Programs", "Corel60\\Programs", true},
      {root + "8\\Corel60\\Programs", "Corel60\\Programs", false},
  };
  for (std::size_t index = 0; index < std::size(cases); ++index) {
    const ProgramsDirCase& c = cases[index];
    SCOPED_TRACE(c.programsDir);
    const std::string caseFolder = root + std::to_string(index);
    const std::string module = caseFolder + "\\" + c.programsFolder + "\\cdrtpr60.dll";
    InstallCorelDraw6(caseFolder + "\\Corel60\\Config", c.programsDir, caseFolder + "\\" + c.programsFolder);
    ASSERT_EQ(Call("Attach", "CDRW60", 0), c.found ? 1u : 0u);
    if (c.found) {
      EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("CORELDRW\\6.0", "Spelling"), "Speller"), module);
    } else {
      EXPECT_FALSE(FileExists(caseFolder + "\\" + c.programsFolder + "\\cdrtpr60.org"));
    }
  }
}

// Word Pro's setup doubles its separators and ends the folder with one.
TEST_F(SpellerReplacement, WordProDataPathIsTidiedBeforeUse) {
  kWordPro96.install(folder().path());
  const std::string spell = folder().Join("Lotus96\\Spell");
  auto everySeparator = [&](const std::string& with) {
    std::string text;
    for (char letter : spell) text += letter == '\\' ? with : std::string(1, letter);
    return text;
  };
  for (const std::string& dataPath : {spell, spell + "\\", everySeparator("\\\\") + "\\\\",
                                      everySeparator("\\\\\\") + "\\\\\\"}) {
    SCOPED_TRACE(dataPath);
    WriteText(HKEY_LOCAL_MACHINE, kWordPro96.hostKey, "Data Path", dataPath);
    ASSERT_EQ(Call("Attach", "WPRO96", 0), 1u);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("WORDPRO\\96.0", "Spelling"), "Speller"), spell + "\\ltspln03.org");
    ASSERT_EQ(Call("Detach", "WPRO96", 0), 1u);
  }
}

// The folder values count only as non-empty plain strings; PageMaker, whose
// version comes from its program there, is then not found at all.
TEST_F(SpellerReplacement, AnExpandableOrEmptyHostFolderIsNotFound) {
  struct FolderValue {
    const Member* member;
    const char* key;
    const char* name;
    HostResult exist;
  };
  const FolderValue values[] = {{&kCorelDraw, kCorelDraw6Key, "ConfigDir", 1},
                                {&kWordPro96, kWordPro96.hostKey, "Data Path", 1},
                                {&kPageMaker65, kPageMaker65.hostKey, "AdobeDirectory", kNA}};
  for (const FolderValue& v : values) {
    v.member->install(folder().path());
    const std::string text = *ReadText(HKEY_LOCAL_MACHINE, v.key, v.name);
    for (const DWORD type : {REG_EXPAND_SZ, REG_SZ}) {
      SCOPED_TRACE(testing::Message() << v.member->suffix << " type " << type);
      WriteText(HKEY_LOCAL_MACHINE, v.key, v.name, type == REG_SZ ? "" : text, type);
      EXPECT_EQ(Call("Exist", v.member->suffix, 0), v.exist);
      EXPECT_EQ(Call("Avail", v.member->suffix, 0), 0u);
      EXPECT_EQ(Call("Attach", v.member->suffix, 0), 0u);
      EXPECT_FALSE(FileExists(Saved(*v.member)));
    }
  }
}

TEST_F(SpellerReplacement, PageMakerNeverAnswersNo) {
  for (int kind = -1; kind <= 4; ++kind) EXPECT_EQ(Call("Exist", "PM65", kind), kNA) << kind;
  EXPECT_EQ(InfoList("PM65"), "Info failed");
  kPageMaker65.install(folder().path());
  ASSERT_TRUE(DeleteFileA(folder().Join("PM65\\PM65.exe").c_str()));
  EXPECT_EQ(Call("Exist", "PM65", 0), kNA);
  EXPECT_EQ(InfoList("PM65"), "Info failed");
}

// The module folder is the first one found depth first in listing order, and
// each subfolder is named by its short name where it has one.
TEST_F(SpellerReplacement, PageMakersModuleFolderIsTheFirstFoundDepthFirst) {
  kPageMaker65.install(folder().path());
  const std::string longNamed = folder().Join("PM65\\Language Modules");
  CreateFolder(longNamed + "\\RU\\Deep");
  WriteVersionedModule(longNamed + "\\RU\\Deep\\prxlng1.dll", HostModuleStamp("Adobe Systems Incorporated"));
  WIN32_FIND_DATAA entry;
  const UniqueFind found(FindFirstFileA(longNamed.c_str(), &entry));
  ASSERT_TRUE(found);
  ASSERT_NE(entry.cAlternateFileName[0], '\0');

  ASSERT_EQ(Call("Attach", "PM65", 0), 1u);
  const std::string moduleFolder = folder().Join("PM65\\") + entry.cAlternateFileName + "\\RU\\Deep";
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("PM65\\6.5", "Spelling"), "Speller"), moduleFolder + "\\prxlng1.org");
  EXPECT_EQ(ReadFileBytes(longNamed + "\\RU\\Deep\\prxlng1.dll"), Product(kPageMaker65));
  EXPECT_FALSE(FileExists(Saved(kPageMaker65)));
}

// A module that cannot be put back leaves the attachment recorded as it stands.
TEST_F(SpellerReplacement, DetachThatCannotRestoreMarksTheToolAttachedAgain) {
  kWordPro96.install(folder().path());
  const auto before = HostState(kWordPro96);
  ASSERT_EQ(Call("Attach", "WPRO96", 0), 1u);
  {
    const UniqueFile inUse(
        CreateFileA(Module(kWordPro96).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(inUse);
    EXPECT_EQ(Call("Detach", "WPRO96", 0), 0u);
  }
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, RecordOf(kWordPro96, "Spelling"), "Attached"), 1u);
  EXPECT_EQ(Call("Check", "WPRO96", 0), 1u);
  EXPECT_EQ(Call("Detach", "WPRO96", 0), 1u);
  EXPECT_EQ(HostState(kWordPro96), before);
}

// Check looks at the module itself: the product's own, by its maker, carrying "9".
TEST_F(SpellerReplacement, CheckAsksTheModuleWhoMadeIt) {
  kCorelDraw.install(folder().path());
  ASSERT_EQ(Call("Attach", "CDRW60", 0), 1u);
  const std::pair<VersionStamp, HostResult> cases[] = {
      {ReplacementModuleStamp(), 1},
      {VersionStamp{{8, 0, 0, 0}, {8, 0, 0, 0}, "Tervane", "8.0"}, 0},
      {VersionStamp{{9, 0, 0, 0}, {9, 0, 0, 0}, "Corel Corporation", "9.0"}, 0},
  };
  for (const auto& [stamp, answer] : cases) {
    WriteVersionedModule(Module(kCorelDraw), stamp);
    EXPECT_EQ(Call("Check", "CDRW60", 0), answer) << stamp.companyName << " " << stamp.productVersionText;
  }
}

// A folder whose module path would not fit is refused, not cut into the name of
// the file beside it.
TEST_F(SpellerReplacement, AnOverlongHostFolderIsRefused) {
  std::string spell = folder().path();
  while (spell.size() + 53 <= 247) spell.append("\\").append(50, 'x');
  spell += '\\';
  spell.append(247 - spell.size(), 'y');
  ASSERT_EQ(spell.size() + std::string("\\ltspln03.dll").size(), 260u);
  InstallWordProSpeller("3.0", "ltspln03.dl", spell, spell);
  const auto files = FolderContents(folder().path());
  EXPECT_EQ(Call("Avail", "WPRO96", 0), 0u);
  EXPECT_EQ(Call("Attach", "WPRO96", 0), 0u);
  EXPECT_EQ(FolderContents(folder().path()), files);
}

}  // namespace
}  // namespace kvil::test

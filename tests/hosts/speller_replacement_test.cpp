// CorelDRAW 6, Word Pro and PageMaker through the DLL's exports: the host's own
// speller module replaced by the product's, kept once, and put back.

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "non_office_host_test.h"
#include "replacement_fixture.h"

namespace kvil::test {
namespace {


// One member as the tests install it below the scratch folder.
struct Member {
  const char* suffix;
  const char* filedAs;
  const char* moduleFolder;  // below the scratch folder
  const char* module;        // without ".dll"; the host's own is kept as ".org"
  bool takesHyphenator;      // and then loads the one module for both tools
  bool toolNamesModule;      // "Speller" names the module itself, not the kept copy
  bool engineNamesKeptCopy;  // the speller's "Engine" names the kept copy's file, not the module's
  void (*install)(const std::string& root);
};

const Member kMembers[] = {
    {"CDRW60", "CORELDRW\\6.0", "Corel60\\Programs", "cdrtpr60", true, true, true,
     [](const std::string& r) {
       InstallCorelDraw6(r + "\\Corel60\\Config", "..\\Programs", r + "\\Corel60\\Programs");
     }},
    {"WPRO96", "WORDPRO\\96.0", "Lotus96\\Spell", "ltspln03", false, false, false,
     [](const std::string& r) {
       InstallWordProSpeller("3.0", "ltspln03.dll", r + "\\Lotus96\\Spell\\", r + "\\Lotus96\\Spell");
     }},
    {"WPRO97", "WORDPRO\\97.0", "Lotus97\\Spell", "ltspln04", false, false, false,
     [](const std::string& r) {
       InstallWordProSpeller("4.0", "ltspln04.dll", r + "\\Lotus97\\Spell\\", r + "\\Lotus97\\Spell");
     }},
    {"WPRO2000", "WORDPRO\\98.0", "Lotus2000\\Spell", "ltspln41", false, false, false,
     [](const std::string& r) {
       InstallWordProSpeller("4.1", "ltspln41.dll", r + "\\Lotus2000\\Spell\\", r + "\\Lotus2000\\Spell");
     }},
    {"PM60", "PM6\\6.0", "PM6\\RSRC\\USENGLSH", "prxlng1", true, false, true,
     [](const std::string& r) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker", "PM6.exe", 6, 0, r + "\\PM6", "RSRC\\USENGLSH");
     }},
    {"PM65", "PM65\\6.5", "PM65\\RSRC\\USENGLSH", "prxlng1", true, false, true,
     [](const std::string& r) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker65", "PM65.exe", 6, 5, r + "\\PM65", "RSRC\\USENGLSH");
     }},
    {"PM70", "PM70\\7.0", "PM70\\RSRC\\USENGLSH", "prxlng1", true, false, true,
     [](const std::string& r) {
       InstallPageMaker("SOFTWARE\\Adobe\\PageMaker70", "PM70.exe", 7, 0, r + "\\PM70", "RSRC\\USENGLSH");
     }},
};
const Member& kCorelDraw = kMembers[0];
const Member& kWordPro96 = kMembers[1];
const Member& kPageMaker65 = kMembers[5];

class SpellerReplacement : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    WriteReplacementModules(startup_);
  }
  std::string Module(const Member& m) const { return folder().Join(m.moduleFolder) + "\\" + m.module + ".dll"; }
  std::string Kept(const Member& m) const { return folder().Join(m.moduleFolder) + "\\" + m.module + ".org"; }
  std::string Product(const Member& m) const { return ReadFileBytes(startup_ + "\\" + m.module + ".dll"); }
};

class TypicalRequest : public SpellerReplacement, public testing::WithParamInterface<Member> {};

// Attached twice, the host's module is kept once; where the speller and the
// hyphenator share it, it goes back only with the second tool's detach.
TEST_P(TypicalRequest, TheHostsModuleIsReplacedKeptOnceAndPutBackByteForByte) {
  const Member& m = GetParam();
  m.install(folder().path());
  const Values before = HostsOwn();
  const std::string hostModule = ReadFileBytes(Module(m));
  EXPECT_EQ(InfoList(m.suffix), InfoListOf(m.filedAs));
  EXPECT_EQ(Call("Exist", m.suffix, 0), 1u);
  EXPECT_EQ(Call("Avail", m.suffix, 0), 1u);
  for (int time = 0; time < 2; ++time) ASSERT_EQ(Call("Attach", m.suffix, 0), 1u);
  const std::string named = "sz:" + (m.toolNamesModule ? Module(m) : Kept(m));
  const std::string engine = std::string("sz:") + m.module + (m.engineNamesKeptCopy ? ".org" : ".dll");
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Spelling")),
            With(kSpellerRecord, {{"Speller", named}, {"Engine", engine}}));
  EXPECT_EQ(ReadFileBytes(Module(m)), Product(m));
  EXPECT_EQ(ReadFileBytes(Kept(m)), hostModule);
  EXPECT_EQ(Call("Check", m.suffix, 0), 1u);
  if (m.takesHyphenator) {
    ASSERT_EQ(Call("Attach", m.suffix, 3), 1u);
    EXPECT_EQ(ReadFileBytes(Kept(m)), hostModule);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Hyphenate")),
              With(kHyphenatorRecord, {{"Hyphenator", named}, {"Engine", InStartup("INHY32RU.DLL")}}));
    EXPECT_EQ(Call("Detach", m.suffix, 3), 1u);
    EXPECT_EQ(ReadFileBytes(Module(m)), Product(m));
    EXPECT_EQ(Call("Check", m.suffix, 0), 1u);
  }
  EXPECT_EQ(Call("Detach", m.suffix, 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(m.filedAs, "Spelling"), "Attached"), 0u);
  EXPECT_EQ(Call("Check", m.suffix, 0), 0u);
  EXPECT_EQ(HostsOwn(), before);
}

INSTANTIATE_TEST_SUITE_P(Members, TypicalRequest, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return std::string(member.param.suffix); });

// A running host (its module open for reading only), a product module or a host
// module that is missing: the attach fails and the host keeps its own module.
TEST_F(SpellerReplacement, AttachFailsWithTheHostsOwnModuleIntact) {
  for (const Member* m : {&kMembers[0], &kMembers[2], &kMembers[6]}) {
    SCOPED_TRACE(m->suffix);
    m->install(folder().path());
    const Values before = HostsOwn();
    {
      const UniqueFile inUse = HoldOpen(Module(*m));
      ASSERT_TRUE(inUse);
      EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    }
    const std::string product = startup_ + "\\" + m->module + ".dll";
    ASSERT_TRUE(MoveFileA(product.c_str(), (product + ".away").c_str()));
    EXPECT_EQ(Call("Avail", m->suffix, 0), 0u);
    EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    ASSERT_TRUE(MoveFileA((product + ".away").c_str(), product.c_str()));
    EXPECT_EQ(HostsOwn(), before);

    ASSERT_TRUE(DeleteFileA(Module(*m).c_str()));
    EXPECT_EQ(Call("Attach", m->suffix, 0), 0u);
    EXPECT_FALSE(FileExists(Kept(*m)));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, Record(m->filedAs, "Spelling")));
  }
}

// A kind a member does not take gets its answer and writes nothing; PageMaker
// answers "not applicable" wherever another host would answer no, even when it
// is not installed or its program is gone.
TEST_F(SpellerReplacement, KindsAMemberDoesNotTakeGetItsAnswerAndWriteNothing) {
  for (int kind = -1; kind <= 4; ++kind) EXPECT_EQ(Call("Exist", "PM65", kind), kNA) << kind;
  EXPECT_EQ(InfoList("PM65"), "Info failed");
  for (const Member& m : kMembers) m.install(folder().path());
  const Values machine = Machine();
  for (const KindAnswers& answers : {
           KindAnswers{"CDRW60", 1, kNA, kNA, kNA, kNA, kNA}, {"CDRW60", 2, kNA, kNA, kNA, kNA, kNA},
           {"CDRW60", 4, 0, kNA, kNA, kNA, kNA},              {"CDRW60", -1, 0, kNA, kNA, kNA, kNA},
           {"WPRO96", 1, kNA, kNA, kNA, kNA, kNA},            {"WPRO97", 2, kNA, kNA, kNA, kNA, kNA},
           {"WPRO2000", 3, kNA, kNA, kNA, kNA, kNA},          {"WPRO96", 4, 0, kNA, kNA, kNA, kNA},
           {"PM60", 1, kNA, kNA, kNA, kNA, kNA},              {"PM65", 2, kNA, kNA, kNA, kNA, kNA},
           {"PM70", 4, kNA, kNA, kNA, kNA, kNA},              {"PM60", -1, kNA, kNA, kNA, kNA, kNA}}) {
    ExpectAnswers(answers);
  }
  EXPECT_EQ(Machine(), machine);
  ASSERT_TRUE(DeleteFileA(folder().Join("PM65\\PM65.exe").c_str()));
  EXPECT_EQ(Call("Exist", "PM65", 0), kNA);
  EXPECT_EQ(InfoList("PM65"), "Info failed");
}

// "ProgramsDir" is always taken relative to "ConfigDir" (the typical request's
// "..\Programs" climbs once): a leading "." climbs as ".." does, a leading "\"
// keeps the drive, and a drive path names no folder.
TEST_F(SpellerReplacement, CorelProgramsDirIsResolvedAgainstTheConfigurationFolder) {
  const std::string root = folder().Join("Case");
  const struct {
    std::string programsDir;
    const char* programsFolder;  // below the case's folder, "<root><index>"
    bool found;
  } cases[] = {
      {".\\Programs", "Corel60\\Programs", true},
      {".", "Corel60", true},
      {"..\\..\\Shared\\Programs\\", "Shared\\Programs", true},
      {"Programs", "Corel60\\Config\\Programs", true},
      {"", "Corel60\\Config", true},
      {"..Programs", "Corel60\\Config\\..Programs", true},
      {root.substr(2) + "6\\Corel60\\Programs", "Corel60\\Programs", true},  // its own folder, without the drive
      {root + "7\\Corel60\\Programs", "Corel60\\Programs", false},          // and with it
  };
  for (std::size_t index = 0; index < std::size(cases); ++index) {
    const auto& c = cases[index];
    SCOPED_TRACE(c.programsDir);
    const std::string programs = root + std::to_string(index) + "\\" + c.programsFolder;
    InstallCorelDraw6(root + std::to_string(index) + "\\Corel60\\Config", c.programsDir, programs);
    ASSERT_EQ(Call("Attach", "CDRW60", 0), c.found ? 1u : 0u);
    if (c.found) {
      EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("CORELDRW\\6.0", "Spelling"), "Speller"), programs + "\\cdrtpr60.dll");
    } else {
      EXPECT_FALSE(FileExists(programs + "\\cdrtpr60.org"));
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
  for (const std::string& dataPath :
       {spell, everySeparator("\\\\") + "\\\\", everySeparator("\\\\\\") + "\\\\\\"}) {
    SCOPED_TRACE(dataPath);
    WriteText(HKEY_LOCAL_MACHINE, WordProSpellKey("3.0"), "Data Path", dataPath);
    ASSERT_EQ(Call("Attach", "WPRO96", 0), 1u);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, Record("WORDPRO\\96.0", "Spelling"), "Speller"), spell + "\\ltspln03.org");
    ASSERT_EQ(Call("Detach", "WPRO96", 0), 1u);
  }
}

// The folder values count only as non-empty plain strings; PageMaker, whose
// version comes from its program there, is then not found at all. Nor is a
// folder whose module path would not fit: it is never cut into the name of the
// file beside it.
TEST_F(SpellerReplacement, UnusableHostFoldersAreNotFound) {
  const struct {
    const Member* member;
    std::string key;
    const char* name;
    KvilResult exist;
  } values[] = {{&kCorelDraw, kCorelDraw6Key, "ConfigDir", 1},
                {&kWordPro96, WordProSpellKey("3.0"), "Data Path", 1},
                {&kPageMaker65, "SOFTWARE\\Adobe\\PageMaker65", "AdobeDirectory", kNA}};
  for (const auto& v : values) {
    v.member->install(folder().path());
    const std::string text = *ReadText(HKEY_LOCAL_MACHINE, v.key, v.name);
    for (const DWORD type : {REG_EXPAND_SZ, REG_SZ}) {
      SCOPED_TRACE(testing::Message() << v.member->suffix << " type " << type);
      WriteText(HKEY_LOCAL_MACHINE, v.key, v.name, type == REG_SZ ? "" : text, type);
      EXPECT_EQ(Call("Exist", v.member->suffix, 0), v.exist);
      EXPECT_EQ(Call("Avail", v.member->suffix, 0), 0u);
      EXPECT_EQ(Call("Attach", v.member->suffix, 0), 0u);
      EXPECT_FALSE(FileExists(Kept(*v.member)));
    }
  }
  // A Data Path of separators alone tidies to nothing.
  WriteText(HKEY_LOCAL_MACHINE, WordProSpellKey("3.0"), "Data Path", "\\\\");
  EXPECT_EQ(Call("Avail", "WPRO96", 0), 0u);

  std::string spell = folder().path();
  while (spell.size() + 53 <= 247) spell.append("\\").append(50, 'x');
  spell += '\\';
  spell.append(247 - spell.size(), 'y');
  ASSERT_EQ(spell.size() + std::string("\\ltspln03.dll").size(), 260u);
  InstallWordProSpeller("3.0", "ltspln03.dl", spell, spell);
  const Values machine = Machine();
  EXPECT_EQ(Call("Avail", "WPRO96", 0), 0u);
  EXPECT_EQ(Call("Attach", "WPRO96", 0), 0u);
  EXPECT_EQ(Machine(), machine);
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
  EXPECT_FALSE(FileExists(Kept(kPageMaker65)));
}

// A module that cannot be put back leaves the attachment recorded as it stands;
// Check asks the module itself: the product's own, by its maker, carrying "9".
TEST_F(SpellerReplacement, DetachThatCannotRestoreMarksTheToolAttachedAgain) {
  kWordPro96.install(folder().path());
  const Values before = HostsOwn();
  ASSERT_EQ(Call("Attach", "WPRO96", 0), 1u);
  {
    const UniqueFile inUse = HoldOpen(Module(kWordPro96));
    ASSERT_TRUE(inUse);
    EXPECT_EQ(Call("Detach", "WPRO96", 0), 0u);
  }
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("WORDPRO\\96.0", "Spelling"), "Attached"), 1u);
  EXPECT_EQ(Call("Check", "WPRO96", 0), 1u);
  for (const VersionStamp& stamp : {VersionStamp{{8, 0, 0, 0}, {8, 0, 0, 0}, "Tervane", "8.0"},
                                    VersionStamp{{9, 0, 0, 0}, {9, 0, 0, 0}, "Lotus Development Corporation", "9.0"}}) {
    WriteVersionedModule(Module(kWordPro96), stamp);
    EXPECT_EQ(Call("Check", "WPRO96", 0), 0u) << stamp.companyName;
  }
  EXPECT_EQ(Call("Detach", "WPRO96", 0), 1u);
  EXPECT_EQ(HostsOwn(), before);
}

}  // namespace
}  // namespace kvil::test

// Works 4.0 and 4.5, Visual FoxPro 3.0, the Exchange 4.0 client and Internet
// Mail and News through the DLL's exports.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "office_family_test.h"

namespace kvil::test {
namespace {

using HostKeys = std::vector<std::pair<HKEY, std::string>>;

constexpr char kWorks[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
constexpr char kFoxPro[] = "Software\\Microsoft\\VisualFoxPro\\3.0";
constexpr char kExchange[] = "Software\\Microsoft\\Exchange\\Client\\Options";
constexpr char kMail[] = "Software\\Microsoft\\Internet Mail and News";

// Windows' full name of the Russian locale, as Wine's locale tables give it.
const std::string kRussianName = "Russian (Russia)";

// Works as its setup leaves it: British English listed and chosen for spelling
// and the thesaurus.
void InstallWorks() {
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict1", "English (United Kingdom):Spelling 2057,0");
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "ThesDict1", "English (United Kingdom):Thesaurus 2057,0");
  WriteText(HKEY_CURRENT_USER, kWorks, "SpellDefault", "Spelling 2057,0");
  WriteText(HKEY_CURRENT_USER, kWorks, "ThesDefault", "Thesaurus 2057,0");
}

// Every value of the host's keys, named "HKLM:<value>" or "HKCU:<value>".
Values HostValues(const HostKeys& keys) {
  Values values;
  for (const auto& [root, key] : keys) {
    for (const auto& [name, value] : DescribeValues(root, key)) {
      values[(root == HKEY_LOCAL_MACHINE ? "HKLM:" : "HKCU:") + name] = value;
    }
  }
  return values;
}

struct TypicalCase {
  const char* suffix;
  int kind;
  std::function<void()> install;
  const char* record;  // application key \ version \ tool
  Values attachedRecord;
  HostKeys hostKeys;
  Values installed;  // also what Detach leaves
  Values attached;
};

std::vector<TypicalCase> TypicalCases() {
  const HostKeys works{{HKEY_LOCAL_MACHINE, kWorks}, {HKEY_CURRENT_USER, kWorks}};
  const Values worksInstalled{{"HKLM:SpellDict1", "sz:English (United Kingdom):Spelling 2057,0"},
                              {"HKLM:ThesDict1", "sz:English (United Kingdom):Thesaurus 2057,0"},
                              {"HKCU:SpellDefault", "sz:Spelling 2057,0"},
                              {"HKCU:ThesDefault", "sz:Thesaurus 2057,0"}};
  Values speller = worksInstalled;
  speller["HKLM:SpellDict2"] = "sz:" + kRussianName + ":Spelling 1049,0";
  speller["HKCU:SpellDefault"] = "sz:Spelling 1049,0";
  Values thesaurus = worksInstalled;
  thesaurus["HKLM:ThesDict2"] = "sz:" + kRussianName + ":Thesaurus 1049,0";
  thesaurus["HKCU:ThesDefault"] = "sz:Thesaurus 1049,0";
  return {
      {"WK40", 0, InstallWorks, "MSWORKS\\4.0\\Spelling", SpellerRecord(2057), works, worksInstalled, speller},
      // Works 4.5 keeps its lists in Works 4.0's keys; only its record is its own.
      {"WK45", 2, InstallWorks, "MSWORKS\\4.5\\Thesaurus",
       {{"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "2057"}, {"Attached", "1"}}, works, worksInstalled,
       thesaurus},
      {"VFP30", 0, [] { CreateKey(HKEY_CURRENT_USER, kFoxPro); }, "VFP\\3.0\\Spelling", SpellerRecord(0),
       {{HKEY_CURRENT_USER, kFoxPro}}, {}, {}},
      {"EXCH40", 0, [] { WriteText(HKEY_CURRENT_USER, kExchange, "DictionaryLangId", "2057"); },
       "EXCHNG32\\4.0\\Spelling", SpellerRecord(2057), {{HKEY_CURRENT_USER, kExchange}},
       {{"HKCU:DictionaryLangId", "sz:2057"}}, {{"HKCU:DictionaryLangId", "sz:1049"}}},
      {"MAIL", 0, [] { WriteText(HKEY_CURRENT_USER, kMail, "SpellLangID", "2057"); }, "MAILNEWS\\2.0\\Spelling",
       SpellerRecord(2057), {{HKEY_CURRENT_USER, kMail}}, {{"HKCU:SpellLangID", "sz:2057"}},
       {{"HKCU:SpellLangID", "sz:1049"}}},
  };
}

using WorksMail = OfficeFamilyTest;

TEST_F(WorksMail, EveryMembersTypicalRequestRoundTripsItsLanguage) {
  const std::vector<TypicalCase> cases = TypicalCases();
  for (const TypicalCase& c : cases) {
    SCOPED_TRACE(c.suffix);
    const std::string record = std::string(kProductRecords) + "\\" + c.record + "\\1049";
    const std::string tool = std::string(c.record).substr(std::string(c.record).rfind('\\') + 1);
    c.install();
    EXPECT_EQ(Call("Exist", c.suffix, c.kind), 1u);
    EXPECT_EQ(InfoList(c.suffix), InfoListOf(std::string(c.record).substr(0, std::string(c.record).rfind('\\'))));
    ASSERT_EQ(HostValues(c.hostKeys), c.installed);

    ASSERT_EQ(Call("Attach", c.suffix, c.kind), 1u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, record), c.attachedRecord);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(tool)), ProductRegistration(c.kind));
    EXPECT_EQ(HostValues(c.hostKeys), c.attached);
    EXPECT_EQ(Call("Check", c.suffix, c.kind), 1u);

    EXPECT_EQ(Call("Detach", c.suffix, c.kind), 1u);
    EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, record, "Attached"), 0u);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration(tool)), ProductRegistration(c.kind));
    EXPECT_EQ(HostValues(c.hostKeys), c.installed);
    EXPECT_EQ(Call("Check", c.suffix, c.kind), 0u);
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Works\\4.5"));
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, "SOFTWARE\\Microsoft\\Works\\4.5"));
}

TEST_F(WorksMail, KindsAMemberDoesNotTakeAreRefusedAndChangeNothing) {
  for (const TypicalCase& c : TypicalCases()) c.install();
  const auto before = RegistrySnapshot();
  // Exist answers 0 for a kind outside 0..3, every other operation "not applicable".
  const KindAnswers cases[] = {
      {"VFP30", 2, kNA, kNA, kNA, kNA, kNA}, {"VFP30", 4, 0, kNA, kNA, kNA, kNA}, {"EXCH40", 3, kNA, kNA, kNA, kNA, kNA},
      {"EXCH40", -1, 0, kNA, kNA, kNA, kNA}, {"MAIL", 1, kNA, kNA, kNA, kNA, kNA}, {"WK40", 1, kNA, kNA, kNA, kNA, kNA},
      {"WK40", 3, kNA, kNA, kNA, kNA, kNA},  {"WK45", 4, 0, kNA, kNA, kNA, kNA},
  };
  for (const KindAnswers& c : cases) ExpectAnswers(c);
  EXPECT_EQ(RegistrySnapshot(), before);
}

// Works lists each language once per tool; Detach takes out every entry of the
// language under the tool's own prefix, and those only.
TEST_F(WorksMail, WorksListKeepsOneSlotPerLanguageAndDetachTakesOutEveryEntryOfIt) {
  InstallWorks();
  ASSERT_EQ(Call("Attach", "WK40", 0), 1u);
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict2", "Russian:Spelling 1049,0");
  ASSERT_EQ(Call("Attach", "WK40", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict2"), kRussianName + ":Spelling 1049,0");
  EXPECT_FALSE(ReadValue(HKEY_LOCAL_MACHINE, kWorks, "SpellDict3"));

  WriteText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict3", "Russian:Spelling 1049,0");
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "ThesDict2", "Russian:Thesaurus 1049,0");
  ASSERT_EQ(Call("Detach", "WK40", 0), 1u);
  EXPECT_EQ(HostValues({{HKEY_LOCAL_MACHINE, kWorks}}),
            (Values{{"HKLM:SpellDict1", "sz:English (United Kingdom):Spelling 2057,0"},
                    {"HKLM:ThesDict1", "sz:English (United Kingdom):Thesaurus 2057,0"},
                    {"HKLM:ThesDict2", "sz:Russian:Thesaurus 1049,0"}}));
  // The second Attach found Russian already the default and saved that.
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, kWorks, "SpellDefault"), "Spelling 1049,0");
}

}  // namespace
}  // namespace kvil::test

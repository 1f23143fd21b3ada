// Works 4.0 and 4.5, Visual FoxPro 3.0, the Exchange 4.0 client and Internet
// Mail and News through the DLL's exports.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host_family_test.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
using HostKeys = std::vector<std::pair<HKEY, std::string>>;

constexpr char kWorks[] = "SOFTWARE\\Microsoft\\Works\\4.0\\MS Proofing Tools";
constexpr char kFoxPro[] = "Software\\Microsoft\\VisualFoxPro\\3.0";
constexpr char kExchange[] = "Software\\Microsoft\\Exchange\\Client\\Options";
constexpr char kMail[] = "Software\\Microsoft\\Internet Mail and News";
constexpr HostResult kNA = kNotApplicable;

// Windows' full name of the Russian locale, as Wine's locale tables give it.
constexpr char kRussianName[] = "Russian (Russia)";

// Works as its setup leaves it: British English listed and chosen for spelling
// and the thesaurus.
void InstallWorks() {
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict1", "English (United Kingdom):Spelling 2057,0");
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "ThesDict1", "English (United Kingdom):Thesaurus 2057,0");
  WriteText(HKEY_CURRENT_USER, kWorks, "SpellDefault", "Spelling 2057,0");
  WriteText(HKEY_CURRENT_USER, kWorks, "ThesDefault", "Thesaurus 2057,0");
}

class WorksMail : public HostFamilyTest {
 protected:
  // Every value of the host's keys, named "HKLM:<value>" or "HKCU:<value>".
  static Values HostValues(const HostKeys& keys) {
    Values values;
    for (const auto& [root, key] : keys) {
      for (const auto& [name, value] : DescribeValues(root, key)) {
        values[(root == HKEY_LOCAL_MACHINE ? "HKLM:" : "HKCU:") + name] = value;
      }
    }
    return values;
  }
};

struct TypicalCase {
  const char* suffix;
  std::function<void()> install;
  const char* record;  // application key \ version
  DWORD savedLid;
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
  Values worksAttached = worksInstalled;
  worksAttached["HKLM:SpellDict2"] = std::string("sz:") + kRussianName + ":Spelling 1049,0";
  worksAttached["HKCU:SpellDefault"] = "sz:Spelling 1049,0";
  return {
      {"WK40", InstallWorks, "MSWORKS\\4.0", 2057, works, worksInstalled, worksAttached},
      // Works 4.5 keeps its list in Works 4.0's keys; only its record is its own.
      {"WK45", InstallWorks, "MSWORKS\\4.5", 2057, works, worksInstalled, worksAttached},
      {"VFP30", [] { CreateKey(HKEY_CURRENT_USER, kFoxPro); }, "VFP\\3.0", 0, {{HKEY_CURRENT_USER, kFoxPro}}, {}, {}},
      {"EXCH40", [] { WriteText(HKEY_CURRENT_USER, kExchange, "DictionaryLangId", "2057"); }, "EXCHNG32\\4.0", 2057,
       {{HKEY_CURRENT_USER, kExchange}}, {{"HKCU:DictionaryLangId", "sz:2057"}},
       {{"HKCU:DictionaryLangId", "sz:1049"}}},
      {"MAIL", [] { WriteText(HKEY_CURRENT_USER, kMail, "SpellLangID", "2057"); }, "MAILNEWS\\2.0", 2057,
       {{HKEY_CURRENT_USER, kMail}}, {{"HKCU:SpellLangID", "sz:2057"}}, {{"HKCU:SpellLangID", "sz:1049"}}},
  };
}

TEST_F(WorksMail, EachMemberAttachesAndDetachesTheRussianSpeller) {
  const std::vector<TypicalCase> cases = TypicalCases();
  for (const TypicalCase& c : cases) EXPECT_EQ(Call("Exist", c.suffix, 0), 0u) << c.suffix;
  for (const TypicalCase& c : cases) {
    SCOPED_TRACE(c.suffix);
    c.install();
    EXPECT_EQ(Call("Exist", c.suffix, 0), 1u);

    ASSERT_EQ(Call("Attach", c.suffix, 0), 1u);
    Values record{{"Learning", "1"},
                  {"StrictYO", "1"},
                  {"Original LID", "1033"},
                  {"Action", "1"},
                  {"Saved LID", std::to_string(c.savedLid)},
                  {"Attached", "1"},
                  {"Supplement dictionaries", "sz:Normal"}};
    const Values registration{{"Engine", InStartup("kvilsp3.dll")}, {"Dictionary", InStartup("SPRUNORM.LEX")}};
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(c.record, "Spelling")), record);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
    EXPECT_EQ(HostValues(c.hostKeys), c.attached);
    EXPECT_EQ(Call("Check", c.suffix, 0), 1u);

    EXPECT_EQ(Call("Detach", c.suffix, 0), 1u);
    record["Attached"] = "0";
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(c.record, "Spelling")), record);
    EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Spelling")), registration);
    EXPECT_EQ(HostValues(c.hostKeys), c.installed);
    EXPECT_EQ(Call("Check", c.suffix, 0), 0u);
  }
}

TEST_F(WorksMail, ExchangeWithoutALanguageGetsEnglishBack) {
  CreateKey(HKEY_CURRENT_USER, kExchange);
  ASSERT_EQ(Call("Attach", "EXCH40", 0), 1u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("EXCHNG32\\4.0", "Spelling"), "Saved LID"), 1033u);
  ASSERT_EQ(Call("Detach", "EXCH40", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, kExchange, "DictionaryLangId"), "1033");
}

TEST_F(WorksMail, WorksListKeepsOneSlotPerLanguageAndDetachTakesOutEveryEntryOfIt) {
  InstallWorks();
  const std::string russian = std::string(kRussianName) + ":Spelling 1049,0";
  ASSERT_EQ(Call("Attach", "WK40", 0), 1u);
  WriteText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict2", "Russian:Spelling 1049,0");
  ASSERT_EQ(Call("Attach", "WK40", 0), 1u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kWorks, "SpellDict2"), russian);
  EXPECT_FALSE(ReadValue(HKEY_LOCAL_MACHINE, kWorks, "SpellDict3"));

  // Entries of the language under another tool's prefix belong to that tool.
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

TEST_F(WorksMail, Works45ThesaurusGoesIntoTheThesaurusListOfWorks40) {
  InstallWorks();
  ASSERT_EQ(Call("Attach", "WK45", 2), 1u);
  EXPECT_EQ(HostValues({{HKEY_LOCAL_MACHINE, kWorks}, {HKEY_CURRENT_USER, kWorks}}),
            (Values{{"HKLM:SpellDict1", "sz:English (United Kingdom):Spelling 2057,0"},
                    {"HKLM:ThesDict1", "sz:English (United Kingdom):Thesaurus 2057,0"},
                    {"HKLM:ThesDict2", std::string("sz:") + kRussianName + ":Thesaurus 1049,0"},
                    {"HKCU:SpellDefault", "sz:Spelling 2057,0"},
                    {"HKCU:ThesDefault", "sz:Thesaurus 1049,0"}}));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Registration("Thesaurus")),
            (Values{{"Engine", InStartup("KVILTH32.DLL")}, {"Dictionary", InStartup("THRUNORM.LEX")}}));
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record("MSWORKS\\4.5", "Thesaurus")),
            (Values{{"Original LID", "1033"}, {"Action", "1"}, {"Saved LID", "2057"}, {"Attached", "1"}}));
  EXPECT_EQ(Call("Check", "WK45", 2), 1u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Works\\4.5"));
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, "SOFTWARE\\Microsoft\\Works\\4.5"));

  ASSERT_EQ(Call("Detach", "WK45", 2), 1u);
  EXPECT_FALSE(ReadValue(HKEY_LOCAL_MACHINE, kWorks, "ThesDict2"));
  EXPECT_EQ(ReadText(HKEY_CURRENT_USER, kWorks, "ThesDefault"), "Thesaurus 2057,0");
}

struct RefusalCase {
  const char* suffix;
  int kind;
  HostResult exist;  // every other operation answers "not applicable"
};

TEST_F(WorksMail, KindsAMemberDoesNotTakeAreRefusedAndChangeNothing) {
  for (const TypicalCase& c : TypicalCases()) c.install();
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  const RefusalCase cases[] = {{"VFP30", 2, kNA}, {"VFP30", 1, kNA}, {"VFP30", 4, 0}, {"EXCH40", 3, kNA},
                                {"EXCH40", -1, 0}, {"MAIL", 2, kNA},  {"MAIL", 4, 0},  {"WK40", 1, kNA},
                                {"WK40", 3, kNA},  {"WK40", 4, 0},    {"WK45", 3, kNA}, {"WK45", -1, 0}};
  for (const RefusalCase& c : cases) {
    SCOPED_TRACE(testing::Message() << c.suffix << " kind " << c.kind);
    EXPECT_EQ(Call("Exist", c.suffix, c.kind), c.exist);
    for (const char* operation : {"Avail", "Attach", "Detach", "Check"}) {
      EXPECT_EQ(Call(operation, c.suffix, c.kind), kNA) << operation;
    }
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
}

}  // namespace
}  // namespace kvil::test

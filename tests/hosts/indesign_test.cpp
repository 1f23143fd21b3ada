// InDesign and InCopy CS4 to CC 2014 through the DLL's exports.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "indesign_fixture.h"
#include "non_office_host_test.h"

namespace kvil::test {
namespace {

using Files = std::map<std::string, std::string>;
constexpr AdobeApplication kInDesign = AdobeApplication::kInDesign;
constexpr AdobeApplication kInCopy = AdobeApplication::kInCopy;

class Adobe : public NonOfficeHostTest {
 protected:
  void SetUp() override {
    NonOfficeHostTest::SetUp();
    WriteProductPlugins(product().options.productDir);
    inDesign_ = folder().Join("InDesign");
    inCopy_ = folder().Join("InCopy");
  }
  KvilResult Remove(const char* name) const { return dll().Export<KvilResult (*)()>(name)(); }
  // The product's files or folders (with all in them) as FolderContents shows them copied into under.
  // A null name stands for nothing.
  Files Copied(std::initializer_list<const char*> names, const std::string& under = "Tervane") const {
    Files found{{under, "<folder>"}};
    for (const auto& [path, description] : FolderContents(product().options.productDir)) {
      for (const char* name : names) {
        if (name != nullptr && (path == name || path.starts_with(std::string(name) + "\\"))) {
          found[under + "\\" + path] = description;
        }
      }
    }
    return found;
  }

  std::string inDesign_, inCopy_;
};

struct Member {
  const char* suffix;
  AdobeApplication application;
  WORD major, minor;    // the program's version
  const char* release;  // the suite record's version
  const char* suiteName;
  int kind, lcid;
  const char* plugin;
  const char* resources;  // null: none
};
const Member kMembers[] = {
    {"InDesign6", kInDesign, 6, 0, "6.0", "Adobe InDesign CS4", 0, 1049, "KVILSpeller.pln", nullptr},
    {"InDesign7", kInDesign, 7, 4, "7.0", "Adobe InDesign CS5", 0, 1049, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InDesign75", kInDesign, 7, 5, "7.5", "Adobe InDesign CS5.5", 3, 1049, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InDesign8", kInDesign, 8, 0, "8.0", "Adobe InDesign CS6", 0, 1058, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InDesign10", kInDesign, 10, 0, "10.0", "Adobe InDesign CC 2014", 0, 1049, "KVILCC.pln", "(KVILCC Resources)"},
    {"InCopy6", kInCopy, 6, 0, "6.0", "Adobe InCopy CS4", 3, 1049, "KVILSpeller.pln", nullptr},
    {"InCopy7", kInCopy, 7, 0, "7.0", "Adobe InCopy CS5", 0, 1058, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InCopy75", kInCopy, 7, 5, "7.5", "Adobe InCopy CS5.5", 0, 1049, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InCopy8", kInCopy, 8, 9, "8.0", "Adobe InCopy CS6", 3, 1058, "KVILSpeller.pln", "(KVILSpeller Resources)"},
    {"InCopy10", kInCopy, 10, 0, "10.0", "Adobe InCopy CC 2014", 3, 1049, "KVILCC.pln", "(KVILCC Resources)"},
};

class AdobeMember : public Adobe, public testing::WithParamInterface<Member> {};

// The suite is recorded under its release, the attachment under the program's
// own version. Attach answers 0 whenever it ran; Detach only clears the record,
// the files stay until the setup program removes them.
TEST_P(AdobeMember, AttachCopiesThePluginAndDetachClearsTheRecord) {
  const Member& m = GetParam();
  const std::string app = folder().Join("Adobe");
  InstallAdobeApplication(m.application, app, m.major, m.minor);
  const std::string key = m.application == kInDesign ? "INDESIGN" : "INCOPY";
  const std::string version = std::to_string(m.major) + "." + std::to_string(m.minor);
  for (int kind : {0, 3}) EXPECT_EQ(Call("Exist", m.suffix, kind, m.lcid), 1u);
  EXPECT_EQ(Call("Avail", m.suffix, m.kind, m.lcid), 1u);
  EXPECT_EQ(InfoList(m.suffix), key + '\0' + version + std::string(2, '\0'));

  ASSERT_EQ(Call("Attach", m.suffix, m.kind, m.lcid), 0u);
  const std::string tool = version + (m.kind == 0 ? "\\Spelling" : "\\Hyphenation");
  const std::string record = tool + "\\" + std::to_string(m.lcid);
  // In these applications the Russian speller does not insist on the letter yo.
  Values values = m.kind == 3 ? kHyphenatorRecord : With(kSpellerRecord, {{"StrictYO", "0"}});
  if (m.lcid != 1049) values.erase("StrictYO");
  Values products{{"", "key"},
                  {m.release, "key"},
                  {std::string(m.release) + ":Path", "sz:" + app + "\\" + AdobeProgramName(m.application)},
                  {std::string(m.release) + ":Name", std::string("sz:") + m.suiteName},
                  {version, "key"},
                  {tool, "key"},
                  {tool + ":Detachable", "1"},
                  {record, "key"}};
  for (const auto& [name, value] : values) products[record + ":" + name] = value;
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, kProductRecords + ("\\" + key)), products);
  const Files plugins = Copied({m.plugin, m.resources});
  EXPECT_EQ(FolderContents(app + "\\Plug-ins"), plugins);
  EXPECT_EQ(FolderContents(app + "\\Scripts"), Copied({"TervaneSpeller.jsx"}, "Startup scripts"));
  // Check looks for the CS plug-in, which CC 2014 does not get.
  EXPECT_EQ(Call("Check", m.suffix, m.kind, m.lcid), m.major == 10 ? 0u : 1u);

  EXPECT_EQ(Call("Detach", m.suffix, m.kind, m.lcid), 0u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, kProductRecords + ("\\" + key + "\\" + record), "Attached"), 0u);
  EXPECT_EQ(Call("Check", m.suffix, m.kind, m.lcid), 0u);
  EXPECT_EQ(FolderContents(app + "\\Plug-ins"), plugins);
}

INSTANTIATE_TEST_SUITE_P(Members, AdobeMember, testing::ValuesIn(kMembers),
                         [](const testing::TestParamInfo<Member>& member) { return member.param.suffix; });

// Each release answers for its own program versions, CC (9.x) for none.
TEST_F(Adobe, ProgramVersionsChooseTheRelease) {
  const std::tuple<WORD, WORD, std::string> cases[] = {{5, 9, ""},           {6, 0, "InDesign6"},   {7, 4, "InDesign7"},
                                                       {7, 5, "InDesign75"}, {8, 9, "InDesign8"},   {9, 0, ""},
                                                       {9, 9, ""},           {10, 0, "InDesign10"}, {11, 0, ""}};
  for (const auto& [major, minor, chosen] : cases) {
    InstallAdobeApplication(kInDesign, inDesign_, major, minor);
    for (const std::string member : {"InDesign6", "InDesign7", "InDesign75", "InDesign8", "InDesign10"}) {
      EXPECT_EQ(Call("Exist", member.c_str(), 0), member == chosen ? 1u : 0u) << member << " " << major << "." << minor;
    }
  }
}

// InDesign updated from CS6 to CC 2014 with the plug-in attached to both: only
// the plug-ins are listed for removal; RemoveInDesign takes the CS files and the
// script, and touches only its own application.
TEST_F(Adobe, OnlyThePluginIsListedAndRemovalTakesTheCsFilesOnly) {
  const Values bare = Machine();
  EXPECT_EQ(Remove("RemoveInDesign"), 1u);
  EXPECT_EQ(Remove("RemoveInCopyPln"), 1u);
  EXPECT_EQ(Machine(), bare);

  InstallAdobeApplication(kInDesign, inDesign_, 8, 0);
  InstallAdobeApplication(kInCopy, inCopy_, 6, 0);
  Files inCopyLeft = FolderContents(inCopy_);
  ASSERT_EQ(Call("Attach", "InDesign8", 0), 0u);
  InstallAdobeApplication(kInDesign, inDesign_, 10, 0);
  ASSERT_EQ(Call("Attach", "InDesign10", 0), 0u);
  ASSERT_EQ(Call("Attach", "InCopy6", 0), 0u);
  const Files inCopyAttached = FolderContents(inCopy_);
  const std::string list = SavedAddedFiles();
  for (const std::string& plugin :
       {inDesign_ + "\\Plug-ins\\Tervane\\KVILSpeller.pln", inDesign_ + "\\Plug-ins\\Tervane\\KVILCC.pln",
        inCopy_ + "\\Plug-ins\\Tervane\\KVILSpeller.pln"}) {
    EXPECT_NE(list.find("fullpath=\"" + plugin + "\""), std::string::npos) << plugin;
  }
  EXPECT_EQ(list.find(".jsx"), std::string::npos);
  EXPECT_EQ(list.find("Resources"), std::string::npos);

  EXPECT_EQ(Remove("RemoveInDesign"), 1u);
  EXPECT_EQ(FolderContents(inDesign_ + "\\Plug-ins"), Copied({"KVILCC.pln", "(KVILCC Resources)"}));
  EXPECT_EQ(FolderContents(inDesign_ + "\\Scripts"), (Files{{"Startup scripts", "<folder>"}}));
  EXPECT_EQ(FolderContents(inCopy_), inCopyAttached);
  EXPECT_EQ(Remove("RemoveInCopyPln"), 1u);
  inCopyLeft.merge(Files{{"Plug-ins\\Tervane", "<folder>"}, {"Scripts\\Startup scripts", "<folder>"}});
  EXPECT_EQ(FolderContents(inCopy_), inCopyLeft);
}

// A kind outside 0..3 writes nothing; the grammar checker and the thesaurus,
// which these applications do not take, still have the suite recorded. CS4 to
// CS6 want the CS plug-in in the start-up folder; CC 2014 takes Exist's answer.
TEST_F(Adobe, RefusedKindsWriteOnlyTheSuiteAndAvailOfCsReleasesNeedsTheCsPlugin) {
  InstallAdobeApplication(kInDesign, inDesign_, 8, 0);
  InstallAdobeApplication(kInCopy, inCopy_, 10, 0);
  const Values installed = Machine();
  for (const KindAnswers& answers : {KindAnswers{"InDesign8", 4, 0, kNA, kNA, kNA, kNA},
                                     {"InDesign6", -1, 0, kNA, kNA, kNA, kNA},
                                     {"InCopy10", 4, 0, 0, kNA, kNA, kNA}}) {
    ExpectAnswers(answers);
  }
  EXPECT_EQ(Machine(), installed);
  ExpectAnswers({"InDesign8", 1, kNA, kNA, kNA, kNA, kNA});
  ExpectAnswers({"InCopy10", 2, kNA, kNA, kNA, kNA, kNA});
  const std::string products = "SOFTWARE|Tervane\\Kvil\\8.0\\Products";
  EXPECT_EQ(Added(installed, Machine()),
            (Values{{products, "key"},
                    {products + "\\INDESIGN", "key"},
                    {products + "\\INDESIGN\\8.0", "key"},
                    {products + "\\INDESIGN\\8.0:Name", "sz:Adobe InDesign CS6"},
                    {products + "\\INDESIGN\\8.0:Path", "sz:" + inDesign_ + "\\INDESIGN.exe"},
                    {products + "\\INCOPY", "key"},
                    {products + "\\INCOPY\\10.0", "key"},
                    {products + "\\INCOPY\\10.0:Name", "sz:Adobe InCopy CC 2014"},
                    {products + "\\INCOPY\\10.0:Path", "sz:" + inCopy_ + "\\INCOPY.exe"}}));

  ASSERT_TRUE(DeleteFileA((startup_ + "\\KVILSpeller.pln").c_str()));
  EXPECT_EQ(Call("Avail", "InDesign8", 0), 0u);
  EXPECT_EQ(Call("Avail", "InCopy10", 3), 1u);
}

// A folder too long to name the program is refused whole: cut where a 260-byte
// buffer would cut it, it would still name the installed folder.
TEST_F(Adobe, AnOverLongApplicationFolderIsRefused) {
  InstallAdobeApplication(kInDesign, inDesign_, 8, 0);
  ASSERT_EQ(Call("Attach", "InDesign8", 0), 0u);
  for (std::size_t size : {250u, 300u}) {
    WriteText(HKEY_LOCAL_MACHINE, AdobeAppPathsKey(kInDesign), "Path",
              inDesign_ + std::string(size - inDesign_.size(), '\\'));
    const Values attached = Machine();
    EXPECT_EQ(InfoList("InDesign8"), "Info failed") << size;
    for (const char* operation : {"Exist", "Attach", "Detach", "Check"}) {
      EXPECT_EQ(Call(operation, "InDesign8", 0), 0u) << operation << size;
    }
    EXPECT_EQ(Remove("RemoveInDesign"), 1u);
    EXPECT_EQ(Machine(), attached);
  }
}

}  // namespace
}  // namespace kvil::test

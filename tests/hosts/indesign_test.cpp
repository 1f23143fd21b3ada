// InDesign and InCopy CS4 to CC 2014 through the DLL's exports.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "host_family_test.h"
#include "indesign_fixture.h"

namespace kvil::test {
namespace {

using Values = std::map<std::string, std::string>;
using Files = std::map<std::string, std::string>;

constexpr HostResult kNA = kNotApplicable;
constexpr AdobeApplication kInDesign = AdobeApplication::kInDesign;
constexpr AdobeApplication kInCopy = AdobeApplication::kInCopy;
constexpr char kFolder[] = "<folder>";

class Adobe : public HostFamilyTest {
 protected:
  void SetUp() override {
    HostFamilyTest::SetUp();
    WriteProductPlugins(product().options.productDir);
    inDesign_ = folder().Join("InDesign");
    inCopy_ = folder().Join("InCopy");
  }
  HostResult Remove(const char* name) const { return reinterpret_cast<HostResult (*)()>(dll().Find(name))(); }
  // The product's file or folder name (with all in it) as FolderContents shows it copied into under.
  Files Copy(const char* name, const std::string& under = "Tervane") const {
    Files found{{under, kFolder}};
    for (const auto& [path, description] : FolderContents(product().options.productDir)) {
      if (name != nullptr && (path == name || path.starts_with(std::string(name) + "\\"))) {
        found[under + "\\" + path] = description;
      }
    }
    return found;
  }
  std::pair<Values, Files> Machine() const {
    return {DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), FolderContents(folder().path())};
  }

  std::string inDesign_, inCopy_;
};

struct Copied {
  const char* plugin;
  const char* resources;
};
constexpr Copied kCs4{"KVILSpeller.pln", nullptr};
constexpr Copied kCs{"KVILSpeller.pln", "(KVILSpeller Resources)"};
constexpr Copied kCc{"KVILCC.pln", "(KVILCC Resources)"};

struct TypicalRequest {
  const char* suffix;
  AdobeApplication application;
  WORD major, minor;
  const char* suiteName;
  int kind, lcid;
  Copied copied;
};
const TypicalRequest kTypicalRequests[] = {
    {"InDesign6", kInDesign, 6, 0, "Adobe InDesign CS4", 0, 1049, kCs4},
    {"InDesign7", kInDesign, 7, 0, "Adobe InDesign CS5", 0, 1049, kCs},
    {"InDesign75", kInDesign, 7, 5, "Adobe InDesign CS5.5", 3, 1049, kCs},
    {"InDesign8", kInDesign, 8, 0, "Adobe InDesign CS6", 0, 1058, kCs},
    {"InDesign10", kInDesign, 10, 0, "Adobe InDesign CC 2014", 0, 1049, kCc},
    {"InCopy6", kInCopy, 6, 0, "Adobe InCopy CS4", 3, 1049, kCs4},
    {"InCopy7", kInCopy, 7, 0, "Adobe InCopy CS5", 0, 1058, kCs},
    {"InCopy75", kInCopy, 7, 5, "Adobe InCopy CS5.5", 0, 1049, kCs},
    {"InCopy8", kInCopy, 8, 0, "Adobe InCopy CS6", 3, 1058, kCs},
    {"InCopy10", kInCopy, 10, 0, "Adobe InCopy CC 2014", 3, 1049, kCc},
};

class AdobeTypicalRequest : public Adobe, public testing::WithParamInterface<TypicalRequest> {};

TEST_P(AdobeTypicalRequest, AttachCopiesThePluginAndDetachClearsTheRecord) {
  const auto& [suffix, application, major, minor, suiteName, kind, lcid, copied] = GetParam();
  const std::string app = folder().Join("Adobe");
  InstallAdobeApplication(application, app, major, minor);
  EXPECT_EQ(Call("Exist", suffix, 0, lcid), 1u);
  EXPECT_EQ(Call("Exist", suffix, 3, lcid), 1u);
  EXPECT_EQ(Call("Avail", suffix, kind, lcid), 1u);
  const std::string key = application == kInDesign ? "INDESIGN" : "INCOPY";
  const std::string version = std::to_string(major) + "." + std::to_string(minor);
  char buffer[64] = {};
  std::int32_t length = sizeof buffer;
  EXPECT_EQ(dll().Info(suffix, kind, lcid, buffer, &length), 1u);
  EXPECT_EQ(std::string(buffer, length), key + '\0' + version + std::string(2, '\0'));

  ASSERT_EQ(Call("Attach", suffix, kind, lcid), 0u);
  const std::string suite = std::string(kProductRecords) + "\\" + key + "\\" + version;
  EXPECT_EQ(
      DescribeValues(HKEY_LOCAL_MACHINE, suite),
      (Values{{"Path", "sz:" + app + "\\" + AdobeProgramName(application)}, {"Name", std::string("sz:") + suiteName}}));
  const std::string tool = kind == 0 ? "Spelling" : "Hyphenation";
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, suite + "\\" + tool), (Values{{"Detachable", "1"}}));
  Values record = kind == 0 ? Values{{"Learning", "1"}, {"Supplement dictionaries", "sz:Normal"}, {"Action", "1"}}
                            : Values{{"Quality", "1"}, {"Action", "0"}};
  record.merge(Values{{"Original LID", "1033"}, {"Attached", "1"}});
  if (kind == 0 && lcid == 1049) record["StrictYO"] = "0";
  EXPECT_EQ(DescribeValues(HKEY_LOCAL_MACHINE, Record(key + "\\" + version, tool, lcid)), record);
  Files plugins = Copy(copied.plugin);
  plugins.merge(Copy(copied.resources));
  EXPECT_EQ(FolderContents(app + "\\Plug-ins"), plugins);
  EXPECT_EQ(FolderContents(app + "\\Scripts"), Copy("TervaneSpeller.jsx", "Startup scripts"));
  // Check looks for the CS plug-in, which CC 2014 does not get.
  EXPECT_EQ(Call("Check", suffix, kind, lcid), std::string_view(copied.plugin) == kCc.plugin ? 0u : 1u);

  // The files stay until the setup program removes them.
  EXPECT_EQ(Call("Detach", suffix, kind, lcid), 0u);
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record(key + "\\" + version, tool, lcid), "Attached"), 0u);
  EXPECT_EQ(Call("Check", suffix, kind, lcid), 0u);
  EXPECT_EQ(FolderContents(app + "\\Plug-ins"), plugins);
}

INSTANTIATE_TEST_SUITE_P(Members, AdobeTypicalRequest, testing::ValuesIn(kTypicalRequests),
                         [](const testing::TestParamInfo<TypicalRequest>& member) { return member.param.suffix; });

// InDesign updated from CS6 to CC 2014 with the plug-in attached to both: only
// the plug-ins are listed for removal; RemoveInDesign takes the CS files and the
// script, and touches only its own application.
TEST_F(Adobe, OnlyThePluginIsListedAndRemovalTakesTheCsFilesOnly) {
  const auto bare = Machine();
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
  Files ccOnly = Copy("KVILCC.pln");
  ccOnly.merge(Copy("(KVILCC Resources)"));
  EXPECT_EQ(FolderContents(inDesign_ + "\\Plug-ins"), ccOnly);
  EXPECT_EQ(FolderContents(inDesign_ + "\\Scripts"), (Files{{"Startup scripts", kFolder}}));
  EXPECT_EQ(FolderContents(inCopy_), inCopyAttached);

  EXPECT_EQ(Remove("RemoveInCopyPln"), 1u);
  inCopyLeft.merge(Files{{"Plug-ins\\Tervane", kFolder}, {"Scripts\\Startup scripts", kFolder}});
  EXPECT_EQ(FolderContents(inCopy_), inCopyLeft);
}

// Each release answers for its own program versions, CC (9.x) for none. The
// records take the program's version, the suite record the release's.
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
  InstallAdobeApplication(kInDesign, inDesign_, 7, 4);
  ASSERT_EQ(Call("Attach", "InDesign7", 0), 0u);
  EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, std::string(kProductRecords) + "\\INDESIGN\\7.0", "Name"),
            "Adobe InDesign CS5");
  EXPECT_EQ(ReadDword(HKEY_LOCAL_MACHINE, Record("INDESIGN\\7.4", "Spelling"), "Attached"), 1u);
}

// A kind outside 0..3 writes nothing; the grammar checker and the thesaurus,
// which these applications do not take, still have the suite recorded.
TEST_F(Adobe, RefusedKindsWriteOnlyTheSuiteAndAvailOfCsReleasesNeedsTheCsPlugin) {
  InstallAdobeApplication(kInDesign, inDesign_, 8, 0);
  InstallAdobeApplication(kInCopy, inCopy_, 10, 0);
  const auto installed = Machine();
  for (const KindAnswers& answers : {KindAnswers{"InDesign8", 4, 0, kNA, kNA, kNA, kNA},
                                     {"InDesign6", -1, 0, kNA, kNA, kNA, kNA},
                                     {"InCopy10", 4, 0, 0, kNA, kNA, kNA},
                                     {"InCopy10", -1, 0, 0, kNA, kNA, kNA}}) {
    ExpectAnswers(answers);
  }
  EXPECT_EQ(Machine(), installed);
  for (const KindAnswers& answers : {KindAnswers{"InDesign8", 1, kNA, kNA, kNA, kNA, kNA},
                                     {"InCopy10", 2, kNA, kNA, kNA, kNA, kNA}}) {
    ExpectAnswers(answers);
  }
  const std::string products = "Tervane\\Kvil\\8.0\\Products";
  EXPECT_EQ(Added(installed.first, Machine().first),
            (Values{{products, "key"},
                    {products + "\\INDESIGN", "key"},
                    {products + "\\INDESIGN\\8.0", "key"},
                    {products + "\\INDESIGN\\8.0:Name", "sz:Adobe InDesign CS6"},
                    {products + "\\INDESIGN\\8.0:Path", "sz:" + inDesign_ + "\\INDESIGN.exe"},
                    {products + "\\INCOPY", "key"},
                    {products + "\\INCOPY\\10.0", "key"},
                    {products + "\\INCOPY\\10.0:Name", "sz:Adobe InCopy CC 2014"},
                    {products + "\\INCOPY\\10.0:Path", "sz:" + inCopy_ + "\\INCOPY.exe"}}));
  EXPECT_EQ(Machine().second, installed.second);

  // CS4 to CS6 want the CS plug-in in the language's start-up folder; CC 2014 takes Exist's answer.
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
    const auto attached = Machine();
    char buffer[64];
    std::int32_t length = sizeof buffer;
    EXPECT_EQ(dll().Info("InDesign8", 0, 1049, buffer, &length), 0u) << size;
    for (const char* operation : {"Exist", "Attach", "Detach", "Check"})
      EXPECT_EQ(Call(operation, "InDesign8", 0), 0u) << operation << size;
    EXPECT_EQ(Remove("RemoveInDesign"), 1u);
    EXPECT_EQ(Machine(), attached);
  }
}

}  // namespace
}  // namespace kvil::test

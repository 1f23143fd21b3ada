// Every host's tool kinds, the product's own hosts' Info and the version
// setter, as the setup tool calls them.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "machine_test.h"

namespace kvil::test {
namespace {

using Exports = LibraryTest;

// What each host answers Exist on a machine without it or the product, kind by
// kind: 0 for a tool it takes (its letter), "not applicable" for one it does not.
TEST_F(Exports, EveryHostAnswersForTheToolKindsItTakes) {
  const std::pair<const char*, std::vector<const char*>> hosts[] = {
      {"SGTH", {"WW70", "WW80", "WW90", "WW100", "WW11", "WW12", "WW14", "WW15", "WP70", "WP80", "WP90",
                "LibreOffice3", "LibreOffice4", "OpenOffice3", "OpenOffice4"}},
      // Outlook 2007 is found for the speller only, though it takes three tools.
      {"SGT-", {"OUTL14", "OUTL15"}},
      {"S-TH", {"MSPub11", "MSPub12", "MSPub14", "MSPub15"}},
      {"S-T-", {"EX12", "EX14", "EX15", "PP12", "PP14", "PP15", "FPAGE2000", "FPAGE2002", "FPAGE11", "FPAGE12",
                "FPAGE14", "FPAGE15", "OneNote14", "OneNote15", "WK40", "WK45"}},
      {"S--H", {"MSPub98", "MSPub90", "CDRW60", "QXS40", "InDesign6", "InDesign7", "InDesign75", "InDesign8",
                "InDesign10", "InCopy6", "InCopy7", "InCopy75", "InCopy8", "InCopy10"}},
      {"S---", {"EX70", "EX80", "EX90", "EX100", "EX11", "PP70", "PP80", "PP90", "PP100", "PP11", "ACC70", "ACC80",
                "ACC90", "ACC100", "ACC11", "ACC12", "ACC14", "ACC15", "OUTL97", "OUTL2000", "OUTL2002", "OUTL11",
                "OUTL12", "FPAGE97", "FPAGE98", "InfoPath11", "InfoPath12", "InfoPath14", "InfoPath15", "VFP30",
                "EXCH40", "MAIL", "OUTL_EXPR", "OUTL_EXPR5", "WinMail7", "WLMail8", "IE", "IE60", "IE70",
                "Opera90", "FireFox20", "TheBat50", "WPRO96", "WPRO97", "WPRO2000"}},
      // Publisher 2002 and PageMaker answer "not applicable" whatever they find.
      {"----", {"MSPub100", "PM60", "PM65", "PM70"}},
  };
  for (const auto& [kinds, suffixes] : hosts) {
    for (const char* suffix : suffixes) {
      for (int kind = 0; kind < 4; ++kind) {
        EXPECT_EQ(dll().Call("Exist", suffix, kind, 1049), kinds[kind] == '-' ? KVIL_NOT_APPLICABLE : 0u)
            << suffix << " kind " << kind;
      }
    }
  }
}

// The Editor reports "14.0" whatever the product's version.
TEST_F(Exports, InfoNamesTheUnknownHostAndTheEditor) {
  for (const auto& [suffix, list] : {std::pair{"Unknown", std::string("Unknown\0" "0.0\0\0", 13)},
                                     {"Editor", std::string("KVILEDITOR\0" "14.0\0\0", 17)}}) {
    char buffer[64];
    std::int32_t length = sizeof buffer;
    EXPECT_EQ(dll().Info(suffix, 0, 1049, buffer, &length), 1u) << suffix;
    EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(length)), list) << suffix;
  }
}

// The setter is kept for the setup tool, but the product's version comes from its installation.
TEST_F(Exports, SetKvilVersionDoesNotChangeTheProductVersionUsed) {
  InstallDefaultProduct();
  const auto setVersion = dll().Export<void (*)(std::int32_t)>("SetKvilVersion");
  setVersion(9);
  setVersion(0);
  EXPECT_EQ(dll().Call("Attach", "Unknown", 0, 1049), 1u);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\Kvil"), std::vector<std::string>{"8.0"});
}

}  // namespace
}  // namespace kvil::test

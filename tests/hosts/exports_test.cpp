// The product's own hosts' Info and the version setter, as the setup tool calls them.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "machine_test.h"

namespace kvil::test {
namespace {

using Exports = LibraryTest;

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
  auto setVersion = reinterpret_cast<void (*)(std::int32_t)>(dll().Find("SetKvilVersion"));
  ASSERT_NE(setVersion, nullptr);
  setVersion(9);
  setVersion(0);
  EXPECT_EQ(dll().Call("Attach", "Unknown", 0, 1049), 1u);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\Kvil"), std::vector<std::string>{"8.0"});
}

}  // namespace
}  // namespace kvil::test

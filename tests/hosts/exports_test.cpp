// The export table as the setup tool sees it.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "machine_test.h"

namespace kvil::test {
namespace {

using Exports = LibraryTest;

TEST_F(Exports, EveryHostOperationIsExportedByName) {
  for (const char* suffix : {"Unknown", "Editor"}) {
    for (const char* operation : kHostOperationNames) {
      EXPECT_NE(dll().Find(std::string(operation) + suffix), nullptr) << operation << suffix;
    }
  }
  EXPECT_NE(dll().Find("SetKvilVersion"), nullptr);
  EXPECT_EQ(dll().Find("ExistWW80x"), nullptr);
}

struct InfoCase {
  const char* suffix;
  std::string list;
};

TEST_F(Exports, InfoWritesTheApplicationKeyAndVersionList) {
  const InfoCase cases[] = {
      {"Unknown", std::string("Unknown\0" "0.0\0\0", 13)},
      {"Editor", std::string("KVILEDITOR\0" "14.0\0\0", 17)},
  };
  for (const InfoCase& c : cases) {
    SCOPED_TRACE(c.suffix);
    char buffer[64];
    std::memset(buffer, 'g', sizeof buffer);
    std::int32_t length = sizeof buffer;
    EXPECT_EQ(dll().Info(c.suffix, 0, 1049, buffer, &length), 1u);
    EXPECT_EQ(length, static_cast<std::int32_t>(c.list.size()));
    EXPECT_EQ(std::string(buffer, c.list.size() + 1), c.list + "g");

    // Exactly the list's size still holds all of it; a shorter buffer is cut.
    std::memset(buffer, 'g', sizeof buffer);
    length = static_cast<std::int32_t>(c.list.size());
    dll().Info(c.suffix, 0, 1049, buffer, &length);
    EXPECT_EQ(std::string(buffer, c.list.size() + 1), c.list + "g");
    std::memset(buffer, 'g', sizeof buffer);
    length = 4;
    EXPECT_EQ(dll().Info(c.suffix, 7, -1, buffer, &length), 1u);
    EXPECT_EQ(length, static_cast<std::int32_t>(c.list.size()));
    EXPECT_EQ(std::string(buffer, 5), c.list.substr(0, 3) + std::string("\0g", 2));

    EXPECT_EQ(dll().Info(c.suffix, 0, 1049, nullptr, &length), 1u);
    EXPECT_EQ(dll().Info(c.suffix, 0, 1049, buffer, nullptr), 1u);
  }
}

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

#include "contract.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kvil {
namespace {

TEST(LanguageCode, KnowsTheProductsLanguagesOnly) {
  const std::pair<int, const char*> cases[] = {
      {1049, "RU"}, {1058, "UR"}, {1033, "EN"}, {2057, "EN"}, {3081, "EN"}, {1031, "DE"}, {1034, "SP"},
      {1036, "FR"}, {1040, "IT"}, {1046, "BR"}, {2070, "PT"}, {1045, ""},   {0, ""},
  };
  for (const auto& [lcid, code] : cases) EXPECT_STREQ(LanguageCode(lcid), code) << lcid;
}

// The Info list "key\0version\0\0" in buffers of several capacities: what fits is
// written and terminated, and the full length is reported whatever the capacity.
TEST(InfoList, ShortBuffersAreCutAndTerminatedAndTheFullLengthReported) {
  const struct {
    std::int32_t capacity;
    std::string bytes;  // the buffer afterwards, one byte past what was written
  } cases[] = {
      {32, std::string("KVILEDITOR\0" "14.0\0\0x", 18)},
      {5, std::string("KVIL\0x", 6)},
      {0, "x"},
  };
  for (const auto& c : cases) {
    char buffer[32];
    std::memset(buffer, 'x', sizeof buffer);
    std::int32_t length = c.capacity;
    EXPECT_EQ(FormatInfoList("KVILEDITOR", "14.0", buffer, &length), 1u);
    EXPECT_EQ(length, 17) << c.capacity;
    EXPECT_EQ(std::string(buffer, c.bytes.size()), c.bytes) << c.capacity;
  }
  std::int32_t length = 40;
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", nullptr, &length), 1u);
  EXPECT_EQ(length, 40);
  char untouched[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", untouched, nullptr), 1u);
  EXPECT_EQ(std::string(untouched, 4), "xxxx");
}

}  // namespace
}  // namespace kvil

#include "contract.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kvil {
namespace {

struct ToolKeyCase {
  int kind;
  int generation;
  const char* expected;  // null: no key word
};

TEST(ToolKeyName, NamesEachToolAndTheSharedTreeHyphenator) {
  const ToolKeyCase cases[] = {
      {0, 1, "Spelling"},  {1, 1, "Grammar"},     {2, 1, "Thesaurus"}, {3, 0, "Hyphenate"},
      {3, 1, "Hyphenate"}, {3, 2, "Hyphenation"}, {0, 2, "Spelling"},  {4, 1, nullptr},
      {4, 2, nullptr},     {-1, 1, nullptr},      {1000, 2, nullptr},
  };
  for (const ToolKeyCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind << " generation " << c.generation);
    const char* word = ToolKeyName(c.kind, c.generation);
    if (c.expected == nullptr) {
      EXPECT_EQ(word, nullptr);
    } else {
      ASSERT_NE(word, nullptr);
      EXPECT_STREQ(word, c.expected);
    }
  }
}

TEST(LanguageCode, KnowsTheProductsLanguagesOnly) {
  const std::pair<int, const char*> cases[] = {
      {1049, "RU"}, {1058, "UR"}, {1033, "EN"}, {2057, "EN"}, {3081, "EN"}, {1031, "DE"}, {1034, "SP"},
      {1036, "FR"}, {1040, "IT"}, {1046, "BR"}, {2070, "PT"}, {1045, ""},   {0, ""},      {-1, ""},
  };
  for (const auto& [lcid, code] : cases) EXPECT_STREQ(LanguageCode(lcid), code) << lcid;
}

std::string Bytes(const char* data, std::size_t count) { return std::string(data, count); }

TEST(InfoList, WritesKeyVersionAndTerminatorsWithTheFullLength) {
  char buffer[32];
  std::memset(buffer, 'x', sizeof buffer);
  std::int32_t length = sizeof buffer;
  EXPECT_EQ(FormatInfoList("KVILEDITOR", "14.0", buffer, &length), 1u);
  EXPECT_EQ(length, 17);
  EXPECT_EQ(Bytes(buffer, 18), std::string("KVILEDITOR\0" "14.0\0\0x", 18));
}

TEST(InfoList, ShortBufferIsCutAndTerminatedButReportsTheFullLength) {
  char buffer[16];
  std::memset(buffer, 'x', sizeof buffer);
  std::int32_t length = 5;
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", buffer, &length), 1u);
  EXPECT_EQ(length, 13);
  EXPECT_EQ(Bytes(buffer, 6), std::string("Unkn\0x", 6));
}

TEST(InfoList, NullBufferOrLengthOrNoCapacityWritesNothing) {
  std::int32_t length = 40;
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", nullptr, &length), 1u);
  EXPECT_EQ(length, 40);
  char buffer[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", buffer, nullptr), 1u);
  EXPECT_EQ(Bytes(buffer, 4), "xxxx");
  length = 0;
  EXPECT_EQ(FormatInfoList("Unknown", "0.0", buffer, &length), 1u);
  EXPECT_EQ(Bytes(buffer, 4), "xxxx");
  EXPECT_EQ(length, 13);
}

}  // namespace
}  // namespace kvil

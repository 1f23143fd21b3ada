#include "bounded_text.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kvil {
namespace {

TEST(BoundedText, FormatCutsAtCapacityAndAlwaysTerminates) {
  char buffer[8];
  std::memset(buffer, 'x', sizeof buffer);
  EXPECT_FALSE(FormatBounded(buffer, 6, "%s\\%d", "Kvil", 1049));
  EXPECT_STREQ(buffer, "Kvil\\");
  EXPECT_EQ(buffer[6], 'x');  // nothing written past the given capacity
  EXPECT_TRUE(FormatBounded(buffer, sizeof buffer, "%d.0", 8));
  EXPECT_STREQ(buffer, "8.0");
}

TEST(BoundedText, AppendStopsAtCapacityAndRepairsAnUnterminatedBuffer) {
  char buffer[8] = "Normal";
  EXPECT_FALSE(AppendBounded(buffer, sizeof buffer, ",MED"));
  EXPECT_STREQ(buffer, "Normal,");
  char full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_FALSE(AppendBounded(full, sizeof full, "e"));
  EXPECT_EQ(full[3], '\0');
}

TEST(BoundedText, FixedTextReportsWhetherTheTextFitted) {
  FixedText<6> text;
  EXPECT_TRUE(text.Assign("Kvil"));
  EXPECT_FALSE(text.Append("\\8.0"));
  EXPECT_EQ(text.view(), "Kvil\\");
}

}  // namespace
}  // namespace kvil

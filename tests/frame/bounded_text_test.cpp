#include "bounded_text.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kvil {
namespace {

TEST(BoundedText, WritesStopAtCapacityAndAlwaysTerminate) {
  char buffer[8];
  std::memset(buffer, 'x', sizeof buffer);
  EXPECT_FALSE(FormatBounded(buffer, 6, "%s\\%d", "Kvil", 1049));
  EXPECT_EQ(std::string(buffer, 8), std::string("Kvil\\\0xx", 8));
  EXPECT_TRUE(FormatBounded(buffer, sizeof buffer, "%d.0", 8));
  EXPECT_STREQ(buffer, "8.0");

  char list[8] = "Normal";
  EXPECT_FALSE(AppendBounded(list, sizeof list, ",MED"));
  EXPECT_STREQ(list, "Normal,");
  char unterminated[4] = {'a', 'b', 'c', 'd'};
  EXPECT_FALSE(AppendBounded(unterminated, sizeof unterminated, "e"));
  EXPECT_EQ(std::string(unterminated, 4), std::string("abc\0", 4));
}

TEST(BoundedText, JoinPathSeparatesOnceAndRefusesWhatDoesNotFit) {
  FixedText<14> path;
  EXPECT_TRUE(JoinPath(path, "C:\\Kvil", "a.dll"));
  EXPECT_EQ(path.view(), "C:\\Kvil\\a.dll");
  EXPECT_TRUE(JoinPath(path, "C:\\Kvil\\", "a.dll"));
  EXPECT_EQ(path.view(), "C:\\Kvil\\a.dll");
  EXPECT_FALSE(JoinPath(path, "C:\\Kvil", "ab.dll"));
}

}  // namespace
}  // namespace kvil

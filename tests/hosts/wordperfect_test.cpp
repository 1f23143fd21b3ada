// WordPerfect 7, 8 and 9 through the DLL's exports: named, never found, never changed.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host_family_test.h"

namespace kvil::test {
namespace {

using WordPerfect = HostFamilyTest;

struct Member {
  const char* suffix;
  std::string list;
};

TEST_F(WordPerfect, MembersNameThemselvesAndAnswerWithoutTouchingTheMachine) {
  const Member members[] = {
      {"WP70", std::string("WPWIN7\0" "7.0\0\0", 12)},
      {"WP80", std::string("WPWIN8\0" "8.0\0\0", 12)},
      {"WP90", std::string("WPWIN9\0" "9.0\0\0", 12)},
  };
  const auto machineBefore = DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE");
  const auto userBefore = DescribeTree(HKEY_CURRENT_USER, "Software");
  for (const Member& m : members) {
    char buffer[32] = {};
    std::int32_t length = sizeof buffer;
    EXPECT_EQ(dll().Info(m.suffix, 0, 1049, buffer, &length), 1u) << m.suffix;
    EXPECT_EQ(std::string(buffer, length), m.list);
    for (int kind : {0, 1, 2, 3}) ExpectAnswers({m.suffix, kind, 0, 0, 0, 1, 0});
    for (int kind : {4, -1}) ExpectAnswers({m.suffix, kind, 0, 0, 0, 0, 0});
  }
  EXPECT_EQ(DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE"), machineBefore);
  EXPECT_EQ(DescribeTree(HKEY_CURRENT_USER, "Software"), userBefore);
}

}  // namespace
}  // namespace kvil::test

// WordPerfect 7, 8 and 9 through the DLL's exports: named, never found, never changed.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "non_office_host_test.h"

namespace kvil::test {
namespace {

using WordPerfect = NonOfficeHostTest;

TEST_F(WordPerfect, MembersNameThemselvesAndAnswerWithoutTouchingTheMachine) {
  const std::pair<const char*, std::string> members[] = {
      {"WP70", std::string("WPWIN7\0" "7.0\0\0", 12)},
      {"WP80", std::string("WPWIN8\0" "8.0\0\0", 12)},
      {"WP90", std::string("WPWIN9\0" "9.0\0\0", 12)},
  };
  const Values machine = Machine();
  for (const auto& [suffix, list] : members) {
    EXPECT_EQ(InfoList(suffix), list);
    for (int kind : {0, 1, 2, 3}) ExpectAnswers({suffix, kind, 0, 0, 0, 1, 0});
    for (int kind : {4, -1}) ExpectAnswers({suffix, kind, 0, 0, 0, 0, 0});
  }
  EXPECT_EQ(Machine(), machine);
}

}  // namespace
}  // namespace kvil::test

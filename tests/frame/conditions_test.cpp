#include "conditions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame_test.h"

// Answers for the library-function conditions, looked up in this test program.
extern "C" __declspec(dllexport) std::int32_t WINAPI KvilConditionTrue(std::intptr_t a, std::intptr_t b,
                                                                       std::intptr_t c) {
  return a == 0 && b == 0 && c == 0 ? 1 : 0;
}
extern "C" __declspec(dllexport) std::int32_t WINAPI KvilConditionFalse(std::intptr_t, std::intptr_t, std::intptr_t) {
  return 0;
}

namespace kvil::test {
namespace {

using InstallationConditions = FrameTest;

ConditionRecord Key(const char* path, const char* value = nullptr) {
  return {kRegistryCondition, HKEY_LOCAL_MACHINE, path, value, nullptr, nullptr};
}
ConditionRecord File(const std::string& path) {
  static std::vector<std::string> paths;  // keeps the texts alive for the records
  paths.push_back(path);
  return {kFileCondition, nullptr, paths.back().c_str(), nullptr, nullptr, nullptr};
}
ConditionRecord Function(const char* library, const char* name) {
  return {kLibraryFunctionCondition, nullptr, library, name, nullptr, nullptr};
}
const ConditionRecord kEnd{kEndOfConditions, nullptr, nullptr, nullptr, nullptr, nullptr};

struct ConditionCase {
  const char* what;
  std::vector<ConditionRecord> records;
  std::vector<std::uint32_t> operators;  // empty: no operator list
  int expected;
};

TEST_F(InstallationConditions, OperatorsJoinTheRecordTests) {
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Present");
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Present", "Value", "x");
  const std::string existing = folder().Join("host.exe");
  WriteFile(existing, "program");
  const ConditionRecord present = Key("SOFTWARE\\Present");
  const ConditionRecord absent = Key("SOFTWARE\\Absent");
  const ConditionRecord value = Key("SOFTWARE\\Present", "Value");
  const ConditionRecord missingValue = Key("SOFTWARE\\Present", "Other");
  const ConditionCase cases[] = {
      {"an empty list", {}, {}, 1},
      {"no operators: all must hold", {present, value, File(existing)}, {}, 1},
      {"no operators, one fails", {present, missingValue}, {}, 0},
      {"a missing file", {File(folder().Join("none.exe"))}, {}, 0},
      {"and, and not: A and not B", {present, absent}, {0, 2}, 1},
      {"and not of a present key", {present, present}, {0, 2}, 0},
      {"or after a true group: B is not needed", {present, absent}, {0, 1}, 1},
      {"or after a false group", {absent, present}, {0, 1}, 1},
      {"or of two false groups", {absent, absent}, {0, 1}, 0},
      {"or ends the walk: later records are not evaluated", {present, present, absent}, {0, 1, 0}, 1},
      {"operators 3 and 4 are and", {present, absent}, {3, 4}, 0},
      {"operator 7 leaves its record out", {present, absent}, {0, 7}, 1},
      {"an or as first operator stops at once", {absent}, {1}, 1},
  };
  for (const ConditionCase& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<ConditionRecord> records = c.records;
    records.push_back(kEnd);
    EXPECT_EQ(EvaluateConditions(records.data(), c.operators.empty() ? nullptr : c.operators.data()), c.expected);
  }
}

TEST_F(InstallationConditions, LibraryFunctionsAnswerAndAbsentOnesAreFalseEvenInverted) {
  const ConditionCase cases[] = {
      {"this program's true function", {Function(nullptr, "KvilConditionTrue")}, {}, 1},
      {"this program's false function", {Function(nullptr, "KvilConditionFalse")}, {}, 0},
      {"inverted false", {Function(nullptr, "KvilConditionFalse")}, {2}, 1},
      {"a system library's function", {Function("kernel32.dll", "GetCurrentProcessId")}, {}, 1},
      {"a library that does not load", {Function("no_such_library.dll", "Anything")}, {}, 0},
      {"inverted, still false", {Function("no_such_library.dll", "Anything")}, {2}, 0},
      {"no function name, inverted", {Function("kernel32.dll", nullptr)}, {2}, 0},
      {"a missing function, inverted", {Function("kernel32.dll", "NoSuchFunction")}, {2}, 0},
  };
  for (const ConditionCase& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<ConditionRecord> records = c.records;
    records.push_back(kEnd);
    EXPECT_EQ(EvaluateConditions(records.data(), c.operators.empty() ? nullptr : c.operators.data()), c.expected);
  }
  EXPECT_EQ(GetModuleHandleA("no_such_library.dll"), nullptr);
}

}  // namespace
}  // namespace kvil::test

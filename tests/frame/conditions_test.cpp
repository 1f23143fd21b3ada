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
ConditionRecord Function(const char* library, const char* name) {
  return {kLibraryFunctionCondition, nullptr, library, name, nullptr, nullptr};
}

TEST_F(InstallationConditions, OperatorsJoinTheRecordTests) {
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Present", "Value", "x");
  const std::string existing = folder().Join("host.exe");
  const std::string missing = folder().Join("none.exe");
  WriteFile(existing, "program");
  const ConditionRecord present = Key("SOFTWARE\\Present");
  const ConditionRecord absent = Key("SOFTWARE\\Absent");
  const ConditionRecord file{kFileCondition, nullptr, existing.c_str(), nullptr, nullptr, nullptr};
  const ConditionRecord noFile{kFileCondition, nullptr, missing.c_str(), nullptr, nullptr, nullptr};
  const ConditionRecord yes = Function(nullptr, "KvilConditionTrue");
  const ConditionRecord no = Function(nullptr, "KvilConditionFalse");
  const ConditionRecord unloadable = Function("no_such_library.dll", "Anything");
  const struct {
    const char* what;
    std::vector<ConditionRecord> records;
    std::vector<std::uint32_t> operators;  // empty: no operator list
    int expected;
  } cases[] = {
      {"an empty list", {}, {}, 1},
      {"no operators: all must hold", {present, Key("SOFTWARE\\Present", "Value"), file}, {}, 1},
      {"no operators, a missing value", {present, Key("SOFTWARE\\Present", "Other")}, {}, 0},
      {"a missing file", {noFile}, {}, 0},
      {"A and not B", {present, absent}, {0, 2}, 1},
      {"and not of a present key", {present, present}, {0, 2}, 0},
      {"or after a true group", {present, absent}, {0, 1}, 1},
      {"or after a false group", {absent, present}, {0, 1}, 1},
      {"or ends the walk: later records are not evaluated", {present, present, absent}, {0, 1, 0}, 1},
      {"operators 3 and 4 are and", {present, absent}, {3, 4}, 0},
      {"operator 7 leaves its record out", {present, absent}, {0, 7}, 1},
      {"this program's functions", {yes, no}, {}, 0},
      {"inverted false", {yes, no}, {0, 2}, 1},
      {"a system library's function", {Function("kernel32.dll", "GetCurrentProcessId")}, {}, 1},
      {"a library that does not load", {unloadable}, {}, 0},
      {"inverted, still false", {unloadable}, {2}, 0},
      {"no function name, inverted", {Function("kernel32.dll", nullptr)}, {2}, 0},
      {"a missing function, inverted", {Function("kernel32.dll", "NoSuchFunction")}, {2}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<ConditionRecord> records = c.records;
    records.push_back({kEndOfConditions, nullptr, nullptr, nullptr, nullptr, nullptr});
    EXPECT_EQ(EvaluateConditions(records.data(), c.operators.empty() ? nullptr : c.operators.data()), c.expected);
  }
}

}  // namespace
}  // namespace kvil::test

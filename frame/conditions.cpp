#include "conditions.h"

#include "bounded_text.h"
#include "files.h"
#include "handles.h"
#include "registry.h"

namespace kvil {

namespace {

constexpr DWORD kConditionValueCapacity = 260;

bool RegistryTest(const ConditionRecord& record) {
  if (record.first == nullptr) return false;
  if (record.second == nullptr) return RegKeyExists(record.root, record.first) != 0;
  char value[kConditionValueCapacity];
  DWORD length = sizeof value;
  DWORD type = REG_NONE;
  return RegGetValueExpandPlain(record.root, record.first, record.second, value, &length, &type) == ERROR_SUCCESS;
}

enum class LibraryAnswer { kTrue, kFalse, kUnavailable };

// Calls the named function with three zero arguments; a library that was loaded
// for the test is released again.
LibraryAnswer LibraryFunctionTest(const ConditionRecord& record) {
  if (record.second == nullptr) return LibraryAnswer::kUnavailable;
  UniqueModule loaded;
  HMODULE module = nullptr;
  if (record.first == nullptr) {
    module = GetModuleHandleA(nullptr);
  } else {
    loaded.reset(LoadLibraryA(record.first));
    module = loaded.get();
  }
  if (module == nullptr) return LibraryAnswer::kUnavailable;
  using ConditionFunction = std::int32_t(WINAPI*)(std::intptr_t, std::intptr_t, std::intptr_t);
  auto function = reinterpret_cast<ConditionFunction>(GetProcAddress(module, record.second));
  if (function == nullptr) return LibraryAnswer::kUnavailable;
  return function(0, 0, 0) != 0 ? LibraryAnswer::kTrue : LibraryAnswer::kFalse;
}

bool RecordHolds(const ConditionRecord& record, bool inverted) {
  switch (record.type) {
    case kRegistryCondition:
      return RegistryTest(record) != inverted;
    case kFileCondition:
      return FileExists(record.first) != inverted;
    case kLibraryFunctionCondition: {
      // A library or function that is not there is false, inverted or not.
      LibraryAnswer answer = LibraryFunctionTest(record);
      if (answer == LibraryAnswer::kUnavailable) return false;
      return (answer == LibraryAnswer::kTrue) != inverted;
    }
    default:
      return false;
  }
}

}  // namespace

int EvaluateConditions(const ConditionRecord* records, const std::uint32_t* operators) {
  if (records == nullptr) return 1;
  int result = 1;
  for (std::size_t index = 0; records[index].type != kEndOfConditions; ++index) {
    const ConditionRecord& record = records[index];
    const std::uint32_t op = operators != nullptr ? operators[index] : kAndDefault;
    if (op == kOr) {
      if (result == 1) return result;  // the group before already holds
      result = RecordHolds(record, false) ? 1 : 0;
    } else if (op < kSkip) {
      if (result == 1) result = RecordHolds(record, op == kAndNot) ? 1 : 0;
    }
  }
  return result;
}

}  // namespace kvil

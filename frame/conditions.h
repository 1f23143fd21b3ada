// Installation conditions: the static tests a host's Exist runs to decide whether
// the host is on the machine (a key or value, a file, a library function's answer).
#pragma once

#include <windows.h>

#include <cstdint>

namespace kvil {

enum ConditionType : std::uint32_t {
  kRegistryCondition = 0,         // first: key path; second: value name, or null for the key alone
  kFileCondition = 1,             // first: file path
  kLibraryFunctionCondition = 2,  // first: library file, or null for the calling program; second: function
  kEndOfConditions = 3,
};

struct ConditionRecord {
  std::uint32_t type;
  HKEY root;  // registry tests only
  const char* first;
  const char* second;
  const void* unused1;
  const void* unused2;
};

// One operator per record. "Or" closes the group before it; operators of 5 and
// above leave their record out.
enum ConditionOperator : std::uint32_t {
  kAnd = 0,
  kOr = 1,
  kAndNot = 2,
  kAndAlso = 3,
  kAndDefault = 4,
  kSkip = 5,
};

// Walks records until the end record. Without an operator list every record is
// joined with "and". Returns 1 or 0.
int EvaluateConditions(const ConditionRecord* records, const std::uint32_t* operators);

}  // namespace kvil

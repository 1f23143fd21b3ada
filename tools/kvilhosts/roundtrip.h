// The round trip: attach, detach, and every registry value, file and INI entry
// the library changed that is not back to what it was. Some hosts keep changes
// after detach by design; those are named here with the reason, so that the
// report tells a documented leftover from a detach that failed to undo its attach.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "machine_state.h"

namespace kvilhosts {

// A change a host keeps after detach. Patterns match without regard to case;
// "*" stands for any run of characters within one key or path component, "**"
// for any run at all.
struct Leftover {
  Difference::Subject subject;
  std::string_view where;  // the key, the file, or the INI file
  std::string_view name;   // the value name or "[section] entry"; "*" for any
  // What the item must hold after detach, as the report describes it
  // ("REG_DWORD 0"); empty when anything may remain.
  std::string_view after;
  std::string_view reason;
};

// The documented leftovers that apply to one host suffix, most specific first;
// every host keeps its attachment records.
std::vector<const Leftover*> LeftoversOf(std::string_view suffix);

bool MatchesPattern(std::string_view pattern, std::string_view text);

struct ClassifiedDifference {
  Difference difference;
  const Leftover* leftover = nullptr;  // null: not documented, so detach failed to undo it
};
std::vector<ClassifiedDifference> Classify(std::vector<Difference> differences,
                                           std::span<const Leftover* const> leftovers);

// One line per difference, "expected: <item>: <before> -> <after> (<reason>)"
// or "unexpected: ...", then a count of both.
std::string FormatRoundtripReport(std::span<const ClassifiedDifference> differences);

}  // namespace kvilhosts

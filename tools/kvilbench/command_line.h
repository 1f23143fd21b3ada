// The benchmark's command line, checked completely before anything is seeded or
// loaded, so a mistyped argument never reaches an export.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host_arguments.h"

namespace kvilbench {

inline constexpr int kDefaultRounds = 5;
inline constexpr int kMaxRounds = 99;

struct BenchOptions {
  std::optional<std::string> libraryPath;  // --dll; the default library otherwise
  // --suffix, as the table spells them; every suffix of the table when empty.
  std::vector<std::string_view> suffixes;
  // --tool; kinds 0 to 3 when not given.
  std::optional<std::int32_t> kind;
  std::int32_t lcid = kvilhosts::kRussian;
  int rounds = kDefaultRounds;
};

struct ParsedCommandLine {
  BenchOptions options;
  // Set when the benchmark is to stop at once: after the help or the version
  // (0), or after a usage error, reported on standard error (2).
  std::optional<int> exitStatus;
};

ParsedCommandLine ParseCommandLine(int argc, char** argv);

}  // namespace kvilbench

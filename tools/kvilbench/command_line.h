// The benchmark's command line, checked completely before anything is seeded or
// loaded, so a mistyped argument never reaches an export.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host_arguments.h"

namespace kvilbench {

inline constexpr int kDefaultRounds = 5;
inline constexpr int kMaxRounds = 99;

struct BenchOptions {
  bool help = false;
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
  std::string usageError;  // one line, without the program name; empty when valid
};

// args excludes the program name.
ParsedCommandLine ParseCommandLine(std::span<const std::string_view> args);

extern const char kUsage[];

}  // namespace kvilbench

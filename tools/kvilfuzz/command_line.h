// The fuzzer's command line: the public options, and the internal one by which
// the supervising process hands a batch of runs to a child process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvilfuzz {

inline constexpr int kDefaultRuns = 200;
inline constexpr std::uint64_t kDefaultSeed = 1;
// Far above a whole run of every host on a loaded machine; a run that takes
// longer is taken for a hang.
inline constexpr int kDefaultTimeLimitSeconds = 120;

// What the parent was asked for: either `runs` runs derived from `seed`, or the
// single run `replaySeed` again.
struct FuzzOptions {
  int runs = kDefaultRuns;
  std::uint64_t seed = kDefaultSeed;
  bool replay = false;
  std::uint64_t replaySeed = 0;
  int timeLimitSeconds = kDefaultTimeLimitSeconds;
  std::string libraryPath;  // --dll; empty: kvilintg.dll beside the fuzzer
};

// A child's batch: where the seeded machine's image is, the library to drive,
// and the runs' seeds.
struct ChildOptions {
  std::string imageRegistryPath;
  std::string imageFolder;
  std::string libraryPath;
  std::vector<std::uint64_t> seeds;
};

struct ParsedCommandLine {
  bool child = false;
  FuzzOptions fuzz;
  ChildOptions batch;
  // Set when the fuzzer is to stop at once: after the help or the version (0),
  // or after a usage error, reported on standard error (2).
  std::optional<int> exitStatus;
};

ParsedCommandLine ParseCommandLine(int argc, char** argv);

// The option that starts the internal child command line.
inline constexpr std::string_view kChildFlag = "--child";

}  // namespace kvilfuzz

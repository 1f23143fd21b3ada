// The supervising process: hands the runs to child processes in batches, reads
// their events, ends a child whose run outlives the time limit, and goes on
// with the next seeds in a fresh child after a crash or a hang.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "machine_image.h"
#include "protocol.h"

namespace kvilfuzz {

// The run'th seed of a fuzzing session started from seed: well mixed, so that
// neighbouring runs damage unrelated things.
std::uint64_t RunSeed(std::uint64_t seed, int run);

struct FuzzTotals {
  int runs = 0;
  int failedRuns = 0;
  // Failures reported, by kind (a run may report several).
  std::array<int, std::size(kFailureKinds)> failures{};
  std::vector<std::uint64_t> failedSeeds;
};

struct SupervisorOptions {
  std::string libraryPath;
  int timeLimitSeconds = 0;
  // Prints the damage of every run, not only of the failed ones.
  bool showEveryDamage = false;
};

// Makes one run per seed, in order, printing each failed run with its seed, its
// damage and its failures as it ends. Throws when a child cannot be started or
// ends without making its runs (its own message is on the standard error).
FuzzTotals Supervise(const std::vector<std::uint64_t>& seeds, const ImageLocation& image,
                     const SupervisorOptions& options);

}  // namespace kvilfuzz

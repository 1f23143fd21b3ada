// kvilfuzz: the hostile-machine fuzzer. Seeds a machine with the product and
// every host the library knows, then makes runs on damaged copies of it in child
// processes and reports every run that crashed, hung, let an exception out of an
// export, lost a host's module or wrote outside a caller's buffer, with the seed
// that makes the same run again.

#include <windows.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "child_run.h"
#include "command_line.h"
#include "machine_image.h"
#include "supervisor.h"
#include "version_fixture.h"
#include "win32_support.h"

namespace kvilfuzz {
namespace {

constexpr int kExitPassed = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

void PrintTotals(const FuzzOptions& options, const FuzzTotals& totals, double seconds) {
  if (options.replay) {
    std::printf("kvilfuzz: replay of seed %s ", SeedText(options.replaySeed).c_str());
  } else {
    std::printf("kvilfuzz: %d run%s from seed %s ", totals.runs, totals.runs == 1 ? "" : "s",
                SeedText(options.seed).c_str());
  }
  std::printf("in %.1f s: %d passed, %d failed\n", seconds, totals.runs - totals.failedRuns, totals.failedRuns);
  std::printf("  failures:");
  for (const FailureKind kind : kFailureKinds) {
    std::printf(" %s %d", FailureKindWord(kind), totals.failures[static_cast<std::size_t>(kind)]);
  }
  std::printf("\n");
  if (!totals.failedSeeds.empty()) {
    std::printf("  failed seeds:");
    for (const std::uint64_t seed : totals.failedSeeds) std::printf(" %s", SeedText(seed).c_str());
    std::printf("\n");
  }
}

int Fuzz(const FuzzOptions& options, const std::string& library) {
  const ULONGLONG startedAt = GetTickCount64();
  std::vector<std::uint64_t> seeds;
  if (options.replay) {
    seeds.push_back(options.replaySeed);
  } else {
    for (int run = 0; run < options.runs; ++run) seeds.push_back(RunSeed(options.seed, run));
  }
  const SeededImage image;
  std::printf("kvilfuzz: machine seeded in %.1f s\n", static_cast<double>(GetTickCount64() - startedAt) / 1000);
  std::fflush(stdout);
  const FuzzTotals totals = Supervise(seeds, image.location(),
                                      {.libraryPath = library,
                                       .timeLimitSeconds = options.timeLimitSeconds,
                                       .showEveryDamage = options.replay});
  PrintTotals(options, totals, static_cast<double>(GetTickCount64() - startedAt) / 1000);
  return totals.failedRuns == 0 ? kExitPassed : kExitFailed;
}

}  // namespace
}  // namespace kvilfuzz

int main(int argc, char** argv) {
  const kvilfuzz::ParsedCommandLine parsed = kvilfuzz::ParseCommandLine(argc, argv);
  if (parsed.exitStatus) return *parsed.exitStatus;
  try {
    if (parsed.child) {
      kvilfuzz::RunBatch(parsed.batch);
      return kvilfuzz::kExitPassed;
    }
    const std::string library = parsed.fuzz.libraryPath.empty()
                                    ? kvil::machine::RunningExecutableFolder() + "\\kvilintg.dll"
                                    : parsed.fuzz.libraryPath;
    if (!kvil::machine::FileExists(library)) {
      std::fprintf(stderr, "kvilfuzz: no library at %s\n", library.c_str());
      return kvilfuzz::kExitUsage;
    }
    return kvilfuzz::Fuzz(parsed.fuzz, library);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kvilfuzz: %s\n", error.what());
    return kvilfuzz::kExitFailed;
  }
}

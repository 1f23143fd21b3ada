#include "supervisor.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "command_line.h"
#include "handles.h"
#include "win32_support.h"

namespace kvilfuzz {
namespace {

// Runs per child: enough that Wine's cost of starting a process and the child's
// survey of the image are small beside the runs, few enough that a crash early
// in a batch costs only a restart.
constexpr std::size_t kRunsPerChild = 50;
constexpr DWORD kPollMilliseconds = 50;
constexpr int kProgressEvery = 50;

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string ExecutablePath() {
  char path[MAX_PATH + 1] = {};
  const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
  if (length == 0 || length >= sizeof path) kvil::machine::ThrowLastError("cannot read the fuzzer's own path");
  return std::string(path, length);
}

// A child process whose standard output comes back through a pipe, read
// without blocking so the supervisor can watch the clock meanwhile.
class ChildProcess {
 public:
  explicit ChildProcess(std::string commandLine) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inheritable, 0)) kvil::machine::ThrowLastError("cannot create a pipe");
    output_.reset(read);
    const kvil::UniqueFile childEnd(write);
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = write;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
      kvil::machine::ThrowLastError("cannot start a child process");
    }
    CloseHandle(process.hThread);
    process_.reset(process.hProcess);
  }

  // Moves the complete lines that arrived into lines, waiting up to the poll
  // interval when there are none. false once the child has ended and all it
  // wrote has been read.
  bool Poll(std::vector<std::string>& lines) {
    if (ReadAvailable()) {
      SplitLines(lines);
      return true;
    }
    if (WaitForSingleObject(process_.get(), kPollMilliseconds) != WAIT_OBJECT_0) return true;
    while (ReadAvailable()) {
    }
    if (!pending_.empty()) pending_ += '\n';
    SplitLines(lines);
    return false;
  }

  void Terminate() {
    TerminateProcess(process_.get(), 1);
    WaitForSingleObject(process_.get(), INFINITE);
  }

  DWORD ExitCode() const {
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return code;
  }

 private:
  bool ReadAvailable() {
    DWORD available = 0;
    if (!PeekNamedPipe(output_.get(), nullptr, 0, nullptr, &available, nullptr) || available == 0) return false;
    std::string chunk(std::min<DWORD>(available, 65536), '\0');
    DWORD read = 0;
    if (!ReadFile(output_.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr) || read == 0) {
      return false;
    }
    pending_.append(chunk.data(), read);
    return true;
  }

  void SplitLines(std::vector<std::string>& lines) {
    for (std::size_t newline = pending_.find('\n'); newline != std::string::npos; newline = pending_.find('\n')) {
      lines.push_back(pending_.substr(0, newline));
      pending_.erase(0, newline + 1);
    }
  }

  kvil::UniqueFile output_;
  kvil::UniqueFile process_;
  std::string pending_;
};

// One run as the supervisor follows it.
struct OpenRun {
  std::uint64_t seed = 0;
  ULONGLONG startedAt = 0;
  std::vector<std::string> damage;
  std::vector<std::pair<FailureKind, std::string>> failures;
};

class Tally {
 public:
  Tally(std::size_t total, const SupervisorOptions& options) : total_(total), options_(options) {}

  void Close(const OpenRun& run) {
    ++totals_.runs;
    if (!run.failures.empty()) {
      ++totals_.failedRuns;
      totals_.failedSeeds.push_back(run.seed);
      std::printf("FAILED run %d, seed %s:\n", totals_.runs, SeedText(run.seed).c_str());
      for (const auto& [kind, what] : run.failures) {
        ++totals_.failures[static_cast<std::size_t>(kind)];
        std::printf("  %s: %s\n", FailureKindWord(kind), what.c_str());
      }
    } else if (options_.showEveryDamage) {
      std::printf("passed run %d, seed %s:\n", totals_.runs, SeedText(run.seed).c_str());
    }
    if (!run.failures.empty() || options_.showEveryDamage) {
      for (const std::string& damage : run.damage) std::printf("  damage: %s\n", damage.c_str());
      std::printf("  replay: kvilfuzz --replay %s\n", SeedText(run.seed).c_str());
    }
    if (totals_.runs % kProgressEvery == 0 && static_cast<std::size_t>(totals_.runs) < total_) {
      std::printf("kvilfuzz: %d of %zu runs, %d failed\n", totals_.runs, total_, totals_.failedRuns);
    }
    std::fflush(stdout);
  }

  const FuzzTotals& totals() const { return totals_; }

 private:
  std::size_t total_;
  SupervisorOptions options_;
  FuzzTotals totals_;
};

std::string ChildCommandLine(const ImageLocation& image, const std::string& library, const std::uint64_t* seeds,
                             std::size_t count) {
  std::string line = Quoted(ExecutablePath());
  for (const std::string& word :
       {std::string(kChildFlag), Quoted(image.registryPath), Quoted(image.folder), Quoted(library)}) {
    line += ' ';
    line += word;
  }
  for (std::size_t i = 0; i < count; ++i) {
    line += ' ';
    line += SeedText(seeds[i]);
  }
  return line;
}

}  // namespace

std::uint64_t RunSeed(std::uint64_t seed, int run) {
  // SplitMix64's step and finaliser.
  std::uint64_t z = seed + 0x9E3779B97F4A7C15ull * static_cast<std::uint64_t>(run + 1);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

FuzzTotals Supervise(const std::vector<std::uint64_t>& seeds, const ImageLocation& image,
                     const SupervisorOptions& options) {
  Tally tally(seeds.size(), options);
  const ULONGLONG timeLimit = static_cast<ULONGLONG>(options.timeLimitSeconds) * 1000;
  std::size_t next = 0;
  while (next < seeds.size()) {
    const std::size_t count = std::min(kRunsPerChild, seeds.size() - next);
    ChildProcess child(ChildCommandLine(image, options.libraryPath, seeds.data() + next, count));
    // Since the child started or its last run ended: the time it has had to
    // begin the next run.
    ULONGLONG idleSince = GetTickCount64();
    std::optional<OpenRun> open;
    bool alive = true;
    while (alive) {
      std::vector<std::string> lines;
      alive = child.Poll(lines);
      for (const std::string& line : lines) {
        if (line.find_first_not_of(" \r") == std::string::npos) continue;
        const std::optional<ChildEvent> event = ParseChildEvent(line);
        if (!event) {
          std::printf("kvilfuzz: child: %s\n", line.c_str());
          continue;
        }
        if (event->word == "begin") {
          if (next >= seeds.size() || event->seed != seeds[next]) {
            throw std::runtime_error("a child began run " + SeedText(event->seed) + " out of turn");
          }
          open.emplace();
          open->seed = event->seed;
          open->startedAt = GetTickCount64();
        } else if (!open || event->seed != open->seed) {
          throw std::runtime_error("a child reported on run " + SeedText(event->seed) + ", which is not running");
        } else if (event->word == "damage") {
          open->damage.push_back(event->text);
        } else if (event->word == "fail") {
          open->failures.emplace_back(*event->failure, event->text);
        } else if (event->word == "error") {
          child.Terminate();
          throw std::runtime_error("run " + SeedText(event->seed) + " could not be made: " + event->text);
        } else {
          tally.Close(*open);
          open.reset();
          ++next;
          idleSince = GetTickCount64();
        }
      }
      if (alive && open && GetTickCount64() - open->startedAt > timeLimit) {
        child.Terminate();
        open->failures.emplace_back(FailureKind::kHang, "still running after " +
                                                            std::to_string(options.timeLimitSeconds) + " s");
        break;
      }
      if (alive && !open && GetTickCount64() - idleSince > timeLimit) {
        child.Terminate();
        throw std::runtime_error("a child process began no run within the time limit");
      }
    }
    if (open) {
      // The child died with this run open: either it reported the crash itself
      // just before, or the failure is its death.
      if (open->failures.empty()) {
        char status[64];
        std::snprintf(status, sizeof status, "the child process ended with status 0x%08lX",
                      static_cast<unsigned long>(child.ExitCode()));
        open->failures.emplace_back(FailureKind::kCrash, status);
      }
      tally.Close(*open);
      ++next;
    } else if (child.ExitCode() != 0) {
      throw std::runtime_error("a child process could not make its runs (exit status " +
                               std::to_string(child.ExitCode()) + ")");
    }
  }
  return tally.totals();
}

}  // namespace kvilfuzz

// What a child process tells its supervisor, one line per event on its standard
// output, each line the event's word and the run's seed (0x hexadecimal):
//
//   begin <seed>                  the run starts: the machine is reset and damaged
//   damage <seed> <what>          one thing broken before the library runs
//   fail <seed> <kind> <what>     the run failed; a crash is reported just before
//                                 the child ends itself
//   end <seed>                    the run is over, failed or not
//   error <seed> <what>           the fuzzer itself could not make the run (the
//                                 machine could not be reset or damaged, or the
//                                 library not loaded): the session stops
//
// A run that began and never ended is a crash (the child died) or a hang (the
// supervisor's time limit ran out).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvilfuzz {

enum class FailureKind { kCrash, kHang, kException, kLostModule, kOverrun };
inline constexpr FailureKind kFailureKinds[] = {FailureKind::kCrash, FailureKind::kHang, FailureKind::kException,
                                                FailureKind::kLostModule, FailureKind::kOverrun};

// "crash", "hang", "exception", "lost-module", "overrun".
const char* FailureKindWord(FailureKind kind);
std::optional<FailureKind> ParseFailureKind(std::string_view word);

std::string SeedText(std::uint64_t seed);

// A child exits with this status after reporting a crash of its own run.
inline constexpr unsigned kExitCrashReported = 70;

struct ChildEvent {
  std::string word;  // begin, damage, fail, end, error
  std::uint64_t seed = 0;
  std::optional<FailureKind> failure;  // fail only
  std::string text;                    // damage, fail, error
};
// nullopt for a line that is not an event.
std::optional<ChildEvent> ParseChildEvent(std::string_view line);

// One event line, written at once to the standard output; control characters in
// text are shown as '?' so that every event stays one line.
void EmitEvent(std::string_view word, std::uint64_t seed, std::string_view text = {});

}  // namespace kvilfuzz

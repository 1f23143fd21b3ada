#include "protocol.h"

#include <windows.h>

#include <charconv>
#include <cstdio>

namespace kvilfuzz {

const char* FailureKindWord(FailureKind kind) {
  switch (kind) {
    case FailureKind::kCrash:
      return "crash";
    case FailureKind::kHang:
      return "hang";
    case FailureKind::kException:
      return "exception";
    case FailureKind::kLostModule:
      return "lost-module";
    case FailureKind::kOverrun:
      return "overrun";
  }
  return "";
}

std::optional<FailureKind> ParseFailureKind(std::string_view word) {
  for (const FailureKind kind : kFailureKinds) {
    if (word == FailureKindWord(kind)) return kind;
  }
  return std::nullopt;
}

std::string SeedText(std::uint64_t seed) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(seed));
  return text;
}

std::optional<ChildEvent> ParseChildEvent(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  const auto takeWord = [&line] {
    const std::size_t space = line.find(' ');
    const std::string_view word = line.substr(0, space);
    line.remove_prefix(space == std::string_view::npos ? line.size() : space + 1);
    return word;
  };
  ChildEvent event;
  event.word = takeWord();
  if (event.word != "begin" && event.word != "damage" && event.word != "fail" && event.word != "end" &&
      event.word != "error") {
    return std::nullopt;
  }
  std::string_view seed = takeWord();
  if (seed.size() < 3 || seed.substr(0, 2) != "0x") return std::nullopt;
  seed.remove_prefix(2);
  const auto [end, error] = std::from_chars(seed.data(), seed.data() + seed.size(), event.seed, 16);
  if (error != std::errc() || end != seed.data() + seed.size()) return std::nullopt;
  if (event.word == "fail") {
    event.failure = ParseFailureKind(takeWord());
    if (!event.failure) return std::nullopt;
  }
  event.text = line;
  return event;
}

void EmitEvent(std::string_view word, std::uint64_t seed, std::string_view text) {
  std::string line(word);
  line += ' ';
  line += SeedText(seed);
  if (!text.empty()) {
    line += ' ';
    for (const char c : text) line += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
  }
  line += '\n';
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace kvilfuzz

#include "host_arguments.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "host_suffixes.h"
#include "kvilintg.h"
#include "tool_kinds.h"

namespace kvilhosts {
namespace {

// The languages the library has tables for; any other LCID would only exercise
// the hosts' "unknown language" paths.
constexpr std::array<std::int32_t, 11> kKnownLanguages = {
    1049, 1058, 1033, 2057, 3081, 1031, 1034, 1036, 1040, 1046, 2070,
};

}  // namespace

std::optional<std::int32_t> ParseToolKind(std::string_view text) {
  for (std::int32_t kind = 0; kind < KVIL_TOOL_KIND_COUNT; ++kind) {
    if (EqualsIgnoringCase(text, kToolKindNames[kind])) return kind;
  }
  if (text.size() == 1 && text[0] >= '0' && text[0] < '0' + KVIL_TOOL_KIND_COUNT) return text[0] - '0';
  return std::nullopt;
}

std::optional<std::int32_t> ParseLanguage(std::string_view text) {
  if (EqualsIgnoringCase(text, "ru")) return kRussian;
  if (EqualsIgnoringCase(text, "uk")) return kUkrainian;
  std::int32_t lcid = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, lcid);
  if (error != std::errc{} || stop != end) return std::nullopt;
  if (std::find(kKnownLanguages.begin(), kKnownLanguages.end(), lcid) == kKnownLanguages.end()) {
    return std::nullopt;
  }
  return lcid;
}

}  // namespace kvilhosts

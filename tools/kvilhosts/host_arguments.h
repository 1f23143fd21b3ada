// The tool kinds and languages a caller of the library may type, checked the
// same way by every tool that drives the host exports.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kvilhosts {

inline constexpr std::int32_t kRussian = 1049;
inline constexpr std::int32_t kUkrainian = 1058;

// "speller" ... "hyphenator", or the kind's digit 0..3.
std::optional<std::int32_t> ParseToolKind(std::string_view text);
// An LCID the library knows, in decimal, or "ru" / "uk".
std::optional<std::int32_t> ParseLanguage(std::string_view text);

}  // namespace kvilhosts

// The tool kinds by the names the survey prints and accepts, indexed by kind.
#pragma once

#include <array>
#include <string_view>

#include "kvilintg.h"

namespace kvilhosts {

inline constexpr std::array<std::string_view, KVIL_TOOL_KIND_COUNT> kToolKindNames = {
    "speller", "grammar", "thesaurus", "hyphenator"};

}  // namespace kvilhosts

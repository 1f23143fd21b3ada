// The tool kinds by the names the survey prints and accepts, indexed by kind.
#pragma once

#include <array>
#include <string_view>

#include "host_contract.h"

namespace kvilhosts {

inline constexpr std::array<std::string_view, kvil::kToolKindCount> kToolKindNames = {
    "speller", "grammar", "thesaurus", "hyphenator"};

}  // namespace kvilhosts

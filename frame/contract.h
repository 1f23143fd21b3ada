// The host-module contract inside the library: tool key words, language codes,
// the Info list, and the guard that keeps exceptions inside the DLL.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "export_scope.h"
#include "kvilintg.h"

namespace kvil {

// The public header's results and tool kinds, in the library's own spelling.
using HostResult = KvilResult;

inline constexpr HostResult kNotApplicable = KVIL_NOT_APPLICABLE;

enum ToolKind : std::int32_t {
  kSpeller = KVIL_SPELLER,
  kGrammar = KVIL_GRAMMAR,
  kThesaurus = KVIL_THESAURUS,
  kHyphenator = KVIL_HYPHENATOR,
};
inline constexpr int kToolKindCount = KVIL_TOOL_KIND_COUNT;

constexpr bool IsToolKind(std::int32_t kind) { return kind >= kSpeller && kind <= kHyphenator; }

// Selects a proofing-tools registry tree: the product's own, Word 95's per-user
// tree, or Office's shared tree. Generation 2 spells the hyphenator "Hyphenation".
enum RegistryGeneration : int {
  kProductTree = 0,
  kWord7Tree = 1,
  kSharedTree = 2,
};

// "Spelling", "Grammar", "Thesaurus", "Hyphenate" ("Hyphenation" in generation 2);
// null for a kind outside 0..3.
const char* ToolKeyName(int kind, int generation);

// Two-letter language code used in engine and lexicon file names ("RU", "UR",
// "EN", ...); "" for a language the product does not know.
const char* LanguageCode(int lcid);

// Longest application key or version an Info list carries.
inline constexpr std::size_t kListItemCapacity = 259;

// Writes "<key>\0<version>\0\0" bounded by *length (the capacity on entry) and
// stores the full list length there. Writes nothing when either pointer is null.
HostResult FormatInfoList(const char* applicationKey, const char* version, char* buffer, std::int32_t* length);

// The value the setup tool last passed to SetKvilVersion. Nothing in the library
// reads it: the product version always comes from the registry.
extern int g_setKvilVersion;

// Runs an export body within its export scope, turning anything thrown into the
// export's failure value.
template <typename Body>
HostResult GuardExport(HostResult failure, Body&& body) noexcept {
  const ExportScope scope;
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

}  // namespace kvil

// One export of a host: (kind, lcid, two reserved values) passed to the family's
// operation with the member's row; anything thrown becomes 0.
#define KVIL_HOST_EXPORT(Operation, Suffix, Ops, row)                                                    \
  extern "C" kvil::HostResult Operation##Suffix(std::int32_t kind, std::int32_t lcid, std::intptr_t r1, \
                                                std::intptr_t r2) {                                       \
    return kvil::GuardExport(0, [&] { return Ops::Operation(row, kind, lcid, r1, r2); });                \
  }

// Produces the six extern "C" exports of one host from a family's operations and
// the member's row. Ops provides static Exist, Info, Avail, Attach, Detach, Check
// taking (const Row&, kind, lcid, ...). Info never fails, so a throw there gives 1.
#define KVIL_HOST_EXPORTS(Suffix, Ops, row)                                                     \
  KVIL_HOST_EXPORT(Exist, Suffix, Ops, row)                                                     \
  extern "C" kvil::HostResult Info##Suffix(std::int32_t kind, std::int32_t lcid, char* buffer,  \
                                           std::int32_t* length) {                               \
    return kvil::GuardExport(1, [&] { return Ops::Info(row, kind, lcid, buffer, length); });    \
  }                                                                                              \
  KVIL_HOST_EXPORT(Avail, Suffix, Ops, row)                                                     \
  KVIL_HOST_EXPORT(Attach, Suffix, Ops, row)                                                    \
  KVIL_HOST_EXPORT(Detach, Suffix, Ops, row)                                                    \
  KVIL_HOST_EXPORT(Check, Suffix, Ops, row)

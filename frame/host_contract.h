// The six flat exports every host module offers and the named exports, in the
// library's own C++ spelling of the public C header, so the library and its
// callers (the survey tool) agree on the signatures.
#pragma once

#include <cstdint>

#include "kvilintg.h"

namespace kvil {

using HostResult = KvilResult;

inline constexpr HostResult kHostNo = KVIL_NO;
inline constexpr HostResult kHostYes = KVIL_YES;
inline constexpr HostResult kNotApplicable = KVIL_NOT_APPLICABLE;

enum ToolKind : std::int32_t {
  kSpeller = KVIL_SPELLER,
  kGrammar = KVIL_GRAMMAR,
  kThesaurus = KVIL_THESAURUS,
  kHyphenator = KVIL_HYPHENATOR,
};
inline constexpr int kToolKindCount = KVIL_TOOL_KIND_COUNT;

constexpr bool IsToolKind(std::int32_t kind) { return kind >= kSpeller && kind <= kHyphenator; }

using ExistExport = KvilExistProc;
using AvailExport = KvilAvailProc;
using AttachExport = KvilAttachProc;
using DetachExport = KvilDetachProc;
using CheckExport = KvilCheckProc;
using InfoExport = KvilInfoProc;
using IeFullExePathExport = KvilGetIEFullExePathProc;

#define KVIL_OPERATION_NAME(word) #word,
inline constexpr const char* kHostOperationNames[] = {KVIL_HOST_OPERATIONS(KVIL_OPERATION_NAME)};
#undef KVIL_OPERATION_NAME

}  // namespace kvil

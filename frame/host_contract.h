// The six flat exports every host module offers, as the setup tool binds them by
// name ("Exist" + suffix, ...). Shared by the library and by its callers (the
// survey tool), so both agree on the signatures.
#pragma once

#include <cstdint>

namespace kvil {

using HostResult = std::uint32_t;

inline constexpr HostResult kHostNo = 0;
inline constexpr HostResult kHostYes = 1;
// The host exists but does not take this tool kind (a thesaurus for Excel).
inline constexpr HostResult kNotApplicable = 0xFFFFFFFFu;

enum ToolKind : std::int32_t {
  kSpeller = 0,
  kGrammar = 1,
  kThesaurus = 2,
  kHyphenator = 3,
};
inline constexpr int kToolKindCount = 4;

constexpr bool IsToolKind(std::int32_t kind) { return kind >= kSpeller && kind <= kHyphenator; }

// Exist, Avail and Attach take two pointer-sized values reserved for the caller.
using ExistExport = HostResult (*)(std::int32_t kind, std::int32_t lcid, std::intptr_t reserved1,
                                   std::intptr_t reserved2);
using AvailExport = ExistExport;
using AttachExport = ExistExport;
using DetachExport = ExistExport;
using CheckExport = ExistExport;
// Info writes "<application key>\0<version>\0\0" into buffer (capacity in *length
// on entry) and stores the whole list's length in *length.
using InfoExport = HostResult (*)(std::int32_t kind, std::int32_t lcid, char* buffer, std::int32_t* length);

// GetIEFullExePath(buffer, capacity): 1, and the full path of the Internet
// Explorer program that ExistIE finds (the one App Paths names) in buffer,
// terminated; 0 and nothing written when that Internet Explorer is not there or
// the path and its terminator do not fit in capacity bytes.
using IeFullExePathExport = HostResult (*)(char* buffer, std::int32_t capacity);

inline constexpr const char* kHostOperationNames[] = {"Exist", "Info", "Avail", "Attach", "Detach", "Check"};

// GetTheBatFullExePath(buffer, capacity): the full path (code page 1251) of The
// Bat!'s program as ExistTheBat50 finds it, written with its terminator; 1. 0
// with nothing written when the client is not found or the path and its
// terminator do not fit in capacity bytes.
using TheBatFullExePathExport = HostResult (*)(char* buffer, std::int32_t capacity);

}  // namespace kvil

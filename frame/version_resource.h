// A file's version resource, handed out as the system's version reader hands it
// out (GetFileVersionInfoSize and GetFileVersionInfo), for VerQueryValue.
#pragma once

#include <windows.h>

#include <vector>

namespace kvil {

// Fills block with the version resource of the file at path: its bytes at the
// start of a zeroed block twice their size plus four, and "FE2X" after the
// resource's own length when that fits, the room VerQueryValueA converts text
// into. false when the file has none (block is then empty).
//
// A block is kept for a fully qualified path and handed out again while the
// file there shows the same creation, last write and change times and the same
// size; only files whose change time is stamped finer than whole seconds and
// that have been left unchanged for kVersionCacheSettleMilliseconds are kept,
// so that a change after the read cannot carry the same times.
bool ReadVersionBlock(const char* path, std::vector<BYTE>& block);
bool ReadVersionBlock(const wchar_t* path, std::vector<BYTE>& block);

inline constexpr DWORD kVersionCacheSettleMilliseconds = 100;

}  // namespace kvil

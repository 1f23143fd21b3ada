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
bool ReadVersionBlock(const char* path, std::vector<BYTE>& block);
bool ReadVersionBlock(const wchar_t* path, std::vector<BYTE>& block);

}  // namespace kvil

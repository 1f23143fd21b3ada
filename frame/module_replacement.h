// "Save once, copy over, restore": a host's own module is replaced by the
// product's module of the same role, and the host's file is kept beside it
// under a backup name until it is put back. The host's file is never
// overwritten before its backup exists, and a backup, once made, is never
// overwritten: it always holds the host's own file.
#pragma once

namespace kvil {

// A file (not a folder) at path.
bool IsExistingFile(const char* path);

// Both files can be read and hold the same bytes.
bool SameFileContents(const char* first, const char* second);

// Keeps hostModule as backup unless a backup exists already (or the host's file
// is missing, or is the product's module itself), then copies productModule over
// hostModule. false, with the host's file untouched and no new backup left, when
// the product's module is missing, the backup cannot be made, or the copy fails.
bool ReplaceHostModule(const char* hostModule, const char* backup, const char* productModule);

// Moves backup over hostModule. true without change when there is no backup;
// false, with both files as they were, when the move fails.
bool RestoreHostModule(const char* hostModule, const char* backup);

}  // namespace kvil

// What one export looks up once and keeps until it returns. Every export
// recomputes what it needs from the registry, so nothing here outlives the
// outermost export running; an export that calls another (the Office-wide
// operations) shares its caller's. The frame's routines called outside any
// export, as the white-box tests call them, look everything up each time.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "handles.h"

namespace kvil {

// A registry key the export has opened once and reads or writes again through
// the same handle.
struct SharedKey {
  HKEY root;
  std::string path;
  REGSAM access;  // without the view flag
  REGSAM view;
  UniqueHKey key;
};

struct ExportLookups {
  // IsRegistry64's answer: no export writes "Installing", so it cannot change
  // while one runs.
  std::optional<int> registry64;
  // Forgotten whenever the export deletes a key, so that no handle outlives the
  // key it was opened on.
  std::vector<SharedKey> keys;
};

// The lookups of the export now running; null outside an export.
ExportLookups* CurrentExportLookups();

// Opened by every export for its whole run (GuardExport does it).
class ExportScope {
 public:
  ExportScope() noexcept;
  ExportScope(const ExportScope&) = delete;
  ExportScope& operator=(const ExportScope&) = delete;
  ~ExportScope();
};

}  // namespace kvil

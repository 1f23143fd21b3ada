// What one export looks up once and keeps until it returns. Every export
// recomputes what it needs from the registry, so nothing here outlives the
// outermost export running; an export that calls another (the Office-wide
// operations) shares its caller's. The frame's routines called outside any
// export, as the white-box tests call them, look everything up each time.
#pragma once

#include <optional>

namespace kvil {

struct ExportLookups {
  // IsRegistry64's answer: no export writes "Installing", so it cannot change
  // while one runs.
  std::optional<int> registry64;
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

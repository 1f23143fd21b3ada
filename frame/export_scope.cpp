#include "export_scope.h"

namespace kvil {

namespace {

// The library is called from one thread at a time and is not reentrant, so one
// set of lookups serves the export that is running.
int g_exportDepth = 0;
ExportLookups g_lookups;

}  // namespace

ExportLookups* CurrentExportLookups() { return g_exportDepth > 0 ? &g_lookups : nullptr; }

ExportScope::ExportScope() noexcept { ++g_exportDepth; }

ExportScope::~ExportScope() {
  if (--g_exportDepth == 0) g_lookups = ExportLookups{};
}

}  // namespace kvil

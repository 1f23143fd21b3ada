// The library as its callers see it: a DLL loaded by path and, per host suffix,
// six exports bound by name. Nothing here knows how the library is built.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "kvilintg.h"

namespace kvilhosts {

struct FreeLibraryDeleter {
  void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
};
using UniqueModule = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeLibraryDeleter>;

// The full path Windows gives for a loaded module (the running executable for
// nullptr); empty when it gives none.
std::string ModuleFileName(HMODULE module);

// kvilintg.dll beside the running executable, where the build and the setup put it.
std::string DefaultLibraryPath();

struct LoadResult {
  UniqueModule module;
  DWORD error = ERROR_SUCCESS;  // GetLastError of a failed load
};
LoadResult LoadHostLibrary(const std::string& path);

// "126 (The specified module could not be found.)"; the system text is left out
// when Windows has none.
std::string DescribeWindowsError(DWORD error);

// One host module's six exports.
struct HostExports {
  KvilExistProc exist = nullptr;
  KvilInfoProc info = nullptr;
  KvilAvailProc avail = nullptr;
  KvilAttachProc attach = nullptr;
  KvilDetachProc detach = nullptr;
  KvilCheckProc check = nullptr;
};

// Binds Exist<suffix> ... Check<suffix>; empty unless all six are exported, as a
// host that is missing any of them cannot be driven by the setup tool either.
std::optional<HostExports> BindHost(HMODULE module, std::string_view suffix);

struct HostInfo {
  std::string application;
  std::string version;
};

// Reads "<application key>\0<version>\0\0" from the part of buffer that the
// reported length vouches for, stopping at the buffer's end whatever the length
// claims; a missing terminator ends an item at that limit.
HostInfo ParseInfoList(std::span<const char> buffer, std::int32_t reportedLength);

// Info's list through a buffer larger than any application key and version.
HostInfo ReadHostInfo(const HostExports& host, std::int32_t kind, std::int32_t lcid);

}  // namespace kvilhosts

#include "host_library.h"

#include <algorithm>
#include <array>

namespace kvilhosts {
namespace {

constexpr std::string_view kLibraryFileName = "kvilintg.dll";

// Two items of at most 259 characters each with their terminators: the longest
// list any host writes.
constexpr std::int32_t kInfoCapacity = 520;

}  // namespace

std::string ModuleFileName(HMODULE module) {
  std::string path(MAX_PATH, '\0');
  for (;;) {
    const DWORD written = GetModuleFileNameA(module, path.data(), static_cast<DWORD>(path.size()));
    if (written == 0) return {};
    if (written < path.size()) {
      path.resize(written);
      return path;
    }
    // Truncated: the name did not fit with its terminator. Windows paths stop
    // at 32767 characters.
    if (path.size() > 32767) return {};
    path.resize(path.size() * 2);
  }
}

std::string DefaultLibraryPath() {
  std::string path = ModuleFileName(nullptr);
  if (path.empty()) return std::string(kLibraryFileName);
  const std::size_t slash = path.find_last_of("\\/");
  path.resize(slash == std::string::npos ? 0 : slash + 1);
  path += kLibraryFileName;
  return path;
}

LoadResult LoadHostLibrary(const std::string& path) {
  LoadResult result;
  result.module.reset(LoadLibraryA(path.c_str()));
  if (!result.module) result.error = GetLastError();
  return result;
}

std::string DescribeWindowsError(DWORD error) {
  std::string text = std::to_string(error);
  char* message = nullptr;
  const DWORD length = FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
      0, reinterpret_cast<char*>(&message), 0, nullptr);
  if (length != 0 && message != nullptr) {
    std::string_view system(message, length);
    while (!system.empty() && (system.back() == '\r' || system.back() == '\n' || system.back() == ' ')) {
      system.remove_suffix(1);
    }
    if (!system.empty()) {
      text += " (";
      text += system;
      text += ')';
    }
  }
  if (message != nullptr) LocalFree(message);
  return text;
}

std::optional<HostExports> BindHost(HMODULE module, std::string_view suffix) {
  HostExports host;
  bool bound = true;
  const auto bind = [&]<typename Export>(Export& target, std::string_view word) {
    const std::string name = std::string(word) + std::string(suffix);
    const FARPROC proc = GetProcAddress(module, name.c_str());
    bound = bound && proc != nullptr;
    target = reinterpret_cast<Export>(proc);
  };
  bind(host.exist, "Exist");
  bind(host.info, "Info");
  bind(host.avail, "Avail");
  bind(host.attach, "Attach");
  bind(host.detach, "Detach");
  bind(host.check, "Check");
  if (!bound) return std::nullopt;
  return host;
}

HostInfo ParseInfoList(std::span<const char> buffer, std::int32_t reportedLength) {
  const std::size_t vouched =
      reportedLength <= 0 ? 0 : std::min(buffer.size(), static_cast<std::size_t>(reportedLength));
  std::string_view rest(buffer.data(), vouched);
  const auto takeItem = [&rest] {
    const std::size_t end = rest.find('\0');
    const std::string_view item = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return std::string(item);
  };
  HostInfo info;
  info.application = takeItem();
  info.version = takeItem();
  return info;
}

HostInfo ReadHostInfo(const HostExports& host, std::int32_t kind, std::int32_t lcid) {
  std::array<char, kInfoCapacity> buffer{};
  std::int32_t length = kInfoCapacity;
  // Info never fails; the length it reports is what vouches for the buffer.
  host.info(kind, lcid, buffer.data(), &length);
  return ParseInfoList(buffer, length);
}

}  // namespace kvilhosts

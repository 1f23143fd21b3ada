#include "win32_support.h"

#include <array>
#include <cstdio>
#include <stdexcept>

namespace kvil::machine {
namespace {

std::string SystemMessage(DWORD status) {
  std::array<char, 512> text{};
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, status, 0,
                                      text.data(), static_cast<DWORD>(text.size()), nullptr);
  std::string message(text.data(), length);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == ' ')) {
    message.pop_back();
  }
  return message;
}

std::string Hex(unsigned long value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08lX", value);
  return text.data();
}

}  // namespace

void ThrowWin32Error(const std::string& what, DWORD status) {
  std::string message = what + ": error " + std::to_string(status);
  if (const std::string system = SystemMessage(status); !system.empty()) message += " (" + system + ")";
  throw std::runtime_error(message);
}

void ThrowLastError(const std::string& what) { ThrowWin32Error(what, GetLastError()); }

void ThrowComError(const std::string& what, HRESULT status) {
  throw std::runtime_error(what + ": HRESULT " + Hex(static_cast<unsigned long>(status)));
}

std::string RunningExecutableFolder() {
  std::array<char, MAX_PATH + 1> path{};
  const DWORD length = GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size()));
  if (length == 0) ThrowLastError("cannot read the running executable's path");
  if (length >= path.size()) throw std::runtime_error("the running executable's path is longer than MAX_PATH");
  const std::string executable(path.data(), length);
  const std::size_t separator = executable.find_last_of("\\/");
  if (separator == std::string::npos) throw std::runtime_error("the running executable's path has no folder: " + executable);
  return executable.substr(0, separator);
}

std::wstring Widen(const std::string& text) {
  if (text.empty()) return {};
  const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
  return wide;
}

}  // namespace kvil::machine

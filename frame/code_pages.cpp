#include "code_pages.h"

#include <algorithm>
#include <optional>

namespace kvil {

namespace {

// Room for the longest path the shell takes and the two NULs that end its list.
constexpr std::size_t kShellPathCapacity = 1024;

class ShellPathList {
 public:
  explicit ShellPathList(std::wstring_view path) { std::copy(path.begin(), path.end(), text_); }
  const wchar_t* get() const { return text_; }

 private:
  wchar_t text_[kShellPathCapacity] = {};
};

}  // namespace

std::wstring Widen(std::string_view text, UINT codePage) {
  if (text.empty()) return {};
  const int size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), length);
  return wide;
}

void ShellFileOperation(UINT operation, std::wstring_view from, const std::wstring_view* to, FILEOP_FLAGS flags) {
  if (from.size() > kShellPathCapacity - 2 || (to != nullptr && to->size() > kShellPathCapacity - 2)) return;
  const ShellPathList source(from);
  const std::optional<ShellPathList> target = to != nullptr ? std::optional<ShellPathList>(*to) : std::nullopt;
  SHFILEOPSTRUCTW request{};
  request.wFunc = operation;
  request.pFrom = source.get();
  request.pTo = target ? target->get() : nullptr;
  request.fFlags = flags;
  SHFileOperationW(&request);
}

}  // namespace kvil

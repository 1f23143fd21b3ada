// Text between the library's 8-bit code pages and the UTF-16 that the shell,
// MSXML and some hosts' registry values speak.
#pragma once

#include <windows.h>
#include <shellapi.h>

#include <string>
#include <string_view>

#include "bounded_text.h"

namespace kvil {

std::wstring Widen(std::string_view text, UINT codePage);

// false, with narrow left empty, when the text does not fit or the code page
// cannot represent all of it: a lossy conversion could name another key or file.
template <std::size_t Capacity>
bool Narrow(std::wstring_view text, UINT codePage, FixedText<Capacity>& narrow) {
  narrow.Clear();
  if (text.empty()) return true;
  BOOL lossy = FALSE;
  const int written =
      WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()), narrow.data(),
                          static_cast<int>(Capacity - 1), nullptr, &lossy);
  if (written <= 0 || lossy) {
    narrow.Clear();
    return false;
  }
  narrow.data()[written] = '\0';
  return true;
}

// The shell's copy or delete (FO_COPY, FO_DELETE) of files and whole folders
// with the given flags. The shell takes its paths as lists ended by two NULs; a
// path too long for such a list is refused rather than cut into another one.
// The shell's own result is not reported: callers answer from their records.
void ShellFileOperation(UINT operation, std::wstring_view from, const std::wstring_view* to, FILEOP_FLAGS flags);

}  // namespace kvil

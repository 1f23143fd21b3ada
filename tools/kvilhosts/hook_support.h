// What every hook of the journal shares: the address of the function it stands
// in for, the rule that watching never changes the call, and text in one form.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "import_patch.h"
#include "journal_session.h"

namespace kvilhosts {

// The function a hook stands in for, as the library's import slot held it.
template <auto Hook>
inline std::remove_const_t<decltype(Hook)> gOriginal = nullptr;

// An import-table entry for a hook that has exactly the Windows function's type.
template <auto Hook, auto Windows>
ImportHook HookFor(std::string_view function) {
  static_assert(std::is_same_v<decltype(Hook), decltype(Windows)>, "a hook takes and returns what Windows does");
  return {function, reinterpret_cast<void*>(Hook), reinterpret_cast<void**>(&gOriginal<Hook>)};
}
#define KVIL_HOOK(function, hook) HookFor<&hook, &::function>(#function)

// Runs one look at the machine for the active session. Whatever it reads, the
// library's call sees the last-error value it would have seen, and a failure
// to write the journal down never reaches the library: the change goes
// unrecorded and the journal says it is incomplete.
template <typename Look>
void Observe(Look&& look) noexcept {
  JournalSession* session = JournalSession::Active();
  if (session == nullptr) return;
  const DWORD lastError = GetLastError();
  try {
    look(*session);
  } catch (...) {
    session->journal().complete = false;
  }
  SetLastError(lastError);
}

// Paths and names as the journal keeps them: ANSI, as the library speaks.
inline std::string Text(const char* text) { return text != nullptr ? std::string(text) : std::string(); }
std::string Text(const wchar_t* text);
std::string Text(std::wstring_view text);

}  // namespace kvilhosts

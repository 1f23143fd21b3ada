// Win32 helpers shared by the support sources. A fixture that cannot build the
// machine a test asked for throws, so the test fails loudly with the reason
// instead of running against a half-built machine.
#pragma once

#include <windows.h>

#include <string>

namespace kvil::machine {

// Throws std::runtime_error: "<what>: error <status> (<system text>)".
[[noreturn]] void ThrowWin32Error(const std::string& what, DWORD status);
// The same with GetLastError().
[[noreturn]] void ThrowLastError(const std::string& what);
[[noreturn]] void ThrowComError(const std::string& what, HRESULT status);

// The folder holding the running executable, without a trailing backslash: the
// DLL under test and the template modules are built beside the test programs.
std::string RunningExecutableFolder();

// ANSI text (the library's code page) as UTF-16, for the wide-only APIs.
std::wstring Widen(const std::string& text);

}  // namespace kvil::machine

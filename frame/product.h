// Where the installed product is: its major version, its folders and the names of
// its engine and lexicon files.
#pragma once

#include <windows.h>

#include <cstddef>

namespace kvil {

inline constexpr const char kMakerRoot[] = "SOFTWARE\\Tervane";
inline constexpr const char kUninstallRoot[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kvil";

// The product's major version, cached for the process. 6 when the uninstall key
// has no numeric subkey; 0 (and nothing cached) when the key is missing.
int GetKvilVersion();
// Forgets the cached version, as a newly loaded library would.
void ResetKvilVersionCache();
// "Kvil\<n>.0" and "<n>.0" in library-wide buffers refilled on every call.
const char* GetKvilVersionKey();
const char* GetKvilVersionWord();

// 1 when the product was installed for the 64-bit registry view ("Installing" =
// 64, looked up in the 32-bit view first; see registry_view.h). Read once per
// export, every time outside one.
int IsRegistry64();

// The product's folder (with its trailing backslash); *length holds the capacity
// on entry and the string length on success.
int GetUninstallDir(char* buffer, DWORD* length);
// The folder holding the engines and lexicons for a language.
int GetStartupDir(char* buffer, DWORD* length, int lcid);

// Engine file name (style null) or lexicon name ("SPRUNORM.LEX") for a tool kind.
void BuildEngineFileName(int kind, int lcid, char* buffer, std::size_t capacity, const char* style);
// "NORM", "BIOL", ... "COML" for 0..12; null otherwise.
const char* DictStyleCode(int index);

}  // namespace kvil

// Attachment records: the product's own key per host, version, tool and language,
// from which its engines read their options and Check reads "Attached".
#pragma once

#include <windows.h>

#include <cstddef>

namespace kvil {

// SOFTWARE\Tervane\Kvil\<n>.0\Products\<app>\<version>\<tool key>\<lcid>.
// false when the tool kind has no key word, no product is installed, or the key
// does not fit.
bool BuildRecordKey(char* buffer, std::size_t capacity, const char* applicationKey, const char* version,
                    const char* toolKey, int lcid);

int WriteAttachRecord(const char* recordKey, int kind, int lcid, int generation, int mode);
int WriteAttachRecordSaved(const char* recordKey, int kind, int lcid, int savedLcid, int generation);
int SetAttachedFlag(int kind, int lcid, const char* applicationKey, const char* version, int generation,
                    DWORD value);
DWORD CheckAttachedFlag(int kind, int lcid, const char* applicationKey, const char* version, int generation);
DWORD ReadSavedLID(const char* applicationKey, const char* version, const char* toolKey, int lcid);
int RemoveStrictYO(const char* recordKey);
int FindOriginalLID(int kind, int generation, int mode);
void BuildSupplementList(int kind, int lcid, char* buffer, std::size_t capacity);

// 1 unless some LCID subkey of toolKeyPath has an "Attached" other than 1; a key
// that cannot be opened passes.
int AllLanguagesAttached(HKEY root, const char* toolKeyPath);

// Moves the product program's Start-menu shortcut into the language's start-up
// folder (hide) or copies it back into the menu.
void MoveMenuShortcut(const char* executableName, int hide, int lcid);

}  // namespace kvil

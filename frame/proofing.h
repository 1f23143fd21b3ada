// Proofing-tools registrations: the keys "<tree>\<tool>\<LCID>\<leaf>" with
// "Engine" and "Dictionary" through which Microsoft hosts find a proofing tool.
#pragma once

#include <windows.h>

namespace kvil {

inline constexpr const char kSharedProofingTree[] = "SOFTWARE\\Microsoft\\Shared Tools\\Proofing Tools";
inline constexpr const char kWord7ProofingTree[] = "Software\\Microsoft\\Word\\7.0\\Proofing Tools";

// "Normal", "Biological", ... "Complete" for 0..12, parallel to the style codes;
// null otherwise.
const char* ProofingLeafName(int leafIndex);

// Writes "Dictionary", then (only if that worked) "Engine" under
// "<keyPrefix>\<lcid>\<leaf>", each with its terminator. The Win32 status of the
// last write; 87 for a leaf index without a leaf.
LONG WriteProofingValues(HKEY root, const char* keyPrefix, const char* enginePath, const char* dictionaryPath,
                         int leafIndex, int lcid);
// "<folder>\<engine>" and "<folder>\<dictionary>" as the "Normal" registration
// under "<tree>\<toolKey>".
LONG RegisterProofingTool(HKEY root, const char* tree, const char* folder, const char* toolKey,
                          const char* engineName, const char* dictionaryName, int lcid);
// Keeps the shared registration it is about to replace under "Saved connections"
// unless it is already the product's. 1 when the shared registration may be written.
int SaveForeignConnection(const char* folder, const char* toolKey, const char* engineName,
                          const char* dictionaryName, int lcid);
// The product's engine and lexicon as the shared registration for a tool and
// language. 1 on success, and also when the foreign backup could not be made.
int RegisterProofingToolShared(const char* toolKey, const char* folder, const char* engineName,
                               const char* dictionaryName, int lcid);
// 1 when engine and lexicon are found in folder (the only search path). folder is
// a writable 260-byte buffer and is overwritten with what the search found.
// With requireRegistered, the shared registration must also name existing files.
int AvailFiles(char* folder, const char* engineName, const char* dictionaryName, const char* toolKey, int lcid,
               int requireRegistered);
// Reads "<tree>\<toolKey>\<lcid>\<leaf>" value; true for a non-empty REG_SZ.
bool GetRegisteredProofingValue(HKEY root, const char* tree, const char* toolKey, int lcid, const char* leaf,
                                const char* valueName, char* buffer, DWORD* length);

// A host's own registration under base ("<base>\<tool>\<lcid>\Normal") made the
// product's: the host's former "Engine" and "Dictionary" are kept beside them as
// "Saved by Kvil <n>:Engine" and "...:Dictionary", once. 1 on success.
int WriteOwnRegistration(HKEY root, const char* base, const char* toolKey, int lcid, const char* folder,
                         const char* engineName, const char* dictionaryName);
// Puts the saved values back; a value in productFolder with no backup is deleted,
// and the language's key goes when both did and nothing else is left in it.
int RestoreOwnRegistration(HKEY root, const char* base, const char* toolKey, int lcid, const char* productFolder);

}  // namespace kvil

// Registry primitives. Every open, create and delete names the view the key
// lives in, as registry_view.h chooses it: the product's view, or the Windows
// Installer's for its own data.
#pragma once

#include <windows.h>

#include "handles.h"
#include "registry_view.h"

namespace kvil {

// Sets a value, creating missing keys with the access list of the nearest
// existing ancestor. Returns the status of the value write; a key that could not
// be created reports 0, as callers rely only on failures of the value write.
LONG RegSetValueOpen(HKEY root, const char* path, const char* name, DWORD type, const void* data, DWORD length);
// "Plain" once meant no view flag, which for a 32-bit program is the 32-bit view;
// a 64-bit library reaches the same keys only by naming the view, so the plain
// variants do exactly what the others do.
LONG RegSetValueOpenPlain(HKEY root, const char* path, const char* name, DWORD type, const void* data,
                          DWORD length);

// Reads a value into buffer (capacity in *length, bytes read out). REG_EXPAND_SZ
// is expanded as a program of the key's view would (ExpandEnvironmentInView).
// String data is always returned NUL-terminated within the buffer; a string that
// cannot be terminated within it gives ERROR_MORE_DATA.
LONG RegGetValueExpand(HKEY root, const char* path, const char* name, char* buffer, DWORD* length, DWORD* type);
LONG RegGetValueExpandPlain(HKEY root, const char* path, const char* name, char* buffer, DWORD* length,
                            DWORD* type);

// Reads a REG_SZ or REG_EXPAND_SZ (expanded) into buffer[capacity]; false for any
// other type, a missing value, or text that does not fit.
bool RegReadString(HKEY root, const char* path, const char* name, char* buffer, DWORD capacity);
// Reads a REG_DWORD; false when missing or of another type or size.
bool RegReadDword(HKEY root, const char* path, const char* name, DWORD* value);
// Writes a REG_DWORD through RegSetValueOpen.
LONG RegSetDword(HKEY root, const char* path, const char* name, DWORD value);

// REG_SZ stored with its terminator, through RegSetValueOpen.
LONG RegSetText(HKEY root, const char* path, const char* name, const char* text);

// REG_SZ under HKEY_LOCAL_MACHINE, stored without its terminator. 1 or 0.
int RegSetString(const char* path, const char* name, const char* text);

// Non-zero when the key can be opened for reading.
int RegKeyExists(HKEY root, const char* path);

// Opens a key with the key's view flag added to access.
LONG RegOpenKeyView(HKEY root, const char* path, REGSAM access, UniqueHKey& key);

// Deletes path; with subkeys, only when recursive is non-zero (their subkeys first).
LONG RegDeleteKeyTree(HKEY root, const char* path, int recursive);
LONG RegDeleteValueAt(HKEY root, const char* path, const char* name);
// Deletes the key when it has no subkeys. path is cut at its last backslash.
int RegDeleteEmptyLeaf(HKEY root, char* path);

// The value's text as a decimal number; 1033 when missing, not text, or 0.
int ReadLIDValue(HKEY root, const char* path, const char* name);
// As ReadLIDValue, skipping as many characters as prefix is long.
int ReadLIDValueAfterPrefix(HKEY root, const char* path, const char* name, const char* prefix);

// The security a new key under path gets: a copy of the DACL of the nearest
// existing ancestor, or a null DACL when no ancestor exists or path itself does.
class InheritedKeySecurity {
 public:
  InheritedKeySecurity(HKEY root, const char* path);  // in the key's own view
  InheritedKeySecurity(HKEY root, const char* path, REGSAM view);
  InheritedKeySecurity(const InheritedKeySecurity&) = delete;
  InheritedKeySecurity& operator=(const InheritedKeySecurity&) = delete;
  ~InheritedKeySecurity();

  SECURITY_ATTRIBUTES* Attributes() { return &attributes_; }
  // The copied DACL; null when nothing was copied.
  const ACL* Dacl() const { return dacl_; }

 private:
  ACL* dacl_ = nullptr;
  SECURITY_DESCRIPTOR descriptor_{};
  SECURITY_ATTRIBUTES attributes_{};
};

}  // namespace kvil

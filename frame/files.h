// File, text and memory primitives: the setup-file reader, work buffers, the
// case-insensitive find and the version-resource tests that tell the product's
// engines from others.
#pragma once

#include <windows.h>

#include <cstddef>

namespace kvil {

// Key lookup: 1 when key was found in section (value copied), else 0 with the
// default copied. With key == nullptr the section's key names are listed,
// NUL-separated, and the listing's length is returned (capacity - 1 when cut).
int ReadIniString(const char* section, const char* key, const char* defaultText, char* out,
                  std::size_t capacity, const char* file);

// A zero-filled heap block; on failure the user is told "Memory allocation error!"
// and 0 is returned.
int AllocBuffer(char** variable, std::size_t size);
void FreeBuffer(char** variable);

// A work buffer owned by the routine that allocated it.
class WorkBuffer {
 public:
  WorkBuffer() = default;
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;
  ~WorkBuffer() { FreeBuffer(&data_); }

  bool Allocate(std::size_t size) {
    FreeBuffer(&data_);
    size_ = 0;
    if (!AllocBuffer(&data_, size)) return false;
    size_ = size;
    return true;
  }
  char* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
};

// Where pattern starts in text, ignoring letter case; null when absent.
const char* FindNoCase(const char* text, const char* pattern);

bool FileExists(const char* path);
// A folder (not a file) at path.
bool IsExistingFolder(const char* path);

// 1 when the file's "CompanyName" names the maker (and, when productVersion is
// given, its "ProductVersion" contains that text).
int CheckCompanyName(const char* path, const char* productVersion);
// 1 for the product's own engines: product version 8.0 or later, or the 6.0
// hyphenators "inhy32ru.dll" and "inhy32ur.dll".
int IsKvilEngine(const char* path);
// 1 when the key's "Engine" and "Dictionary" can be read and the Engine is the
// product's own.
int CheckProofingEngine(HKEY root, const char* path, int unused);

// "major.minor" of the file version, at most 9 characters. false when the file
// has no version resource.
bool GetShortFileVersion(const char* path, char* buffer, std::size_t capacity);
// The major product version of a file; 0 when it has none.
int GetProductVersionMajor(const char* path);

}  // namespace kvil

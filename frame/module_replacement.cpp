#include "module_replacement.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "handles.h"

namespace kvil {

namespace {

UniqueFile OpenForReading(const char* path) {
  return UniqueFile(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

bool IsExistingFile(const char* path) {
  if (path == nullptr) return false;
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool SameFileContents(const char* first, const char* second) {
  UniqueFile a = OpenForReading(first);
  UniqueFile b = OpenForReading(second);
  LARGE_INTEGER sizeA{};
  LARGE_INTEGER sizeB{};
  if (!a || !b || !GetFileSizeEx(a.get(), &sizeA) || !GetFileSizeEx(b.get(), &sizeB) ||
      sizeA.QuadPart != sizeB.QuadPart) {
    return false;
  }
  std::array<char, 16384> blockA;
  std::array<char, 16384> blockB;
  for (;;) {
    DWORD readA = 0;
    DWORD readB = 0;
    if (!ReadFile(a.get(), blockA.data(), blockA.size(), &readA, nullptr) ||
        !ReadFile(b.get(), blockB.data(), blockB.size(), &readB, nullptr) || readA != readB) {
      return false;
    }
    if (readA == 0) return true;
    if (!std::equal(blockA.begin(), blockA.begin() + readA, blockB.begin())) return false;
  }
}

bool ReplaceHostModule(const char* hostModule, const char* backup, const char* productModule) {
  if (!IsExistingFile(productModule)) return false;
  const bool hostFileToKeep = IsExistingFile(hostModule) && !IsExistingFile(backup) &&
                              !SameFileContents(hostModule, productModule);
  if (hostFileToKeep && !CopyFileA(hostModule, backup, TRUE)) return false;
  if (CopyFileA(productModule, hostModule, FALSE)) return true;
  // The host's module could not be overwritten (the host has it open): the
  // backup made for it goes again, so the host's folder is as it was.
  if (hostFileToKeep) DeleteFileA(backup);
  return false;
}

bool RestoreHostModule(const char* hostModule, const char* backup) {
  if (!IsExistingFile(backup)) return true;
  return MoveFileExA(backup, hostModule, MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED) != FALSE;
}

}  // namespace kvil

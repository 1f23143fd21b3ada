#include "file_version.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

namespace kvilhosts {
namespace {

// The text of one string of the resource, no further than the length the reader
// gives for it, whatever terminator the file has or lacks.
std::string StringValue(const std::vector<BYTE>& block, const std::string& translation, const char* name) {
  const std::string query = "\\StringFileInfo\\" + translation + "\\" + name;
  void* data = nullptr;
  UINT length = 0;
  if (!VerQueryValueA(block.data(), query.c_str(), &data, &length) || data == nullptr) return {};
  const char* const text = static_cast<const char*>(data);
  return std::string(text, strnlen(text, length));
}

// "040904b0": the first language and code page the resource lists, or U.S.
// English in Unicode, as this build's resources are written, when it lists none.
std::string FirstTranslation(const std::vector<BYTE>& block) {
  void* data = nullptr;
  UINT length = 0;
  WORD languageAndCodePage[2] = {0x0409, 0x04b0};
  if (VerQueryValueA(block.data(), "\\VarFileInfo\\Translation", &data, &length) && data != nullptr &&
      length >= sizeof languageAndCodePage) {
    std::memcpy(languageAndCodePage, data, sizeof languageAndCodePage);
  }
  std::array<char, 9> text{};
  std::snprintf(text.data(), text.size(), "%04x%04x", languageAndCodePage[0], languageAndCodePage[1]);
  return text.data();
}

}  // namespace

FileVersionRead ReadFileVersion(const std::string& path) {
  FileVersionRead read;
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeA(path.c_str(), &ignored);
  std::vector<BYTE> block(size);
  void* fixedData = nullptr;
  UINT fixedLength = 0;
  if (size == 0 || !GetFileVersionInfoA(path.c_str(), 0, size, block.data())) {
    read.error = GetLastError();
    return read;
  }
  if (!VerQueryValueA(block.data(), "\\", &fixedData, &fixedLength) || fixedLength < sizeof(VS_FIXEDFILEINFO)) {
    read.error = ERROR_RESOURCE_DATA_NOT_FOUND;
    return read;
  }
  VS_FIXEDFILEINFO fixed{};
  std::memcpy(&fixed, fixedData, sizeof fixed);
  std::array<char, 24> fileVersion{};
  std::snprintf(fileVersion.data(), fileVersion.size(), "%u.%u.%u.%u", HIWORD(fixed.dwFileVersionMS),
                LOWORD(fixed.dwFileVersionMS), HIWORD(fixed.dwFileVersionLS), LOWORD(fixed.dwFileVersionLS));
  const std::string translation = FirstTranslation(block);
  read.version =
      FileVersion{fileVersion.data(), StringValue(block, translation, "FileDescription"),
                  StringValue(block, translation, "CompanyName"), StringValue(block, translation, "ProductName"),
                  StringValue(block, translation, "ProductVersion")};
  return read;
}

std::string FileVersionLine(const std::string& name, const FileVersionRead& read) {
  if (!read.version) return name + ": no version resource (error " + std::to_string(read.error) + ")";
  const FileVersion& version = *read.version;
  return name + " " + version.fileVersion + " (" + version.description + ", " + version.company + ", " +
         version.productName + " " + version.productVersion + ")";
}

}  // namespace kvilhosts

#include "files.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bounded_text.h"
#include "registry.h"
#include "version_resource.h"

namespace kvil {

namespace {

constexpr std::size_t kIniLineCapacity = 4096;
constexpr std::size_t kShortVersionLength = 9;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueStdFile = std::unique_ptr<std::FILE, FileCloser>;

bool IsBlank(char character) { return static_cast<unsigned char>(character) <= 32; }

// Value text after "=": blanks trimmed on both sides, one pair of quotes removed.
std::string_view TrimIniValue(const char* text) {
  std::string_view value(text);
  while (!value.empty() && IsBlank(value.front())) value.remove_prefix(1);
  while (!value.empty() && IsBlank(value.back())) value.remove_suffix(1);
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
  return value;
}

bool IsSectionHeader(const char* line, const char* section) {
  std::size_t length = std::strlen(section);
  return line[0] == '[' && _strnicmp(line + 1, section, length) == 0 && line[1 + length] == ']';
}

// A key name of a listing: leading blanks dropped, cut at "=" or a control character.
std::string_view ListedKeyName(const char* line) {
  while (*line == ' ' || *line == '\t') ++line;
  std::size_t length = 0;
  while (line[length] != '\0' && line[length] != '=' && static_cast<unsigned char>(line[length]) >= 32) ++length;
  return {line, length};
}

// The file's version resource, loaded whole.
class VersionResource {
 public:
  bool Load(const char* path) { return path != nullptr && FileExists(path) && ReadVersionBlock(path, data_); }

  const VS_FIXEDFILEINFO* Fixed() const {
    void* info = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(data_.data(), "\\", &info, &length) || length < sizeof(VS_FIXEDFILEINFO)) return nullptr;
    return static_cast<const VS_FIXEDFILEINFO*>(info);
  }

  // A string of the US English, Unicode block "040904b0"; null when absent.
  const char* String(const char* name) const {
    PathText query;
    query.Format("\\%s\\%s\\%s", "StringFileInfo", "040904b0", name);
    void* text = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(data_.data(), query.c_str(), &text, &length) || text == nullptr) return nullptr;
    return static_cast<const char*>(text);
  }

 private:
  mutable std::vector<BYTE> data_;
};

bool IsOldProductHyphenator(const char* path) {
  const char* name = path;
  for (const char* cursor = path; *cursor != '\0'; ++cursor) {
    if (*cursor == '\\' || *cursor == '/') name = cursor + 1;
  }
  return _stricmp(name, "inhy32ru.dll") == 0 || _stricmp(name, "inhy32ur.dll") == 0;
}

int ListIniSection(std::FILE* file, const char* section, char* out, std::size_t capacity) {
  std::memset(out, 0, 2);
  std::size_t listed = 0;
  bool inSection = false;
  char line[kIniLineCapacity];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    if (line[0] == '[') {
      inSection = IsSectionHeader(line, section);
      continue;
    }
    if (!inSection || line[0] == ';' || line[0] == '\'') continue;
    std::string_view name = ListedKeyName(line);
    if (name.empty()) continue;
    if (listed + name.size() + 1 > capacity - 2) return static_cast<int>(capacity - 1);
    std::memcpy(out + listed, name.data(), name.size());
    listed += name.size();
    out[listed++] = '\0';
    out[listed] = '\0';
  }
  return static_cast<int>(listed);
}

}  // namespace

int ReadIniString(const char* section, const char* key, const char* defaultText, char* out, std::size_t capacity,
                  const char* file) {
  auto notFound = [&] {
    if (out != nullptr && capacity > 0) CopyBounded(out, capacity, defaultText != nullptr ? defaultText : "");
    return 0;
  };
  if (out == nullptr || capacity < 2 || section == nullptr || *section == '\0' || file == nullptr ||
      *file == '\0' || (key != nullptr && *key == '\0')) {
    return notFound();
  }
  UniqueStdFile stream(std::fopen(file, "rb"));
  if (!stream) return notFound();
  if (key == nullptr) return ListIniSection(stream.get(), section, out, capacity);

  const std::size_t keyLength = std::strlen(key);
  bool inSection = false;
  char line[kIniLineCapacity];
  while (std::fgets(line, sizeof line, stream.get()) != nullptr) {
    if (line[0] == '[') {
      inSection = IsSectionHeader(line, section);
      continue;
    }
    if (!inSection || _strnicmp(line, key, keyLength) != 0 || line[keyLength] != '=') continue;
    std::string_view value = TrimIniValue(line + keyLength + 1);
    if (value.empty()) return notFound();
    if (value.size() > capacity - 2) {
      CopyBounded(out, capacity - 1, value);  // cut to capacity - 2 characters
      return 0;
    }
    CopyBounded(out, capacity, value);
    return 1;
  }
  return notFound();
}

int AllocBuffer(char** variable, std::size_t size) {
  if (variable == nullptr) return 0;
  *variable = static_cast<char*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
  if (*variable == nullptr) {
    MessageBoxA(nullptr, "Memory allocation error!", "Service Error", MB_OK | MB_ICONSTOP);
    return 0;
  }
  return 1;
}

void FreeBuffer(char** variable) {
  if (variable == nullptr || *variable == nullptr) return;
  HeapFree(GetProcessHeap(), 0, *variable);
  *variable = nullptr;
}

const char* FindNoCase(const char* text, const char* pattern) {
  if (text == nullptr || pattern == nullptr) return nullptr;
  auto upper = [](const char* source) {
    std::string copy(source);
    for (char& character : copy) character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    return copy;
  };
  std::string upperText = upper(text);
  std::size_t position = upperText.find(upper(pattern));
  return position == std::string::npos ? nullptr : text + position;
}

bool FileExists(const char* path) { return path != nullptr && GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES; }

bool IsExistingFolder(const char* path) {
  if (path == nullptr) return false;
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int CheckCompanyName(const char* path, const char* productVersion) {
  VersionResource resource;
  if (!resource.Load(path)) return 0;
  const char* company = resource.String("CompanyName");
  if (company == nullptr || FindNoCase(company, "Tervane") == nullptr) return 0;
  if (productVersion == nullptr) return 1;
  const char* version = resource.String("ProductVersion");
  return version != nullptr && std::strstr(version, productVersion) != nullptr ? 1 : 0;
}

int IsKvilEngine(const char* path) {
  VersionResource resource;
  if (!resource.Load(path)) return 0;
  const VS_FIXEDFILEINFO* fixed = resource.Fixed();
  if (fixed == nullptr) return 0;
  if (HIWORD(fixed->dwProductVersionMS) >= 8) return 1;
  // The product's older hyphenators carry version 6.0 and are still its own.
  return fixed->dwProductVersionMS == MAKELONG(0, 6) && IsOldProductHyphenator(path) ? 1 : 0;
}

int CheckProofingEngine(HKEY root, const char* path, int /*unused*/) {
  PathText engine;
  PathText dictionary;
  if (!RegReadString(root, path, "Engine", engine.data(), PathText::kCapacity) ||
      !RegReadString(root, path, "Dictionary", dictionary.data(), PathText::kCapacity)) {
    return 0;
  }
  return IsKvilEngine(engine.c_str());
}

bool GetShortFileVersion(const char* path, char* buffer, std::size_t capacity) {
  VersionResource resource;
  if (!resource.Load(path)) return false;
  const VS_FIXEDFILEINFO* fixed = resource.Fixed();
  if (fixed == nullptr) return false;
  std::size_t bounded = capacity < kShortVersionLength + 1 ? capacity : kShortVersionLength + 1;
  FormatBounded(buffer, bounded, "%u.%u", HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS));
  return true;
}

int GetProductVersionMajor(const char* path) {
  VersionResource resource;
  if (!resource.Load(path)) return 0;
  const VS_FIXEDFILEINFO* fixed = resource.Fixed();
  return fixed != nullptr ? HIWORD(fixed->dwProductVersionMS) : 0;
}

}  // namespace kvil

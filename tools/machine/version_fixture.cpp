#include "version_fixture.h"

#include <winver.h>

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "handles.h"
#include "win32_support.h"

namespace kvil::machine {
namespace {

constexpr WORD kUsEnglish = 0x0409;
constexpr WORD kUnicodeCodePage = 0x04b0;
constexpr WORD kBinaryBlock = 0;
constexpr WORD kTextBlock = 1;

std::string DottedVersion(const std::array<WORD, 4>& version) {
  return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." + std::to_string(version[2]) + "." +
         std::to_string(version[3]);
}

// The version resource is a tree of blocks, each "length, value length, type,
// UTF-16 key, value, children", with the key, the value and every child starting
// on a 32-bit boundary of the resource.
class VersionResourceWriter {
 public:
  // Starts a block and returns its offset for Close(); the value follows.
  std::size_t Open(std::string_view key, WORD valueLength, WORD type) {
    AlignToDword();
    const std::size_t start = bytes_.size();
    AppendWord(0);
    AppendWord(valueLength);
    AppendWord(type);
    for (const char letter : key) AppendWord(static_cast<WORD>(letter));
    AppendWord(0);
    AlignToDword();
    return start;
  }

  // A block's length covers its value and children but not the padding after them.
  void Close(std::size_t start) {
    const std::size_t length = bytes_.size() - start;
    if (length > 0xFFFF) throw std::length_error("version resource block longer than 64 KB");
    bytes_[start] = static_cast<std::uint8_t>(length);
    bytes_[start + 1] = static_cast<std::uint8_t>(length >> 8);
  }

  void AppendWord(WORD word) {
    bytes_.push_back(static_cast<std::uint8_t>(word));
    bytes_.push_back(static_cast<std::uint8_t>(word >> 8));
  }

  void AppendDword(DWORD dword) {
    AppendWord(static_cast<WORD>(dword));
    AppendWord(static_cast<WORD>(dword >> 16));
  }

  void AppendTerminatedText(const std::wstring& text) {
    for (const wchar_t unit : text) AppendWord(static_cast<WORD>(unit));
    AppendWord(0);
  }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  void AlignToDword() {
    while (bytes_.size() % 4 != 0) bytes_.push_back(0);
  }

  std::vector<std::uint8_t> bytes_;
};

void AppendFixedFileInfo(VersionResourceWriter& writer, const VersionStamp& stamp, bool program) {
  const auto high = [](const std::array<WORD, 4>& version) { return MAKELONG(version[1], version[0]); };
  const auto low = [](const std::array<WORD, 4>& version) { return MAKELONG(version[3], version[2]); };
  const DWORD fields[] = {
      0xFEEF04BD,                        // signature
      0x00010000,                        // structure version 1.0
      static_cast<DWORD>(high(stamp.fileVersion)),
      static_cast<DWORD>(low(stamp.fileVersion)),
      static_cast<DWORD>(high(stamp.productVersion)),
      static_cast<DWORD>(low(stamp.productVersion)),
      VS_FFI_FILEFLAGSMASK,
      0,                                 // flags: a release build
      VOS_NT_WINDOWS32,
      static_cast<DWORD>(program ? VFT_APP : VFT_DLL),
      VFT2_UNKNOWN,
      0,                                 // date, high and low
      0,
  };
  static_assert(sizeof fields == sizeof(VS_FIXEDFILEINFO));
  for (const DWORD field : fields) writer.AppendDword(field);
}

void AppendString(VersionResourceWriter& writer, std::string_view name, const std::string& text) {
  if (text.empty()) return;
  const std::wstring wide = Widen(text);
  const std::size_t block = writer.Open(name, static_cast<WORD>(wide.size() + 1), kTextBlock);
  writer.AppendTerminatedText(wide);
  writer.Close(block);
}

std::vector<std::uint8_t> BuildVersionResource(const VersionStamp& stamp, bool program) {
  VersionResourceWriter writer;
  const std::size_t root = writer.Open("VS_VERSION_INFO", sizeof(VS_FIXEDFILEINFO), kBinaryBlock);
  AppendFixedFileInfo(writer, stamp, program);

  const std::size_t stringFileInfo = writer.Open("StringFileInfo", 0, kTextBlock);
  const std::size_t usEnglishTable = writer.Open("040904b0", 0, kTextBlock);
  AppendString(writer, "CompanyName", stamp.companyName);
  AppendString(writer, "FileVersion", DottedVersion(stamp.fileVersion));
  AppendString(writer, "ProductVersion", stamp.productVersionText);
  writer.Close(usEnglishTable);
  writer.Close(stringFileInfo);

  const std::size_t varFileInfo = writer.Open("VarFileInfo", 0, kTextBlock);
  const std::size_t translation = writer.Open("Translation", 2 * sizeof(WORD), kBinaryBlock);
  writer.AppendWord(kUsEnglish);
  writer.AppendWord(kUnicodeCodePage);
  writer.Close(translation);
  writer.Close(varFileInfo);

  writer.Close(root);
  return writer.bytes();
}

// A pending resource update of one file; discarded unless committed, so a failed
// write leaves the copied template as it was.
class ResourceUpdate {
 public:
  explicit ResourceUpdate(const std::string& path) : path_(path), update_(BeginUpdateResourceA(path.c_str(), FALSE)) {
    if (update_ == nullptr) ThrowLastError("cannot open the resources of " + path_);
  }
  ResourceUpdate(const ResourceUpdate&) = delete;
  ResourceUpdate& operator=(const ResourceUpdate&) = delete;
  ~ResourceUpdate() {
    if (update_ != nullptr) EndUpdateResourceA(update_, TRUE);
  }

  void SetVersionResource(std::vector<std::uint8_t> resource) {
    if (!UpdateResourceA(update_, RT_VERSION, MAKEINTRESOURCEA(VS_VERSION_INFO), kUsEnglish,
                         resource.data(), static_cast<DWORD>(resource.size()))) {
      ThrowLastError("cannot add a version resource to " + path_);
    }
  }

  void Commit() {
    if (!EndUpdateResourceA(std::exchange(update_, nullptr), FALSE)) {
      ThrowLastError("cannot write the resources of " + path_);
    }
  }

 private:
  std::string path_;
  HANDLE update_;
};

bool NamesProgram(const std::string& path) {
  constexpr std::string_view kProgramSuffix = ".exe";
  if (path.size() < kProgramSuffix.size()) return false;
  const std::string_view suffix = std::string_view(path).substr(path.size() - kProgramSuffix.size());
  return CompareStringA(LOCALE_INVARIANT, NORM_IGNORECASE, suffix.data(), static_cast<int>(suffix.size()),
                        kProgramSuffix.data(), static_cast<int>(kProgramSuffix.size())) == CSTR_EQUAL;
}

void CopyTemplate(const std::string& path) {
  const std::string templatePath =
      RunningExecutableFolder() + (NamesProgram(path) ? "\\template_program.exe" : "\\template_module.dll");
  if (!CopyFileA(templatePath.c_str(), path.c_str(), FALSE)) {
    ThrowLastError("cannot copy " + templatePath + " to " + path);
  }
}

}  // namespace

VersionStamp ProductEngine() { return VersionStamp{}; }

VersionStamp ForeignEngine() {
  return VersionStamp{{8, 0, 0, 0}, {8, 0, 0, 0}, "Microsoft Corporation", "8.0"};
}

VersionStamp ProductHyphenator6() { return VersionStamp{{6, 0, 0, 0}, {6, 0, 0, 0}, "Tervane", "6.0"}; }

VersionStamp HostProgram(WORD major, WORD minor) {
  return VersionStamp{{major, minor, 0, 0},
                     {major, minor, 0, 0},
                     "Microsoft Corporation",
                     std::to_string(major) + "." + std::to_string(minor)};
}

void WriteVersionedModule(const std::string& path, const VersionStamp& stamp) {
  CopyTemplate(path);
  ResourceUpdate update(path);
  update.SetVersionResource(BuildVersionResource(stamp, NamesProgram(path)));
  update.Commit();
}

void WriteUnversionedModule(const std::string& path) { CopyTemplate(path); }

void WriteFile(const std::string& path, const std::string& contents) {
  const kvil::UniqueFile file(
      CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) ThrowLastError("cannot create " + path);
  DWORD written = 0;
  if (!::WriteFile(file.get(), contents.data(), static_cast<DWORD>(contents.size()), &written, nullptr) ||
      written != contents.size()) {
    ThrowLastError("cannot write " + path);
  }
}

void CreateFolder(const std::string& path) {
  // Each prefix that ends before a separator is a parent; the drive ("C:") and a
  // UNC server part fail harmlessly and the final check decides.
  for (std::size_t separator = path.find_first_of("\\/", 1); separator != std::string::npos;
       separator = path.find_first_of("\\/", separator + 1)) {
    CreateDirectoryA(path.substr(0, separator).c_str(), nullptr);
  }
  if (!CreateDirectoryA(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    ThrowLastError("cannot create the folder " + path);
  }
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    throw std::runtime_error("cannot create the folder " + path + ": a file of that name is in the way");
  }
}

bool FileExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string ReadFileBytes(const std::string& path) {
  const kvil::UniqueFile file(
      CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) ThrowLastError("cannot open " + path);
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file.get(), &size)) ThrowLastError("cannot read the size of " + path);
  std::string contents(static_cast<std::size_t>(size.QuadPart), '\0');
  DWORD read = 0;
  if (!ReadFile(file.get(), contents.data(), static_cast<DWORD>(contents.size()), &read, nullptr)) {
    ThrowLastError("cannot read " + path);
  }
  contents.resize(read);
  return contents;
}

namespace {
// The size and a 64-bit FNV-1a hash of the bytes: equal for equal files, and
// short enough to print when a comparison fails.
std::string Fingerprint(const std::string& bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  for (unsigned char byte : bytes) hash = (hash ^ byte) * 1099511628211ull;
  char text[64];
  std::snprintf(text, sizeof text, "%zu bytes, fnv %016llx", bytes.size(), static_cast<unsigned long long>(hash));
  return text;
}

void CollectFolder(const std::string& folder, const std::string& relative, std::map<std::string, std::string>& out) {
  WIN32_FIND_DATAA found{};
  const kvil::UniqueFind find(FindFirstFileA((folder + "\\*").c_str(), &found));
  if (!find) return;
  do {
    const std::string name = found.cFileName;
    if (name == "." || name == "..") continue;
    const std::string path = folder + "\\" + name;
    const std::string inside = relative.empty() ? name : relative + "\\" + name;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      out[inside] = "<folder>";
      CollectFolder(path, inside, out);
    } else {
      out[inside] = Fingerprint(ReadFileBytes(path));
    }
  } while (FindNextFileA(find.get(), &found));
}
}  // namespace

std::map<std::string, std::string> FolderContents(const std::string& folder) {
  std::map<std::string, std::string> contents;
  CollectFolder(folder, "", contents);
  return contents;
}

}  // namespace kvil::machine

#include "version_resource.h"

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "handles.h"

namespace kvil {

namespace {

// The room the system's reader leaves after the resource, and the mark it puts
// there.
constexpr char kConversionSignature[4] = {'F', 'E', '2', 'X'};
constexpr WORD kVersionResourceType = 16;  // RT_VERSION

// A resource type or name given by number, in the character width of the call.
template <typename Char>
const Char* NumberedResource(WORD id) {
  return reinterpret_cast<const Char*>(static_cast<ULONG_PTR>(id));
}

// The system's reader loads the file as an image resource twice, once for the
// size and once more for the bytes, each load a mapping of the whole program.
// The resource is taken here from one such load, the same load the reader
// makes, so that the module it finds is the one the reader would have found
// (Wine, for one, hands out its own program for some names); a file the load
// refuses or that carries no resource goes to the reader itself, which then
// also looks into the file in its own way.
template <typename Char, typename Load, typename Find>
bool CopyFromOneLoad(const Char* path, std::vector<BYTE>& block, Load load, Find find) {
  const UniqueModule module(load(path, nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE));
  if (!module) return false;
  HRSRC resource =
      find(module.get(), NumberedResource<Char>(VS_VERSION_INFO), NumberedResource<Char>(kVersionResourceType));
  if (resource == nullptr) return false;
  const DWORD size = SizeofResource(module.get(), resource);
  HGLOBAL loaded = LoadResource(module.get(), resource);
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (bytes == nullptr) return false;
  block.assign(static_cast<std::size_t>(size) * 2 + sizeof kConversionSignature, 0);
  std::memcpy(block.data(), bytes, size);
  WORD declaredLength = 0;
  std::memcpy(&declaredLength, block.data(), sizeof declaredLength);
  if (block.size() >= declaredLength + sizeof kConversionSignature) {
    std::memcpy(block.data() + declaredLength, kConversionSignature, sizeof kConversionSignature);
  }
  return true;
}

enum class ReadOutcome { kFound, kNoResource, kFailed };

// The reader's own word that the file carries no version resource, as opposed
// to a file it could not read at that moment.
bool SaysNoResource(DWORD error) {
  return error == ERROR_RESOURCE_DATA_NOT_FOUND || error == ERROR_RESOURCE_TYPE_NOT_FOUND ||
         error == ERROR_RESOURCE_NAME_NOT_FOUND;
}

template <typename Char, typename SystemSize, typename SystemRead>
ReadOutcome ReadWithSystem(const Char* path, std::vector<BYTE>& block, SystemSize systemSize,
                           SystemRead systemRead) {
  DWORD handle = 0;
  const DWORD size = systemSize(path, &handle);
  if (size == 0) return SaysNoResource(GetLastError()) ? ReadOutcome::kNoResource : ReadOutcome::kFailed;
  block.assign(size, 0);
  if (systemRead(path, 0, size, block.data())) return ReadOutcome::kFound;
  block.clear();
  return ReadOutcome::kFailed;
}

// The system calls of each character width.
template <typename Char>
struct WidthCalls;
template <>
struct WidthCalls<char> {
  static constexpr auto kCreateFile = CreateFileA;
  static constexpr auto kLoadLibraryEx = LoadLibraryExA;
  static constexpr auto kFindResource = FindResourceA;
  static constexpr auto kVersionInfoSize = GetFileVersionInfoSizeA;
  static constexpr auto kVersionInfo = GetFileVersionInfoA;
};
template <>
struct WidthCalls<wchar_t> {
  static constexpr auto kCreateFile = CreateFileW;
  static constexpr auto kLoadLibraryEx = LoadLibraryExW;
  static constexpr auto kFindResource = FindResourceW;
  static constexpr auto kVersionInfoSize = GetFileVersionInfoSizeW;
  static constexpr auto kVersionInfo = GetFileVersionInfoW;
};

template <typename Char>
ReadOutcome ReadFromFile(const Char* path, std::vector<BYTE>& block) {
  using Calls = WidthCalls<Char>;
  if (CopyFromOneLoad(path, block, Calls::kLoadLibraryEx, Calls::kFindResource)) return ReadOutcome::kFound;
  return ReadWithSystem(path, block, Calls::kVersionInfoSize, Calls::kVersionInfo);
}

// A survey asks for the versions of the same few dozen programs again and
// again, and each read maps the whole program. A block read before is handed
// out again while the file at that path is, by every mark the file system
// keeps, the same file in the same state as at that read.
constexpr std::size_t kCachedFiles = 64;
constexpr std::size_t kLargestCachedBlock = 16 * 1024;

// 100-nanosecond units, as file times count.
constexpr LONGLONG kFileTimeUnitsPerMillisecond = 10'000;
constexpr LONGLONG kFileTimeUnitsPerSecond = 1000 * kFileTimeUnitsPerMillisecond;

// What the file system tells of a file without reading it. The change time
// moves on every write, rename, copy over and time setting, which the last
// write time and the size alone would not show (a copy brings its source's last
// write time, and a program can set it back).
struct FileState {
  LONGLONG creationTime = 0;
  LONGLONG lastWriteTime = 0;
  LONGLONG changeTime = 0;
  LONGLONG size = 0;

  bool operator==(const FileState&) const = default;
};

LONGLONG Now() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return static_cast<LONGLONG>((static_cast<ULONGLONG>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
}

// A drive path ("C:\...") or a network path ("\\server\..."): names that mean
// the same file to the file system and to the loader, which searches its own
// folders for any other name.
template <typename Char>
bool IsFullyQualified(std::basic_string_view<Char> path) {
  auto isSeparator = [](Char c) { return c == Char('\\') || c == Char('/'); };
  if (path.size() >= 3 && path[1] == Char(':') && isSeparator(path[2])) {
    const Char drive = path[0];
    return (drive >= Char('A') && drive <= Char('Z')) || (drive >= Char('a') && drive <= Char('z'));
  }
  return path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1]);
}

// The state of the file at path, when it is one worth trusting: a plain file
// whose change time is stamped finer than whole seconds, and longer ago than
// the system clock takes to tick, so that no later change can be stamped with
// the same time. File systems that keep whole seconds (FAT, which also keeps
// no change time of its own but shows the last write time instead) give no
// such evidence.
template <typename Char>
std::optional<FileState> SettledFileState(const Char* path) {
  const UniqueFile file(WidthCalls<Char>::kCreateFile(path, FILE_READ_ATTRIBUTES,
                                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                      OPEN_EXISTING, 0, nullptr));
  if (!file) return std::nullopt;
  FILE_BASIC_INFO basic{};
  FILE_STANDARD_INFO standard{};
  if (!GetFileInformationByHandleEx(file.get(), FileBasicInfo, &basic, sizeof basic) ||
      !GetFileInformationByHandleEx(file.get(), FileStandardInfo, &standard, sizeof standard) || standard.Directory) {
    return std::nullopt;
  }
  const FileState state{basic.CreationTime.QuadPart, basic.LastWriteTime.QuadPart, basic.ChangeTime.QuadPart,
                        standard.EndOfFile.QuadPart};
  if (state.changeTime % kFileTimeUnitsPerSecond == 0 ||
      Now() - state.changeTime < static_cast<LONGLONG>(kVersionCacheSettleMilliseconds) * kFileTimeUnitsPerMillisecond) {
    return std::nullopt;
  }
  return state;
}

// A narrow path is kept with each byte widened, beside its width, so that a
// narrow and a wide path never share an entry.
struct CacheKey {
  bool wide = false;
  std::wstring path;

  bool operator==(const CacheKey&) const = default;
};

template <typename Char>
CacheKey KeyOf(std::basic_string_view<Char> path) {
  CacheKey key{std::is_same_v<Char, wchar_t>, {}};
  key.path.reserve(path.size());
  for (const Char c : path) key.path.push_back(static_cast<wchar_t>(static_cast<std::make_unsigned_t<Char>>(c)));
  return key;
}

struct CachedBlock {
  CacheKey key;
  FileState state;
  std::vector<BYTE> block;  // empty: the file carries no version resource
};

// The library is called from one thread at a time, as its other caches assume.
class VersionBlockCache {
 public:
  const CachedBlock* Find(const CacheKey& key, const FileState& state) const {
    const CachedBlock* entry = EntryFor(key);
    return entry != nullptr && entry->state == state ? entry : nullptr;
  }

  // Takes the path's own entry when it has one, so that a changed file leaves
  // no stale twin behind; otherwise the oldest.
  void Store(CacheKey key, const FileState& state, const std::vector<BYTE>& block) {
    if (block.size() > kLargestCachedBlock) return;
    CachedBlock* entry = EntryFor(key);
    if (entry == nullptr) {
      entry = &entries_[oldest_];
      oldest_ = (oldest_ + 1) % entries_.size();
    }
    entry->key = std::move(key);
    entry->state = state;
    entry->block = block;
  }

 private:
  const CachedBlock* EntryFor(const CacheKey& key) const {
    for (const CachedBlock& entry : entries_) {
      if (entry.key == key) return &entry;
    }
    return nullptr;
  }
  CachedBlock* EntryFor(const CacheKey& key) {
    return const_cast<CachedBlock*>(std::as_const(*this).EntryFor(key));
  }

  std::array<CachedBlock, kCachedFiles> entries_{};
  std::size_t oldest_ = 0;
};

VersionBlockCache& Cache() {
  static VersionBlockCache cache;
  return cache;
}

template <typename Char>
bool ReadThroughCache(const Char* path, std::vector<BYTE>& block) {
  block.clear();
  if (path == nullptr) return false;
  const std::basic_string_view<Char> pathView(path);
  const std::optional<FileState> state =
      pathView.size() < MAX_PATH && IsFullyQualified(pathView) ? SettledFileState(path) : std::nullopt;
  if (!state) return ReadFromFile(path, block) == ReadOutcome::kFound;
  CacheKey key = KeyOf(pathView);
  if (const CachedBlock* cached = Cache().Find(key, *state)) {
    block = cached->block;
    return !block.empty();
  }
  const ReadOutcome outcome = ReadFromFile(path, block);
  if (outcome != ReadOutcome::kFailed) Cache().Store(std::move(key), *state, block);
  return outcome == ReadOutcome::kFound;
}

}  // namespace

bool ReadVersionBlock(const char* path, std::vector<BYTE>& block) { return ReadThroughCache(path, block); }

bool ReadVersionBlock(const wchar_t* path, std::vector<BYTE>& block) { return ReadThroughCache(path, block); }

}  // namespace kvil

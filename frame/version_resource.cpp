#include "version_resource.h"

#include <cstring>

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

template <typename Char, typename SystemSize, typename SystemRead>
bool ReadWithSystem(const Char* path, std::vector<BYTE>& block, SystemSize systemSize, SystemRead systemRead) {
  DWORD handle = 0;
  const DWORD size = systemSize(path, &handle);
  if (size == 0) return false;
  block.assign(size, 0);
  if (systemRead(path, 0, size, block.data())) return true;
  block.clear();
  return false;
}

}  // namespace

bool ReadVersionBlock(const char* path, std::vector<BYTE>& block) {
  block.clear();
  if (path == nullptr) return false;
  return CopyFromOneLoad(path, block, LoadLibraryExA, FindResourceA) ||
         ReadWithSystem(path, block, GetFileVersionInfoSizeA, GetFileVersionInfoA);
}

bool ReadVersionBlock(const wchar_t* path, std::vector<BYTE>& block) {
  block.clear();
  if (path == nullptr) return false;
  return CopyFromOneLoad(path, block, LoadLibraryExW, FindResourceW) ||
         ReadWithSystem(path, block, GetFileVersionInfoSizeW, GetFileVersionInfoW);
}

}  // namespace kvil

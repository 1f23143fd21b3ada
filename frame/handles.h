// Owners for the operating-system handles the library opens, so that every early
// return closes what was opened.
#pragma once

#include <windows.h>

#include <utility>

namespace kvil {

template <typename Handle, typename Traits>
class UniqueHandle {
 public:
  UniqueHandle() = default;
  explicit UniqueHandle(Handle handle) : handle_(handle) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, Traits::Invalid())) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, Traits::Invalid()));
    return *this;
  }
  ~UniqueHandle() { reset(); }

  Handle get() const { return handle_; }
  // For the out-parameter of an opening call; releases what was held first.
  Handle* put() {
    reset();
    return &handle_;
  }
  void reset(Handle handle = Traits::Invalid()) {
    if (handle_ != Traits::Invalid()) Traits::Close(handle_);
    handle_ = handle;
  }
  explicit operator bool() const { return handle_ != Traits::Invalid(); }

 private:
  Handle handle_ = Traits::Invalid();
};

struct HKeyTraits {
  static HKEY Invalid() { return nullptr; }
  static void Close(HKEY key) { RegCloseKey(key); }
};
struct FindTraits {
  static HANDLE Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(HANDLE find) { FindClose(find); }
};
struct FileTraits {
  static HANDLE Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(HANDLE file) { CloseHandle(file); }
};
struct ModuleTraits {
  static HMODULE Invalid() { return nullptr; }
  static void Close(HMODULE module) { FreeLibrary(module); }
};
struct LocalMemoryTraits {
  static HLOCAL Invalid() { return nullptr; }
  static void Close(HLOCAL memory) { LocalFree(memory); }
};

using UniqueHKey = UniqueHandle<HKEY, HKeyTraits>;
using UniqueFind = UniqueHandle<HANDLE, FindTraits>;
using UniqueFile = UniqueHandle<HANDLE, FileTraits>;
using UniqueModule = UniqueHandle<HMODULE, ModuleTraits>;
using UniqueLocalMemory = UniqueHandle<HLOCAL, LocalMemoryTraits>;

}  // namespace kvil

// Owners for the handles the survey tool opens itself, so that every early
// return closes what was opened.
#pragma once

#include <windows.h>

#include <utility>

namespace kvilhosts {

template <typename Handle, typename Traits>
class Owned {
 public:
  Owned() = default;
  explicit Owned(Handle handle) : handle_(handle) {}
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, Traits::Invalid())) {}
  Owned& operator=(Owned&& other) noexcept {
    if (this != &other) reset(std::exchange(other.handle_, Traits::Invalid()));
    return *this;
  }
  ~Owned() { reset(); }

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

struct KeyTraits {
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
// A module whose reference count the tool raised to keep it mapped.
struct ModuleTraits {
  static HMODULE Invalid() { return nullptr; }
  static void Close(HMODULE module) { FreeLibrary(module); }
};

using OwnedKey = Owned<HKEY, KeyTraits>;
using OwnedFind = Owned<HANDLE, FindTraits>;
using OwnedFile = Owned<HANDLE, FileTraits>;
using OwnedModule = Owned<HMODULE, ModuleTraits>;

}  // namespace kvilhosts

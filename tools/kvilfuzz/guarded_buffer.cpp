#include "guarded_buffer.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kvilfuzz {
namespace {

constexpr unsigned char kFrontPattern = 0xA5;

}  // namespace

GuardedBuffer::GuardedBuffer() {
  SYSTEM_INFO system{};
  GetSystemInfo(&system);
  pageSize_ = system.dwPageSize;
  base_ = static_cast<char*>(VirtualAlloc(nullptr, 2 * pageSize_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  DWORD previous = 0;
  if (base_ == nullptr || !VirtualProtect(base_ + pageSize_, pageSize_, PAGE_NOACCESS, &previous)) {
    throw std::runtime_error("cannot allocate a buffer with a guard page");
  }
}

GuardedBuffer::~GuardedBuffer() { VirtualFree(base_, 0, MEM_RELEASE); }

char* GuardedBuffer::Prepare(std::size_t capacity) {
  capacity_ = std::min(capacity, pageSize_);
  std::memset(base_, kFrontPattern, pageSize_);
  return base_ + pageSize_ - capacity_;
}

bool GuardedBuffer::FrontIntact() const {
  const char* const start = base_;
  const char* const front = base_ + pageSize_ - capacity_;
  return std::all_of(start, front, [](char c) { return static_cast<unsigned char>(c) == kFrontPattern; });
}

bool GuardedBuffer::InGuard(const void* address) const {
  const char* const at = static_cast<const char*>(address);
  return at >= base_ + pageSize_ && at < base_ + 2 * pageSize_;
}

}  // namespace kvilfuzz

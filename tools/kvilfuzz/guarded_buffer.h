// A caller's buffer that shows any write outside it: its last byte is the last
// byte before a page no one may touch, so a write past its capacity faults at
// once, and the bytes in front of it hold a known pattern, so a write before it
// is seen afterwards.
#pragma once

#include <cstddef>

namespace kvilfuzz {

class GuardedBuffer {
 public:
  GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;
  ~GuardedBuffer();

  // The largest capacity Prepare takes.
  std::size_t MostCapacity() const { return pageSize_; }
  // Fills the usable page with the pattern and returns the start of a buffer of
  // capacity bytes that ends right before the guard page.
  char* Prepare(std::size_t capacity);
  // Whether the bytes in front of the last prepared buffer still hold the pattern.
  bool FrontIntact() const;
  // Whether address lies in the guard page.
  bool InGuard(const void* address) const;

 private:
  char* base_ = nullptr;
  std::size_t pageSize_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace kvilfuzz

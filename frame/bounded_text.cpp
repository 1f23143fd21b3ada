#include "bounded_text.h"

#include <algorithm>

namespace kvil {

bool FormatBoundedV(char* buffer, std::size_t capacity, const char* format, std::va_list args) {
  if (buffer == nullptr || capacity == 0) return false;
  int needed = std::vsnprintf(buffer, capacity, format, args);
  if (needed < 0) {
    buffer[0] = '\0';
    return false;
  }
  return static_cast<std::size_t>(needed) < capacity;
}

bool FormatBounded(char* buffer, std::size_t capacity, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  bool fitted = FormatBoundedV(buffer, capacity, format, args);
  va_end(args);
  return fitted;
}

bool CopyBounded(char* buffer, std::size_t capacity, std::string_view text) {
  if (buffer == nullptr || capacity == 0) return false;
  std::size_t count = std::min(text.size(), capacity - 1);
  std::memmove(buffer, text.data(), count);
  buffer[count] = '\0';
  return count == text.size();
}

bool AppendBounded(char* buffer, std::size_t capacity, std::string_view text) {
  if (buffer == nullptr || capacity == 0) return false;
  std::size_t used = strnlen(buffer, capacity);
  if (used == capacity) {  // not terminated: terminate rather than append past the end
    buffer[capacity - 1] = '\0';
    return false;
  }
  return CopyBounded(buffer + used, capacity - used, text);
}

}  // namespace kvil

// Bounded text: every write into a fixed buffer goes through here, so no path or
// key can run past its buffer however long the registry data or folder is.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kvil {

// Formats into buffer[capacity], always NUL-terminated when capacity > 0.
// Returns false when the text did not fit (the buffer then holds the cut text).
bool FormatBounded(char* buffer, std::size_t capacity, const char* format, ...)
    __attribute__((format(gnu_printf, 3, 4)));
bool FormatBoundedV(char* buffer, std::size_t capacity, const char* format, std::va_list args);

// Copies text into buffer[capacity], always NUL-terminated when capacity > 0.
bool CopyBounded(char* buffer, std::size_t capacity, std::string_view text);
// Appends text to the NUL-terminated contents of buffer[capacity].
bool AppendBounded(char* buffer, std::size_t capacity, std::string_view text);

// A fixed-capacity, always-terminated string on the stack: the library's 260-byte
// paths and 520-byte record keys.
template <std::size_t Capacity>
class FixedText {
 public:
  static constexpr std::size_t kCapacity = Capacity;

  FixedText() { text_[0] = '\0'; }
  explicit FixedText(std::string_view text) { Assign(text); }

  bool Assign(std::string_view text) { return CopyBounded(text_, Capacity, text); }
  bool Append(std::string_view text) { return AppendBounded(text_, Capacity, text); }
  bool Format(const char* format, ...) __attribute__((format(gnu_printf, 2, 3))) {
    std::va_list args;
    va_start(args, format);
    bool fitted = FormatBoundedV(text_, Capacity, format, args);
    va_end(args);
    return fitted;
  }
  void Clear() { text_[0] = '\0'; }

  const char* c_str() const { return text_; }
  char* data() { return text_; }
  std::size_t size() const { return std::strlen(text_); }
  bool empty() const { return text_[0] == '\0'; }
  std::string_view view() const { return text_; }
  operator std::string_view() const { return text_; }

 private:
  char text_[Capacity];
};

inline constexpr std::size_t kPathCapacity = 260;
inline constexpr std::size_t kRecordKeyCapacity = 520;
using PathText = FixedText<kPathCapacity>;
using RecordKeyText = FixedText<kRecordKeyCapacity>;

// folder + name, with a "\" between them only when folder does not end in one.
// false when the path does not fit: a cut path could name another file.
template <std::size_t Capacity>
bool JoinPath(FixedText<Capacity>& path, std::string_view folder, std::string_view name) {
  const bool separated = !folder.empty() && folder.back() == '\\';
  return path.Assign(folder) && (separated || path.Append("\\")) && path.Append(name);
}

}  // namespace kvil

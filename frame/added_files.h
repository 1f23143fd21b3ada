// The added-files list: host modules that place files of their own outside the
// product's folder announce each one here, and the setup program has the list
// merged into "addfiles.xml" so that the uninstaller can remove those files.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "bounded_text.h"

namespace kvil {

class AddedFilesList {
 public:
  static constexpr std::size_t kCapacity = 64;
  // Paths and folders shorter than this are taken for no path at all.
  static constexpr std::size_t kShortestPath = 11;

  // Adds path (cut to 259 characters) unless it is already listed, byte for
  // byte; null and short paths are ignored.
  void Add(const char* path);
  // Merges the list into folder + "\addfiles.xml" through the MSXML document
  // object and empties the list. Null and short folders change nothing. The
  // caller's thread must have initialised COM.
  void SaveToXml(const char* folder);

  std::size_t size() const { return count_; }
  std::string_view operator[](std::size_t index) const { return entries_[index].view(); }

 private:
  void MergeInto(const wchar_t* xmlPath) const;

  std::array<PathText, kCapacity> entries_;
  std::size_t count_ = 0;
};

}  // namespace kvil

// The process-wide list behind the library's exports. Neither reports failure.
extern "C" void extAddFilePath(const char* path);
extern "C" void extSaveToXml(const char* folder);

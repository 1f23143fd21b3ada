// A file's version resource, read with Windows' version reader, which maps the
// file's resources without running anything in it: the survey tool reports the
// library it would load, or has loaded, by its own resource.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace kvilhosts {

struct FileVersion {
  std::string fileVersion;  // "1.0.0.0", from the fixed part
  // The strings of the resource's first translation; empty when it has none.
  std::string description;
  std::string company;
  std::string productName;
  std::string productVersion;
};

struct FileVersionRead {
  std::optional<FileVersion> version;
  DWORD error = ERROR_SUCCESS;  // why there is none: no such file, no resource
};
FileVersionRead ReadFileVersion(const std::string& path);

// "<name> 1.0.0.0 (Kvil Integration Library, Tervane, Kvil 1.0.0)", or
// "<name>: no version resource (error 2)".
std::string FileVersionLine(const std::string& name, const FileVersionRead& read);

}  // namespace kvilhosts

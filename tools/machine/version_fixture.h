// Executables and DLLs with a chosen version resource, for product engines,
// foreign engines and host programs of a given version.
#pragma once

#include <windows.h>

#include <array>
#include <map>
#include <string>

namespace kvil::machine {

struct VersionStamp {
  std::array<WORD, 4> fileVersion{8, 0, 0, 0};
  std::array<WORD, 4> productVersion{8, 0, 0, 0};
  // Strings of the "040904b0" block; an empty text leaves the string out.
  std::string companyName = "Tervane";
  std::string productVersionText = "8.0";
};

// The product's engines: 8.0 by "Tervane".
VersionStamp ProductEngine();
// An engine of another maker (8.0, "Microsoft Corporation").
VersionStamp ForeignEngine();
// The product's older hyphenators: 6.0 by "Tervane".
VersionStamp ProductHyphenator6();
// A host program of version major.minor (maker "Microsoft Corporation").
VersionStamp HostProgram(WORD major, WORD minor);

// Writes a real PE carrying that version resource (a Windows program when the
// name ends in ".exe", otherwise a DLL), made from the template modules built
// beside the test executables. Replaces an existing file. Throws on failure.
void WriteVersionedModule(const std::string& path, const VersionStamp& stamp);
// A module with no version resource at all.
void WriteUnversionedModule(const std::string& path);
// Any file with the given bytes (lexicons, setup files).
void WriteFile(const std::string& path, const std::string& contents);
// Creates path and its missing parents.
void CreateFolder(const std::string& path);
// True for a file, false for a folder or nothing at path.
bool FileExists(const std::string& path);
std::string ReadFileBytes(const std::string& path);
// Everything below folder: relative path -> "<size> bytes, fnv <hash of the
// bytes>" for a file, "<folder>" for a folder.
std::map<std::string, std::string> FolderContents(const std::string& folder);

}  // namespace kvil::machine

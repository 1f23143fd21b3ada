#include "version_resource.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame_test.h"

namespace kvil::test {
namespace {

using VersionBlock = FrameTest;

// What the system's reader hands out for the file: the oracle the library's
// one-load reading must match byte for byte.
std::vector<BYTE> SystemBlock(const std::string& path) {
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeA(path.c_str(), &handle);
  std::vector<BYTE> block(size);
  if (size == 0 || !GetFileVersionInfoA(path.c_str(), 0, size, block.data())) block.clear();
  return block;
}

std::string FileVersion(const std::vector<BYTE>& block) {
  void* info = nullptr;
  UINT length = 0;
  if (block.empty() || !VerQueryValueA(block.data(), "\\", &info, &length) || length < sizeof(VS_FIXEDFILEINFO)) {
    return "none";
  }
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(info);
  return std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionMS));
}

// The block is copied: VerQueryValueA writes its ANSI text into it.
std::string CompanyName(std::vector<BYTE> block) {
  void* text = nullptr;
  UINT length = 0;
  if (block.empty() || !VerQueryValueA(block.data(), "\\StringFileInfo\\040904b0\\CompanyName", &text, &length)) {
    return "none";
  }
  return static_cast<const char*>(text);
}

struct VersionCase {
  const char* file;
  enum class Kind { kVersioned, kUnversioned, kText, kFolder, kMissing } kind;
  const char* expectedVersion;
  const char* expectedCompany;
};

// Wine hands out its own Internet Explorer, version 9.0, for any program named
// iexplore.exe that is loaded as an image resource; the system's reader does
// so, and the library's reading must too.
TEST_F(VersionBlock, OneLoadGivesTheSystemReadersBlock) {
  const VersionCase cases[] = {
      {"kvilsp3.dll", VersionCase::Kind::kVersioned, "8.0", "Tervane"},
      {"WINWORD.EXE", VersionCase::Kind::kVersioned, "8.0", "Tervane"},
      {"iexplore.exe", VersionCase::Kind::kVersioned, "9.0", "Microsoft Corporation"},
      {"plain.dll", VersionCase::Kind::kUnversioned, "none", "none"},
      {"SPRUNORM.LEX", VersionCase::Kind::kText, "none", "none"},
      {"Proof", VersionCase::Kind::kFolder, "none", "none"},
      {"missing.dll", VersionCase::Kind::kMissing, "none", "none"},
  };
  for (const VersionCase& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = folder().Join(c.file);
    switch (c.kind) {
      case VersionCase::Kind::kVersioned:
        WriteVersionedModule(path, ProductEngine());
        break;
      case VersionCase::Kind::kUnversioned:
        WriteUnversionedModule(path);
        break;
      case VersionCase::Kind::kText:
        WriteFile(path, "lexicon");
        break;
      case VersionCase::Kind::kFolder:
        CreateFolder(path);
        break;
      case VersionCase::Kind::kMissing:
        break;
    }
    std::vector<BYTE> block{1, 2, 3};
    const bool found = ReadVersionBlock(path.c_str(), block);
    EXPECT_EQ(block, SystemBlock(path));
    EXPECT_EQ(found, !block.empty());
    EXPECT_EQ(FileVersion(block), c.expectedVersion);
    EXPECT_EQ(CompanyName(block), c.expectedCompany);

    const std::wstring widePath(path.begin(), path.end());
    std::vector<BYTE> wideBlock;
    EXPECT_EQ(ReadVersionBlock(widePath.c_str(), wideBlock), found);
    EXPECT_EQ(wideBlock, block);
  }
}

}  // namespace
}  // namespace kvil::test

#include "version_resource.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "frame_test.h"
#include "handles.h"

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

// The library's block for the file, read by the ANSI and the wide name alike.
std::vector<BYTE> ReadBothWidths(const std::string& path) {
  std::vector<BYTE> block{1, 2, 3};
  const bool found = ReadVersionBlock(path.c_str(), block);
  EXPECT_EQ(found, !block.empty());
  std::vector<BYTE> wideBlock;
  EXPECT_EQ(ReadVersionBlock(std::wstring(path.begin(), path.end()).c_str(), wideBlock), found);
  EXPECT_EQ(wideBlock, block);
  return block;
}

void WriteEngine(const std::string& path) { WriteVersionedModule(path, ProductEngine()); }

// Wine hands out its own Internet Explorer, version 9.0, for any program named
// iexplore.exe that is loaded as an image resource; the system's reader does
// so, and the library's reading must too.
TEST_F(VersionBlock, OneLoadGivesTheSystemReadersBlock) {
  const struct {
    const char* file;
    void (*write)(const std::string& path);
    const char* expectedVersion;
    const char* expectedCompany;
  } cases[] = {
      {"kvilsp3.dll", WriteEngine, "8.0", "Tervane"},
      {"WINWORD.EXE", WriteEngine, "8.0", "Tervane"},
      {"iexplore.exe", WriteEngine, "9.0", "Microsoft Corporation"},
      {"plain.dll", [](const std::string& path) { WriteUnversionedModule(path); }, "none", "none"},
      {"SPRUNORM.LEX", [](const std::string& path) { WriteFile(path, "lexicon"); }, "none", "none"},
      {"Proof", [](const std::string& path) { CreateFolder(path); }, "none", "none"},
      {"missing.dll", [](const std::string&) {}, "none", "none"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = folder().Join(c.file);
    c.write(path);
    const std::vector<BYTE> block = ReadBothWidths(path);
    EXPECT_EQ(block, SystemBlock(path));
    EXPECT_EQ(FileVersion(block), c.expectedVersion);
    EXPECT_EQ(CompanyName(block), c.expectedCompany);
  }
}

FILETIME LastWriteTime(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  EXPECT_TRUE(GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) << path;
  return data.ftLastWriteTime;
}

void SetLastWriteTime(const std::string& path, const FILETIME& time) {
  const UniqueFile file(CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                                    nullptr));
  ASSERT_TRUE(file) << path;
  ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
}

ULONGLONG FileSize(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  EXPECT_TRUE(GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) << path;
  return (static_cast<ULONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

struct ChangedFileCase {
  const char* file;
  std::function<void(const std::string& path)> write;
  const char* versionBefore;
  std::function<void(const std::string& path)> change;
  const char* versionAfter;
};

// Files left alone long enough for their blocks to be kept, then changed in
// ways that leave one mark or another of the old file in place. Read at once
// after the change and again once the changed file has settled, each gives
// what a fresh read of the file gives, in both widths.
TEST_F(VersionBlock, KeptBlockFollowsTheFileAtItsPath) {
  const std::string replacement = folder().Join("replacement.exe");
  WriteVersionedModule(replacement, HostProgram(9, 5));
  const ChangedFileCase cases[] = {
      {"unchanged.dll", WriteEngine, "8.0", [](const std::string&) {}, "8.0"},
      // A copy keeps the file's identity under Wine and brings its source's
      // last write time; the old time set back leaves only the change time.
      {"WINWORD.EXE", [](const std::string& path) { WriteVersionedModule(path, HostProgram(9, 0)); }, "9.0",
       [&](const std::string& path) {
         const FILETIME lastWrite = LastWriteTime(path);
         ASSERT_TRUE(CopyFileA(replacement.c_str(), path.c_str(), FALSE));
         SetLastWriteTime(path, lastWrite);
         const FILETIME lastWriteAfterCopy = LastWriteTime(path);
         ASSERT_EQ(CompareFileTime(&lastWrite, &lastWriteAfterCopy), 0);
         ASSERT_EQ(FileSize(path), FileSize(replacement));
       },
       "9.5"},
      {"unversioned.dll", [](const std::string& path) { WriteUnversionedModule(path); }, "none",
       [](const std::string& path) { WriteVersionedModule(path, ProductHyphenator6()); }, "6.0"},
      {"to_folder.dll", WriteEngine, "8.0",
       [](const std::string& path) {
         ASSERT_TRUE(DeleteFileA(path.c_str()));
         CreateFolder(path);
       },
       "none"},
      {"deleted.dll", WriteEngine, "8.0", [](const std::string& path) { ASSERT_TRUE(DeleteFileA(path.c_str())); }, "none"},
  };
  auto settle = [] { Sleep(kVersionCacheSettleMilliseconds + 500); };
  for (const ChangedFileCase& c : cases) c.write(folder().Join(c.file));
  settle();
  std::vector<std::vector<BYTE>> firstBlocks;
  for (const ChangedFileCase& c : cases) {
    SCOPED_TRACE(c.file);
    firstBlocks.push_back(ReadBothWidths(folder().Join(c.file)));
    EXPECT_EQ(FileVersion(firstBlocks.back()), c.versionBefore);
  }
  for (const ChangedFileCase& c : cases) {
    SCOPED_TRACE(c.file);
    c.change(folder().Join(c.file));
  }
  // Once at once, then twice once settled: the first settled read finds the
  // kept block outdated, the second is handed the one kept in its place.
  for (const char* pass : {"just changed", "settled", "settled, again"}) {
    if (pass == std::string_view("settled")) settle();
    for (std::size_t index = 0; index < std::size(cases); ++index) {
      const ChangedFileCase& c = cases[index];
      SCOPED_TRACE(std::string(c.file) + ", " + pass);
      const std::string path = folder().Join(c.file);
      const std::vector<BYTE> block = ReadBothWidths(path);
      EXPECT_EQ(FileVersion(block), c.versionAfter);
      EXPECT_EQ(block, SystemBlock(path));
      if (c.versionAfter == std::string_view(c.versionBefore)) {
        EXPECT_EQ(block, firstBlocks[index]);
      }
    }
  }
}

}  // namespace
}  // namespace kvil::test

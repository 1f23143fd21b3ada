#include "added_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame_test.h"

namespace kvil::test {
namespace {

// The list file as the library writes it, holding the given elements.
std::string ListFile(const std::string& elements) {
  return "<?xml version=\"1.0\"?>\n" + (elements.empty() ? "<files/>" : "<files>" + elements + "</files>") + "\n";
}

std::string File(const std::string& fullPath, const std::string& name) {
  return "<file fullpath=\"" + fullPath + "\" name=\"" + name + "\"/>";
}

using AddedFiles = FrameTest;

TEST_F(AddedFiles, KeepsFirstAdditionsInOrderUpToSixtyFour) {
  const std::string longPath = "C:\\" + std::string(297, 'x');
  AddedFilesList list;
  for (const char* path : {"C:\\Tools\\b.dll", "C:\\Tools\\a.dll", "C:\\Tools\\b.dll", "C:\\TOOLS\\b.dll", "C:\\abc.dll",
                           "", static_cast<const char*>(nullptr), "C:\\abcd.dll", longPath.c_str(), longPath.c_str()}) {
    list.Add(path);
  }
  // Case counts; 11 characters is long enough, 10 is not; a long path is cut to 259.
  const std::vector<std::string> expected{"C:\\Tools\\b.dll", "C:\\Tools\\a.dll", "C:\\TOOLS\\b.dll", "C:\\abcd.dll",
                                          longPath.substr(0, 259)};
  ASSERT_EQ(list.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(list[i], expected[i]) << i;

  for (int i = 0; i <= 64; ++i) list.Add(("C:\\Tools\\module" + std::to_string(i) + ".dll").c_str());
  ASSERT_EQ(list.size(), 64u);
  EXPECT_EQ(list[63], "C:\\Tools\\module58.dll");
}

TEST_F(AddedFiles, SaveMergesIntoTheListFileAndEmptiesTheList) {
  const std::string file = folder().Join("addfiles.xml");
  const struct {
    const char* what;
    const char* existing;  // null: no list file yet
    std::vector<const char*> paths;
    std::string expected;
  } cases[] = {
      // The file is UTF-8: the path's ANSI "\xE9" is written as two bytes.
      {"a new file", nullptr,
       {"C:\\Windows\\kvil4ooo-kvil.uno.dll", "C:\\Program Files\\x\\README", "C:\\Programme\\Caf\xE9\\kvilsp3.dll"},
       ListFile(File("C:\\Windows\\kvil4ooo-kvil.uno.dll", "kvil4ooo-kvil.uno.dll") +
                File("C:\\Program Files\\x\\README", "README.") +
                File("C:\\Programme\\Caf\xC3\xA9\\kvilsp3.dll", "kvilsp3.dll"))},
      {"appended after the file's elements, listed or not",
       "<?xml version=\"1.0\"?>\r\n<files><file fullpath=\"C:\\Old\\one.dll\" name=\"one.dll\"/>"
       "<file fullpath=\"C:\\Tools\\b.dll\" name=\"b.dll\"/></files>\r\n",
       {"C:\\Tools\\b.dll"},
       ListFile(File("C:\\Old\\one.dll", "one.dll") + File("C:\\Tools\\b.dll", "b.dll") +
                File("C:\\Tools\\b.dll", "b.dll"))},
      {"nothing added", nullptr, {}, ListFile("")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    DeleteFileA(file.c_str());
    if (c.existing != nullptr) WriteFile(file, c.existing);
    AddedFilesList list;
    for (const char* path : c.paths) list.Add(path);
    list.SaveToXml(folder().path().c_str());
    EXPECT_EQ(ReadFileBytes(file), c.expected);
    EXPECT_EQ(list.size(), 0u);
  }
}

TEST_F(AddedFiles, SaveThatCannotWriteLeavesEverythingAsItWas) {
  constexpr char kUnparsable[] = "<?xml version=\"1.0\"?>\r\n<files><file fullpath=\"C:\\a.dll\"</files>";
  WriteFile(folder().Join("addfiles.xml"), kUnparsable);
  const struct {
    std::string folder;
    std::size_t sizeAfter;  // a save that took the folder empties the list
  } cases[] = {
      {folder().path(), 0},           // unparsable list file
      {folder().Join("missing"), 0},  // no such folder
      {"C:\\windows", 1},             // 10 characters: not a folder name
  };
  for (const auto& c : cases) {
    AddedFilesList list;
    list.Add("C:\\Tools\\b.dll");
    list.SaveToXml(c.folder.c_str());
    EXPECT_EQ(list.size(), c.sizeAfter) << c.folder;
  }
  EXPECT_EQ(ReadFileBytes(folder().Join("addfiles.xml")), kUnparsable);
  EXPECT_FALSE(FileExists(folder().Join("missing\\addfiles.xml")));
  EXPECT_FALSE(FileExists("C:\\windows\\addfiles.xml"));
}

// The setup program's view: the two exports share one list for the process, and
// a file announced after a save starts a new list.
using AddedFilesExports = LibraryTest;

TEST_F(AddedFilesExports, AnnouncedFilesAreSavedOnce) {
  const auto add = dll().Export<void (*)(const char*)>("extAddFilePath");
  const auto save = dll().Export<void (*)(const char*)>("extSaveToXml");
  const std::string second = folder().Join("second");
  CreateFolder(second);
  add("C:\\Tools\\a.dll");
  add(nullptr);
  add("C:\\Tools\\a.dll");
  save(nullptr);
  save(folder().path().c_str());
  add("C:\\Tools\\b.dll");
  save(second.c_str());
  EXPECT_EQ(ReadFileBytes(folder().Join("addfiles.xml")), ListFile(File("C:\\Tools\\a.dll", "a.dll")));
  EXPECT_EQ(ReadFileBytes(second + "\\addfiles.xml"), ListFile(File("C:\\Tools\\b.dll", "b.dll")));
}

}  // namespace
}  // namespace kvil::test

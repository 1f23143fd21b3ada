#include "added_files.h"

#include <gtest/gtest.h>
#include <msxml2.h>

#include <string>
#include <vector>

#include "com.h"
#include "frame_test.h"
#include "win32_support.h"

namespace kvil::test {
namespace {

constexpr CLSID kDomDocument30 = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kIXMLDOMDocument2 = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

using Lines = std::vector<std::wstring>;

// "name attribute=value ..." for a node, attributes in document order.
std::wstring Describe(IXMLDOMNode& node) {
  UniqueBstr name;
  node.get_nodeName(name.put());
  std::wstring line = name.get();
  ComPtr<IXMLDOMNamedNodeMap> attributes;
  long count = 0;
  if (node.get_attributes(attributes.put()) == S_OK) attributes->get_length(&count);
  for (long i = 0; i < count; ++i) {
    ComPtr<IXMLDOMNode> attribute;
    UniqueBstr attributeName, value;
    attributes->get_item(i, attribute.put());
    attribute->get_nodeName(attributeName.put());
    attribute->get_text(value.put());
    line += L" " + std::wstring(attributeName.get()) + L"=" + value.get();
  }
  return line;
}

// The list file as parsed: its root element, then one line per child of the root.
// Empty when there is no file or it does not parse.
Lines ReadListFile(const std::string& path) {
  ComPtr<IXMLDOMDocument2> document;
  EXPECT_EQ(CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kIXMLDOMDocument2, document.put_void()),
            S_OK);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  ComPtr<IXMLDOMElement> root;
  if (document->load(UniqueVariant(Widen(path).c_str()).get(), &loaded) != S_OK ||
      document->get_documentElement(root.put()) != S_OK) {
    return {};
  }
  Lines lines{Describe(*root.get())};
  ComPtr<IXMLDOMNodeList> children;
  long count = 0;
  root->get_childNodes(children.put());
  children->get_length(&count);
  for (long i = 0; i < count; ++i) {
    ComPtr<IXMLDOMNode> child;
    children->get_item(i, child.put());
    lines.push_back(Describe(*child.get()));
  }
  return lines;
}

std::wstring File(const std::wstring& fullPath, const std::wstring& name) {
  return L"file fullpath=" + fullPath + L" name=" + name;
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
    Lines expected;
  } cases[] = {
      {"a new file", nullptr,
       {"C:\\Windows\\kvil4ooo-kvil.uno.dll", "C:\\Program Files\\x\\README", "C:\\Programme\\Caf\xE9\\kvilsp3.dll"},
       {L"files", File(L"C:\\Windows\\kvil4ooo-kvil.uno.dll", L"kvil4ooo-kvil.uno.dll"),
        File(L"C:\\Program Files\\x\\README", L"README."), File(L"C:\\Programme\\Caf\u00E9\\kvilsp3.dll", L"kvilsp3.dll")}},
      {"appended after the file's elements, listed or not",
       "<?xml version=\"1.0\"?>\r\n<files><file fullpath=\"C:\\Old\\one.dll\" name=\"one.dll\"/>"
       "<file fullpath=\"C:\\Tools\\b.dll\" name=\"b.dll\"/></files>\r\n",
       {"C:\\Tools\\b.dll"},
       {L"files", File(L"C:\\Old\\one.dll", L"one.dll"), File(L"C:\\Tools\\b.dll", L"b.dll"),
        File(L"C:\\Tools\\b.dll", L"b.dll")}},
      {"nothing added", nullptr, {}, {L"files"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    DeleteFileA(file.c_str());
    if (c.existing != nullptr) WriteFile(file, c.existing);
    AddedFilesList list;
    for (const char* path : c.paths) list.Add(path);
    list.SaveToXml(folder().path().c_str());
    EXPECT_EQ(ReadListFile(file), c.expected);
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
  auto add = reinterpret_cast<void (*)(const char*)>(dll().Find("extAddFilePath"));
  auto save = reinterpret_cast<void (*)(const char*)>(dll().Find("extSaveToXml"));
  ASSERT_NE(add, nullptr);
  ASSERT_NE(save, nullptr);
  const std::string second = folder().Join("second");
  CreateFolder(second);
  add("C:\\Tools\\a.dll");
  add(nullptr);
  add("C:\\Tools\\a.dll");
  save(nullptr);
  save(folder().path().c_str());
  add("C:\\Tools\\b.dll");
  save(second.c_str());
  EXPECT_EQ(ReadListFile(folder().Join("addfiles.xml")), (Lines{L"files", File(L"C:\\Tools\\a.dll", L"a.dll")}));
  EXPECT_EQ(ReadListFile(second + "\\addfiles.xml"), (Lines{L"files", File(L"C:\\Tools\\b.dll", L"b.dll")}));
}

}  // namespace
}  // namespace kvil::test

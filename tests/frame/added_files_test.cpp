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

using Lines = std::vector<std::wstring>;

constexpr CLSID kDomDocument30 = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kIXMLDOMDocument2 = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

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

using AddedFiles = FrameTest;

TEST_F(AddedFiles, KeepsFirstAdditionsInOrderAndIgnoresShortPaths) {
  AddedFilesList list;
  for (const char* path : {"C:\\Tools\\b.dll", "C:\\Tools\\a.dll", "C:\\Tools\\b.dll", "C:\\TOOLS\\b.dll",
                           "C:\\abc.dll", "", static_cast<const char*>(nullptr), "C:\\abcd.dll"}) {
    list.Add(path);
  }
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(list[0], "C:\\Tools\\b.dll");
  EXPECT_EQ(list[1], "C:\\Tools\\a.dll");
  EXPECT_EQ(list[2], "C:\\TOOLS\\b.dll");  // case counts
  EXPECT_EQ(list[3], "C:\\abcd.dll");      // 11 characters is long enough; 10 is not
}

TEST_F(AddedFiles, LongPathIsCutTo259CharactersAndListedOnce) {
  const std::string path = "C:\\" + std::string(297, 'x');
  AddedFilesList list;
  list.Add(path.c_str());
  list.Add(path.c_str());
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0], path.substr(0, 259));
}

TEST_F(AddedFiles, SixtyFourPathsAreKeptAndFurtherOnesRefused) {
  AddedFilesList list;
  for (int i = 0; i <= 64; ++i) list.Add(("C:\\Tools\\module" + std::to_string(i) + ".dll").c_str());
  list.Add("C:\\Tools\\module0.dll");
  ASSERT_EQ(list.size(), 64u);
  EXPECT_EQ(list[0], "C:\\Tools\\module0.dll");
  EXPECT_EQ(list[63], "C:\\Tools\\module63.dll");
}

TEST_F(AddedFiles, SaveWritesFullPathAndNameOfEachFile) {
  AddedFilesList list;
  list.Add("C:\\Windows\\kvil4ooo-kvil.uno.dll");
  list.Add("C:\\Program Files\\x\\README");
  list.Add("C:\\Programme\\Caf\xE9\\kvilsp3.dll");
  list.SaveToXml(folder().path().c_str());
  EXPECT_EQ(ReadListFile(folder().Join("addfiles.xml")),
            (Lines{L"files", L"file fullpath=C:\\Windows\\kvil4ooo-kvil.uno.dll name=kvil4ooo-kvil.uno.dll",
                   L"file fullpath=C:\\Program Files\\x\\README name=README.",
                   L"file fullpath=C:\\Programme\\Caf\u00E9\\kvilsp3.dll name=kvilsp3.dll"}));
  EXPECT_EQ(list.size(), 0u);
}

TEST_F(AddedFiles, SaveAppendsAfterTheElementsOfAnExistingFile) {
  WriteFile(folder().Join("addfiles.xml"),
            "<?xml version=\"1.0\"?>\r\n<files><file fullpath=\"C:\\Old\\one.dll\" name=\"one.dll\"/>"
            "<file fullpath=\"C:\\Tools\\b.dll\" name=\"b.dll\"/></files>\r\n");
  AddedFilesList list;
  list.Add("C:\\Tools\\b.dll");
  list.SaveToXml(folder().path().c_str());
  EXPECT_EQ(ReadListFile(folder().Join("addfiles.xml")),
            (Lines{L"files", L"file fullpath=C:\\Old\\one.dll name=one.dll",
                   L"file fullpath=C:\\Tools\\b.dll name=b.dll", L"file fullpath=C:\\Tools\\b.dll name=b.dll"}));
}

TEST_F(AddedFiles, SaveWithoutAdditionsWritesAnEmptyList) {
  AddedFilesList().SaveToXml(folder().path().c_str());
  EXPECT_EQ(ReadListFile(folder().Join("addfiles.xml")), Lines{L"files"});
}

TEST_F(AddedFiles, SaveThatCannotWriteLeavesEverythingAsItWas) {
  constexpr char kUnparsable[] = "<?xml version=\"1.0\"?>\r\n<files><file fullpath=\"C:\\a.dll\"</files>";
  WriteFile(folder().Join("addfiles.xml"), kUnparsable);
  struct Case {
    std::string folder;
    std::size_t sizeAfter;  // a save that took the folder empties the list
  };
  const Case cases[] = {
      {folder().path(), 0},           // unparsable list file
      {folder().Join("missing"), 0},  // no such folder
      {"C:\\windows", 1},             // 10 characters: not a folder name
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.folder);
    AddedFilesList list;
    list.Add("C:\\Tools\\b.dll");
    list.SaveToXml(c.folder.c_str());
    EXPECT_EQ(list.size(), c.sizeAfter);
  }
  AddedFilesList().SaveToXml(nullptr);
  EXPECT_EQ(ReadFileBytes(folder().Join("addfiles.xml")), kUnparsable);
  EXPECT_FALSE(FileExists(folder().Join("missing\\addfiles.xml")));
  EXPECT_FALSE(FileExists("C:\\windows\\addfiles.xml"));
}

TEST_F(AddedFiles, AdditionAfterSaveStartsNewList) {
  CreateFolder(folder().Join("second"));
  AddedFilesList list;
  list.Add("C:\\Tools\\a.dll");
  list.SaveToXml(folder().path().c_str());
  list.Add("C:\\Tools\\b.dll");
  list.SaveToXml(folder().Join("second").c_str());
  EXPECT_EQ(ReadListFile(folder().Join("second\\addfiles.xml")),
            (Lines{L"files", L"file fullpath=C:\\Tools\\b.dll name=b.dll"}));
}

// The setup program's view: the two exports share one list for the process.
using AddedFilesExports = LibraryTest;

TEST_F(AddedFilesExports, AnnouncedFilesAreSavedOnce) {
  auto add = reinterpret_cast<void (*)(const char*)>(dll().Find("extAddFilePath"));
  auto save = reinterpret_cast<void (*)(const char*)>(dll().Find("extSaveToXml"));
  ASSERT_NE(add, nullptr);
  ASSERT_NE(save, nullptr);
  add("C:\\Tools\\b.dll");
  add(nullptr);
  add("C:\\Tools\\b.dll");
  save(nullptr);
  save(folder().path().c_str());
  EXPECT_EQ(ReadListFile(folder().Join("addfiles.xml")),
            (Lines{L"files", L"file fullpath=C:\\Tools\\b.dll name=b.dll"}));
}

}  // namespace
}  // namespace kvil::test

#include "added_files.h"

#include <windows.h>
#include <msxml2.h>

#include <cstring>
#include <string>

#include "code_pages.h"
#include "com.h"

namespace kvil {
namespace {

// The MSXML 3.0 DOM document and its IXMLDOMDocument2 interface.
constexpr CLSID kDomDocument30 = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kIXMLDOMDocument2 = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

constexpr wchar_t kNewList[] = L"<?xml version=\"1.0\"?><files></files>";
constexpr wchar_t kListFileName[] = L"\\addfiles.xml";
constexpr UINT kWesternCodePage = 1252;
// The extension is taken into a 16-character buffer.
constexpr std::size_t kExtensionLength = 15;

std::wstring WidenWestern(std::string_view text) { return Widen(text, kWesternCodePage); }

// File name, dot, extension: a file without an extension, "README", is named "README.".
std::wstring FileNameWithExtension(std::wstring_view path) {
  const std::size_t separator = path.find_last_of(L"\\/:");
  const std::wstring_view file = separator == std::wstring_view::npos ? path : path.substr(separator + 1);
  const std::size_t dot = file.rfind(L'.');
  const std::wstring_view extension = dot == std::wstring_view::npos ? std::wstring_view() : file.substr(dot);
  std::wstring name(file.substr(0, file.size() - extension.size()));
  if (!extension.starts_with(L'.')) name += L'.';
  name += extension.substr(0, kExtensionLength);
  return name;
}

void SetAttribute(IXMLDOMElement& element, const wchar_t* name, const std::wstring& value) {
  const UniqueBstr attribute(name);
  element.setAttribute(attribute.get(), UniqueVariant(value.c_str()).get());
}

// One "file" element per path; a path whose element cannot be made is left out.
void AppendFileElement(IXMLDOMDocument2& document, IXMLDOMNode& files, std::string_view entry) {
  const UniqueBstr tag(L"file");
  ComPtr<IXMLDOMElement> element;
  if (FAILED(document.createElement(tag.get(), element.put())) || !element) return;
  const std::wstring fullPath = WidenWestern(entry);
  SetAttribute(*element.get(), L"fullpath", fullPath);
  SetAttribute(*element.get(), L"name", FileNameWithExtension(fullPath));
  ComPtr<IXMLDOMNode> copy;
  if (FAILED(element->cloneNode(VARIANT_TRUE, copy.put())) || !copy) return;
  ComPtr<IXMLDOMNode> appended;
  files.appendChild(copy.get(), appended.put());
}

}  // namespace

void AddedFilesList::Add(const char* path) {
  if (path == nullptr || strnlen(path, kShortestPath) < kShortestPath) return;
  const PathText entry(path);
  for (std::size_t i = 0; i < count_; ++i) {
    if (entries_[i].view() == entry.view()) return;
  }
  // The list has 64 slots and is not grown: a further file is refused rather than
  // written past the list, and the files already listed keep their places.
  if (count_ == kCapacity) return;
  entries_[count_++] = entry;
}

void AddedFilesList::SaveToXml(const char* folder) {
  if (folder == nullptr || strnlen(folder, kShortestPath) < kShortestPath) return;
  // A save hands the list over to the file, whatever became of the file. The list
  // starts again empty, so a file announced after a save begins a new list for
  // the next save instead of reaching storage the save has already given up.
  struct EmptyAfterSave {
    std::size_t& count;
    ~EmptyAfterSave() { count = 0; }
  } emptyAfterSave{count_};

  std::wstring xmlPath = WidenWestern(std::string_view(folder).substr(0, kPathCapacity - 1));
  xmlPath += kListFileName;
  if (xmlPath.size() >= kPathCapacity) return;
  MergeInto(xmlPath.c_str());
}

void AddedFilesList::MergeInto(const wchar_t* xmlPath) const {
  ComPtr<IXMLDOMDocument2> document;
  if (FAILED(CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kIXMLDOMDocument2,
                              document.put_void()))) {
    return;
  }
  // The document loads asynchronously unless told otherwise; the merge needs the
  // whole existing list before it appends.
  document->put_async(VARIANT_FALSE);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  HRESULT status;
  if (GetFileAttributesW(xmlPath) == INVALID_FILE_ATTRIBUTES) {
    const UniqueBstr newList(kNewList);
    status = document->loadXML(newList.get(), &loaded);
  } else {
    status = document->load(UniqueVariant(xmlPath).get(), &loaded);
  }
  // A list file that cannot be read is not the library's to repair: it stays as
  // it is, and this run's files go unrecorded.
  if (FAILED(status) || loaded != VARIANT_TRUE) return;

  const UniqueBstr filesQuery(L"//files");
  ComPtr<IXMLDOMNode> files;
  if (document->selectSingleNode(filesQuery.get(), files.put()) == S_OK && files) {
    for (std::size_t i = 0; i < count_; ++i) AppendFileElement(*document.get(), *files.get(), entries_[i].view());
  }
  document->save(UniqueVariant(xmlPath).get());
}

}  // namespace kvil

namespace {

kvil::AddedFilesList& ProcessAddedFiles() {
  static kvil::AddedFilesList list;
  return list;
}

}  // namespace

extern "C" void extAddFilePath(const char* path) {
  try {
    ProcessAddedFiles().Add(path);
  } catch (...) {
  }
}

extern "C" void extSaveToXml(const char* folder) {
  try {
    ProcessAddedFiles().SaveToXml(folder);
  } catch (...) {
  }
}

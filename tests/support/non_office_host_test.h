// What the tests of the hosts outside Office share (the product's own programs,
// the publishing hosts, the suites, browsers and mail clients): the records the
// record writer leaves, the whole machine for stating that an operation changed
// nothing, and the exports that hand out a host's program path.
#pragma once

#include <string>
#include <utility>

#include "handles.h"
#include "host_family_test.h"

namespace kvil::test {

// A Russian speller's and hyphenator's attachment records as the record writer leaves them.
inline const Values kSpellerRecord{{"Learning", "1"}, {"StrictYO", "1"}, {"Original LID", "1033"},
                                   {"Action", "1"},   {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};
inline const Values kHyphenatorRecord{{"Original LID", "1033"}, {"Action", "0"}, {"Quality", "1"}, {"Attached", "1"}};

// base with the values of more added or replaced.
inline Values With(Values base, const Values& more) {
  for (const auto& [name, value] : more) base[name] = value;
  return base;
}

// A file opened as a running host holds its module: others may read it, never
// write, delete or rename it.
inline UniqueFile HoldOpen(const std::string& path) {
  return UniqueFile(
      CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

class NonOfficeHostTest : public HostFamilyTest {
 protected:
  // A program-path export's answer and its buffer of capacity bytes, filled with 'g' before.
  std::pair<KvilResult, std::string> FullExePath(const char* exportName, std::int32_t capacity) const {
    std::string buffer(capacity, 'g');
    return {dll().Export<KvilGetIEFullExePathProc>(exportName)(buffer.data(), capacity), buffer};
  }
  // Everything an operation could change: the machine's and the user's
  // software keys, the classes and every file of the scratch folder.
  Values Machine() const {
    Values machine;
    const std::pair<HKEY, const char*> trees[] = {
        {HKEY_LOCAL_MACHINE, "SOFTWARE"}, {HKEY_CURRENT_USER, "Software"}, {HKEY_CLASSES_ROOT, "CLSID"}};
    for (const auto& [root, path] : trees) {
      for (const auto& [name, value] : DescribeTree(root, path)) machine[std::string(path) + "|" + name] = value;
    }
    for (const auto& [name, value] : FolderContents(folder().path())) machine["file|" + name] = value;
    return machine;
  }
  // How Machine() names a value of HKLM "SOFTWARE\...".
  static std::string MachineValue(const std::string& key, const std::string& name) {
    return "SOFTWARE|" + key.substr(std::string("SOFTWARE\\").size()) + ":" + name;
  }
  // Machine() without the product's records and the shared proofing
  // registration, which stay behind a detach: what belongs to the hosts.
  Values HostsOwn() const {
    Values own;
    for (const auto& [name, value] : Machine()) {
      if (!name.starts_with("SOFTWARE|Tervane") && !name.starts_with("SOFTWARE|Microsoft\\Shared Tools")) {
        own[name] = value;
      }
    }
    return own;
  }
  // The shared registration of the product's Russian speller.
  Values SpellerRegistration() const {
    return {{"Engine", InStartup("kvilsp3.dll")}, {"Dictionary", InStartup("SPRUNORM.LEX")}};
  }
};

}  // namespace kvil::test

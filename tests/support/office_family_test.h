// What the Microsoft host families' tests share: the product's registration and
// attachment record as the hosts leave them for Russian, and a snapshot of the
// registry for showing that a refused call changed nothing.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "host_family_test.h"

namespace kvil::test {

// The Russian speller's record on a machine without an English original: "Action"
// 0 is Outlook's inactive speller; "Saved LID" is written by the hosts that keep
// a language of their own (savedLid), and not by the plain writer (nullopt).
inline Values SpellerRecord(std::optional<DWORD> savedLid, const char* action = "1") {
  Values record{{"Learning", "1"},  {"StrictYO", "1"}, {"Original LID", "1033"},
                {"Action", action}, {"Attached", "1"}, {"Supplement dictionaries", "sz:Normal"}};
  if (savedLid) record["Saved LID"] = std::to_string(*savedLid);
  return record;
}

class OfficeFamilyTest : public HostFamilyTest {
 protected:
  // The shared registration of the product's Russian tool of a kind, as DescribeValues shows it.
  Values ProductRegistration(int kind) const {
    static const std::pair<const char*, const char*> kFiles[] = {{"kvilsp3.dll", "SPRUNORM.LEX"},
                                                                 {"KVILGR32.DLL", "GRRUNORM.LEX"},
                                                                 {"KVILTH32.DLL", "THRUNORM.LEX"},
                                                                 {"INHY32RU.DLL", "HYRUNORM.LEX"}};
    return {{"Engine", InStartup(kFiles[kind].first)}, {"Dictionary", InStartup(kFiles[kind].second)}};
  }
  // The hosts' and the product's registry: the user's and the machine's software.
  static std::pair<Values, Values> RegistrySnapshot() {
    return {DescribeTree(HKEY_CURRENT_USER, "Software"), DescribeTree(HKEY_LOCAL_MACHINE, "SOFTWARE")};
  }
};

}  // namespace kvil::test

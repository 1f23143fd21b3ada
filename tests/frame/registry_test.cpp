#include "registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame_test.h"

namespace kvil::test {
namespace {

using RegistryPrimitives = FrameTest;
using Aces = std::vector<std::vector<std::uint8_t>>;

// An ACL's entries, byte for byte; empty for a null ACL.
Aces Entries(const ACL* acl) {
  Aces aces;
  for (DWORD index = 0; acl != nullptr && index < acl->AceCount; ++index) {
    void* ace = nullptr;
    GetAce(const_cast<ACL*>(acl), index, &ace);
    const auto* bytes = static_cast<const std::uint8_t*>(ace);
    aces.emplace_back(bytes, bytes + static_cast<const ACE_HEADER*>(ace)->AceSize);
  }
  return aces;
}

// The entries of a key's DACL as the key holds them.
Aces KeyDaclEntries(const std::string& path) {
  HKEY key = nullptr;
  std::vector<std::uint8_t> descriptor(1024);
  DWORD size = static_cast<DWORD>(descriptor.size());
  RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, READ_CONTROL, &key);
  EXPECT_EQ(RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data(), &size), ERROR_SUCCESS);
  RegCloseKey(key);
  BOOL present = FALSE, defaulted = FALSE;
  ACL* dacl = nullptr;
  GetSecurityDescriptorDacl(descriptor.data(), &present, &dacl, &defaulted);
  return Entries(dacl);
}

TEST_F(RegistryPrimitives, NewKeysGetACopyOfTheNearestAncestorsDacl) {
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Ancestor");
  const Aces ancestor = KeyDaclEntries("SOFTWARE\\Ancestor");
  ASSERT_GE(ancestor.size(), 2u);  // the platform's entries for a new key: users read, administrators all
  InheritedKeySecurity security(HKEY_LOCAL_MACHINE, "SOFTWARE\\Ancestor\\One\\Two\\Three");
  ASSERT_NE(security.Dacl(), nullptr);
  EXPECT_EQ(security.Dacl()->AclRevision, ACL_REVISION2);
  EXPECT_EQ(Entries(security.Dacl()), ancestor);
  BOOL present = FALSE, defaulted = FALSE;
  ACL* described = nullptr;
  GetSecurityDescriptorDacl(security.Attributes()->lpSecurityDescriptor, &present, &described, &defaulted);
  EXPECT_EQ(described, security.Dacl());
  EXPECT_FALSE(security.Attributes()->bInheritHandle);
  // An existing key, or one without any existing ancestor, gets a null DACL.
  EXPECT_EQ(InheritedKeySecurity(HKEY_LOCAL_MACHINE, "SOFTWARE\\Ancestor").Dacl(), nullptr);
  EXPECT_EQ(InheritedKeySecurity(HKEY_LOCAL_MACHINE, "Nowhere\\At\\All").Dacl(), nullptr);
}

// The application record's text is stored with its terminator, as hosts read it.
TEST_F(RegistryPrimitives, SetStringKeepsTheTerminator) {
  EXPECT_EQ(RegSetString("SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\KVILEDITOR\\8.0", "Name", "Kvil Editor"), 1);
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tervane\\Kvil\\8.0\\Products\\KVILEDITOR\\8.0", "Name"),
            SzValue("Kvil Editor", true));
}

TEST_F(RegistryPrimitives, GetValueExpandsOnlyExpandStringsAndTerminatesWithinTheBuffer) {
  char windows[260];
  const DWORD expandedCount = ExpandEnvironmentStringsA("%WINDIR%\\x", windows, sizeof windows);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Plain", "%WINDIR%\\x", REG_SZ);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Expand", "%WINDIR%\\x", REG_EXPAND_SZ);
  WriteRaw(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Short", REG_SZ, {'a', 'b', 'c'});
  WriteRaw(HKEY_LOCAL_MACHINE, "SOFTWARE\\Paths", "Exact", REG_SZ, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
  const struct {
    const char* path;
    const char* name;
    DWORD capacity;
    LONG status;
    std::string text;
    DWORD type, length;
  } cases[] = {
      {"SOFTWARE\\Paths", "Plain", 260, ERROR_SUCCESS, "%WINDIR%\\x", REG_SZ, 11},
      {"SOFTWARE\\Paths", "Expand", 260, ERROR_SUCCESS, windows, REG_EXPAND_SZ, expandedCount},
      {"SOFTWARE\\Paths", "Short", 8, ERROR_SUCCESS, "abc", REG_SZ, 3},
      {"SOFTWARE\\Paths", "Exact", 8, ERROR_MORE_DATA, "", REG_SZ, 8},  // no room for the terminator
      {"SOFTWARE\\Paths", "Missing", 8, ERROR_FILE_NOT_FOUND, "", REG_NONE, 8},
      {"SOFTWARE\\Missing", "x", 8, ERROR_FILE_NOT_FOUND, "", REG_NONE, 8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    char text[260 + 4];
    std::memset(text, 0, sizeof text);
    std::memset(text + c.capacity, 'g', 4);
    DWORD length = c.capacity;
    DWORD type = REG_NONE;
    EXPECT_EQ(RegGetValueExpand(HKEY_LOCAL_MACHINE, c.path, c.name, text, &length, &type), c.status);
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(type, c.type);
    if (c.status != ERROR_FILE_NOT_FOUND) {
      EXPECT_EQ(length, c.length);
    }
    EXPECT_EQ(std::string(text + c.capacity, 4), "gggg");
  }
}

TEST_F(RegistryPrimitives, DeletionOfTreesValuesAndEmptyLeaves) {
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\A\\Deep");
  CreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\B");
  EXPECT_NE(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 0), ERROR_SUCCESS);
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\A\\Deep"));
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree\\B", 0), ERROR_SUCCESS);
  EXPECT_EQ(SubkeyNames(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree"), std::vector<std::string>{"A"});
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 1), ERROR_SUCCESS);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree"));
  EXPECT_EQ(RegDeleteKeyTree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tree", 1), ERROR_FILE_NOT_FOUND);

  WriteDword(HKEY_CURRENT_USER, "Software\\Leaf\\Keep\\Child", "x", 1);
  WriteDword(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x", 1);
  EXPECT_EQ(RegDeleteValueAt(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueAt(HKEY_CURRENT_USER, "Software\\Leaf\\Empty", "x"), ERROR_FILE_NOT_FOUND);
  char withChildren[] = "Software\\Leaf\\Keep";
  EXPECT_EQ(RegDeleteEmptyLeaf(HKEY_CURRENT_USER, withChildren), 0);
  char empty[] = "Software\\Leaf\\Empty";
  EXPECT_EQ(RegDeleteEmptyLeaf(HKEY_CURRENT_USER, empty), 1);
  EXPECT_STREQ(empty, "Software\\Leaf");
  EXPECT_EQ(SubkeyNames(HKEY_CURRENT_USER, "Software\\Leaf"), std::vector<std::string>{"Keep"});
}

TEST_F(RegistryPrimitives, LanguageValuesReadAsDecimalTextOr1033) {
  auto text = [](const std::string& s) { return std::vector<std::uint8_t>(s.begin(), s.end() + 1); };
  const struct {
    const char* what;
    DWORD type;
    std::vector<std::uint8_t> bytes;
    int expected, afterPrefix;  // afterPrefix: with the prefix "Word"
  } cases[] = {
      {"number then text", REG_SZ, text("1058\\Normal"), 1058, 1033},
      {"zero", REG_SZ, text("0"), 1033, 1033},
      {"not a number", REG_SZ, text("Normal"), 1033, 1033},
      {"prefixed", REG_SZ, text("Word1049"), 1033, 1049},
      {"a dword", REG_DWORD, {0x19, 0x04, 0, 0}, 1033, 1033},
      {"unterminated", REG_SZ, {'2', '0', '5', '7'}, 2057, 1033},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    WriteRaw(HKEY_CURRENT_USER, "Software\\Lang", "LID", c.type, c.bytes);
    EXPECT_EQ(ReadLIDValue(HKEY_CURRENT_USER, "Software\\Lang", "LID"), c.expected);
    EXPECT_EQ(ReadLIDValueAfterPrefix(HKEY_CURRENT_USER, "Software\\Lang", "LID", "Word"), c.afterPrefix);
  }
  EXPECT_EQ(ReadLIDValue(HKEY_CURRENT_USER, "Software\\Lang", "Missing"), 1033);
}

TEST_F(RegistryPrimitives, StringAndDwordReadersRefuseOtherTypes) {
  WriteDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", 5);
  WriteText(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Text", "5");
  char text[16];
  DWORD number = 0;
  EXPECT_FALSE(RegReadString(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", text, sizeof text));
  EXPECT_FALSE(RegReadDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Text", &number));
  EXPECT_TRUE(RegReadDword(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed", "Number", &number));
  EXPECT_EQ(number, 5u);
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Typed"), 1);
  EXPECT_EQ(RegKeyExists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Untyped"), 0);
}

}  // namespace
}  // namespace kvil::test

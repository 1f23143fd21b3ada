#include "library_under_test.h"

#include <stdexcept>

#include "win32_support.h"

namespace kvil::test {

LibraryUnderTest::LibraryUnderTest() {
  // The full path, so a stray copy elsewhere on the search path is never the one tested.
  const std::string path = RunningExecutableFolder() + "\\kvilintg.dll";
  module_ = LoadLibraryA(path.c_str());
  if (module_ == nullptr) ThrowLastError("cannot load " + path);
}

LibraryUnderTest::~LibraryUnderTest() { FreeLibrary(module_); }

FARPROC LibraryUnderTest::Find(const std::string& exportName) const {
  return GetProcAddress(module_, exportName.c_str());
}

FARPROC LibraryUnderTest::Require(const std::string& exportName) const {
  const FARPROC entry = Find(exportName);
  if (entry == nullptr) throw std::runtime_error("kvilintg.dll has no export " + exportName);
  return entry;
}

KvilResult LibraryUnderTest::Call(const std::string& operation, const std::string& suffix, std::int32_t kind,
                                  std::int32_t lcid, std::intptr_t reserved1, std::intptr_t reserved2) const {
  // Every operation but Info shares the signature of Exist.
  return Export<KvilExistProc>(operation + suffix)(kind, lcid, reserved1, reserved2);
}

KvilResult LibraryUnderTest::Info(const std::string& suffix, std::int32_t kind, std::int32_t lcid, char* buffer,
                                  std::int32_t* length) const {
  return Export<KvilInfoProc>("Info" + suffix)(kind, lcid, buffer, length);
}

}  // namespace kvil::test

// The built kvilintg.dll, loaded as the setup tool loads it and called by export
// name. Loading afresh per test also resets the library's cached product version.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "kvilintg.h"

namespace kvil::machine {}

namespace kvil::test {

// The tests state machines in the seeder's terms.
using namespace kvil::machine;

class LibraryUnderTest {
 public:
  // Loads "kvilintg.dll" from the test executable's folder. Throws when missing.
  LibraryUnderTest();
  LibraryUnderTest(const LibraryUnderTest&) = delete;
  LibraryUnderTest& operator=(const LibraryUnderTest&) = delete;
  ~LibraryUnderTest();

  // The named export, or null.
  FARPROC Find(const std::string& exportName) const;
  // The named export as a function of type F. Throws when missing.
  template <typename F>
  F Export(const std::string& exportName) const {
    return reinterpret_cast<F>(Require(exportName));
  }

  // operation + suffix ("Attach", "Editor"): calls the export. Throws when missing.
  KvilResult Call(const std::string& operation, const std::string& suffix, std::int32_t kind, std::int32_t lcid,
                  std::intptr_t reserved1 = 0, std::intptr_t reserved2 = 0) const;
  KvilResult Info(const std::string& suffix, std::int32_t kind, std::int32_t lcid, char* buffer,
                  std::int32_t* length) const;

  HMODULE module() const { return module_; }

 private:
  FARPROC Require(const std::string& exportName) const;

  HMODULE module_ = nullptr;
};

}  // namespace kvil::test

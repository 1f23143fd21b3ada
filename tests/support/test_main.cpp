// The shared main of the test programs: the shell-link fixture and the library's
// own COM work need an apartment on the test thread.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <exception>

#include "product_fixture.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  try {
    const kvil::machine::ComApartment apartment;
    return RUN_ALL_TESTS();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

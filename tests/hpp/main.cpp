// The tests use tokens with version 2 of the signing-certificate attribute; the library reads its switch
// once.
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
  setenv("QEX_VERIFY_ESSCERTIDV2", "1", 1);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

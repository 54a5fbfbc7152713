#include <gtest/gtest.h>

#include "support/child_process.h"

int main(int argc, char** argv) {
  int exitCode = 0;
  if (testing_support::RunAsChild(argc, argv, exitCode)) return exitCode;
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

#include "lifecycle/single_instance.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <thread>

#include "win/unique_resource.h"

using lifecycle::ClaimSingleInstance;
using lifecycle::GiveUpSingleInstance;

namespace {

win::UniqueHandle OpenMutex() {
  return win::UniqueHandle(OpenMutexA(SYNCHRONIZE, FALSE, "__MUTEX_TESSARON_LIVE_EXE__"));
}

}  // namespace

TEST(SingleInstance, IsOwnedUntilItIsGivenUpExceptForAnEarlierClaim) {
  EXPECT_FALSE(ClaimSingleInstance());
  std::thread([] {
    EXPECT_EQ(WaitForSingleObject(OpenMutex().Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "the claimant owns it";
  }).join();
  GiveUpSingleInstance();
  EXPECT_FALSE(OpenMutex());

  EXPECT_FALSE(ClaimSingleInstance());
  EXPECT_TRUE(ClaimSingleInstance());
  GiveUpSingleInstance();
  GiveUpSingleInstance();
  EXPECT_TRUE(OpenMutex()) << "nobody closes the first one";
}

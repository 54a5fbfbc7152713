#include "lifecycle/single_instance.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <iostream>
#include <string>

#include "support/child_process.h"
#include "win/unique_resource.h"

using lifecycle::ClaimSingleInstance;
using lifecycle::GiveUpSingleInstance;
using testing_support::ChildProcess;

namespace {

constexpr char kName[] = "__MUTEX_TESSARON_LIVE_EXE__";

bool Exists() {
  return static_cast<bool>(win::UniqueHandle(OpenMutexA(SYNCHRONIZE, FALSE, kName)));
}

}  // namespace

// In processes of their own, which leave nothing behind.

CHILD_MAIN(ClaimOnce) {
  std::cout << ClaimSingleInstance();
  return 0;
}

CHILD_MAIN(ClaimAndHold) {
  std::cout << ClaimSingleInstance() << std::endl;
  std::string line;
  std::getline(std::cin, line);
  GiveUpSingleInstance();
  std::cout << Exists() << std::endl;
  std::getline(std::cin, line);
  return 0;
}

CHILD_MAIN(ClaimOverAClaim) {
  std::cout << ClaimSingleInstance() << ClaimSingleInstance();
  GiveUpSingleInstance();
  std::cout << Exists();
  GiveUpSingleInstance();
  std::cout << Exists();
  return 0;
}

TEST(SingleInstance, IsHeldUntilItIsGivenUp) {
  ChildProcess child("ClaimAndHold");
  EXPECT_EQ(child.ReadLine(), "0");
  {
    const win::UniqueHandle mutex(OpenMutexA(SYNCHRONIZE, FALSE, kName));
    ASSERT_TRUE(mutex);
    EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "the claimant owns it";
  }
  child.WriteLine("give up");
  EXPECT_EQ(child.ReadLine(), "0") << "the last handle is gone while the process lives";
}

TEST(SingleInstance, LeavesTheHandleOfAnEarlierClaimOpen) {
  EXPECT_EQ(ChildProcess("ClaimOverAClaim").ReadLine(), "0111");
  EXPECT_FALSE(Exists()) << "the end of the process closes it";
}

TEST(SingleInstance, IsTakenWhenTheNameBelongsToAnotherUser) {
  ACL nobody{};
  SECURITY_DESCRIPTOR descriptor{};
  ASSERT_TRUE(InitializeAcl(&nobody, sizeof(nobody), ACL_REVISION));
  ASSERT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
  ASSERT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, &nobody, FALSE));
  SECURITY_ATTRIBUTES attributes = {
      .nLength = sizeof(attributes), .lpSecurityDescriptor = &descriptor, .bInheritHandle = FALSE};
  const win::UniqueHandle foreign(CreateMutexA(&attributes, FALSE, kName));
  ASSERT_TRUE(foreign);
  EXPECT_EQ(ChildProcess("ClaimOnce").ReadLine(), "1");
}

TEST(SingleInstance, IsFreeWhenTheMutexCannotBeMadeForAnotherReason) {
  const win::UniqueHandle event(CreateEventA(nullptr, FALSE, FALSE, kName));
  ASSERT_TRUE(event);
  EXPECT_EQ(ChildProcess("ClaimOnce").ReadLine(), "0");
}

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lifecycle/crash_mark.h"
#include "lifecycle/crash_mark_processor_win.h"
#include "support/import_patch.h"
#include "support/registry_scratch.h"
#include "win/registry_key.h"

using lifecycle::CrashMarkProcessorWin;
using lifecycle::kHardwareCapabilityMark;
using lifecycle::kReservedMark;
using lifecycle::kStartupMark;
using testing_support::ImportPatch;
using testing_support::RegistryScratch;

namespace {

constexpr wchar_t kMarkKey[] = L"SOFTWARE\\Borvanta\\mark";
constexpr int64_t kDay = 86'400'000;

/// The time that the stand-in for the system clock plays.
int64_t now_ = 1'700'000'000'000;

void WINAPI PlayTime(FILETIME* time) {
  // Ticks short of the next millisecond do not count.
  const auto ticks = static_cast<uint64_t>(now_ * 10'000 + 9'999 + 116'444'736'000'000'000);
  *time = {.dwLowDateTime = static_cast<DWORD>(ticks), .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

LSTATUS WINAPI RefuseToWrite(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD) {
  return ERROR_ACCESS_DENIED;
}

class CrashMark : public testing::Test {
 protected:
  void SetTime(const wchar_t* name, int64_t time, DWORD type = REG_QWORD) const {
    marks_.Set(name, type, &time, sizeof(time));
  }

  bool IsUntouched(const wchar_t* name, int64_t time) const {
    int64_t stored = 0;
    return win::RegistryKey::Open(HKEY_LOCAL_MACHINE, kMarkKey, KEY_QUERY_VALUE | KEY_WOW64_32KEY)
               .ReadData(name, &stored, sizeof(stored)) &&
           stored == time;
  }

  const RegistryScratch client_{HKEY_LOCAL_MACHINE, L"SOFTWARE\\Borvanta", KEY_WOW64_32KEY};
  const RegistryScratch marks_{HKEY_LOCAL_MACHINE, kMarkKey, KEY_WOW64_32KEY};
  const ImportPatch clock_{"GetSystemTimePreciseAsFileTime", &PlayTime};
};

}  // namespace

TEST_F(CrashMark, IsKeptForOtherStoresUntilItIsCleared) {
  CrashMarkProcessorWin store;
  EXPECT_FALSE(store.hasMark(kStartupMark, "1.2"));
  const int64_t set = now_;
  EXPECT_TRUE(store.setMark(kStartupMark, "1.2"));
  EXPECT_TRUE(IsUntouched(L"esn1.2", set));
  now_ += kDay;
  EXPECT_TRUE(store.setMark(kStartupMark, "1.2"));
  EXPECT_TRUE(IsUntouched(L"esn1.2", set)) << "the first time stays";

  CrashMarkProcessorWin later;
  EXPECT_FALSE(later.clearMark(kStartupMark, "1.2")) << "it has not read the mark";
  EXPECT_TRUE(IsUntouched(L"esn1.2", set));
  EXPECT_TRUE(later.hasMark(kStartupMark, "1.2"));
  EXPECT_TRUE(later.clearMark(kStartupMark, "1.2"));
  EXPECT_FALSE(marks_.Has(L"esn1.2"));
  EXPECT_FALSE(store.hasMark(kStartupMark, "1.2")) << "the registry is the truth";
  EXPECT_FALSE(store.clearMark(kStartupMark, "1.2")) << "there is nothing to remove";
}

TEST_F(CrashMark, ReadsWhatCountsAndRemovesWhatDoesNot) {
  CrashMarkProcessorWin store;
  const auto has = [&] { return store.hasMark(kStartupMark, "x"); };
  SetTime(L"esnx", now_ - 1);
  EXPECT_TRUE(has());
  SetTime(L"esnx", now_ - 60 * kDay + 1, REG_BINARY);
  EXPECT_TRUE(has()) << "the type is not looked at";
  EXPECT_TRUE(marks_.Has(L"esnx"));
  for (const int64_t time : {now_, now_ + 1, now_ - 60 * kDay, int64_t{0}, INT64_MAX, INT64_MIN}) {
    SetTime(L"esnx", time);
    EXPECT_FALSE(has()) << time;
    EXPECT_FALSE(marks_.Has(L"esnx")) << time;
  }
  // Shorter data is the low bytes of a time.
  const int64_t recent = now_ - 1;
  for (const size_t size : {size_t{0}, size_t{4}, size_t{6}}) {
    marks_.Set(L"esnx", REG_DWORD, &recent, size);
    EXPECT_EQ(has(), size == 6) << size;
    EXPECT_EQ(marks_.Has(L"esnx"), size == 6) << size;
  }
  marks_.Set(L"esnx", REG_BINARY, "123456789", 9);
  EXPECT_FALSE(has());
  EXPECT_TRUE(marks_.Has(L"esnx")) << "longer than a time";
  EXPECT_TRUE(store.clearMark(kStartupMark, "x")) << "it has been read";
}

TEST_F(CrashMark, WithoutArgumentIsReadOnceWhenTheStoreIsMade) {
  SetTime(L"hwcapquery", now_ - 1);
  SetTime(L"esn", now_ - 60 * kDay);
  SetTime(L"", now_ - 1);
  CrashMarkProcessorWin store;
  EXPECT_FALSE(marks_.Has(L"esn")) << "too old";
  SetTime(L"esdgs", now_ - 1);
  EXPECT_TRUE(store.hasMark(kHardwareCapabilityMark, ""));
  EXPECT_FALSE(store.hasMark(kStartupMark, ""));
  EXPECT_FALSE(store.hasMark(kReservedMark, "")) << "set later";
  EXPECT_TRUE(store.hasMark(kReservedMark, "any")) << "an argument makes it look";
  EXPECT_TRUE(CrashMarkProcessorWin().hasMark(kReservedMark, ""));
}

TEST_F(CrashMark, WithoutNameIsTheDefaultValueAndCannotBeSetOrCleared) {
  SetTime(L"", now_ - 60 * kDay);
  CrashMarkProcessorWin store;
  EXPECT_FALSE(marks_.Has(L"")) << "checked, and removed, like a mark";
  EXPECT_FALSE(store.setMark(2, ""));
  EXPECT_FALSE(marks_.Has(L""));

  SetTime(L"", now_ - 1);
  CrashMarkProcessorWin later;
  for (const uint32_t type : {0U, 2U, 5U, 0xFFFFFFFFU})
    EXPECT_TRUE(later.hasMark(type, "")) << type;
  EXPECT_TRUE(later.setMark(5, "")) << "it is set already";
  EXPECT_FALSE(later.clearMark(5, ""));
  EXPECT_TRUE(marks_.Has(L""));
  EXPECT_FALSE(later.hasMark(5, "")) << "dropped from memory all the same";

  marks_.Delete();
  EXPECT_FALSE(later.setMark(5, ""));
  EXPECT_TRUE(win::RegistryKey::Open(HKEY_LOCAL_MACHINE, kMarkKey, KEY_QUERY_VALUE | KEY_WOW64_32KEY))
      << "the key comes before the name";
}

TEST_F(CrashMark, IsNotSetWhenItCannotBeWritten) {
  CrashMarkProcessorWin store;
  const ImportPatch refusal("RegSetValueExW", &RefuseToWrite);
  EXPECT_FALSE(store.setMark(kReservedMark, ""));
  EXPECT_FALSE(store.hasMark(kReservedMark, ""));
}

TEST_F(CrashMark, OfTheProcessCanBeHeldAroundABlock) {
  {
    const lifecycle::ScopedCrashMark mark(kReservedMark, "");
    EXPECT_TRUE(marks_.Has(L"esdgs"));
    EXPECT_TRUE(lifecycle::crash_marks::hasMark(kReservedMark, ""));
  }
  EXPECT_FALSE(marks_.Has(L"esdgs"));
  EXPECT_FALSE(lifecycle::crash_marks::hasMark(kReservedMark, ""));
}

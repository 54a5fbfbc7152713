#include "identity/debug_mode.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <softpub.h>
#include <wintrust.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "identity/file_signature.h"
#include "support/child_process.h"
#include "support/import_patch.h"
#include "win/text.h"

using identity::DebugMode;
using identity::IsInDebugPeriod;

namespace {

bool Holds(const std::string& digits, const SYSTEMTIME& now) {
  return IsInDebugPeriod({reinterpret_cast<const BYTE*>(digits.data()), digits.size()}, now);
}

/// 1970-01-01 00:00, a Thursday.
constexpr SYSTEMTIME kEpoch = {1970, 1, 4, 1, 0, 0, 0, 0};

WORD milliseconds = 0;

/// The local clock at the end of the debug period in the prepared files.
void WINAPI PlayLocalTime(SYSTEMTIME* time) {
  *time = {2999, 12, 2, 31, 23, 59, 59, milliseconds};
}

auto* const realFreeLibrary = testing_support::RealFunction<decltype(FreeLibrary)>(L"kernel32.dll", "FreeLibrary");
int frees = 0;

BOOL WINAPI CountFrees(HMODULE library) {
  if (library == GetModuleHandleW(L"wintrust.dll")) ++frees;
  return realFreeLibrary(library);
}

/// One call of WinVerifyTrust: where its data lies, and copies of the data and of what belongs to it.
struct TrustCall {
  HWND window;
  GUID action;
  const void* address;
  WINTRUST_DATA data;
  WINTRUST_FILE_INFO file;
  std::wstring path;
};
std::vector<TrustCall> trustCalls;
LONG trustStatus = 0;

/// Answers `trustStatus`, to the call that closes the opposite, which nobody should look at.
LONG WINAPI RecordTrust(HWND window, GUID* action, void* data) {
  auto& trust = *static_cast<WINTRUST_DATA*>(data);
  trustCalls.push_back({window, *action, data, trust, *trust.pFile, trust.pFile->pcwszFilePath});
  if (trust.dwStateAction == WTD_STATEACTION_CLOSE) return trustStatus == 0 ? 1 : 0;
  trust.hWVTStateData = &trustStatus;
  return trustStatus;
}

auto* const realGetProcAddress =
    testing_support::RealFunction<decltype(GetProcAddress)>(L"kernel32.dll", "GetProcAddress");

FARPROC WINAPI GiveRecorder(HMODULE library, LPCSTR name) {
  if (library != GetModuleHandleW(L"wintrust.dll") || std::strcmp(name, "WinVerifyTrust") != 0)
    return realGetProcAddress(library, name);
  return reinterpret_cast<FARPROC>(&RecordTrust);
}

}  // namespace

// WriteDebugPeriod FILE HEX: gives the file, which must not be loaded, a debug period of these bytes. Called by
// scripts/lib/debug_mode_files.mjs.
CHILD_MAIN(WriteDebugPeriod) {
  const std::string& hex = arguments.at(1);
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  const HANDLE update = BeginUpdateResourceW(win::NarrowToWide(CP_UTF8, arguments[0]).c_str(), FALSE);
  const bool written = update &&
                       UpdateResourceW(update, L"DHS", L"101", 1033, bytes.data(), static_cast<DWORD>(bytes.size())) &&
                       EndUpdateResourceW(update, FALSE);
  return written ? 0 : 1;
}

// HostDebugMode MILLISECONDS: prints this program's debug mode at these milliseconds of the prepared files' last
// second, and whether the signature check's library is loaded; the mode at the second's end; and after a release how
// often that library has been freed, and the mode anew.
CHILD_MAIN(HostDebugMode) {
  const testing_support::ImportPatch clock("GetLocalTime", &PlayLocalTime);
  const testing_support::ImportPatch freeing("FreeLibrary", &CountFrees);
  milliseconds = static_cast<WORD>(std::stoi(arguments.at(0)));
  DebugMode& mode = DebugMode::Instance();
  const bool first = mode.Query();
  std::cout << std::boolalpha << first << " " << (GetModuleHandleW(L"wintrust.dll") != nullptr) << std::endl;
  milliseconds = 999;
  std::cout << mode.Query() << std::endl;
  mode.Release();
  std::cout << frees << " " << mode.Query() << std::endl;
  return 0;
}

TEST(DebugMode, PeriodIncludesItsLastMillisecond) {
  EXPECT_TRUE(Holds("11644473600000", kEpoch));
  EXPECT_FALSE(Holds("11644473599999", kEpoch));
  EXPECT_TRUE(Holds("000011644473600000", kEpoch));
}

TEST(DebugMode, PeriodCountsWhatIsNoDigitByItsDistanceFromZero) {
  EXPECT_TRUE(Holds("/", kEpoch)) << "-1 is the last moment of all";
  EXPECT_FALSE(Holds("z", kEpoch));
  EXPECT_TRUE(Holds("116444735999:0", kEpoch)) << "a colon is a ten";
  EXPECT_FALSE(Holds("1164447359999/", kEpoch));
  EXPECT_FALSE(Holds("\xff", kEpoch)) << "207";
}

TEST(DebugMode, IsOffInAProgramWithoutThePeriodAndRunsNoCheck) {
  testing_support::ChildProcess child("HostDebugMode", {"0"});
  EXPECT_EQ(child.ReadLine(), "false false");
  EXPECT_EQ(child.Wait(), 0U);
}

TEST(FileSignature, IsVerifiedWithoutUserOrNetworkAndThenClosed) {
  const testing_support::ImportPatch patch("GetProcAddress", &GiveRecorder);
  for (const LONG status : {LONG{0}, LONG{1}, LONG{TRUST_E_NOSIGNATURE}}) {
    SCOPED_TRACE(status);
    trustStatus = status;
    trustCalls.clear();
    EXPECT_EQ(identity::FileSignature().Verify(L"x"), status == 0);
    ASSERT_EQ(trustCalls.size(), 2U);
    for (const TrustCall& call : trustCalls) {
      EXPECT_EQ(call.window, INVALID_HANDLE_VALUE);
      EXPECT_TRUE(IsEqualGUID(call.action, GUID(WINTRUST_ACTION_GENERIC_VERIFY_V2)));
      EXPECT_EQ(call.address, trustCalls[0].address);
      EXPECT_EQ(call.data.cbStruct, sizeof(WINTRUST_DATA));
      EXPECT_EQ(call.data.dwUIChoice, DWORD{WTD_UI_NONE});
      EXPECT_EQ(call.data.fdwRevocationChecks, DWORD{WTD_REVOKE_NONE});
      EXPECT_EQ(call.data.dwUnionChoice, DWORD{WTD_CHOICE_FILE});
      EXPECT_EQ(call.data.dwProvFlags, DWORD{WTD_REVOCATION_CHECK_NONE | WTD_CACHE_ONLY_URL_RETRIEVAL});
      EXPECT_EQ(call.file.cbStruct, sizeof(WINTRUST_FILE_INFO));
      EXPECT_EQ(call.file.hFile, nullptr);
      EXPECT_EQ(call.path, L"x");
    }
    EXPECT_EQ(trustCalls[0].data.dwStateAction, DWORD{WTD_STATEACTION_VERIFY});
    EXPECT_EQ(trustCalls[0].data.hWVTStateData, nullptr);
    EXPECT_EQ(trustCalls[1].data.dwStateAction, DWORD{WTD_STATEACTION_CLOSE});
    EXPECT_EQ(trustCalls[1].data.hWVTStateData, &trustStatus);
  }
}

#include "identity/file_signature.h"

#include <windows.h>
// Needs windows.h; the headers below need wincrypt.h.
#include <wincrypt.h>

#include <softpub.h>
#include <wintrust.h>

#include "win/get_function.h"

namespace identity {

bool FileSignature::Verify(const wchar_t* path) noexcept {
  if (!library_) library_.Reset(LoadLibraryExW(L"wintrust.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
  const auto verify = win::GetFunction<decltype(&WinVerifyTrust)>(library_.Get(), "WinVerifyTrust");
  if (!verify) return false;

  GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  WINTRUST_FILE_INFO file{};
  file.cbStruct = sizeof(file);
  file.pcwszFilePath = path;
  WINTRUST_DATA data{};
  data.cbStruct = sizeof(data);
  data.dwUIChoice = WTD_UI_NONE;
  data.fdwRevocationChecks = WTD_REVOKE_NONE;
  data.dwUnionChoice = WTD_CHOICE_FILE;
  data.pFile = &file;
  data.dwStateAction = WTD_STATEACTION_VERIFY;
  data.dwProvFlags = WTD_REVOCATION_CHECK_NONE | WTD_CACHE_ONLY_URL_RETRIEVAL;
  // INVALID_HANDLE_VALUE instead of a window means that there is no user to ask.
  const auto noUser = static_cast<HWND>(INVALID_HANDLE_VALUE);
  const LONG status = verify(noUser, &action, &data);
  // Frees what the check has stored in `data`.
  data.dwStateAction = WTD_STATEACTION_CLOSE;
  verify(noUser, &action, &data);
  return status == ERROR_SUCCESS;
}

}  // namespace identity

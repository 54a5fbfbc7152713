// One of many small processes for the process list: "waiter PROCESSID" waits until that process has ended. It has no
// C library and no console, so that hundreds of them cost little.

#include <windows.h>

extern "C" void WINAPI Entry() {
  const wchar_t* const line = GetCommandLineW();
  const wchar_t* digit = line + lstrlenW(line);
  while (digit > line && digit[-1] >= L'0' && digit[-1] <= L'9')
    --digit;
  DWORD processId = 0;
  for (; *digit != L'\0'; ++digit)
    processId = processId * 10 + static_cast<DWORD>(*digit - L'0');
  const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, processId);
  if (process) WaitForSingleObject(process, INFINITE);
  ExitProcess(0);
}

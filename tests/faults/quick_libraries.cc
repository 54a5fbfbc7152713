#include "faults/quick_libraries.h"

#include <windows.h>
// Need windows.h.
#include <dbghelp.h>
#include <pdh.h>
#include <pdhmsg.h>

#include <cstdint>
#include <map>
#include <utility>

namespace testing_support {

std::vector<std::pair<std::wstring, double>> quickPdhInstances = {{L"pid_12_engtype_3D", 1.0}};
int openQuickPdhHandles = 0;

namespace {

BOOL WINAPI QuickSymInitialize(HANDLE, PCSTR, BOOL) {
  return TRUE;
}

BOOL WINAPI QuickSymCleanup(HANDLE) {
  return TRUE;
}

PVOID WINAPI QuickSymFunctionTableAccess64(HANDLE, DWORD64 address) {
  return reinterpret_cast<PVOID>(address);
}

DWORD64 WINAPI QuickSymGetModuleBase64(HANDLE, DWORD64 address) {
  return address;
}

BOOL WINAPI QuickStackWalk64(DWORD, HANDLE process, HANDLE, LPSTACKFRAME64 frame, PVOID, PREAD_PROCESS_MEMORY_ROUTINE64,
                             PFUNCTION_TABLE_ACCESS_ROUTINE64 functionTable, PGET_MODULE_BASE_ROUTINE64 moduleBase,
                             PTRANSLATE_ADDRESS_ROUTINE64) {
  if (frame->Reserved[0] == 3) return FALSE;
  frame->AddrPC.Offset = 0x1000 * ++frame->Reserved[0];
  return functionTable(process, frame->AddrPC.Offset) && moduleBase(process, frame->AddrPC.Offset);
}

BOOL WINAPI QuickEnumerateLoadedModulesW64(HANDLE, PENUMLOADED_MODULES_CALLBACKW64 visit, PVOID context) {
  return visit(L"C:\\folder\\known.dll", 0x800, 0x1000, context);
}

BOOL WINAPI QuickMiniDumpWriteDump(HANDLE, DWORD, HANDLE file, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                                   PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION) {
  DWORD written = 0;
  return WriteFile(file, "MDMP", 4, &written, nullptr);
}

/// How often each open query was collected since it got its counter, which bears the same handle.
std::map<HANDLE, int> pdhCollections;

/// Ends the process where the handle is closed.
int& Collections(HANDLE handle) noexcept {
  return pdhCollections.at(handle);
}

PDH_STATUS WINAPI QuickPdhOpenQueryW(LPCWSTR, DWORD_PTR, PDH_HQUERY* query) {
  // Never given out twice, so that a closed one is known as such for ever.
  static uintptr_t last = 0;
  *query = reinterpret_cast<HANDLE>(++last);
  pdhCollections[*query] = 0;
  ++openQuickPdhHandles;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI QuickPdhAddCounterW(PDH_HQUERY query, LPCWSTR, DWORD_PTR, PDH_HCOUNTER* counter) {
  Collections(query) = 0;
  *counter = query;
  ++openQuickPdhHandles;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI QuickPdhCollectQueryData(PDH_HQUERY query) {
  ++Collections(query);
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI QuickPdhGetFormattedCounterArrayW(PDH_HCOUNTER counter, DWORD, LPDWORD size, LPDWORD count,
                                                    PPDH_FMT_COUNTERVALUE_ITEM_W items) {
  // A percentage of time needs two points in time.
  if (Collections(counter) < 2) return static_cast<PDH_STATUS>(PDH_INVALID_DATA);
  *count = static_cast<DWORD>(quickPdhInstances.size());
  const DWORD given = std::exchange(*size, static_cast<DWORD>((*count + 1) * sizeof(*items)));
  if (given < *size) return static_cast<PDH_STATUS>(PDH_MORE_DATA);
  for (auto& [name, value] : quickPdhInstances) {
    items->szName = name.data();
    // That the value is not valid: the module is not to look at this.
    items->FmtValue.CStatus = PDH_CSTATUS_INVALID_DATA;
    items->FmtValue.doubleValue = value;
    ++items;
  }
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI QuickPdhRemoveCounter(PDH_HCOUNTER counter) {
  Collections(counter) = 0;
  --openQuickPdhHandles;
  return ERROR_SUCCESS;
}

PDH_STATUS WINAPI QuickPdhCloseQuery(PDH_HQUERY query) {
  Collections(query) = 0;
  pdhCollections.erase(query);
  --openQuickPdhHandles;
  return ERROR_SUCCESS;
}

}  // namespace

const std::array<Replaced, 17> kReplaced = {{
    {L"dbghelp", "SymInitialize", reinterpret_cast<void*>(&QuickSymInitialize)},
    {L"dbghelp", "SymCleanup", reinterpret_cast<void*>(&QuickSymCleanup)},
    {L"dbghelp", "StackWalk64", reinterpret_cast<void*>(&QuickStackWalk64)},
    {L"dbghelp", "SymFunctionTableAccess64", reinterpret_cast<void*>(&QuickSymFunctionTableAccess64)},
    {L"dbghelp", "SymGetModuleBase64", reinterpret_cast<void*>(&QuickSymGetModuleBase64)},
    {L"dbghelp", "EnumerateLoadedModulesW64", reinterpret_cast<void*>(&QuickEnumerateLoadedModulesW64)},
    {L"dbghelp", "MiniDumpWriteDump", reinterpret_cast<void*>(&QuickMiniDumpWriteDump)},
    {L"dbghelp", "SymRefreshModuleList", nullptr},
    {L"dbghelp", "SymFromAddrW", nullptr},
    {L"kernel32", "SetThreadDescription", nullptr},
    {L"pdh", "PdhOpenQueryW", reinterpret_cast<void*>(&QuickPdhOpenQueryW)},
    {L"pdh", "PdhAddCounterW", reinterpret_cast<void*>(&QuickPdhAddCounterW)},
    {L"pdh", "PdhCollectQueryData", reinterpret_cast<void*>(&QuickPdhCollectQueryData)},
    {L"pdh", "PdhGetFormattedCounterArrayW", reinterpret_cast<void*>(&QuickPdhGetFormattedCounterArrayW)},
    {L"pdh", "PdhRemoveCounter", reinterpret_cast<void*>(&QuickPdhRemoveCounter)},
    {L"pdh", "PdhCloseQuery", reinterpret_cast<void*>(&QuickPdhCloseQuery)},
    {L"wintrust", "WinVerifyTrust", nullptr},
}};

}  // namespace testing_support

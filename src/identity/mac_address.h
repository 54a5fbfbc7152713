#pragma once

#include <string>

namespace identity {

/// Stores the hardware address of a physical network adapter in `address`, two upper-case hex digits for each byte. If
/// there is a wired adapter, the address is that of the first one in the system's order, and the function returns true.
/// If not, the address is that of the last physical adapter, and the function returns false. If there is no physical
/// adapter at all, the function leaves `address` unchanged and returns false. Any thread.
bool ProbeMacAddress(std::wstring& address);

}  // namespace identity

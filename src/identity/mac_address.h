#pragma once

#include <string>

namespace identity {

/// Stores the hardware address of a physical network adapter in `address`, two upper-case hex digits for each byte. It
/// is the address of the first wired adapter in the system's order, and the result is then true. Without a wired one it
/// is that of the last physical adapter, and the result is false. Leaves `address` unchanged and returns false when
/// there is no physical adapter. Any thread.
bool ProbeMacAddress(std::wstring& address);

}  // namespace identity

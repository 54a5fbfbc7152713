#pragma once

#include <string>

namespace identity {

/// Puts the hardware address of a physical network adapter into `address`, two hex digits a byte: of the first wired
/// one in the system's order, and then returns true, or else of the last physical one of another kind, and returns
/// false. Leaves `address` alone when there is no physical adapter. Any thread.
bool ProbeMacAddress(std::wstring& address);

}  // namespace identity

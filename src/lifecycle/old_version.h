#pragma once

#include <string>
#include <string_view>

namespace lifecycle {

// These functions remove what an old build has left in machine-wide Windows settings. Each function returns the error
// text, which is empty on success, and throws std::bad_alloc when memory runs out. Any thread.

/// Removes the GPU preference of the executable `path`.
std::string RemoveGpuPreference(const std::wstring& path);

/// The name of a build's firewall rule is this prefix, followed by the build's version.
inline constexpr std::string_view kFirewallRulePrefix = "BorvantaFirewall_";

/// Removes the Windows Firewall rule `name`. The error text is the step that failed and its HRESULT as a signed decimal
/// number. The calling thread must be in a COM apartment, which this function does not enter. Without an apartment the
/// first step fails.
std::string RemoveFirewallRule(const std::wstring& name);

}  // namespace lifecycle

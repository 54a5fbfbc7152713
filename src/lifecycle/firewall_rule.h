#pragma once

#include <string>
#include <string_view>

namespace lifecycle {

/// What the name of a build's firewall rule starts with; the build's version follows.
inline constexpr std::string_view kFirewallRulePrefix = "BorvantaFirewall_";

/// Removes the Windows Firewall rule `name`. Returns the error text, empty on success: which step failed, followed by
/// its HRESULT as a signed decimal number. The calling thread must be in a COM apartment, which is never entered here;
/// without one the first step fails. Throws std::bad_alloc when there is no memory for the name. Script thread only.
std::string RemoveFirewallRule(const std::wstring& name);

}  // namespace lifecycle

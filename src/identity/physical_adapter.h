#pragma once

#include <windows.h>

#include <string>

namespace identity {

/// What the network class keys of the registry say about an adapter.
enum class AdapterKind { kUnknown = 0, kPhysical = 1, kVirtual = 2 };

/// Classifies the adapter with the interface GUID text `name`; unknown when the registry has no such adapter or tells
/// nothing about it. Any thread.
AdapterKind ClassifyAdapter(const std::wstring& name);

/// The kind by an adapter's "Characteristics"; virtual outweighs physical.
AdapterKind KindOfCharacteristics(DWORD characteristics);

}  // namespace identity

#pragma once

namespace addon {

/// Keeps this module's file loaded until the process ends. Node.js unloads a module when the last script environment
/// that loaded it ends, and a native worker may still be running its code then. Any thread, any number of times.
void KeepModuleLoaded() noexcept;

}  // namespace addon

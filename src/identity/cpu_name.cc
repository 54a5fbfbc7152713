#include "identity/cpu_name.h"

#include "win/registry_key.h"

namespace identity {

const std::string& CpuName() {
  static const std::string name =
      win::RegistryKey::OpenAnsi(HKEY_LOCAL_MACHINE, "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                                 KEY_QUERY_VALUE)
          .ReadAnsiText("ProcessorNameString");
  return name;
}

}  // namespace identity

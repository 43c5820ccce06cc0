#include "benchmarks/native_registry.hpp"

#include "machine/machine.hpp"

namespace benchmarks {

/// Without a registry of its own the host writes to the simulated machine's.
void nativeSet(std::list<registration::commands::registryKey> const& records) {
  for (auto const& record : records) {
    machine::current().registry().setValue({machine::RegistryRoot::localMachine, record.keyPath},
                                           record.valueName,
                                           machine::RegistryValue::ofText(record.value));
  }
}

}  // namespace benchmarks

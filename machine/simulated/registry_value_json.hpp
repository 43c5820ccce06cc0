#pragma once

#include <nlohmann/json.hpp>

#include "machine/registry.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// A registry value as JSON: {"type": "REG_SZ", "data": "text"}; a number for REG_DWORD and
/// REG_QWORD, an array of strings for REG_MULTI_SZ. What these forms cannot hold to the byte is
/// {"type": ..., "hex": "00ff"}, and a type without a name here is its number.
nlohmann::json toJson(RegistryValue const& value);

/// The reverse; throws std::runtime_error as JsonValue does.
RegistryValue registryValue(JsonValue const& json);

}  // namespace machine::simulated

#include "machine/simulated/registry_value_json.hpp"

#include <algorithm>
#include <cctype>
#include <utility>

#include "machine/host/host_file.hpp"
#include "machine/little_endian.hpp"

namespace machine::simulated {

using nlohmann::json;

namespace {

json typeToJson(RegistryType type) {
  for (auto const& [known, name] : registryTypeNames())
    if (known == type) return name;
  return static_cast<std::uint32_t>(type);
}

RegistryType typeFromJson(JsonValue const& value) {
  if (value.isNumber()) return static_cast<RegistryType>(value.number(UINT32_MAX));
  auto const text = value.text();
  for (auto const& [type, name] : registryTypeNames())
    if (text == name) return type;
  value.refuse("\"" + text + "\" is no type of registry values");
}

std::string toHex(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  for (char const byte : bytes) {
    hex += digits[static_cast<unsigned char>(byte) >> 4];
    hex += digits[static_cast<unsigned char>(byte) & 15];
  }
  return hex;
}

std::string fromHex(JsonValue const& value) {
  auto const hex = value.text();
  bool const isHex = hex.size() % 2 == 0 && std::all_of(hex.begin(), hex.end(), [](char digit) {
                       return std::isxdigit(static_cast<unsigned char>(digit)) != 0;
                     });
  if (!isHex) value.refuse("must be pairs of hexadecimal digits");
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return bytes;
}

std::string numberBytes(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i, number >>= 8) bytes += static_cast<char>(number & 0xFF);
  return bytes;
}

/// A list's strings one after the other, each with its terminator, and an empty one at the end.
std::string listBytes(std::vector<UString> const& strings) {
  std::string bytes;
  for (auto const& text : strings) bytes += RegistryValue::ofText(text).data;
  return bytes + std::string(2, '\0');
}

/// The strings up to the first empty one.
std::vector<UString> listStrings(RegistryValue const& value) {
  std::vector<UString> strings;
  UString const units = value.text();
  for (std::size_t at = 0; at < units.size();) {
    auto const end = std::min(units.find(u'\0', at), units.size());
    strings.push_back(units.substr(at, end - at));
    at = end + 1;
  }
  return strings;
}

/// The readable form; null for a type without one. It may hold less than the bytes.
json readableData(RegistryValue const& value) {
  switch (value.type) {
    case RegistryType::string:
    case RegistryType::expandableString:
      return toUtf8(value.text());
    case RegistryType::dword:
    case RegistryType::qword:
      return littleEndian(value.data);
    case RegistryType::multiString: {
      json list = json::array();
      for (auto const& text : listStrings(value)) list.push_back(toUtf8(text));
      return list;
    }
    default:
      return nullptr;
  }
}

std::string bytesOf(RegistryType type, JsonValue const& data) {
  switch (type) {
    case RegistryType::string:
    case RegistryType::expandableString:
      return RegistryValue::ofText(toUtf16(data.text())).data;
    case RegistryType::dword:
      return numberBytes(data.number(UINT32_MAX), 4);
    case RegistryType::qword:
      return numberBytes(data.number(UINT64_MAX), 8);
    case RegistryType::multiString: {
      std::vector<UString> strings;
      for (auto const& element : data.elements()) strings.push_back(toUtf16(element.text()));
      return listBytes(strings);
    }
    default:
      data.refuse("a value of this type is given as \"hex\"");
  }
}

}  // namespace

json toJson(RegistryValue const& value) {
  json result{{"type", typeToJson(value.type)}};
  auto const data = readableData(value);
  std::filesystem::path const nowhere;
  bool const isExact =
      !data.is_null() && bytesOf(value.type, JsonValue(nowhere, "", data)) == value.data;
  if (isExact)
    result["data"] = data;
  else
    result["hex"] = toHex(value.data);
  return result;
}

RegistryValue registryValue(JsonValue const& value) {
  auto const type = typeFromJson(value.member("type"));
  if (value.has("hex")) return {type, fromHex(value.member("hex"))};
  return {type, bytesOf(type, value.member("data"))};
}

}  // namespace machine::simulated

#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

/// What the JSON Schemas of plans and of reports are made of.
namespace regplan::schema_parts {

using Json = nlohmann::ordered_json;

/// `schema` with a description.
inline Json described(std::string_view description, Json const& schema) {
  Json result = {{"description", description}};
  result.update(schema);
  return result;
}

/// A reference to one of the schema's definitions.
inline Json reference(std::string_view definition) {
  return {{"$ref", "#/definitions/" + std::string(definition)}};
}

inline Json listOf(Json items) {
  return {{"type", "array"}, {"items", std::move(items)}};
}

}  // namespace regplan::schema_parts

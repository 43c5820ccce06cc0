#include "bundles/desktopservicesetup/implementation/json_document.hpp"

#include <stdexcept>

#include "machine/json/document.hpp"

namespace desktopservicesetup {

namespace {

constexpr std::size_t deepestNesting = 16;

}  // namespace

JsonDocument::JsonDocument(std::string what, std::string_view text)
    : what_(std::move(what)), json_(machine::json::parse(what_, text, deepestNesting)) {
  if (number(json_, "version", UINT32_MAX) != 1) {
    throw std::runtime_error(what_ + " has a version that is not known");
  }
}

std::string JsonDocument::text(nlohmann::json const& object, char const* name) const {
  auto const& value = member(object, name);
  if (!value.is_string()) {
    refuse(name);
  }
  return value.get<std::string>();
}

std::uint64_t JsonDocument::number(nlohmann::json const& object, char const* name,
                                   std::uint64_t highest) const {
  auto const& value = member(object, name);
  if (!value.is_number_unsigned() || value.get<std::uint64_t>() > highest) {
    refuse(name);
  }
  return value.get<std::uint64_t>();
}

nlohmann::json const& JsonDocument::member(nlohmann::json const& object, char const* name) const {
  if (!object.is_object() || !object.contains(name)) {
    refuse(name);
  }
  return object[name];
}

void JsonDocument::refuse(char const* name) const {
  throw std::runtime_error(what_ + ": \"" + name + "\" is missing or not what it should be");
}

}  // namespace desktopservicesetup

#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace desktopservicesetup {

/// A JSON document whose "version" is 1. Whatever else it is, and whatever is asked of it that it
/// has not got, is a std::runtime_error that begins with `what`.
class JsonDocument {
 public:
  JsonDocument(std::string what, std::string_view text);

  /// Of the document's own members, or of one of its objects'.
  std::string text(char const* name) const { return text(json_, name); }
  std::string text(nlohmann::json const& object, char const* name) const;
  /// A whole number from 0 to `highest`.
  std::uint64_t number(nlohmann::json const& object, char const* name, std::uint64_t highest) const;
  nlohmann::json const& member(char const* name) const { return member(json_, name); }
  [[noreturn]] void refuse(char const* name) const;

 private:
  nlohmann::json const& member(nlohmann::json const& object, char const* name) const;

  std::string what_;
  nlohmann::json json_;
};

}  // namespace desktopservicesetup

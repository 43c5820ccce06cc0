#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace machine::simulated {

/// A value of a JSON file that knows where it stands. Whatever is not as asked for is a
/// std::runtime_error: the file, the place as a JSON pointer, and what is wrong.
class JsonValue {
 public:
  JsonValue(std::filesystem::path const& file, std::string place, nlohmann::json const& json)
      : file_(&file), place_(std::move(place)), json_(&json) {}

  /// REQUIRES: an object; the member must be there.
  JsonValue member(std::string const& name) const;
  bool has(std::string const& name) const { return json_->is_object() && json_->contains(name); }
  std::vector<std::pair<std::string, JsonValue>> members() const;
  std::vector<JsonValue> elements() const;
  std::string text() const;
  bool isNumber() const { return json_->is_number_unsigned(); }
  std::uint64_t number(std::uint64_t highest) const;
  nlohmann::json const& json() const { return *json_; }
  [[noreturn]] void refuse(std::string const& reason) const;

 private:
  std::filesystem::path const* file_;
  std::string place_;
  nlohmann::json const* json_;
};

/// A JSON file with a "version" member, always 1 as yet.
class JsonFile {
 public:
  explicit JsonFile(std::filesystem::path path) : path_(std::move(path)) {}

  bool exists() const { return std::filesystem::exists(path_); }
  /// The whole document, valid as long as this object and until read again.
  JsonValue read();
  /// Puts the document, with its version, in the file's place at once: readers see the old content
  /// or the new. Throws std::system_error.
  void write(nlohmann::json document) const;

 private:
  std::filesystem::path path_;
  nlohmann::json document_;
};

}  // namespace machine::simulated

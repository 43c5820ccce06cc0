#include "machine/simulated/json_file.hpp"

#include <array>
#include <stdexcept>

#include "machine/host/host_file.hpp"
#include "machine/json/document.hpp"

namespace machine::simulated {

namespace {

constexpr std::uint64_t formatVersion = 1;
constexpr std::size_t largestFile = std::size_t{256} << 20;
constexpr std::size_t deepestNesting = 16;

std::string content(std::filesystem::path const& path) {
  HostFile file(path, host::OpenMode::read);
  std::string bytes;
  std::array<char, 65536> part;
  while (std::size_t const count = file.read(part)) {
    bytes.append(part.data(), count);
    if (bytes.size() > largestFile) throw std::runtime_error(path.string() + ": too large");
  }
  return bytes;
}

}  // namespace

JsonValue JsonValue::member(std::string const& name) const {
  if (!json_->is_object()) refuse("must be an object");
  if (!json_->contains(name)) refuse("lacks \"" + name + "\"");
  auto const pointer = nlohmann::json::json_pointer(place_) / name;
  return {*file_, pointer.to_string(), (*json_)[name]};
}

std::vector<std::pair<std::string, JsonValue>> JsonValue::members() const {
  if (!json_->is_object()) refuse("must be an object");
  std::vector<std::pair<std::string, JsonValue>> result;
  for (auto const& item : json_->items()) result.emplace_back(item.key(), member(item.key()));
  return result;
}

std::vector<JsonValue> JsonValue::elements() const {
  if (!json_->is_array()) refuse("must be an array");
  std::vector<JsonValue> result;
  for (auto const& element : *json_)
    result.emplace_back(*file_, place_ + "/" + std::to_string(result.size()), element);
  return result;
}

std::string JsonValue::text() const {
  if (!json_->is_string()) refuse("must be a string");
  return json_->get<std::string>();
}

std::uint64_t JsonValue::number(std::uint64_t highest) const {
  if (!json_->is_number_unsigned() || json_->get<std::uint64_t>() > highest)
    refuse("must be a whole number from 0 to " + std::to_string(highest));
  return json_->get<std::uint64_t>();
}

void JsonValue::refuse(std::string const& reason) const {
  throw std::runtime_error(file_->string() + ": " + (place_.empty() ? "the document" : place_) +
                           ": " + reason);
}

JsonValue JsonFile::read() {
  document_ = json::parse(path_.string(), content(path_), deepestNesting);
  JsonValue document(path_, "", document_);
  auto const version = document.member("version");
  if (version.number(UINT32_MAX) != formatVersion)
    version.refuse("version " + std::to_string(version.number(UINT32_MAX)) +
                   " is not known; this program reads version 1");
  return document;
}

void JsonFile::write(nlohmann::json document) const {
  document["version"] = formatVersion;
  auto temporary = path_;
  temporary += ".tmp";
  HostFile file(temporary, host::OpenMode::truncate);
  file.write(document.dump(2) + "\n");
  file.close();
  std::filesystem::rename(temporary, path_);
}

}  // namespace machine::simulated

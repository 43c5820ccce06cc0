#include "machine/journal/record_json.hpp"

#include <array>
#include <stdexcept>
#include <utility>

#include "machine/hexadecimal.hpp"
#include "machine/host/host_file.hpp"
#include "machine/task_members.hpp"

namespace machine::journal {

using Json = nlohmann::ordered_json;

namespace {

template <class Value, std::size_t Size>
using Names = std::array<std::pair<Value, char const*>, Size>;

constexpr Names<Item::Kind, 9> itemKinds{{{Item::Kind::file, "file"},
                                          {Item::Kind::folder, "folder"},
                                          {Item::Kind::shortcut, "shortcut"},
                                          {Item::Kind::registryKey, "key"},
                                          {Item::Kind::registryValue, "value"},
                                          {Item::Kind::variable, "variable"},
                                          {Item::Kind::task, "task"},
                                          {Item::Kind::taskFolder, "taskFolder"},
                                          {Item::Kind::service, "service"}}};

constexpr Names<HandOver::Kind, 4> handOverKinds{{{HandOver::Kind::program, "program"},
                                                  {HandOver::Kind::shellProgram, "shellProgram"},
                                                  {HandOver::Kind::module, "module"},
                                                  {HandOver::Kind::bundles, "bundles"}}};

template <class Value, std::size_t Size>
char const* nameOf(Names<Value, Size> const& names, Value value) {
  for (auto const& [known, name] : names)
    if (known == value) return name;
  throw std::logic_error("a kind without a name");
}

template <class Value, std::size_t Size>
Value valueOf(Names<Value, Size> const& names, Json const& json) {
  for (auto const& [value, name] : names)
    if (json == name) return value;
  throw std::runtime_error("an unknown kind");
}

unsigned digitOf(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a' + 10);
  throw std::runtime_error("no hexadecimal digit");
}

std::string bytesFrom(Json const& json) {
  auto const& digits = json.get_ref<std::string const&>();
  if (digits.size() % 2 != 0) throw std::runtime_error("half a byte");
  std::string bytes;
  bytes.reserve(digits.size() / 2);
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes += static_cast<char>(digitOf(digits[i]) << 4 | digitOf(digits[i + 1]));
  return bytes;
}

/// Registry names may be ill-formed UTF-16, which JSON cannot carry as text.
Json textJson(UString const& text) {
  if (isWellFormed(text)) return toUtf8(text);
  auto bytes = RegistryValue::ofText(text).data;
  return {{"utf16", hexadecimal(std::string_view(bytes).substr(0, text.size() * 2))}};
}

UString textFrom(Json const& json) {
  if (json.is_string()) return toUtf16(json.get<std::string>());
  auto const bytes = bytesFrom(json.at("utf16"));
  UString text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                  static_cast<unsigned char>(bytes[i + 1]) << 8);
  return text;
}

std::uint64_t numberFrom(Json const& json, std::uint64_t lowest, std::uint64_t highest) {
  bool const isNumber = json.is_number_unsigned() && json.get<std::uint64_t>() >= lowest &&
                        json.get<std::uint64_t>() <= highest;
  if (!isNumber) {
    throw std::runtime_error("no number from " + std::to_string(lowest) + " to " +
                             std::to_string(highest));
  }
  return json.get<std::uint64_t>();
}

template <class Enumeration>
Enumeration enumeratedFrom(Json const& json, Enumeration lowest, Enumeration highest) {
  return static_cast<Enumeration>(
      numberFrom(json, static_cast<std::uint64_t>(lowest), static_cast<std::uint64_t>(highest)));
}

constexpr std::pair<char const*, bool FileAttributes::*> attributeFlags[] = {
    {"readOnly", &FileAttributes::isReadOnly},
    {"hidden", &FileAttributes::isHidden},
    {"system", &FileAttributes::isSystem},
};

constexpr std::pair<char const*, FileTime FileAttributes::*> attributeTimes[] = {
    {"created", &FileAttributes::created},
    {"written", &FileAttributes::written},
};

Json taskJson(TaskDefinition const& task) {
  Json json;
  for (auto const& [name, member] : taskTexts) json[name] = textJson(task.*member);
  for (auto const& [name, member] : taskFlags) json[name] = task.*member;
  return json;
}

TaskDefinition taskFrom(Json const& json) {
  TaskDefinition task;
  for (auto const& [name, member] : taskTexts) task.*member = textFrom(json.at(name));
  for (auto const& [name, member] : taskFlags) task.*member = json.at(name).get<bool>();
  return task;
}

constexpr std::pair<char const*, UString ServiceDefinition::*> serviceTexts[] = {
    {"displayName", &ServiceDefinition::displayName},
    {"description", &ServiceDefinition::description},
    {"commandLine", &ServiceDefinition::commandLine},
};

Json serviceJson(ServiceCondition const& service) {
  Json json;
  for (auto const& [name, member] : serviceTexts) json[name] = textJson(service.definition.*member);
  json["start"] = static_cast<std::uint32_t>(service.definition.start);
  Json actions = Json::array();
  for (auto const& action : service.definition.recovery.actions)
    actions.push_back(
        {{"kind", static_cast<std::uint32_t>(action.kind)}, {"delay", action.delay.count()}});
  json["actions"] = std::move(actions);
  json["resetAfter"] = service.definition.recovery.resetAfter.count();
  json["state"] = static_cast<std::uint32_t>(service.state);
  return json;
}

ServiceCondition serviceFrom(Json const& json) {
  ServiceCondition service;
  for (auto const& [name, member] : serviceTexts)
    service.definition.*member = textFrom(json.at(name));
  service.definition.start =
      enumeratedFrom(json.at("start"), ServiceStart{0}, ServiceStart::disabled);
  for (auto const& action : json.at("actions"))
    service.definition.recovery.actions.push_back(
        {enumeratedFrom(action.at("kind"), ServiceRecovery::Kind::none,
                        ServiceRecovery::Kind::runCommand),
         std::chrono::milliseconds(numberFrom(action.at("delay"), 0, UINT32_MAX))});
  service.definition.recovery.resetAfter =
      std::chrono::seconds(numberFrom(json.at("resetAfter"), 0, UINT32_MAX));
  service.state = enumeratedFrom(json.at("state"), ServiceState::stopped, ServiceState::paused);
  return service;
}

Json contentJson(FileContent const& content) {
  Json json{
      {"is", content.isLink ? "link" : "file"}, {"size", content.size}, {"sha256", content.sha256}};
  if (content.bytes) json["hex"] = hexadecimal(*content.bytes);
  return json;
}

void addAttributes(FileAttributes const& attributes, Json& json) {
  for (auto const& [name, member] : attributeFlags) {
    if (attributes.*member) json[name] = true;
  }
  for (auto const& [name, member] : attributeTimes) {
    if (attributes.*member != 0) json[name] = attributes.*member;
  }
}

FileAttributes attributesFrom(Json const& json) {
  FileAttributes attributes;
  for (auto const& [name, member] : attributeFlags) attributes.*member = json.value(name, false);
  for (auto const& [name, member] : attributeTimes) {
    if (json.contains(name)) attributes.*member = numberFrom(json.at(name), 0, INT64_MAX);
  }
  return attributes;
}

std::optional<Link> linkFrom(Json const& json) {
  if (!json.contains("target")) return std::nullopt;
  return Link{textFrom(json.at("target")), json.at("directory").get<bool>(),
              json.at("junction").get<bool>()};
}

/// A hash names a stored file: nothing else may get into its path. Only of what a link leads to it
/// may be unknown.
std::string hashFrom(Json const& json, bool isLink) {
  auto hash = json.get<std::string>();
  bool const isHash = hash.size() == 64 && hash.find_first_not_of("0123456789abcdef") == hash.npos;
  if (!isHash && !(isLink && hash.empty())) throw std::runtime_error("no hash");
  return hash;
}

FileContent contentFrom(Json const& json) {
  FileContent content;
  content.isLink = json.at("is") == "link";
  content.size = numberFrom(json.at("size"), 0, INT64_MAX);
  content.sha256 = hashFrom(json.at("sha256"), content.isLink);
  if (json.contains("hex")) {
    content.bytes = bytesFrom(json.at("hex"));
    if (content.bytes->size() != content.size) throw std::runtime_error("not as long as it says");
  }
  return content;
}

struct StateJson {
  Json operator()(std::monostate) const { return {{"is", "nothing"}}; }
  Json operator()(Existing) const { return {{"is", "there"}}; }
  Json operator()(FileContent const& content) const { return contentJson(content); }
  Json operator()(Shortcut const&) const { throw std::logic_error("shortcuts are kept as files"); }
  Json operator()(RegistryValue const& value) const {
    return {{"is", "value"},
            {"type", static_cast<std::uint32_t>(value.type)},
            {"hex", hexadecimal(value.data)}};
  }
  Json operator()(UString const& text) const {
    return {{"is", "variable"}, {"text", textJson(text)}};
  }
  Json operator()(TaskDefinition const& task) const {
    return {{"is", "task"}, {"definition", taskJson(task)}};
  }
  Json operator()(ServiceCondition const& service) const {
    return {{"is", "service"}, {"definition", serviceJson(service)}};
  }
};

ItemState stateFrom(Json const& json) {
  auto const& is = json.at("is").get_ref<std::string const&>();
  if (is == "nothing") return {};
  if (is == "there") return Existing{};
  if (is == "file" || is == "link") return contentFrom(json);
  if (is == "value")
    return RegistryValue{static_cast<RegistryType>(json.at("type").get<std::uint32_t>()),
                         bytesFrom(json.at("hex"))};
  if (is == "variable") return textFrom(json.at("text"));
  if (is == "task") return taskFrom(json.at("definition"));
  if (is == "service") return serviceFrom(json.at("definition"));
  throw std::runtime_error("an unknown state");
}

}  // namespace

Json toJson(Item const& item) {
  Json json{{"kind", nameOf(itemKinds, item.kind)}, {"where", textJson(item.where)}};
  if (item.kind == Item::Kind::registryValue) json["value"] = textJson(item.value);
  return json;
}

Item itemFrom(Json const& json) {
  Item item{valueOf(itemKinds, json.at("kind")), textFrom(json.at("where")), {}};
  if (item.kind == Item::Kind::registryValue) item.value = textFrom(json.at("value"));
  return item;
}

Json toJson(Image const& image) {
  Json json = std::visit(StateJson{}, image.state);
  addAttributes(image.attributes, json);
  if (image.link) {
    json["target"] = textJson(image.link->target);
    json["directory"] = image.link->isDirectory;
    json["junction"] = image.link->isJunction;
  }
  if (image.taskDocument) json["document"] = textJson(*image.taskDocument);
  return json;
}

Image imageFrom(Json const& json) {
  Image image{stateFrom(json)};
  if (auto const* const content = std::get_if<FileContent>(&image.state)) {
    if (content->isLink) {
      image.link = linkFrom(json);
    } else {
      image.attributes = attributesFrom(json);
    }
  }
  if (json.contains("document")) image.taskDocument = textFrom(json.at("document"));
  return image;
}

Json toJson(Origin const& origin) {
  return {{"computer", {{"name", textJson(origin.computer)}, {"id", textJson(origin.computerId)}}},
          {"account", {{"name", textJson(origin.account)}, {"id", textJson(origin.accountId)}}}};
}

Origin originFrom(Json const& json) {
  auto const& computer = json.at("computer");
  auto const& account = json.at("account");
  return {textFrom(computer.at("name")), textFrom(computer.at("id")), textFrom(account.at("name")),
          textFrom(account.at("id"))};
}

Json toJson(HandOver const& handOver) {
  return {{"kind", nameOf(handOverKinds, handOver.kind)},
          {"what", textJson(handOver.what)},
          {"arguments", textJson(handOver.arguments)}};
}

HandOver handOverFrom(Json const& json) {
  return {valueOf(handOverKinds, json.at("kind")), textFrom(json.at("what")),
          textFrom(json.at("arguments"))};
}

}  // namespace machine::journal

#include "install/cppinstrset/instruction_set_file.hpp"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include "machine/json/document.hpp"
#include "machine/machine.hpp"

namespace install::cppinstrset {

namespace {

using Json = nlohmann::ordered_json;
using machine::json::below;

constexpr int formatVersion = 1;
constexpr std::size_t nestingLimit = 8;  ///< a set needs three

struct Member {
  std::string_view name;
  bool isRequired;
};

/// No entry may break the lines of the files that the entries end up in.
bool isControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20;
}

/// The document's grammar, a function for each kind of value. `place` is a JSON pointer.
class Reader {
 public:
  explicit Reader(UString const& file) : file_(fl::i18n::ustring_to_utf8(file)) {}

  [[noreturn]] void refuse(std::string const& place, std::string const& reason) const {
    throw std::runtime_error(machine::json::errorLine(file_, place, reason));
  }

  InstructionSetContent content(Json const& document) const {
    checkMembers(document, "",
                 {{"$schema", false},
                  {"version", true},
                  {"envVariables", false},
                  {"VortanPaths", false},
                  {"JavaClassPaths", false}});
    checkVersion(document["version"]);
    if (document.contains("$schema")) {
      text(document["$schema"], "/$schema");
    }
    auto const path = [this](Json const& value, std::string const& place) {
      return nonEmptyText(value, place);
    };
    auto const variable = [this](Json const& value, std::string const& place) {
      return environmentVar(value, place);
    };
    return {list<EnvironmentVar>(document, "envVariables", variable),
            list<std::string>(document, "VortanPaths", path),
            list<std::string>(document, "JavaClassPaths", path)};
  }

 private:
  void checkMembers(Json const& json, std::string const& place,
                    std::initializer_list<Member> members) const {
    if (!json.is_object()) {
      refuse(place, "must be an object");
    }
    for (auto const& item : json.items()) {
      auto const isThis = [&](Member const& member) { return member.name == item.key(); };
      if (std::ranges::none_of(members, isThis)) {
        refuse(below(place, item.key()), "unknown member");
      }
    }
    for (Member const& member : members) {
      if (member.isRequired && !json.contains(member.name)) {
        refuse(below(place, member.name), "missing");
      }
    }
  }

  void checkVersion(Json const& version) const {
    if (version != formatVersion) {
      refuse("/version", "must be " + std::to_string(formatVersion) +
                             ", the one version of the format that this program reads");
    }
  }

  template <typename Element, typename Read>
  std::vector<Element> list(Json const& document, std::string_view name, Read const& read) const {
    std::vector<Element> elements;
    if (!document.contains(name)) {
      return elements;
    }
    Json const& array = document[std::string(name)];
    std::string const place = below("", name);
    if (!array.is_array()) {
      refuse(place, "must be a list");
    }
    for (Json const& element : array) {
      elements.push_back(read(element, below(place, elements.size())));
    }
    return elements;
  }

  EnvironmentVar environmentVar(Json const& json, std::string const& place) const {
    checkMembers(json, place, {{"name", true}, {"value", true}, {"overwrite", true}});
    EnvironmentVar variable;
    variable.name = variableName(json["name"], below(place, "name"));
    variable.value = text(json["value"], below(place, "value"));
    if (!json["overwrite"].is_boolean()) {
      refuse(below(place, "overwrite"), "must be true or false");
    }
    variable.overwrite = json["overwrite"].get<bool>();
    return variable;
  }

  /// A name with "=" is none to the system; "|" would end it early in the list of variables.
  std::string variableName(Json const& json, std::string const& place) const {
    std::string name = nonEmptyText(json, place);
    if (name.find_first_of("=|") != std::string::npos) {
      refuse(place, "must not contain \"=\" or \"|\"");
    }
    return name;
  }

  std::string nonEmptyText(Json const& json, std::string const& place) const {
    std::string result = text(json, place);
    if (result.empty()) {
      refuse(place, "must not be empty");
    }
    return result;
  }

  std::string text(Json const& json, std::string const& place) const {
    if (!json.is_string()) {
      refuse(place, "must be a text");
    }
    auto result = json.get<std::string>();
    if (std::ranges::any_of(result, isControl)) {
      refuse(place, "must not contain control characters");
    }
    return result;
  }

  std::string file_;
};

/// The whole file, or so much of it that it is seen to be longer than the limit.
std::string readStart(UString const& file, std::size_t limit) {
  auto const reader = machine::current().files().openForReading(file);
  std::string bytes;
  std::array<char, 16 * 1024> part{};
  while (bytes.size() <= limit) {
    std::size_t const count = reader->read(part);
    if (count == 0) {
      break;
    }
    bytes.append(part.data(), count);
  }
  return bytes;
}

}  // namespace

InstructionSetContent parseInstructionSet(std::string_view text, UString const& file) {
  Reader const reader(file);
  auto const document = machine::json::parse(
      text, nestingLimit,
      [&](std::string const& place, std::string const& reason) { reader.refuse(place, reason); });
  return reader.content(document.value());
}

InstructionSetContent readInstructionSet(UString const& file) {
  std::string const text = readStart(file, instructionSetSizeLimit);
  if (text.size() > instructionSetSizeLimit) {
    Reader(file).refuse("", "larger than " + std::to_string(instructionSetSizeLimit) +
                                " bytes, the most an instruction set may be");
  }
  return parseInstructionSet(text, file);
}

}  // namespace install::cppinstrset

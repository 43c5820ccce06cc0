#include "vortanconnector/installationsregistry/installation_records.hpp"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <vector>

#include "machine/path_grammar.hpp"

namespace vortanconnector::installationsregistry {

namespace grammar = machine::path_grammar;
using nlohmann::ordered_json;

namespace {

constexpr std::uint64_t formatVersion = 1;

[[noreturn]] void refuse(std::string const& place, std::string const& reason) {
  throw std::runtime_error(place + ": " + reason);
}

/// Refuses an object with two members of one name: of such a pair the parser keeps one only.
class UniqueNames {
 public:
  bool operator()(int, ordered_json::parse_event_t event, ordered_json const& value) {
    switch (event) {
      case ordered_json::parse_event_t::object_start:
        open_.emplace_back();
        break;
      case ordered_json::parse_event_t::object_end:
        open_.pop_back();
        break;
      case ordered_json::parse_event_t::key:
        if (!open_.back().insert(value.get<std::string>()).second) {
          refuse("\"" + value.get<std::string>() + "\"", "is there twice");
        }
        break;
      default:
        break;
    }
    return true;
  }

 private:
  std::vector<std::set<std::string>> open_;
};

ordered_json emptyDocument() {
  return {{"version", formatVersion}, {"installations", ordered_json::array()}};
}

ordered_json parse(std::string_view text) {
  try {
    return ordered_json::parse(
        text, [names = UniqueNames()](int depth, auto event, auto const& value) mutable {
          return names(depth, event, value);
        });
  } catch (ordered_json::exception const& error) {
    throw std::runtime_error(error.what());
  }
}

void requireVersion(ordered_json const& document) {
  if (!document.is_object()) {
    refuse("the document", "must be an object");
  }
  auto const version = document.find("version");
  if (version == document.end() || !version->is_number_unsigned()) {
    refuse("/version", "must be a whole number");
  }
  if (*version != formatVersion) {
    refuse("/version", "version " + version->dump() + " is not known; this program knows version " +
                           std::to_string(formatVersion));
  }
}

void requireRecords(ordered_json const& document) {
  auto const records = document.find("installations");
  if (records == document.end() || !records->is_array()) {
    refuse("/installations", "must be an array");
  }
  for (std::size_t i = 0; i < records->size(); ++i) {
    auto const& record = (*records)[i];
    bool const isRecord =
        record.is_object() && record.contains("root") && record["root"].is_string();
    if (!isRecord) {
      refuse("/installations/" + std::to_string(i) + "/root", "must be a string");
    }
  }
}

/// `\\?\C:\a` -> `C:\a`, `\\?\UNC\srv\share` -> `\\srv\share`; a path without the prefix as it is.
UString withoutVerbatimPrefix(UString const& path) {
  constexpr std::u16string_view share = u"\\\\?\\UNC\\";
  constexpr std::u16string_view prefix = u"\\\\?\\";
  if (machine::equalIgnoringCase(std::u16string_view(path).substr(0, share.size()), share)) {
    return u"\\\\" + path.substr(share.size());
  }
  return path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

bool contains(ordered_json const& records, UString const& root) {
  return std::any_of(records.begin(), records.end(), [&](ordered_json const& record) {
    return isSameRoot(fl::i18n::utf8_to_ustring(record["root"].get<std::string>()), root);
  });
}

}  // namespace

std::optional<std::string> withRecord(std::optional<std::string> const& file, UString const& root,
                                      std::string const& added) {
  ordered_json document = file ? parse(*file) : emptyDocument();
  requireVersion(document);
  requireRecords(document);
  if (contains(document["installations"], root)) {
    return std::nullopt;
  }
  document["installations"].push_back(
      {{"root", fl::i18n::ustring_to_utf8(root)}, {"added", added}});
  return document.dump(2) + "\n";
}

UString normalizedRoot(UString const& root) {
  UString path = grammar::toNative(root);
  if (!grammar::isAbsolute(path)) {
    return UString();
  }
  path = grammar::absolute(path, path);
  while (path.size() > grammar::rootLength(path) && grammar::isSeparator(path.back())) {
    path.pop_back();  // of a verbatim path
  }
  return path;
}

bool isSameRoot(UString const& a, UString const& b) {
  auto const comparable = [](UString const& root) {
    UString const native = grammar::toNative(root);
    UString const plain = withoutVerbatimPrefix(native);
    // A volume's name has no other form.
    return normalizedRoot(grammar::isAbsolute(plain) ? plain : native);
  };
  UString const folder = comparable(a);
  return !folder.empty() && machine::equalIgnoringCase(folder, comparable(b));
}

}  // namespace vortanconnector::installationsregistry

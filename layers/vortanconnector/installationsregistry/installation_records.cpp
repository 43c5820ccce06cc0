#include "vortanconnector/installationsregistry/installation_records.hpp"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "machine/json/document.hpp"
#include "machine/path_grammar.hpp"

namespace vortanconnector::installationsregistry {

namespace grammar = machine::path_grammar;
using nlohmann::ordered_json;

namespace {

constexpr std::uint64_t formatVersion = 1;
// A record is the third level; the rest is for what other programs add. Writing goes as deep.
constexpr std::size_t nestingLimit = 32;

[[noreturn]] void refuse(std::string const& place, std::string const& reason) {
  throw std::runtime_error(place + ": " + reason);
}

ordered_json emptyDocument() {
  return {{"version", formatVersion}, {"installations", ordered_json::array()}};
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

/// The form in which two names of one root are equal; empty for one that is not absolute.
UString comparable(UString const& root) {
  UString const native = normalizedRoot(root);
  UString const plain = withoutVerbatimPrefix(native);
  // A volume's name has no other form, nor has a name with a "/" in it, which verbatim paths take.
  bool const hasPlainForm = grammar::isAbsolute(plain) && plain.find(u'/') == UString::npos;
  UString path = normalizedRoot(hasPlainForm ? plain : native);
  while (path.size() > 2 && grammar::isSeparator(path.back())) {
    path.pop_back();  // of a drive or share
  }
  return machine::foldCase(path);
}

bool contains(ordered_json const& records, UString const& root) {
  UString const wanted = comparable(root);
  return std::any_of(records.begin(), records.end(), [&](ordered_json const& record) {
    auto const& recorded = record["root"].get_ref<std::string const&>();
    return comparable(fl::i18n::utf8_to_ustring(recorded)) == wanted;
  });
}

}  // namespace

std::optional<std::string> withRecord(std::optional<std::string> const& file, UString const& root,
                                      std::string const& added) {
  ordered_json document = file ? machine::json::parse({}, *file, nestingLimit) : emptyDocument();
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
  UString const folder = comparable(a);
  return !folder.empty() && folder == comparable(b);
}

}  // namespace vortanconnector::installationsregistry

#include "fl/filesystem/path.hpp"

#include <string_view>

#include "machine/path_grammar.hpp"

namespace fl::filesystem {

namespace grammar = machine::path_grammar;

namespace {

/// The last component as Windows would create it: trailing dots and blanks do not count. A name of
/// nothing else (".", "..") stays whole.
std::u16string_view effectiveName(UString const& path) {
  std::u16string_view const name = grammar::fileName(path);
  if (grammar::isVerbatim(path)) {
    return name;
  }
  std::size_t const last = name.find_last_not_of(u". ");
  return last == std::u16string_view::npos ? name : name.substr(0, last + 1);
}

/// Where the dot of the extension stands; npos without one. A dot that begins the name begins no
/// extension.
std::size_t extensionDot(std::u16string_view name) {
  std::size_t const dot = name.rfind(u'.');
  bool const onlyDots = name.find_first_not_of(u". ") == std::u16string_view::npos;
  return dot == 0 || onlyDots ? std::u16string_view::npos : dot;
}

}  // namespace

basic_path& basic_path::operator/=(basic_path const& component) {
  text_ = grammar::join(text_, component.text_);
  return *this;
}

basic_path operator/(basic_path const& folder, basic_path const& component) {
  return grammar::join(folder.text_, component.text_);
}

basic_path basic_path::filename() const {
  return UString(grammar::fileName(text_));
}

basic_path basic_path::parent_path() const {
  return UString(grammar::parent(text_));
}

basic_path basic_path::make_native() const {
  return grammar::toNative(text_);
}

UString extract_stem(Path const& path) {
  std::u16string_view const name = effectiveName(path.ustring());
  return UString(name.substr(0, extensionDot(name)));
}

UString extract_extension(Path const& path) {
  std::u16string_view const name = effectiveName(path.ustring());
  std::size_t const dot = extensionDot(name);
  return dot == std::u16string_view::npos ? UString() : UString(name.substr(dot + 1));
}

Path extract_first_element(Path const& path) {
  auto const components = grammar::components(path.ustring());
  return components.empty() ? Path() : Path(UString(components.front()));
}

std::size_t root_length(Path const& path) {
  return grammar::rootLength(path.ustring());
}

}  // namespace fl::filesystem

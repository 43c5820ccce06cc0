#include "fl/filesystem/verbatim.hpp"

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace fl::filesystem {

namespace grammar = machine::path_grammar;

UString verbatim(Path const& path) {
  UString const& text = path.ustring();
  if (grammar::isVerbatim(text)) {
    return text;
  }
  UString absolute = grammar::absolute(text, machine::current().files().currentDirectory());
  if (absolute.empty() || grammar::isVerbatim(absolute)) {  // as the current folder may be
    return absolute;
  }
  if (absolute.starts_with(u"\\\\.\\")) {
    return u"\\\\?\\" + absolute.substr(4);
  }
  if (absolute.starts_with(u"\\\\")) {
    return u"\\\\?\\UNC" + absolute.substr(1);
  }
  return u"\\\\?\\" + absolute;
}

}  // namespace fl::filesystem

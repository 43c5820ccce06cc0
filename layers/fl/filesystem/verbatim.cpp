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
  UString const absolute = grammar::absolute(text, machine::current().files().currentDirectory());
  if (grammar::isVerbatim(absolute)) {  // the current folder was a verbatim one
    return absolute;
  }
  if (absolute.starts_with(u"\\\\")) {
    return u"\\\\?\\UNC" + absolute.substr(1);
  }
  return u"\\\\?\\" + absolute;
}

}  // namespace fl::filesystem

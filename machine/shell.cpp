#include "machine/shell.hpp"

#include "machine/error.hpp"
#include "machine/path_grammar.hpp"

namespace machine {

namespace {

// MAX_PATH and INFOTIPSIZE, each less the terminator, and what fits, with its terminator, into a
// size in bytes of 16 bits.
constexpr std::size_t longestPath = 259;
constexpr std::size_t longestDescription = 1023;
constexpr std::size_t longestArguments = 32766;

}  // namespace

void requireStorable(std::u16string_view path, Shortcut const& shortcut) {
  auto const require = [path](bool condition, ErrorCode code) {
    if (!condition) throw SystemError("write the shortcut", path, code);
  };
  struct Limit {
    UString const& text;
    std::size_t longest;
  };
  for (Limit const& limit :
       {Limit{shortcut.target, longestPath}, Limit{shortcut.arguments, longestArguments},
        Limit{shortcut.workingFolder, longestPath}, Limit{shortcut.description, longestDescription},
        Limit{shortcut.iconFile, longestPath}}) {
    require(limit.text.find(u'\0') == limit.text.npos, ErrorCode::invalidParameter);
    require(limit.text.size() <= limit.longest, ErrorCode::fileNameTooLong);
  }
  require(path_grammar::isAbsolute(shortcut.target), ErrorCode::badPathName);
}

}  // namespace machine

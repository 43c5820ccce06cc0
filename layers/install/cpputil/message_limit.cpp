#include "install/cpputil/message_limit.hpp"

#include <string>

namespace install::cpputil {

using fl::i18n::UString;

UString cut_message(UString const& message) {
  UString const note = fl::i18n::to_ustring("... (cut here: longer than " +
                                            std::to_string(longest_message) + " characters)");
  std::size_t kept = longest_message - note.size();
  bool const splitsPair = message[kept] >= 0xDC00 && message[kept] <= 0xDFFF;
  return message.substr(0, splitsPair ? kept - 1 : kept) + note;
}

}  // namespace install::cpputil

#pragma once

#include <string>
#include <vector>

#include "fl/i18n/BxLocale.hpp"
#include "machine/api.hpp"

namespace fl::i18n {

/// A message of a component, with what goes in the places {0}, {1} and so on of its text.
struct MessageId {
  std::string component;  ///< "VORTAN:virtualfilesystem"
  std::string key;        ///< "ioError"
  std::vector<UString> arguments;
};

/// The texts of the messages in messages.json, which the library carries.
class REGISTRATION_API MessageCatalog {
 public:
  /// In the language of the locale, else in English. An argument goes in as it is, and a place
  /// without one stays. Of a message that the catalog does not know: its component, key and
  /// arguments.
  static UString get_message(MessageId const& id, BxLocale const& locale);
};

}  // namespace fl::i18n

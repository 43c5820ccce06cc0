#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "machine/api.hpp"

/// The one reader of JSON documents: whatever anybody may have written is read within limits, in a
/// time that grows with its length and no faster, and what is wrong is told with its place.
namespace machine::json {

/// Takes one thing that is wrong. `place` is "LINE:COLUMN" (from 1, columns in characters), a JSON
/// pointer (RFC 6901) or empty for the document as a whole. May throw to end the reading there.
using Report = std::function<void(std::string const& place, std::string const& reason)>;

/// "FILE:3:17: reason", "FILE: /list/3/name: reason" or "FILE: reason"; without the first part for
/// an empty name.
REGISTRATION_API std::string errorLine(std::string_view file, std::string_view place,
                                       std::string_view reason);

/// `pointer` with one more name or index, escaped and cut to a length that can be read.
REGISTRATION_API std::string below(std::string_view pointer, std::string_view name);
REGISTRATION_API std::string below(std::string_view pointer, std::size_t index);

/// The JSON value (RFC 8259; a UTF-8 byte order mark is skipped) that `text` is, members in the
/// order of the text; nullopt when the text is no JSON or has more than `nestingLimit` objects and
/// lists within one another. A member name given twice is reported too, but leaves a value that can
/// be looked at for other errors.
REGISTRATION_API std::optional<nlohmann::ordered_json> parse(std::string_view text,
                                                             std::size_t nestingLimit,
                                                             Report const& report);

/// The same for a document that is of no use once anything in it is wrong: throws
/// std::runtime_error with the errorLine of what is found first. How long `text` may be is for its
/// reader to limit.
REGISTRATION_API nlohmann::ordered_json parse(std::string_view file, std::string_view text,
                                              std::size_t nestingLimit);

}  // namespace machine::json

#pragma once

#include <string>
#include <string_view>

#include "machine/unicode.hpp"

/// What the report's page is made of everywhere.
namespace regplan {

/// ` class="NAME"`.
std::string classes(std::string_view names);

/// Text that looks like what a machine holds, and whose writing direction reaches no neighbour.
std::string codeHtml(std::u16string_view text);

/// A name for the page's style and script: "registry".
std::string lowerCase(std::string_view name);

/// Read aloud and copied, but not seen.
std::string unseen(std::string_view text);

}  // namespace regplan

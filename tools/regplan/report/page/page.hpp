#pragma once

#include <string_view>

/// The files of this folder, as the build embeds them; line ends are LF.
namespace regplan::page {

std::string_view pattern();  ///< page.html
std::string_view style();    ///< page.css
std::string_view script();   ///< page.js

}  // namespace regplan::page

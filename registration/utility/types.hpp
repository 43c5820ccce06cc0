#pragma once

#include "fl/filesystem/path.hpp"
#include "fl/i18n/ustring.hpp"

namespace registration {

using Path = fl::filesystem::basic_path;
using UString = fl::i18n::UString;

}  // namespace registration

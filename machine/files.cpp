#include "machine/files.hpp"

#include "machine/error.hpp"

namespace machine {

void Files::setReadOnly(std::u16string_view path, bool readOnly) {
  auto const present = status(path);
  if (!present) throw SystemError("change the attributes of", path, ErrorCode::fileNotFound);
  auto attributes = present->attributes;
  attributes.isReadOnly = readOnly;
  setAttributes(path, attributes);
}

}  // namespace machine

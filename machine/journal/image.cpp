#include "machine/journal/image.hpp"

#include "machine/error.hpp"

namespace machine::journal {

namespace {

Image imageOfPath(Machine& machine, Item item, std::size_t keptBytes) {
  item.kind = Item::Kind::file;
  Image image{stateOf(machine, item, keptBytes), false, {}};
  auto const* const content = std::get_if<FileContent>(&image.state);
  if (!content || content->isLink) return image;
  if (content->sha256.empty()) throw SystemError("read", item.where, ErrorCode::accessDenied);
  auto const status = machine.files().status(item.where);
  image.isReadOnly = status && status->isReadOnly;
  return image;
}

}  // namespace

Image imageOf(Machine& machine, Item const& item, std::size_t keptBytes) {
  switch (item.kind) {
    case Item::Kind::file:
    case Item::Kind::folder:
    case Item::Kind::shortcut:
      return imageOfPath(machine, item, keptBytes);
    case Item::Kind::task:
      return {stateOf(machine, item, 0), false, machine.tasks().document(item.where)};
    default:
      return {stateOf(machine, item, 0), false, {}};
  }
}

bool sameImage(Image const& a, Image const& b) {
  auto const withoutBytes = [](Image image) {
    if (auto* const content = std::get_if<FileContent>(&image.state)) content->bytes.reset();
    return image;
  };
  return withoutBytes(a) == withoutBytes(b);
}

bool isLink(Image const& image) {
  auto const* const content = std::get_if<FileContent>(&image.state);
  return content && content->isLink;
}

}  // namespace machine::journal

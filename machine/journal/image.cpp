#include "machine/journal/image.hpp"

#include "machine/error.hpp"

namespace machine::journal {

namespace {

Image imageOfFile(Files& files, UString const& path, FileStatus const& status,
                  ReadContent const& readContent) {
  auto content = readContent ? readContent(files, path) : fileContent(files, path, 0);
  return {std::move(content), status.attributes};
}

/// A link's content is that of what it leads to, as far as that can be told.
Image imageOfPath(Machine& machine, Item item, ReadContent const& readContent) {
  auto& files = machine.files();
  auto const status = files.status(item.where);
  bool const isFile = status && !status->isDirectory && !status->isLink;
  if (isFile) return imageOfFile(files, item.where, *status, readContent);
  item.kind = Item::Kind::file;
  Image image{stateOf(machine, item, 0)};
  auto const* const content = std::get_if<FileContent>(&image.state);
  // What was looked at first has gone, and a file has come: once more.
  if (content && !content->isLink) return imageOfPath(machine, std::move(item), readContent);
  if (content) image.link = files.link(item.where);
  return image;
}

}  // namespace

Image imageOf(Machine& machine, Item const& item, ReadContent const& readContent) {
  switch (item.kind) {
    case Item::Kind::file:
    case Item::Kind::folder:
    case Item::Kind::shortcut:
      return imageOfPath(machine, item, readContent);
    case Item::Kind::task: {
      Image image{stateOf(machine, item, 0)};
      if (!isNothing(image.state)) image.taskDocument = machine.tasks().document(item.where);
      return image;
    }
    default:
      return {stateOf(machine, item, 0)};
  }
}

bool sameImage(Image const& a, Image const& b) {
  auto const comparable = [](Image image) {
    if (auto* const content = std::get_if<FileContent>(&image.state)) content->bytes.reset();
    image.attributes.created = 0;
    return image;
  };
  return comparable(a) == comparable(b);
}

bool isNothing(ItemState const& state) {
  return std::holds_alternative<std::monostate>(state);
}

bool isLink(Image const& image) {
  auto const* const content = std::get_if<FileContent>(&image.state);
  return content && content->isLink;
}

}  // namespace machine::journal

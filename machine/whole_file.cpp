#include "machine/whole_file.hpp"

#include <array>

#include "machine/error.hpp"

namespace machine {

namespace {

void writeNew(Files& files, UString const& path, std::string_view bytes) {
  auto const writer = files.openForWriting(path, WriteMode::createNew);
  writer->write(bytes);
  writer->flushToDisk();
  writer->close();
}

void removeIfPossible(Files& files, UString const& path) {
  try {
    files.removeFile(path);
  } catch (SystemError const&) {
    // The failure before this one is the one to tell.
  }
}

}  // namespace

std::optional<std::string> readFile(Files& files, std::u16string_view path, std::size_t limit) {
  if (!files.status(path)) return std::nullopt;
  auto const reader = files.openForReading(path);
  std::string bytes;
  std::array<char, 4096> part;
  while (std::size_t const count = reader->read(part)) {
    if (count > limit - bytes.size()) throw SystemError("read", path, ErrorCode::fileTooLarge);
    bytes.append(part.data(), count);
  }
  return bytes;
}

void replaceFile(Files& files, std::u16string_view path, std::string_view bytes) {
  UString const temporary = UString(path) + u".tmp";
  // Made anew, never written through: somebody may have put a link there.
  if (files.status(temporary)) files.removeFile(temporary);
  try {
    writeNew(files, temporary, bytes);
    files.rename(temporary, path, true);
  } catch (SystemError const&) {
    removeIfPossible(files, temporary);
    throw;
  }
}

}  // namespace machine

#include "machine/journal/content_store.hpp"

#include <array>
#include <cerrno>
#include <system_error>

#include "machine/host/host_file.hpp"
#include "machine/sha256.hpp"

namespace machine::journal {

namespace fs = std::filesystem;

namespace {

FileContent copy(Files& files, std::u16string_view path, HostFile& target) {
  auto const reader = files.openForReading(path);
  std::array<char, 65536> part;
  Sha256 hash;
  FileContent content;
  while (std::size_t const count = reader->read(part)) {
    std::string_view const bytes(part.data(), count);
    hash.add(bytes);
    target.write(bytes);
    content.size += count;
  }
  content.sha256 = hash.finish();
  return content;
}

}  // namespace

FileContent ContentStore::keep(Files& files, std::u16string_view path) {
  makeFolder();
  auto const temporary = folder_ / "new";
  fs::remove(temporary);  // of a copy that failed
  HostFile target(temporary, host::OpenMode::createPrivate);
  auto content = copy(files, path, target);
  bool const isNew = !kept_.contains(content.sha256);
  if (isNew) target.flush();
  target.close();
  if (isNew) {
    fs::rename(temporary, folder_ / content.sha256);
    host::flushFolder(folder_);
    kept_.insert(content.sha256);
  } else {
    fs::remove(temporary);
  }
  return content;
}

void ContentStore::makeFolder() {
  if (made_) return;
  if (host::makePrivateFolder(folder_) != 0)
    throw std::system_error(errno, std::generic_category());
  made_ = true;
  host::flushFolder(folder_.parent_path());
}

}  // namespace machine::journal

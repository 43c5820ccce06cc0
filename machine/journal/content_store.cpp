#include "machine/journal/content_store.hpp"

#include <cerrno>
#include <system_error>

#include "machine/host/host_file.hpp"
#include "machine/sha256.hpp"

namespace machine::journal {

ContentStore::ContentStore(std::filesystem::path folder, std::size_t longestInline)
    : folder_(std::move(folder)), longestInline_(longestInline) {
  if (host::makePrivateFolder(folder_) != 0) throw hostError("make the folder", folder_);
  host::flushFolder(folder_.parent_path());
}

FileContent ContentStore::keep(Files& files, std::u16string_view path) {
  auto const reader = files.openForReading(path);
  std::string bytes(longestInline_ + 1, '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    std::size_t const count = reader->read(std::span(bytes).subspan(size));
    if (count == 0) break;
    size += count;
  }
  bytes.resize(size);
  if (size > longestInline_) return store(bytes, *reader);
  Sha256 hash;
  hash.add(bytes);
  return {size, hash.finish(), std::move(bytes)};
}

FileContent ContentStore::store(std::string_view beginning, FileReader& rest) {
  auto const temporary = folder_ / "new";
  host::removeFile(temporary);  // of a copy that failed
  HostFile target(temporary, host::OpenMode::createPrivate);
  Sha256 hash;
  FileContent content;
  std::string part(65536, '\0');
  for (auto bytes = beginning; !bytes.empty();
       bytes = std::string_view(part).substr(0, rest.read(part))) {
    hash.add(bytes);
    target.write(bytes);
    content.size += bytes.size();
  }
  content.sha256 = hash.finish();
  bool const isNew = !kept_.contains(content.sha256);
  if (isNew) target.flush();
  target.close();
  if (isNew) {
    renameHostFile(temporary, folder_ / content.sha256);
    host::flushFolder(folder_);
    kept_.insert(content.sha256);
  } else {
    host::removeFile(temporary);
  }
  return content;
}

}  // namespace machine::journal

#include "bundles/localstorage/local_storage.hpp"

#include "bundles/localstorage/system_errors.hpp"
#include "fl/filesystem/operations.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "machine/machine.hpp"
#include "machine/whole_file.hpp"

namespace localstorage {

namespace vfs = foundation::storage::vfs;
using fl::i18n::UString;
using machine::ErrorCode;
using machine::SystemError;

namespace {

machine::Files& files() {
  return machine::current().files();
}

/// Runs `work` on a file or folder and tells its failures in the words of the virtual file system.
template <typename Work>
auto onMachine(UString const& path, Work&& work) {
  try {
    return work();
  } catch (SystemError const& failure) {
    throw vfs::Exception(errorCodeFor(failure), path, failure.what());
  }
}

/// `open` opens what a link leads to.
template <typename Open>
bool existsAs(bool directory, UString const& path, Open&& open) {
  return onMachine(path, [&] {
    try {
      auto const status = files().status(path);
      if (!status || status->isDirectory != directory) {
        return false;
      }
      if (status->isLink) {
        open();
      }
      return true;
    } catch (SystemError const& failure) {
      if (errorCodeFor(failure) == vfs::ErrorCode::resourceNotFound) {
        return false;
      }
      // Something is there that we may not look at.
      if (failure.is(ErrorCode::accessDenied) || failure.is(ErrorCode::sharingViolation)) {
        return true;
      }
      throw;
    }
  });
}

}  // namespace

bool LocalStorage::fileExists(AbsoluteIRI const& file) const {
  UString const path = windowsPath(file);
  return existsAs(false, path, [&] { files().openForReading(path); });
}

bool LocalStorage::folderExists(AbsoluteIRI const& folder) const {
  UString const path = windowsPath(folder);
  return existsAs(true, path, [&] { files().openDirectory(path); });
}

std::vector<vfs::FolderEntry> LocalStorage::entries(AbsoluteIRI const& folder) const {
  UString const path = windowsPath(folder);
  return onMachine(path, [&] {
    std::vector<vfs::FolderEntry> entries;
    auto const listing = files().openDirectory(path);
    for (machine::DirectoryEntry entry; listing->next(entry);) {
      entries.push_back({UString(entry.name), entry.isDirectory, entry.isLink});
    }
    return entries;
  });
}

std::string LocalStorage::read(AbsoluteIRI const& file, std::size_t limit) const {
  UString const path = windowsPath(file);
  auto content = onMachine(path, [&] { return machine::readFile(files(), path, limit); });
  if (!content) {
    throw vfs::Exception(vfs::ErrorCode::resourceNotFound, path);
  }
  return *std::move(content);
}

void LocalStorage::createFolder(AbsoluteIRI const& folder) const {
  UString const path = windowsPath(folder);
  onMachine(path, [&] { fl::filesystem::create_directories(path); });
}

void LocalStorage::replace(AbsoluteIRI const& file, std::string_view content) const {
  UString const path = windowsPath(file);
  onMachine(path, [&] {
    if (auto const status = files().status(path); status && status->isDirectory) {
      throw vfs::Exception(vfs::ErrorCode::invalidLocation, path, "a folder of that name");
    }
    try {
      machine::replaceFile(files(), path, content);
    } catch (SystemError const& failure) {
      if (failure.is(ErrorCode::fileExists)) {
        // The file beside it was made between its removal and its making.
        throw vfs::Exception(vfs::ErrorCode::resourceInUse, path, failure.what());
      }
      throw;
    }
  });
}

}  // namespace localstorage

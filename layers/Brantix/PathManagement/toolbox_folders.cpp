#include "Brantix/PathManagement/toolbox_folders.hpp"

#include <algorithm>

#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "machine/path_grammar.hpp"

namespace Brantix::PathManagement {

namespace vfs = foundation::storage::vfs;
using fl::i18n::UString;

namespace {

bool isSource(vfs::FolderEntry const& entry) {
  constexpr std::u16string_view extension = u".vt";
  UString const& name = entry.name;
  return !entry.isFolder && name.size() > extension.size() &&
         machine::equalIgnoringCase(
             std::u16string_view(name).substr(name.size() - extension.size()), extension);
}

/// In the order of their names, as Windows shows them.
std::vector<UString> foldersAmong(std::vector<vfs::FolderEntry> const& entries) {
  std::vector<std::pair<UString, UString>> sorted;
  for (auto const& entry : entries) {
    if (entry.isFolder && !entry.isLink) {
      sorted.emplace_back(machine::foldCase(entry.name), entry.name);
    }
  }
  std::sort(sorted.begin(), sorted.end());
  std::vector<UString> names;
  for (auto& [key, name] : sorted) {
    names.push_back(std::move(name));
  }
  return names;
}

/// The form in which no name of a folder is taken for another one on its way to an IRI. `path` is
/// canonical: the current folder, which fl::filesystem::verbatim asks for, is of no account.
UString verbatim(UString const& path) {
  return path.starts_with(u"\\\\") ? u"\\\\?\\UNC" + path.substr(1) : u"\\\\?\\" + path;
}

bool losesOnlyItsFolder(vfs::ErrorCode code) {
  return code == vfs::ErrorCode::permissionDenied || code == vfs::ErrorCode::resourceNotFound ||
         code == vfs::ErrorCode::invalidLocation;
}

}  // namespace

void addToolboxFolders(vfs::AbsoluteIRI const& toolbox, vfs::StorageSystemReference const& storage,
                       std::vector<vfs::AbsoluteIRI>& entries,
                       foundation::core::except::Notification& notification) {
  std::vector<UString> pending{verbatim(windowsPath(toolbox))};
  while (!pending.empty()) {
    UString const path = std::move(pending.back());
    pending.pop_back();
    try {
      auto const iri = vfs::CanonicalAbsoluteIRI::ofWindowsPath(path);
      auto const content = vfs::Folder(iri, storage).entries();
      if (std::any_of(content.begin(), content.end(), isSource)) {
        entries.push_back(iri);
      }
      auto const folders = foldersAmong(content);
      std::for_each(folders.rbegin(), folders.rend(), [&](UString const& name) {
        pending.push_back(machine::path_grammar::join(path, name));
      });
    } catch (vfs::Exception const& failure) {
      if (!losesOnlyItsFolder(failure.getErrorCode())) {
        throw;
      }
      notification.warn({failure.getLocation(), 0, fl::i18n::to_ustring(failure.what())});
    }
  }
}

}  // namespace Brantix::PathManagement

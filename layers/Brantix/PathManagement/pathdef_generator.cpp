#include "Brantix/PathManagement/pathdef_generator.hpp"

#include <utility>

#include "Brantix/PathManagement/pathdef_text.hpp"
#include "Brantix/PathManagement/text_lines.hpp"
#include "Brantix/PathManagement/toolbox_folders.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "foundation/storage/vfs/File.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "machine/path_grammar.hpp"

namespace Brantix::PathManagement {

namespace vfs = foundation::storage::vfs;
using fl::i18n::UString;

namespace {

/// Of a definition file and of the metadata file: some 200,000 entries.
constexpr std::size_t largestFile = 16 * 1024 * 1024;

}  // namespace

PathdefGenerator::PathdefGenerator(vfs::CanonicalAbsoluteIRI root,
                                   vfs::StorageSystemReference storage)
    : root_(std::move(root)), storage_(std::move(storage)) {}

vfs::AbsoluteIRI PathdefGenerator::getPathdefFile() const {
  return vfs::CanonicalAbsoluteIRI(root_, u"sys/path/pathdef.vsc");
}

vfs::AbsoluteIRI PathdefGenerator::getToolboxFolder() const {
  return vfs::CanonicalAbsoluteIRI(root_, u"toolbox");
}

std::vector<vfs::AbsoluteIRI> PathdefGenerator::readEntries(AbsoluteIRI const& pathdefFile,
                                                            Notification& notification) const {
  auto const text = vfs::File(pathdefFile, storage_).read(largestFile);
  return entriesOf(text, windowsPath(pathdefFile), root_, notification);
}

std::vector<vfs::AbsoluteIRI> PathdefGenerator::getDerivedEntries(
    AbsoluteIRI const& toolboxFolder, Notification& notification) const {
  std::vector<AbsoluteIRI> entries;
  addMetadataEntries(entries, notification);
  if (vfs::Folder(toolboxFolder, storage_).folderExists()) {
    addToolboxFolders(toolboxFolder, storage_, entries, notification);
  }
  return entries;
}

void PathdefGenerator::addMetadataEntries(std::vector<AbsoluteIRI>& entries,
                                          Notification& notification) const {
  vfs::File const file(vfs::CanonicalAbsoluteIRI(root_, u"ssiSearchFolders"), storage_);
  if (!file.fileExists()) {
    return;
  }
  auto const text = file.read(largestFile);
  auto const root = windowsPath(root_);
  auto const path = windowsPath(file.iri());
  TextLines lines(text, path, notification);
  while (lines.next()) {
    try {
      auto const folder = machine::path_grammar::absolute(lines.line(), root);
      entries.push_back(vfs::CanonicalAbsoluteIRI::ofWindowsPath(folder));
      lines.warnOfForeignServer(folder, root);
    } catch (vfs::Exception const& failure) {
      lines.warn(failure.what());
    }
  }
}

void PathdefGenerator::prepareOutput() const {
  // What is not installed gets no definition file, and no folder for one.
  if (!vfs::Folder(root_, storage_).folderExists()) {
    throw vfs::Exception(vfs::ErrorCode::resourceNotFound, windowsPath(root_));
  }
  vfs::Folder(vfs::CanonicalAbsoluteIRI(root_, u"sys/path"), storage_).create();
}

void PathdefGenerator::writeEntries(std::vector<AbsoluteIRI> const& entries) const {
  vfs::File const file(getPathdefFile(), storage_);
  auto const text = pathdefText(entries, root_);
  if (text.size() > largestFile) {  // nobody could read it back
    throw vfs::Exception(vfs::ErrorCode::fileTooLarge, windowsPath(file.iri()));
  }
  file.replace(text);
}

}  // namespace Brantix::PathManagement

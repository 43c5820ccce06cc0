#include <set>
#include <stdexcept>

#include "fuzz/fuzz.hpp"
#include "fuzz/scratch_machine.hpp"
#include "install/cpputil/zip_archive.hpp"
#include "install/cpputil/zip_names.hpp"
#include "machine/path_grammar.hpp"

namespace {

using fl::filesystem::Path;
using install::cpputil::zip_archive;
using install::cpputil::zip_entry;
using install::cpputil::zip_error;

constexpr install::cpputil::zip_limits limits{std::uint64_t{1} << 20, 200};

void checkEntries(std::vector<zip_entry> const& entries) {
  std::uint64_t total = 0;
  std::set<machine::UString> names;
  for (auto const& entry : entries) {
    FUZZ_EXPECT(install::cpputil::problemOfZipName(entry.name).empty());
    FUZZ_EXPECT(names.insert(machine::foldCase(machine::toUtf16(entry.name))).second);
    total += entry.size;
  }
  FUZZ_EXPECT(total <= limits.total_size);
}

/// Every entry is below the folder, and as large as the archive says.
void checkUnpacked(zip_archive const& archive, Path const& folder) {
  auto& files = machine::current().files();
  for (auto const& entry : archive.entries()) {
    auto const path = machine::path_grammar::join(folder.ustring(), machine::toUtf16(entry.name));
    auto const status = files.status(path);
    FUZZ_EXPECT(status && status->isDirectory == entry.is_directory);
    FUZZ_EXPECT(entry.is_directory || status->size == entry.size);
  }
}

}  // namespace

void fuzz::run(std::string_view input) {
  ScratchMachine scratch;
  Path const file(u"C:\\package.zip");
  Path const folder(u"C:\\target");
  scratch.writeFile(file.ustring(), input);
  std::unique_ptr<zip_archive> archive;
  if (!isRead<zip_error>([&] { archive = std::make_unique<zip_archive>(file, limits); })) return;
  checkEntries(archive->entries());
  for (auto const& entry : archive->entries()) {
    isRead<zip_error>([&] {
      auto const content = archive->read(entry.name, 1 << 16);
      FUZZ_EXPECT(content.size() == entry.size);
    });
  }
  auto& files = scratch.machine().files();
  if (isRead<zip_error>([&] { archive->extract(folder); })) {
    checkUnpacked(*archive, folder);
  } else {
    FUZZ_EXPECT(!files.status(folder.ustring()));
  }
}

#include "machine/simulated/version_resource.hpp"

#include <string>
#include <vector>

#include "machine/little_endian.hpp"

namespace machine::simulated {

namespace {

/// Ends the search: the file is no program, or it lies.
struct NotThere {};

/// Bytes of the file, little endian. Throws NotThere for what is not in it.
class Image {
 public:
  explicit Image(std::istream& file) : file_(file) {}

  std::string bytes(std::uint64_t offset, std::size_t size) {
    std::string result(size, '\0');
    file_.clear();
    if (!file_.seekg(static_cast<std::streamoff>(offset)) ||
        !file_.read(result.data(), static_cast<std::streamsize>(size)))
      throw NotThere{};
    return result;
  }
  std::uint16_t u16(std::uint64_t offset) {
    return static_cast<std::uint16_t>(littleEndian(bytes(offset, 2)));
  }
  std::uint32_t u32(std::uint64_t offset) {
    return static_cast<std::uint32_t>(littleEndian(bytes(offset, 4)));
  }

 private:
  std::istream& file_;
};

/// Part of the file that is loaded to an address of its own.
struct Section {
  std::uint64_t address;
  std::uint64_t size;
  std::uint64_t fileOffset;
};

/// What the headers tell about the way to the resources.
struct Headers {
  std::vector<Section> sections;
  std::uint32_t resourceAddress = 0;
};

void require(bool condition) {
  if (!condition) throw NotThere{};
}

Headers readHeaders(Image& image) {
  constexpr std::uint64_t resourceDirectory = 2;
  require(image.u16(0) == 0x5A4D);  // "MZ"
  std::uint64_t const pe = image.u32(0x3C);
  require(image.u32(pe) == 0x00004550);  // "PE"
  std::uint64_t const optional = pe + 24;
  auto const magic = image.u16(optional);
  require(magic == 0x10B || magic == 0x20B);
  std::uint64_t const directories = optional + (magic == 0x20B ? 112 : 96);
  require(image.u32(directories - 4) > resourceDirectory);
  Headers headers;
  headers.resourceAddress = image.u32(directories + 8 * resourceDirectory);
  require(headers.resourceAddress != 0);
  std::uint64_t const table = optional + image.u16(pe + 20);
  for (std::uint64_t i = 0, count = image.u16(pe + 6); i < count; ++i) {
    auto const header = table + 40 * i;
    headers.sections.push_back(
        {image.u32(header + 12), image.u32(header + 16), image.u32(header + 20)});
  }
  return headers;
}

std::uint64_t fileOffset(Headers const& headers, std::uint64_t address) {
  for (auto const& section : headers.sections)
    if (address >= section.address && address - section.address < section.size)
      return section.fileOffset + (address - section.address);
  throw NotThere{};
}

constexpr std::uint32_t subdirectory = 0x80000000u;

/// The offset that a resource directory gives for a number; without one, for its first entry.
std::uint32_t entry(Image& image, std::uint64_t directory, std::optional<std::uint32_t> wanted) {
  unsigned const count = image.u16(directory + 12) + image.u16(directory + 14);
  for (std::uint64_t i = 0; i < count; ++i) {
    auto const at = directory + 16 + 8 * i;
    if (!wanted || image.u32(at) == *wanted) return image.u32(at + 4);
  }
  throw NotThere{};
}

/// Where the first version resource's data lies in the file: type, name and language are the three
/// levels above it.
std::uint64_t versionResource(Image& image, Headers const& headers) {
  constexpr std::uint32_t versionType = 16;
  auto const root = fileOffset(headers, headers.resourceAddress);
  auto const names = entry(image, root, versionType);
  require((names & subdirectory) != 0);
  auto const languages = entry(image, root + (names & ~subdirectory), std::nullopt);
  require((languages & subdirectory) != 0);
  auto const data = entry(image, root + (languages & ~subdirectory), std::nullopt);
  require((data & subdirectory) == 0);
  require(image.u32(root + data + 4) >= 40 + 52);
  return fileOffset(headers, image.u32(root + data));
}

/// VS_VERSIONINFO: three numbers, the key "VS_VERSION_INFO", padding, VS_FIXEDFILEINFO.
FileVersion fixedVersion(Image& image, std::uint64_t resource) {
  constexpr std::string_view key("V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0\0\0", 32);
  require(image.bytes(resource + 6, key.size()) == key);
  auto const fixed = resource + 40;
  require(image.u32(fixed) == 0xFEEF04BD);
  return {image.u16(fixed + 10), image.u16(fixed + 8), image.u16(fixed + 14),
          image.u16(fixed + 12)};
}

}  // namespace

std::optional<FileVersion> readVersionResource(std::istream& file) {
  try {
    Image image(file);
    auto const headers = readHeaders(image);
    return fixedVersion(image, versionResource(image, headers));
  } catch (NotThere const&) {
    return std::nullopt;
  }
}

}  // namespace machine::simulated

#include "install/cpputil/zip_archive.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <utility>

#include "fl/filesystem/operations.hpp"
#include "fl/filesystem/verbatim.hpp"
#include "install/cpputil/zip_names.hpp"
#include "machine/change.hpp"
#include "machine/little_endian.hpp"
#include "machine/machine.hpp"

namespace install::cpputil {

using fl::filesystem::Path;
using fl::i18n::UString;

namespace {

// Sections 4.3.7, 4.3.9, 4.3.12, 4.3.15 and 4.3.16.
constexpr std::string_view localHeaderSignature("PK\x03\x04", 4);
constexpr std::string_view descriptorSignature("PK\x07\x08", 4);
constexpr std::string_view directoryHeaderSignature("PK\x01\x02", 4);
constexpr std::string_view zip64LocatorSignature("PK\x06\x07", 4);
constexpr std::string_view endRecordSignature("PK\x05\x06", 4);
constexpr std::size_t localHeaderSize = 30;
constexpr std::size_t directoryHeaderSize = 46;
constexpr std::size_t endRecordSize = 22;
constexpr std::size_t zip64LocatorSize = 20;
constexpr std::size_t longestComment = 0xFFFF;

// Section 4.4.4.
constexpr std::uint16_t encryptedFlags = 1 << 0 | 1 << 6 | 1 << 13;
constexpr std::uint16_t deflateOptionFlags = 1 << 1 | 1 << 2;
constexpr std::uint16_t descriptorFlag = 1 << 3;
constexpr std::uint16_t utf8Flag = 1 << 11;

// Section 4.4.5.
constexpr std::uint16_t stored = 0;
constexpr std::uint16_t deflated = 8;

/// A directory beyond this is no package's, and would have to be held in memory.
constexpr std::uint32_t largestDirectory = 32u << 20;
/// Files and folders, also those folders that only stand in other entries' names.
constexpr std::size_t mostNames = 1u << 18;
/// Whatever its ratio, what unpacks to no more harms nobody.
constexpr std::uint64_t harmlessSize = 16u << 20;

constexpr std::size_t bufferSize = 1 << 16;

/// Numbers of a header, lowest byte first, and texts, one after the other. REQUIRES: the header is
/// as long as what is taken from it.
class Fields {
 public:
  explicit Fields(std::string_view bytes) : rest_(bytes) {}

  std::string_view text(std::size_t size) {
    auto const taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::uint16_t number16() { return static_cast<std::uint16_t>(machine::littleEndian(text(2))); }
  std::uint32_t number32() { return static_cast<std::uint32_t>(machine::littleEndian(text(4))); }
  bool has(std::size_t size) const { return rest_.size() >= size; }

 private:
  std::string_view rest_;
};

/// Fewer bytes than asked for when the file ends.
std::string readAt(machine::FileReader& reader, std::uint64_t offset, std::size_t size) {
  std::string bytes(size, '\0');
  reader.seek(offset);
  std::size_t filled = 0;
  while (filled < size) {
    std::size_t const count = reader.read(std::span(bytes).subspan(filled));
    if (count == 0) {
      break;
    }
    filled += count;
  }
  bytes.resize(filled);
  return bytes;
}

struct EndRecord {
  std::uint64_t offset = 0;
  std::uint16_t entryCount = 0;
  std::uint32_t directorySize = 0;
  std::uint32_t directoryOffset = 0;
};

/// Section 4.3.16. The record stands at the end of the file but for its comment.
std::string parseEndRecord(std::string_view tail, std::size_t at, EndRecord& record) {
  Fields fields(tail.substr(at + endRecordSignature.size()));
  std::uint16_t const disk = fields.number16();
  std::uint16_t const directoryDisk = fields.number16();
  std::uint16_t const entriesOnDisk = fields.number16();
  record.entryCount = fields.number16();
  record.directorySize = fields.number32();
  record.directoryOffset = fields.number32();
  if (disk != 0 || directoryDisk != 0 || entriesOnDisk != record.entryCount) {
    return "is one part of several";
  }
  bool const hasLocator =
      at >= zip64LocatorSize &&
      tail.substr(at - zip64LocatorSize, zip64LocatorSignature.size()) == zip64LocatorSignature;
  if (hasLocator || record.entryCount == 0xFFFF || record.directorySize == 0xFFFFFFFF ||
      record.directoryOffset == 0xFFFFFFFF) {
    return "is a zip64 archive, which is larger than packages may be";
  }
  if (record.directorySize > largestDirectory) {
    return "has a directory that is too large";
  }
  if (record.directoryOffset + std::uint64_t{record.directorySize} != record.offset) {
    return "is damaged: the directory is not where it should be";
  }
  return {};
}

std::size_t findEndRecord(std::string_view tail) {
  for (auto at = tail.rfind(endRecordSignature); at != tail.npos;
       at = at == 0 ? tail.npos : tail.rfind(endRecordSignature, at - 1)) {
    if (tail.size() - at >= endRecordSize) {
      Fields length(tail.substr(at + endRecordSize - 2));
      if (at + endRecordSize + length.number16() == tail.size()) {
        return at;
      }
    }
  }
  return tail.npos;
}

/// What both headers of an entry tell.
struct Header {
  std::uint16_t flags = 0;
  std::uint16_t method = 0;
  std::uint32_t crc = 0;
  std::uint32_t packedSize = 0;
  std::uint32_t size = 0;
  std::uint16_t nameSize = 0;
  std::uint16_t extraSize = 0;
};

Header commonHeader(Fields& fields) {
  Header header;
  header.flags = fields.number16();
  header.method = fields.number16();
  fields.text(4);  // time and date of the last change
  header.crc = fields.number32();
  header.packedSize = fields.number32();
  header.size = fields.number32();
  header.nameSize = fields.number16();
  header.extraSize = fields.number16();
  return header;
}

/// Section 4.4.15: MS-DOS attributes in the low half, the mode of a Unix file in the high one.
bool isOrdinary(std::uint32_t attributes) {
  constexpr std::uint32_t reparsePoint = 0x400;
  constexpr std::uint32_t typeMask = 0170000;
  constexpr std::uint32_t regularFile = 0100000;
  constexpr std::uint32_t folder = 0040000;
  std::uint32_t const type = attributes >> 16 & typeMask;
  return (attributes & reparsePoint) == 0 && (type == 0 || type == regularFile || type == folder);
}

std::string problemOfHeader(Header const& header, std::string_view name) {
  if ((header.flags & encryptedFlags) != 0) {
    return "is encrypted";
  }
  if ((header.flags & ~(deflateOptionFlags | descriptorFlag | utf8Flag)) != 0) {
    return "uses a feature that is not supported";
  }
  if (header.method != stored && header.method != deflated) {
    return "is packed by a method that is not supported";
  }
  if (header.packedSize == 0xFFFFFFFF || header.size == 0xFFFFFFFF) {
    return "is a zip64 entry, which is larger than packages may hold";
  }
  if (header.method == stored && header.packedSize != header.size) {
    return "is stored with two sizes";
  }
  bool const isAscii =
      std::all_of(name.begin(), name.end(), [](char unit) { return (unit & 0x80) == 0; });
  if (!isAscii && (header.flags & utf8Flag) == 0) {
    return "has a name that is neither ASCII nor marked as UTF-8";
  }
  auto const problem = problemOfZipName(name);
  return problem.empty() ? "" : "has " + problem;
}

/// Finds names that would be one to Windows, and files that other entries need as a folder. A tree,
/// so that a folder's name is kept once, however many entries lie below it.
class NamesTaken {
 public:
  /// What is wrong with one more entry; empty when nothing is.
  std::string take(zip_entry const& entry) {
    UString const name = machine::foldCase(fl::i18n::utf8_to_ustring(entry.name));
    std::u16string_view rest = name;
    std::size_t folder = 0;
    for (auto slash = rest.find(u'/'); slash != rest.npos; slash = rest.find(u'/')) {
      Node const& node = at(folder, rest.substr(0, slash), Use::implied).first;
      if (node.use == Use::file) {
        return takenTwice;
      }
      folder = node.number;
      rest.remove_prefix(slash + 1);
    }
    auto const [node, isNew] = at(folder, rest, entry.is_directory ? Use::folder : Use::file);
    bool const wasOnlyImplied = node.use == Use::implied && entry.is_directory;
    if (wasOnlyImplied) {
      node.use = Use::folder;
    }
    if (!isNew && !wasOnlyImplied) {
      return takenTwice;
    }
    return names_.size() > mostNames ? "is one file or folder more than a package may hold" : "";
  }

 private:
  static constexpr char const* takenTwice = "is there twice";

  enum class Use { file, folder, implied };
  struct Node {
    std::size_t number;  ///< from 1; 0 is the folder that holds all
    Use use;
  };

  /// What has this name in a folder, and whether it is new.
  std::pair<Node&, bool> at(std::size_t folder, std::u16string_view name, Use use) {
    auto const [found, isNew] =
        names_.try_emplace({folder, UString(name)}, Node{names_.size() + 1, use});
    return {found->second, isNew};
  }

  std::map<std::pair<std::size_t, UString>, Node> names_;
};

/// Raw deflate (RFC 1951) by zlib.
class Inflation {
 public:
  Inflation() { initialized_ = inflateInit2(&stream_, -MAX_WBITS) == Z_OK; }
  ~Inflation() {
    if (initialized_) {
      inflateEnd(&stream_);
    }
  }
  Inflation(Inflation const&) = delete;
  Inflation& operator=(Inflation const&) = delete;

  /// Hands what `packed` unpacks to on to `sink`, which answers whether it wants more. False when
  /// the data is damaged, or goes on after its end.
  template <typename Sink>
  bool add(std::span<char> packed, Sink&& sink) {
    stream_.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream_.avail_in = static_cast<uInt>(packed.size());
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(unpacked_.data());
      stream_.avail_out = static_cast<uInt>(unpacked_.size());
      int const result = initialized_ && !ended_ ? inflate(&stream_, Z_NO_FLUSH) : Z_DATA_ERROR;
      if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
        return false;
      }
      ended_ = result == Z_STREAM_END;
      if (!sink(std::string_view(unpacked_.data(), unpacked_.size() - stream_.avail_out))) {
        return false;
      }
    } while (!ended_ && stream_.avail_out == 0);
    return stream_.avail_in == 0;
  }

  bool hasEnded() const { return ended_; }

 private:
  z_stream stream_{};
  std::array<char, bufferSize> unpacked_;
  bool initialized_ = false;
  bool ended_ = false;
};

/// Takes what an entry unpacks to, up to the size it is to have, and tells its checksum.
class Checked {
 public:
  explicit Checked(std::uint64_t size) : left_(size) {}

  bool take(std::string_view bytes) {
    if (bytes.size() > left_) {
      return false;
    }
    left_ -= bytes.size();
    crc_ =
        crc32(crc_, reinterpret_cast<Bytef const*>(bytes.data()), static_cast<uInt>(bytes.size()));
    return true;
  }
  bool isWhole(std::uint32_t crc) const { return left_ == 0 && crc_ == crc; }

 private:
  std::uint64_t left_;
  uLong crc_ = crc32(0, nullptr, 0);
};

Path pathOf(zip_entry const& entry) {
  return Path(fl::i18n::utf8_to_ustring(entry.name)).make_native();
}

/// Reads an archive's own account of itself and holds it to the limits.
class DirectoryReader {
 public:
  DirectoryReader(machine::FileReader& reader, std::uint64_t size, zip_limits const& limits)
      : reader_(reader), size_(size), limits_(limits) {}

  /// What is wrong; empty when nothing is.
  std::string read(std::vector<zip_entry>& entries) {
    auto problem = readEndRecord();
    if (problem.empty()) {
      problem = readHeaders(entries);
    }
    if (problem.empty()) {
      problem = checkTotal(entries);
    }
    return problem.empty() ? checkPlaces(entries) : problem;
  }

 private:
  std::string readEndRecord() {
    auto const tailSize = static_cast<std::size_t>(
        std::min<std::uint64_t>(size_, endRecordSize + longestComment + zip64LocatorSize));
    std::string const tail = readAt(reader_, size_ - tailSize, tailSize);
    std::size_t const at = findEndRecord(tail);
    if (tail.size() != tailSize || at == tail.npos) {
      return "is no zip file, or cut short";
    }
    end_.offset = size_ - tailSize + at;
    return parseEndRecord(tail, at, end_);
  }

  std::string readHeaders(std::vector<zip_entry>& entries) {
    std::string const directory = readAt(reader_, end_.directoryOffset, end_.directorySize);
    Fields fields(directory);
    for (std::uint16_t i = 0; i < end_.entryCount; ++i) {
      zip_entry entry;
      auto const problem = readHeader(fields, entry);
      if (!problem.empty()) {
        return entry.name.empty() ? problem : "\"" + entry.name + "\" " + problem;
      }
      auto const nameProblem = names_.take(entry);
      if (!nameProblem.empty()) {
        return "\"" + entry.name + "\" " + nameProblem;
      }
      entries.push_back(std::move(entry));
    }
    return fields.has(1) ? "is damaged: the directory holds more than its entries" : "";
  }

  /// Section 4.3.12.
  std::string readHeader(Fields& fields, zip_entry& entry) {
    constexpr char const* cutShort = "is damaged: the directory is cut short";
    if (!fields.has(directoryHeaderSize) || fields.text(4) != directoryHeaderSignature) {
      return cutShort;
    }
    fields.text(4);  // versions: made by, needed to extract
    Header const header = commonHeader(fields);
    std::uint16_t const commentSize = fields.number16();
    std::uint16_t const disk = fields.number16();
    fields.text(2);  // internal attributes
    std::uint32_t const attributes = fields.number32();
    entry.header_offset = fields.number32();
    if (!fields.has(std::size_t{header.nameSize} + header.extraSize + commentSize)) {
      return cutShort;
    }
    entry.name = fields.text(header.nameSize);
    fields.text(std::size_t{header.extraSize} + commentSize);
    auto problem = problemOfHeader(header, entry.name);
    if (problem.empty() && disk != 0) {
      problem = "lies in another part";
    }
    if (problem.empty() && !isOrdinary(attributes)) {
      problem = "is a link or a device";
    }
    if (problem.empty()) {
      problem = take(header, entry);
    }
    return problem;
  }

  std::string take(Header const& header, zip_entry& entry) {
    entry.is_deflated = header.method == deflated;
    entry.flags = header.flags;
    entry.crc = header.crc;
    entry.packed_size = header.packedSize;
    entry.size = header.size;
    auto problem = checkLocalHeader(header, entry);
    entry.is_directory = entry.name.ends_with('/');
    if (entry.is_directory) {
      entry.name.pop_back();
    }
    if (problem.empty() && entry.is_directory && entry.size != 0) {
      return "is a folder with content";
    }
    return problem;
  }

  /// Section 4.3.7. Some readers believe this header, others the directory's.
  std::string checkLocalHeader(Header const& header, zip_entry& entry) {
    constexpr char const* disagrees = "is damaged: its two headers disagree";
    std::string const bytes =
        readAt(reader_, entry.header_offset, localHeaderSize + header.nameSize);
    Fields fields(bytes);
    if (!fields.has(localHeaderSize + header.nameSize) || fields.text(4) != localHeaderSignature) {
      return "is damaged: its header is not where it should be";
    }
    fields.text(2);  // version needed to extract
    Header const local = commonHeader(fields);
    entry.data_offset =
        std::uint64_t{entry.header_offset} + localHeaderSize + local.nameSize + local.extraSize;
    bool const leavesSizes = (header.flags & descriptorFlag) != 0 && local.crc == 0 &&
                             local.packedSize == 0 && local.size == 0;
    bool const sameSizes = local.crc == header.crc && local.packedSize == header.packedSize &&
                           local.size == header.size;
    if (local.flags != header.flags || local.method != header.method ||
        local.nameSize != header.nameSize || fields.text(local.nameSize) != entry.name ||
        !(sameSizes || leavesSizes)) {
      return disagrees;
    }
    return (header.flags & descriptorFlag) == 0 || descriptorAgrees(entry) ? "" : disagrees;
  }

  /// Section 4.3.9: what follows the data when the header before it could not tell its size yet.
  /// The signature may be missing.
  bool descriptorAgrees(zip_entry& entry) {
    std::string const bytes = readAt(reader_, entry.data_offset + entry.packed_size, 16);
    std::string_view rest = bytes;
    if (rest.starts_with(descriptorSignature)) {
      rest.remove_prefix(descriptorSignature.size());
    }
    Fields fields(rest);
    return fields.has(12) && fields.number32() == entry.crc &&
           fields.number32() == entry.packed_size && fields.number32() == entry.size;
  }

  std::string checkTotal(std::vector<zip_entry> const& entries) const {
    std::uint64_t total = 0;
    for (auto const& entry : entries) {
      total += entry.size;
    }
    if (total > limits_.total_size || (total > harmlessSize && total / limits_.ratio > size_)) {
      return "would unpack to more than a package may hold";
    }
    return {};
  }

  /// Entries that share their data are how a small archive unpacks to a large one unnoticed.
  std::string checkPlaces(std::vector<zip_entry> const& entries) const {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> places;
    for (auto const& entry : entries) {
      places.emplace_back(entry.header_offset, entry.data_offset + entry.packed_size);
    }
    places.emplace_back(end_.directoryOffset, end_.offset);
    std::sort(places.begin(), places.end());
    auto const overlaps = [](auto const& a, auto const& b) { return a.second > b.first; };
    bool const anyOverlap =
        std::adjacent_find(places.begin(), places.end(), overlaps) != places.end();
    return anyOverlap ? "is damaged: its entries overlap" : "";
  }

  machine::FileReader& reader_;
  std::uint64_t size_;
  zip_limits const& limits_;
  EndRecord end_;
  NamesTaken names_;
};

}  // namespace

zip_archive::zip_archive(Path const& file, zip_limits const& limits)
    : file_(file),
      reader_(machine::current().files().openForReading(file.ustring())),
      size_(machine::fileContent(*reader_, 0).size) {
  readDirectory(limits);
}

zip_archive::zip_archive(Path const& file, std::unique_ptr<machine::FileReader> opened,
                         std::uint64_t size, zip_limits const& limits)
    : file_(file), reader_(std::move(opened)), size_(size) {
  readDirectory(limits);
}

zip_archive::~zip_archive() = default;

void zip_archive::readDirectory(zip_limits const& limits) {
  auto const problem = DirectoryReader(*reader_, size_, limits).read(entries_);
  if (!problem.empty()) {
    refuse(problem);
  }
}

std::string zip_archive::read(std::string_view name, std::uint32_t limit) {
  auto const entry = std::find_if(entries_.begin(), entries_.end(), [&](zip_entry const& one) {
    return one.name == name && !one.is_directory;
  });
  if (entry == entries_.end()) {
    refuse("lacks \"" + std::string(name) + "\"");
  }
  if (entry->size > limit) {
    refuse(*entry, "is too large");
  }
  std::string content;
  unpack(*entry, [&](std::string_view bytes) { content += bytes; });
  return content;
}

void zip_archive::extract(Path const& folder) {
  // Names are appended to this form, which the system takes literally.
  Path const target = fl::filesystem::verbatim(folder);
  auto& files = machine::current().files();
  if (fl::filesystem::exists(target)) {
    throw machine::SystemError("unpack to", folder.ustring(), machine::ErrorCode::alreadyExists);
  }
  fl::filesystem::create_directories(target);
  try {
    for (zip_entry const& entry : entries_) {
      Path const path = target / pathOf(entry);
      if (entry.is_directory) {
        fl::filesystem::create_directories(path);
        continue;
      }
      fl::filesystem::create_directories(path.parent_path());
      auto const writer = files.openForWriting(path.ustring(), machine::WriteMode::createNew);
      unpack(entry, [&](std::string_view bytes) { writer->write(bytes); });
      writer->close();
    }
  } catch (...) {
    try {
      fl::filesystem::remove_all(target);
    } catch (std::exception const&) {
      // What made the unpacking fail is the news.
    }
    throw;
  }
}

template <typename Sink>
void zip_archive::unpack(zip_entry const& entry, Sink&& sink) {
  Checked checked(entry.size);
  auto const pass = [&](std::string_view bytes) {
    bool const fits = checked.take(bytes);
    if (fits) {
      sink(bytes);
    }
    return fits;
  };
  Inflation inflation;
  std::array<char, bufferSize> buffer;
  reader_->seek(entry.data_offset);
  bool sound = true;
  for (std::uint64_t left = entry.packed_size; sound && left > 0;) {
    auto const wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
    std::size_t const count = reader_->read(std::span(buffer).first(wanted));
    sound = count != 0 && (entry.is_deflated ? inflation.add(std::span(buffer).first(count), pass)
                                             : pass(std::string_view(buffer.data(), count)));
    left -= count;
  }
  if (!sound || (entry.is_deflated && !inflation.hasEnded()) || !checked.isWhole(entry.crc)) {
    refuse(entry, "is damaged: its content is not what it should be");
  }
}

void zip_archive::refuse(std::string const& reason) const {
  throw zip_error(fl::i18n::ustring_to_utf8(file_.ustring()) + ": " + reason);
}

void zip_archive::refuse(zip_entry const& entry, std::string const& reason) const {
  refuse("\"" + entry.name + "\" " + reason);
}

}  // namespace install::cpputil

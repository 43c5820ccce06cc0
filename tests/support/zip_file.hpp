#pragma once

#include <zlib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

/// What a header of an entry says; left alone, the truth.
struct ZipHeader {
  std::optional<std::string> name;
  std::optional<std::uint16_t> flags;
  std::optional<std::uint16_t> method;
  std::optional<std::uint32_t> crc;
  std::optional<std::uint32_t> packedSize;
  std::optional<std::uint32_t> size;
};

/// An entry of a zip file, sound or not.
struct ZipMember {
  std::string name;
  std::string content;
  bool deflated = true;
  std::uint16_t flags = 0;
  bool hasDescriptor = false;  ///< sizes after the data, the local header's are 0
  std::uint32_t attributes = 0;
  ZipHeader both{};                       ///< what both headers say
  ZipHeader local{};                      ///< what the local header says instead
  std::optional<std::uint32_t> offset{};  ///< where the directory says that the local header is
};

/// Writes zip files byte by byte, so that any of them can be wrong.
class ZipFile {
 public:
  explicit ZipFile(std::vector<ZipMember> const& members) {
    for (auto const& member : members) add(member);
  }

  std::string comment;
  std::optional<std::uint32_t> directoryOffset;
  std::optional<std::uint16_t> entryCount;
  std::uint16_t disk = 0;
  std::string beforeEndRecord;

  std::string bytes() const {
    std::string end = "PK\x05\x06";
    append16(end, disk);
    append16(end, 0);
    append16(end, entryCount.value_or(count_));
    append16(end, entryCount.value_or(count_));
    append32(end, static_cast<std::uint32_t>(directory_.size()));
    append32(end, directoryOffset.value_or(static_cast<std::uint32_t>(data_.size())));
    append16(end, static_cast<std::uint16_t>(comment.size()));
    return data_ + directory_ + beforeEndRecord + end + comment;
  }

  static std::string deflate(std::string_view content) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
    std::string source(content);
    stream.next_in = reinterpret_cast<Bytef*>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ::deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
  }

  static void append16(std::string& bytes, std::uint16_t number) {
    bytes += static_cast<char>(number & 0xFF);
    bytes += static_cast<char>(number >> 8);
  }
  static void append32(std::string& bytes, std::uint32_t number) {
    append16(bytes, static_cast<std::uint16_t>(number & 0xFFFF));
    append16(bytes, static_cast<std::uint16_t>(number >> 16));
  }

 private:
  void add(ZipMember const& member) {
    std::string const packed = member.deflated ? deflate(member.content) : member.content;
    ZipHeader truth;
    truth.name = member.name;
    truth.flags = static_cast<std::uint16_t>(member.flags | (member.hasDescriptor ? 8 : 0));
    truth.method = static_cast<std::uint16_t>(member.deflated ? 8 : 0);
    truth.crc =
        static_cast<std::uint32_t>(crc32(0, reinterpret_cast<Bytef const*>(member.content.data()),
                                         static_cast<uInt>(member.content.size())));
    truth.packedSize = static_cast<std::uint32_t>(packed.size());
    truth.size = static_cast<std::uint32_t>(member.content.size());
    ZipHeader const central = merged(truth, member.both);
    ZipHeader local = central;
    if (member.hasDescriptor) local.crc = local.packedSize = local.size = 0;
    local = merged(local, member.local);

    auto const offset = member.offset.value_or(static_cast<std::uint32_t>(data_.size()));
    data_ += "PK\x03\x04";
    append16(data_, 20);
    appendCommon(data_, local);
    data_ += *local.name + packed;
    if (member.hasDescriptor) {
      data_ += "PK\x07\x08";
      append32(data_, *central.crc);
      append32(data_, *central.packedSize);
      append32(data_, *central.size);
    }

    directory_ += "PK\x01\x02";
    append16(directory_, 0x0314);
    append16(directory_, 20);
    appendCommon(directory_, central);
    append16(directory_, 0);
    append16(directory_, 0);
    append16(directory_, 0);
    append32(directory_, member.attributes);
    append32(directory_, offset);
    directory_ += *central.name;
    ++count_;
  }

  static ZipHeader merged(ZipHeader base, ZipHeader const& over) {
    if (over.name) base.name = over.name;
    if (over.flags) base.flags = over.flags;
    if (over.method) base.method = over.method;
    if (over.crc) base.crc = over.crc;
    if (over.packedSize) base.packedSize = over.packedSize;
    if (over.size) base.size = over.size;
    return base;
  }

  static void appendCommon(std::string& bytes, ZipHeader const& header) {
    append16(bytes, *header.flags);
    append16(bytes, *header.method);
    append32(bytes, 0);
    append32(bytes, *header.crc);
    append32(bytes, *header.packedSize);
    append32(bytes, *header.size);
    append16(bytes, static_cast<std::uint16_t>(header.name->size()));
    append16(bytes, 0);
  }

  std::string data_;
  std::string directory_;
  std::uint16_t count_ = 0;
};

inline std::string zipOf(std::vector<ZipMember> const& members) {
  return ZipFile(members).bytes();
}

}  // namespace tests

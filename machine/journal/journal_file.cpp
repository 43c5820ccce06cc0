#include "machine/journal/journal_file.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include "machine/json/document.hpp"
#include "machine/sha256.hpp"

namespace machine::journal {

namespace {

constexpr std::string_view lengthPart = "{\"length\":";
constexpr std::string_view hashPart = ",\"sha256\":\"";
constexpr std::string_view recordPart = "\",\"record\":";
constexpr std::string_view endPart = "}";
constexpr std::size_t hashLength = 64;
/// A service's recovery action has five levels.
constexpr std::size_t deepestNesting = 8;

std::string hashOf(std::string_view previous, std::string_view record) {
  Sha256 hash;
  hash.add(previous);
  hash.add(record);
  return hash.finish();
}

void take(std::string_view& line, std::string_view part) {
  if (!line.starts_with(part)) throw std::runtime_error("the line is no record's");
  line.remove_prefix(part.size());
}

std::size_t takeNumber(std::string_view& line) {
  std::size_t number = 0;
  auto const [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
  if (error != std::errc()) throw std::runtime_error("the line is no record's");
  line.remove_prefix(static_cast<std::size_t>(end - line.data()));
  return number;
}

/// The text of a line's record; `previousHash` becomes the line's.
std::string_view recordOf(std::string_view line, std::string& previousHash) {
  take(line, lengthPart);
  auto const length = takeNumber(line);
  take(line, hashPart);
  std::string const hash(line.substr(0, hashLength));
  line.remove_prefix(hash.size());
  take(line, recordPart);
  if (line.size() < endPart.size() || line.size() - endPart.size() != length) {
    throw std::runtime_error("the record is not as long as the line says");
  }
  auto const record = line.substr(0, length);
  if (line.substr(length) != endPart || hashOf(previousHash, record) != hash) {
    throw std::runtime_error("the record is not the one that was written here");
  }
  previousHash = hash;
  return record;
}

/// Reads a file line by line.
class Lines {
 public:
  Lines(std::filesystem::path const& file, host::OpenMode mode) : file_(file, mode) {}

  /// The next line without its end; nullopt when no more whole line comes.
  std::optional<std::string_view> next() {
    begin_ = end_;
    auto searched = begin_;
    for (;;) {
      auto const lineEnd = buffer_.find('\n', searched);
      if (lineEnd != buffer_.npos) {
        end_ = lineEnd + 1;
        return std::string_view(buffer_).substr(begin_, lineEnd - begin_);
      }
      searched = buffer_.size();
      if (searched - begin_ > longestLine || !readMore(searched)) return std::nullopt;
    }
  }
  /// What comes after the last line handed out.
  bool hasRest() const { return begin_ < buffer_.size(); }

 private:
  bool readMore(std::size_t& searched) {
    searched -= begin_;
    buffer_.erase(0, begin_);
    begin_ = end_ = 0;
    std::array<char, 65536> part;
    auto const count = file_.read(part);
    buffer_.append(part.data(), count);
    return count != 0;
  }

  HostFile file_;
  std::string buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace

void LineWriter::append(Record const& record) {
  auto const text = record.dump();
  auto hash = hashOf(previousHash_, text);
  std::string line;
  line.append(lengthPart).append(std::to_string(text.size()));
  line.append(hashPart).append(hash).append(recordPart).append(text).append(endPart).append("\n");
  if (line.size() > longestLine) throw std::length_error("the journal takes no record so long");
  file_.write(line);
  previousHash_ = std::move(hash);
}

std::optional<Damage> readLines(std::filesystem::path const& file, host::OpenMode mode,
                                std::function<void(Record const&)> const& takeRecord) {
  Lines lines(file, mode);
  Damage at;
  std::string hash;
  while (auto const line = lines.next()) {
    try {
      takeRecord(json::parse({}, recordOf(*line, hash), deepestNesting));
    } catch (std::exception const& error) {
      at.reason = error.what();
      return at;
    }
    at.byte += line->size() + 1;
    ++at.record;
  }
  if (!lines.hasRest() && at.record > 0) return std::nullopt;
  at.reason = at.record > 0 || lines.hasRest() ? "the line has no end" : "the file is empty";
  return at;
}

std::filesystem::path filesFolder(std::filesystem::path const& journal) {
  auto folder = journal;
  return folder += ".files";
}

}  // namespace machine::journal

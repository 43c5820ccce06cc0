#include "fl/filesystem/fstream.hpp"

#include <array>
#include <cstddef>
#include <exception>
#include <string_view>
#include <utility>

#include "machine/machine.hpp"

namespace fl::filesystem {

namespace {

constexpr std::size_t bufferSize = std::size_t{64} * 1024;

/// What `call` returns. Of a std::exception that it throws, the text becomes `failure`, unless
/// there was one before.
template <typename Call>
auto noting(std::string& failure, Call&& call) {
  try {
    return call();
  } catch (std::exception const& error) {
    if (failure.empty()) {
      failure = error.what();
    }
    throw;
  }
}

}  // namespace

class ofstream::buffer : public std::streambuf {
 public:
  buffer(Path const& path, open_mode mode, std::string& failure)
      : failure_(failure), writer_(noting(failure, [&] {
          return machine::current().files().openForWriting(path.ustring(), mode);
        })) {
    resetPutArea();
  }
  ~buffer() override {
    try {
      close();
    } catch (...) {  // NOLINT: a destructor has nobody to tell; close() before it tells
    }
  }

  bool is_open() const { return writer_ != nullptr; }

  /// Closed afterwards, also when writing the rest failed.
  void close() {
    if (!is_open()) {
      return;
    }
    auto const writer = std::move(writer_);
    writePending(*writer);
    noting(failure_, [&] { writer->close(); });
  }

 protected:
  int_type overflow(int_type unit) override {
    if (!is_open()) {
      return traits_type::eof();
    }
    writePending(*writer_);
    if (!traits_type::eq_int_type(unit, traits_type::eof())) {
      sputc(traits_type::to_char_type(unit));
    }
    return traits_type::not_eof(unit);
  }

  int sync() override {
    if (!is_open()) {
      return -1;
    }
    writePending(*writer_);
    return 0;
  }

 private:
  /// Nothing pending; room for more while the file is open.
  void resetPutArea() { setp(bytes_.data(), bytes_.data() + (is_open() ? bytes_.size() : 0)); }

  /// What cannot be written is dropped: written once more it might stand in the file twice.
  void writePending(machine::FileWriter& writer) {
    std::string_view const pending(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    resetPutArea();
    if (!pending.empty()) {
      noting(failure_, [&] { writer.write(pending); });
    }
  }

  std::string& failure_;
  std::unique_ptr<machine::FileWriter> writer_;
  std::array<char, bufferSize> bytes_;
};

ofstream::ofstream(Path const& path, open_mode mode) : std::ostream(nullptr) {
  try {
    buffer_ = std::make_unique<buffer>(path, mode, failure_);
    rdbuf(buffer_.get());
  } catch (machine::SystemError const&) {
    setstate(std::ios::failbit);
  }
}

ofstream::~ofstream() = default;

bool ofstream::is_open() const {
  return buffer_ && buffer_->is_open();
}

void ofstream::close() {
  bool closed = false;
  try {
    if (is_open()) {
      buffer_->close();
      closed = true;
    }
  } catch (...) {  // NOLINT: as every stream operation, it answers with the stream's state
  }
  if (!closed) {
    setstate(std::ios::failbit);
  }
}

}  // namespace fl::filesystem

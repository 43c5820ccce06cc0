#include "machine/host/host_file.hpp"

#include <cerrno>
#include <system_error>
#include <utility>

namespace machine {

namespace {

constexpr int closed = -1;

std::string utf8(std::filesystem::path const& path) {
  auto const text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace

std::system_error hostError(std::string_view operation, std::filesystem::path const& file) {
  std::error_code const code(errno, std::generic_category());
  return {code, std::string(operation) + " " + utf8(file)};
}

void renameHostFile(std::filesystem::path const& from, std::filesystem::path const& to) {
  if (host::renameFile(from, to) != 0) throw hostError("rename to", to);
}

template <typename Result>
Result HostFile::checked(std::string_view operation, Result result) const {
  if (result < 0) throw hostError(operation, path_);
  return result;
}

HostFile::HostFile(std::filesystem::path const& path, host::OpenMode mode)
    : path_(path), file_(checked("open", host::openFile(path, mode))) {}

HostFile::~HostFile() {
  if (file_ != closed) host::closeFile(file_);
}

std::size_t HostFile::read(std::span<char> buffer) {
  return static_cast<std::size_t>(
      checked("read", host::readFile(file_, buffer.data(), buffer.size())));
}

void HostFile::seek(std::uint64_t position) {
  checked("seek in", host::seekFile(file_, static_cast<std::int64_t>(position)));
}

void HostFile::write(std::string_view bytes) {
  while (!bytes.empty())
    bytes.remove_prefix(static_cast<std::size_t>(
        checked("write", host::writeFile(file_, bytes.data(), bytes.size()))));
}

void HostFile::flush() {
  checked("flush", host::flushFile(file_));
}

bool HostFile::tryLock() {
  return checked("lock", host::tryLockFile(file_)) != 0;
}

ForeignAccess HostFile::foreignAccess() const {
  return host::foreignAccess(file_);
}

void HostFile::close() {
  checked("close", host::closeFile(std::exchange(file_, closed)));
}

void makeFolders(std::filesystem::path const& folder) {
  if (folder == folder.root_path() || host::makeFolder(folder) == 0 || errno == EEXIST) return;
  if (errno == ENOENT) {
    makeFolders(folder.parent_path());
    if (host::makeFolder(folder) == 0 || errno == EEXIST) return;
  }
  throw hostError("make the folder", folder);
}

ErrorCode fromHost(std::error_code const& error) {
  static constexpr std::pair<std::errc, ErrorCode> codes[] = {
      {std::errc::no_such_file_or_directory, ErrorCode::fileNotFound},
      {std::errc::not_a_directory, ErrorCode::pathNotFound},
      {std::errc::too_many_symbolic_link_levels, ErrorCode::pathNotFound},
      {std::errc::permission_denied, ErrorCode::accessDenied},
      {std::errc::operation_not_permitted, ErrorCode::accessDenied},
      {std::errc::is_a_directory, ErrorCode::accessDenied},
      {std::errc::file_exists, ErrorCode::fileExists},
      {std::errc::directory_not_empty, ErrorCode::directoryNotEmpty},
      {std::errc::no_space_on_device, ErrorCode::diskFull},
      {std::errc::read_only_file_system, ErrorCode::writeProtect},
      {std::errc::filename_too_long, ErrorCode::fileNameTooLong},
      {std::errc::file_too_large, ErrorCode::fileTooLarge},
      {std::errc::cross_device_link, ErrorCode::notSameDevice},
      {std::errc::device_or_resource_busy, ErrorCode::sharingViolation},
      {std::errc::text_file_busy, ErrorCode::sharingViolation},
      {std::errc::not_enough_memory, ErrorCode::notEnoughMemory},
      {std::errc::invalid_argument, ErrorCode::invalidParameter},
      {std::errc::broken_pipe, ErrorCode::brokenPipe},
      {std::errc::not_supported, ErrorCode::notSupported},
  };
  for (auto const& [host, code] : codes)
    if (error == host) return code;
  return ErrorCode::ioDevice;
}

UString fromHostName(std::filesystem::path const& name) {
  auto const utf8 = name.u8string();
  return toUtf16({reinterpret_cast<char const*>(utf8.data()), utf8.size()});
}

std::filesystem::path toHostName(std::u16string_view name) {
  auto const utf8 = toUtf8(name);
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

bool isWellFormed(std::u16string_view text) {
  return toUtf16(toUtf8(text)) == text;
}

}  // namespace machine

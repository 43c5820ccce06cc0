#include <windows.h>

#include <winhttp.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <limits>
#include <optional>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using UniqueInternet = std::unique_ptr<void, ReleaseWith<WinHttpCloseHandle>>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Address {
  UString server;
  INTERNET_PORT port;
  bool isSecure;
  UString file;  ///< path and query
};

int wholeMilliseconds(milliseconds time) {
  return static_cast<int>(
      std::clamp<milliseconds::rep>(time.count(), 1, std::numeric_limits<int>::max()));
}

/// One GET, from the URL to the end of the body.
class Download {
 public:
  Download(std::u16string_view url, DownloadLimits const& limits)
      : url_(url), limits_(limits), deadline_(steady_clock::now() + limits.totalTimeout) {}

  std::uint32_t run(Downloads::Sink const& sink) {
    send(addressOf());
    limitNextWait();
    require(WinHttpReceiveResponse(request_.get(), nullptr) != FALSE);
    auto const status = number(WINHTTP_QUERY_STATUS_CODE);
    if (!status) {
      SetLastError(ERROR_WINHTTP_INVALID_SERVER_RESPONSE);
      failWithLastError();
    }
    if (*status == HTTP_STATUS_OK) {
      pass(sink);
    }
    return *status;
  }

 private:
  [[noreturn]] void fail(DWORD code) const { throw systemError("download", url_, code); }

  void require(bool succeeded) const {
    if (!succeeded) {
      failWithLastError();
    }
  }

  /// The texts of these codes are not the system's but the library's.
  [[noreturn]] void failWithLastError() const {
    DWORD const code = GetLastError();
    if (code == ERROR_WINHTTP_TIMEOUT || code == WSAETIMEDOUT) {
      fail(ERROR_TIMEOUT);
    }
    if (code >= WINHTTP_ERROR_BASE && code <= WINHTTP_ERROR_LAST) {
      throw SystemError("download", url_, code, reasonOf(code));
    }
    fail(code);
  }

  static std::string_view reasonOf(DWORD code) {
    switch (code) {
      case ERROR_WINHTTP_NAME_NOT_RESOLVED:
        return "The server name or address could not be resolved";
      case ERROR_WINHTTP_CANNOT_CONNECT:
        return "A connection with the server could not be established";
      case ERROR_WINHTTP_CONNECTION_ERROR:
        return "The connection with the server was terminated abnormally";
      case ERROR_WINHTTP_SECURE_FAILURE:
        return "A security error occurred";
      case ERROR_WINHTTP_INVALID_URL:
        return "The URL is invalid";
      case ERROR_WINHTTP_UNRECOGNIZED_SCHEME:
        return "The URL does not use a recognized protocol";
      case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:
        return "The server returned an invalid or unrecognized response";
      case ERROR_WINHTTP_REDIRECT_FAILED:
        return "The redirection was refused";
      default:
        return "The web client failed";
    }
  }

  Address addressOf() const {
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    constexpr DWORD wanted = static_cast<DWORD>(-1);
    parts.dwSchemeLength = parts.dwHostNameLength = parts.dwUrlPathLength = wanted;
    parts.dwExtraInfoLength = wanted;
    require(!hasNul(url_) && WinHttpCrackUrl(wide(url_), 0, 0, &parts));
    if (parts.nScheme != INTERNET_SCHEME_HTTP && parts.nScheme != INTERNET_SCHEME_HTTPS) {
      SetLastError(ERROR_WINHTTP_UNRECOGNIZED_SCHEME);
      failWithLastError();
    }
    auto const text = [](wchar_t const* start, DWORD length) {
      return UString(unitsOf(start).substr(0, length));
    };
    return {text(parts.lpszHostName, parts.dwHostNameLength), parts.nPort,
            parts.nScheme == INTERNET_SCHEME_HTTPS,
            text(parts.lpszUrlPath, parts.dwUrlPathLength) +
                text(parts.lpszExtraInfo, parts.dwExtraInfoLength)};
  }

  void send(Address const& address) {
    session_.reset(WinHttpOpen(L"registration_commands", WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                               WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    require(session_ != nullptr);
    connection_.reset(WinHttpConnect(session_.get(), wide(address.server), address.port, 0));
    require(connection_ != nullptr);
    request_.reset(WinHttpOpenRequest(connection_.get(), L"GET", wide(address.file), nullptr,
                                      WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                      address.isSecure ? WINHTTP_FLAG_SECURE : 0));
    require(request_ != nullptr);
    set(WINHTTP_OPTION_REDIRECT_POLICY, address.isSecure
                                            ? WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP
                                            : WINHTTP_OPTION_REDIRECT_POLICY_NEVER);
    set(WINHTTP_OPTION_DISABLE_FEATURE, WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION |
                                            (address.isSecure ? 0 : WINHTTP_DISABLE_REDIRECTS));
    limitNextWait();
    require(WinHttpSendRequest(request_.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                               WINHTTP_NO_REQUEST_DATA, 0, 0, 0));
  }

  void set(DWORD option, DWORD value) const {
    require(WinHttpSetOption(request_.get(), option, &value, sizeof value));
  }

  /// The next call waits for the idle time-out, but not beyond the end of the whole download.
  void limitNextWait() const {
    auto const left = std::chrono::duration_cast<milliseconds>(deadline_ - steady_clock::now());
    if (left.count() <= 0) {
      fail(ERROR_TIMEOUT);
    }
    int const wait = wholeMilliseconds(std::min(limits_.idleTimeout, left));
    require(WinHttpSetTimeouts(request_.get(), wait, wait, wait, wait));
    // Those are for what comes at once; this one is for the whole of the headers.
    set(WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(wait));
  }

  /// A header's number; nullopt when it is not there.
  template <class Number = std::uint32_t>
  std::optional<Number> number(DWORD header) const {
    wchar_t digits[32];
    DWORD size = sizeof digits;
    if (!WinHttpQueryHeaders(request_.get(), header, WINHTTP_HEADER_NAME_BY_INDEX, digits, &size,
                             WINHTTP_NO_HEADER_INDEX)) {
      return std::nullopt;
    }
    std::string const text = toUtf8(unitsOf(digits).substr(0, size / sizeof(wchar_t)));
    Number value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                    : std::nullopt;
  }

  void pass(Downloads::Sink const& sink) const {
    auto const announced = number<std::uint64_t>(WINHTTP_QUERY_CONTENT_LENGTH);
    if (announced.value_or(0) > limits_.size) {
      fail(ERROR_FILE_TOO_LARGE);
    }
    std::array<char, 1 << 16> buffer;
    std::uint64_t size = 0;
    for (DWORD count = read(buffer); count != 0; count = read(buffer)) {
      size += count;
      if (size > limits_.size) {
        fail(ERROR_FILE_TOO_LARGE);
      }
      sink({buffer.data(), count});
    }
    if (announced && *announced != size) {
      SetLastError(ERROR_WINHTTP_CONNECTION_ERROR);
      failWithLastError();
    }
  }

  DWORD read(std::array<char, 1 << 16>& buffer) const {
    limitNextWait();
    // Asked for more than has come, the read would go on for as long as a slow server likes.
    DWORD available = 0;
    require(WinHttpQueryDataAvailable(request_.get(), &available));
    DWORD count = 0;
    if (available != 0) {
      DWORD const wanted = std::min(available, static_cast<DWORD>(buffer.size()));
      require(WinHttpReadData(request_.get(), buffer.data(), wanted, &count));
    }
    return count;
  }

  UString url_;
  DownloadLimits limits_;
  steady_clock::time_point deadline_;
  UniqueInternet session_;
  UniqueInternet connection_;
  UniqueInternet request_;
};

class WindowsDownloads final : public Downloads {
 public:
  std::uint32_t get(std::u16string_view url, DownloadLimits const& limits,
                    Sink const& sink) override {
    return Download(url, limits).run(sink);
  }
};

}  // namespace

std::unique_ptr<Downloads> makeDownloads() {
  return std::make_unique<WindowsDownloads>();
}

}  // namespace machine::windows

#include <gtest/gtest.h>

#include "machine/windows/windows_machine.hpp"
#include "tests/machine/windows/web_server.hpp"

namespace machine::windows {
namespace {

using tests::WebServer;
using Then = WebServer::Answer::Then;
using std::chrono::milliseconds;

class WindowsDownloads : public ::testing::Test {
 protected:
  DownloadLimits limits{1 << 20, std::chrono::seconds(20), std::chrono::seconds(60)};
  WebServer server;
  std::string body;

  std::uint32_t get(UString const& url) {
    body.clear();
    return machine.downloads().get(url, limits, [&](std::string_view bytes) { body += bytes; });
  }
  /// The code of the SystemError; 0 when there is none.
  std::uint32_t errorOf(UString const& url) {
    try {
      get(url);
      return 0;
    } catch (SystemError const& error) {
      return error.code();
    }
  }

  WindowsMachine machine;
};

TEST_F(WindowsDownloads, AsksForPathAndQuery) {
  server.answer("a/b.json?x=1&y=2", WebServer::whole("found"));
  EXPECT_EQ(get(server.url("a/b.json?x=1&y=2")), 200u);
  EXPECT_EQ(body, "found");
}

TEST_F(WindowsDownloads, SendsNeitherCredentialsNorCookies) {
  server.answer("login", {"HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"r\"\r\n"
                          "Set-Cookie: a=b\r\nContent-Length: 0\r\nConnection: close\r\n\r\n",
                          Then::close, false});
  EXPECT_EQ(get(server.url("login")), 401u);
  EXPECT_EQ(get(server.url("login")), 401u);
  for (auto const& request : server.requests()) {
    EXPECT_EQ(request.find("Authorization"), request.npos) << request;
    EXPECT_EQ(request.find("Cookie"), request.npos) << request;
  }
}

TEST_F(WindowsDownloads, BodyClosedInTheMiddleIsAnError) {
  server.answer("cut",
                {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly a part", Then::close, false});
  EXPECT_NE(errorOf(server.url("cut")), 0u);
}

TEST_F(WindowsDownloads, ChunkedBodyIsTaken) {
  server.answer("chunked", {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n"
                            "\r\n5\r\nfirst\r\n4\r\nnext\r\n0\r\n\r\n",
                            Then::close, false});
  EXPECT_EQ(get(server.url("chunked")), 200u);
  EXPECT_EQ(body, "firstnext");
}

TEST_F(WindowsDownloads, AnnouncedSizeBeyondTheLimitBringsNothing) {
  server.answer("large",
                {"HTTP/1.1 200 OK\r\nContent-Length: 2000000\r\n\r\nx", Then::keepOpen, false});
  EXPECT_EQ(errorOf(server.url("large")), static_cast<std::uint32_t>(ErrorCode::fileTooLarge));
  EXPECT_EQ(body, "");
}

TEST_F(WindowsDownloads, EndlessBodyIsCutAtTheLimit) {
  server.answer("endless", {"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nx", Then::close, true});
  EXPECT_EQ(errorOf(server.url("endless")), static_cast<std::uint32_t>(ErrorCode::fileTooLarge));
  EXPECT_LE(body.size(), limits.size);
}

TEST_F(WindowsDownloads, SilentServerTimesOut) {
  limits.idleTimeout = milliseconds(200);
  server.answer("silent", {"", Then::keepOpen, false});
  EXPECT_EQ(errorOf(server.url("silent")), static_cast<std::uint32_t>(ErrorCode::timeout));
}

TEST_F(WindowsDownloads, ServerThatFallsSilentInTheBodyTimesOut) {
  limits.idleTimeout = milliseconds(200);
  server.answer("stuck",
                {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nx", Then::keepOpen, false});
  EXPECT_EQ(errorOf(server.url("stuck")), static_cast<std::uint32_t>(ErrorCode::timeout));
}

TEST_F(WindowsDownloads, WholeDownloadHasALimitToo) {
  limits.totalTimeout = milliseconds(1);
  limits.size = UINT64_MAX;
  server.answer("endless", {"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nx", Then::close, true});
  EXPECT_EQ(errorOf(server.url("endless")), static_cast<std::uint32_t>(ErrorCode::timeout));
}

TEST_F(WindowsDownloads, ASilentServerIsNotWaitedForBeyondTheWholeDownloadsLimit) {
  limits.idleTimeout = std::chrono::minutes(5);
  limits.totalTimeout = milliseconds(300);
  server.answer("silent", {"", Then::keepOpen, false});
  server.answer("stuck",
                {"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nx", Then::keepOpen, false});
  auto const start = std::chrono::steady_clock::now();
  for (auto const* file : {"silent", "stuck"}) {
    EXPECT_EQ(errorOf(server.url(file)), static_cast<std::uint32_t>(ErrorCode::timeout)) << file;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(WindowsDownloads, RedirectionOverHttpIsNotFollowed) {
  std::string const target = toUtf8(server.url("target"));
  server.answer("target", WebServer::whole("elsewhere"));
  for (std::string const& to :
       {target, std::string("https://127.0.0.1:1/"), std::string("file:///C:/Windows/win.ini")}) {
    server.answer("from", {"HTTP/1.1 302 Found\r\nLocation: " + to +
                               "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n",
                           Then::close, false});
    EXPECT_EQ(get(server.url("from")), 302u) << to;
    EXPECT_EQ(body, "") << to;
  }
}

TEST_F(WindowsDownloads, WhatIsNoHttpIsAnError) {
  server.answer("odd", {"who are you?\r\n\r\n", Then::close, false});
  EXPECT_NE(errorOf(server.url("odd")), 0u);
}

TEST_F(WindowsDownloads, ServerThatIsNotThereIsAnError) {
  EXPECT_NE(errorOf(u"http://127.0.0.1:1/file"), 0u);
}

TEST_F(WindowsDownloads, ServerOfPlainTextProvesNothingToHttps) {
  limits.idleTimeout = milliseconds(200);
  server.answer("file", WebServer::whole("x"));
  EXPECT_NE(errorOf(u"https" + server.url("file").substr(4)), 0u);
  EXPECT_EQ(body, "");
}

}  // namespace
}  // namespace machine::windows

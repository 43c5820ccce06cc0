#include <stdexcept>

#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::ErrorCode;
using machine::SystemError;

DownloadsContract::Answer DownloadsContract::get(std::u16string_view url,
                                                 machine::DownloadLimits const& within) {
  Answer answer;
  answer.status =
      machine().downloads().get(url, within, [&](std::string_view bytes) { answer.body += bytes; });
  return answer;
}

TEST_P(DownloadsContract, AFileArrivesAsItIs) {
  std::string content;
  for (int i = 0; i < 200000; ++i) content += static_cast<char>(i % 251);
  auto const answer = get(under().publish("file.bin", content));
  EXPECT_EQ(answer.status, 200u);
  EXPECT_EQ(answer.body, content);
}

TEST_P(DownloadsContract, AnEmptyFileArrives) {
  auto const answer = get(under().publish("empty", ""));
  EXPECT_EQ(answer.status, 200u);
  EXPECT_EQ(answer.body, "");
}

TEST_P(DownloadsContract, OfAMissingFileNothingArrives) {
  auto const url = under().publish("there", "x");
  auto const answer = get(url + u"-not");
  EXPECT_EQ(answer.status, 404u);
  EXPECT_EQ(answer.body, "");
}

TEST_P(DownloadsContract, TheLimitIsTheLargestSizeTaken) {
  auto const url = under().publish("ten", "0123456789");
  auto within = limits;
  within.size = 10;
  EXPECT_EQ(get(url, within).body, "0123456789");
  within.size = 9;
  try {
    get(url, within);
    FAIL() << "taken";
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.is(ErrorCode::fileTooLarge)) << error.what();
  }
}

TEST_P(DownloadsContract, WhatTheSinkThrowsArrives) {
  auto const url = under().publish("file", "x");
  EXPECT_THROW(machine().downloads().get(url, limits,
                                         [](std::string_view) { throw std::logic_error("sink"); }),
               std::logic_error);
}

TEST_P(DownloadsContract, OtherSchemesAndWhatIsNoUrlAreRefused) {
  for (auto const* url : {u"ftp://localhost/file", u"file:///C:/Windows/win.ini", u"no url", u"",
                          u"C:\\Windows\\win.ini"}) {
    EXPECT_THROW(get(url), SystemError) << machine::toUtf8(url);
  }
}

}  // namespace contract

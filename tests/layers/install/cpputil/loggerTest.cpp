#include <gmock/gmock.h>
#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <stdexcept>
#include <vector>

#include "install/cpputil/logger.hpp"
#include "install/cpputil/message_limit.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/trouble_capture.hpp"

namespace install::cpputil::logger {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class StandingClock : public machine::Clock {
 public:
  std::chrono::system_clock::time_point now() override { return time; }

  std::chrono::system_clock::time_point time =
      std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(8) +
      std::chrono::minutes(30) + std::chrono::milliseconds(123);
};

class Logger : public tests::MachineTest {
 protected:
  Logger() { timed_.replace(clock); }
  ~Logger() override { close_destination(); }

  StandingClock clock;

 private:
  tests::SubstitutedMachine timed_{machine()};
  machine::ScopedMachine scope_{timed_};
};

TEST_F(Logger, WritesOneStampedLineAMessage) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(u"Adding caf\u00E9");
  clock.time += std::chrono::milliseconds(877);
  append_message(std::string("caf\xC3\xA9 added"));
  EXPECT_EQ(readFile(at(u"install.log")),
            "2026-11-21T08:30:00.123Z Adding caf\xC3\xA9\n"
            "2026-11-21T08:30:01.000Z caf\xC3\xA9 added\n");
}

TEST_F(Logger, StampsTimesOfEveryKindInUtc) {
  using namespace std::chrono;
  ASSERT_TRUE(set_destination(at(u"install.log")));
  clock.time =
      sys_days(year(2024) / 2 / 29) + hours(23) + minutes(59) + seconds(59) + microseconds(999'999);
  append_message(u"leap");
  clock.time = sys_days(year(1969) / 12 / 31) + hours(1);
  append_message(u"before the epoch");
  EXPECT_EQ(readFile(at(u"install.log")),
            "2024-02-29T23:59:59.999Z leap\n1969-12-31T01:00:00.000Z before the epoch\n");
}

TEST_F(Logger, WritesLineBreaksAsEscapes) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(u"one\r\ntwo\n");
  append_message(u"");
  EXPECT_EQ(readFile(at(u"install.log")),
            "2026-11-21T08:30:00.123Z one\\r\\ntwo\\n\n2026-11-21T08:30:00.123Z \n");
}

TEST_F(Logger, AMessageThatIsTooLongIsCutAndSaysSoForObserversToo) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  std::vector<UString> messages;
  scoped_observer const observer([&](UString const& message) { messages.push_back(message); });
  UString const whole(longest_message, u'x');
  append_message(whole);
  append_message(whole + u"y");
  append_message(UString(std::size_t{1} << 20, u'x'));
  append_message(std::string(longest_message, 'x'));
  append_message(std::string(std::size_t{1} << 20, 'x'));
  std::string const note = "... (cut here: longer than 65536 characters)";
  UString const cut = UString(longest_message - note.size(), u'x') + fl::i18n::to_ustring(note);
  EXPECT_EQ(messages, (std::vector<UString>{whole, cut, cut, whole, cut}));
  std::string const stamp = "2026-11-21T08:30:00.123Z ";
  std::string const wholeLine = stamp + fl::i18n::to_string(whole) + "\n";
  std::string const cutLine = stamp + fl::i18n::to_string(cut) + "\n";
  EXPECT_EQ(readFile(at(u"install.log")), wholeLine + cutLine + cutLine + wholeLine + cutLine);
}

TEST_F(Logger, NoCharacterIsCutInTwo) {
  std::vector<UString> messages;
  scoped_observer const observer([&](UString const& message) { messages.push_back(message); });
  std::string wide;
  while (wide.size() < 4 * longest_message) wide += "\xF0\x9F\x98\x80";
  append_message(wide);
  append_message("x" + wide);
  std::string dense;
  while (dense.size() <= 3 * longest_message) dense += "\xE6\x97\xA5";
  append_message(dense);
  ASSERT_EQ(messages.size(), 3u);
  for (UString const& message : messages) {
    EXPECT_LE(message.size(), longest_message);
    EXPECT_GT(message.size(), longest_message - 2);
    EXPECT_TRUE(message.ends_with(u"... (cut here: longer than 65536 characters)"));
    EXPECT_EQ(fl::i18n::utf8_to_ustring(fl::i18n::ustring_to_utf8(message)), message)
        << "well-formed";
    EXPECT_EQ(message.find(u'\uFFFD'), UString::npos);
  }
}

TEST_F(Logger, ReplacesIllFormedText) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(std::string("a\xFFz"));
  append_message(UString(1, char16_t{0xD800}));
  EXPECT_EQ(readFile(at(u"install.log")),
            "2026-11-21T08:30:00.123Z a\xEF\xBF\xBDz\n2026-11-21T08:30:00.123Z \xEF\xBF\xBD\n");
}

TEST_F(Logger, AppendsToAnExistingLog) {
  writeFile(at(u"install.log"), "earlier\n");
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(u"x");
  EXPECT_EQ(readFile(at(u"install.log")), "earlier\n2026-11-21T08:30:00.123Z x\n");
}

TEST_F(Logger, MakesTheFoldersOfItsFile) {
  ASSERT_TRUE(set_destination(at(u"logs\\today\\install.log")));
  append_message(u"x");
  EXPECT_EQ(readFile(at(u"logs\\today\\install.log")), "2026-11-21T08:30:00.123Z x\n");
}

TEST_F(Logger, MayBeGivenTheSameFileAgain) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(u"one");
  ASSERT_TRUE(set_destination(at(u"install.log")));
  append_message(u"two");
  EXPECT_EQ(readFile(at(u"install.log")),
            "2026-11-21T08:30:00.123Z one\n2026-11-21T08:30:00.123Z two\n");
}

TEST_F(Logger, MovesToANewDestination) {
  ASSERT_TRUE(set_destination(at(u"one.log")));
  append_message(u"one");
  ASSERT_TRUE(set_destination(at(u"two.log")));
  append_message(u"two");
  EXPECT_EQ(readFile(at(u"one.log")), "2026-11-21T08:30:00.123Z one\n");
  EXPECT_EQ(readFile(at(u"two.log")), "2026-11-21T08:30:00.123Z two\n");
}

TEST_F(Logger, SaysWhichFolderItCouldNotMakeAndStays) {
  writeFile(at(u"file"), "x");
  ASSERT_TRUE(set_destination(at(u"install.log")));
  EXPECT_FALSE(set_destination(at(u"file\\install.log")));
  append_message(u"on");
  EXPECT_EQ(readFile(at(u"install.log")),
            "2026-11-21T08:30:00.123Z Unable to create specified folder for installation log " +
                fl::i18n::to_string(at(u"file")) +
                "\n2026-11-21T08:30:00.123Z Reset destination file log " +
                fl::i18n::to_string(at(u"install.log")) + "\n2026-11-21T08:30:00.123Z on\n");
}

TEST_F(Logger, SaysWhichFileItCouldNotMakeAndThatThereIsNone) {
  makeDirectory(at(u"folder"));
  std::vector<UString> messages;
  scoped_observer const observer([&](UString const& message) { messages.push_back(message); });
  EXPECT_FALSE(set_destination(at(u"folder")));
  EXPECT_THAT(messages,
              ElementsAre(u"Unable to create specified file for installation log " + at(u"folder"),
                          u"Reset destination file log (none)"));
}

#if !defined(_WIN32)
TEST_F(Logger, RefusesALinkInPlaceOfItsFileOrFolder) {
  writeFile(at(u"of others"), "kept");
  makeDirectory(at(u"elsewhere"));
  std::filesystem::create_symlink(hostPath(at(u"of others")), hostPath(at(u"install.log")));
  std::filesystem::create_directory_symlink(hostPath(at(u"elsewhere")), hostPath(at(u"logs")));
  EXPECT_FALSE(set_destination(at(u"install.log")));
  EXPECT_FALSE(set_destination(at(u"logs\\install.log")));
  append_message(u"said");
  EXPECT_EQ(readFile(at(u"of others")), "kept");
  EXPECT_FALSE(exists(at(u"elsewhere\\install.log")));
}

TEST_F(Logger, IsNotLedElsewhereByAFolderAboveThatOthersCanExchange) {
  makeDirectory(at(u"shared\\logs"));
  makeDirectory(at(u"elsewhere\\today"));
  std::filesystem::permissions(hostPath(at(u"shared")), std::filesystem::perms::all);
  std::filesystem::create_directory_symlink(hostPath(at(u"elsewhere")),
                                            hostPath(at(u"shared\\moved")));
  EXPECT_FALSE(set_destination(at(u"shared\\moved\\today\\install.log")));
  EXPECT_FALSE(exists(at(u"elsewhere\\today\\install.log")));
}

TEST_F(Logger, DoesNotAppendToAFileWithASecondName) {
  writeFile(at(u"of others"), "kept");
  std::filesystem::create_hard_link(hostPath(at(u"of others")), hostPath(at(u"install.log")));
  EXPECT_FALSE(set_destination(at(u"install.log")));
  append_message(u"said");
  EXPECT_EQ(readFile(at(u"of others")), "kept");
}

TEST_F(Logger, RefusesAFolderOfAnotherAccountAndTellsWhose) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files to others";
  makeDirectory(at(u"of nobody"));
  ::chown(hostPath(at(u"of nobody")).c_str(), 65534, 65534);
  tests::TroubleCapture const told;
  EXPECT_FALSE(set_destination(at(u"of nobody\\install.log")));
  EXPECT_EQ(told.errors(u"belongs to nobody"), 1u);
  EXPECT_FALSE(exists(at(u"of nobody\\install.log")));
}

TEST_F(Logger, WarnsOfAFolderWhereOthersMayWrite) {
  makeDirectory(at(u"shared"));
  std::filesystem::permissions(hostPath(at(u"shared")), std::filesystem::perms::all);
  tests::TroubleCapture const told;
  EXPECT_TRUE(set_destination(at(u"shared\\install.log")));
  EXPECT_EQ(told.warnings(u"may be replaced by others"), 1u);
}
#endif

TEST_F(Logger, ForgetsItsDestinationWhenClosed) {
  makeDirectory(at(u"folder"));
  ASSERT_TRUE(set_destination(at(u"install.log")));
  close_destination();
  std::vector<UString> messages;
  scoped_observer const observer([&](UString const& message) { messages.push_back(message); });
  append_message(u"x");
  set_destination(at(u"folder"));
  EXPECT_EQ(readFile(at(u"install.log")), "");
  EXPECT_THAT(messages, ElementsAre(u"x", testing::_, u"Reset destination file log (none)"));
}

TEST_F(Logger, StaysOnTheMachineThatWasCurrentWhenItWasOpened) {
  class NoFiles : public machine::Machine {
   public:
    explicit NoFiles(machine::Clock& clock) : clock_(clock) {}
    machine::Files& files() override { throw std::logic_error("asked for files"); }
    machine::Registry& registry() override { throw std::logic_error("asked for the registry"); }
    machine::Environment& environment() override { throw std::logic_error("asked"); }
    machine::Shell& shell() override { throw std::logic_error("asked for the shell"); }
    machine::Processes& processes() override { throw std::logic_error("asked for processes"); }
    machine::Modules& modules() override { throw std::logic_error("asked for modules"); }
    machine::Tasks& tasks() override { throw std::logic_error("asked for tasks"); }
    machine::Services& services() override { throw std::logic_error("asked for services"); }
    machine::Downloads& downloads() override { throw std::logic_error("asked for downloads"); }
    machine::Clock& clock() override { return clock_; }
    machine::MachineLock& lock() override { throw std::logic_error("asked for the lock"); }

   private:
    machine::Clock& clock_;
  };
  ASSERT_TRUE(set_destination(at(u"install.log")));
  NoFiles other(clock);
  {
    machine::ScopedMachine const scope(other);
    append_message(u"x");
  }
  EXPECT_EQ(readFile(at(u"install.log")), "2026-11-21T08:30:00.123Z x\n");
}

TEST_F(Logger, LosesNothingWithoutAnyDestination) {
  EXPECT_NO_THROW(append_message(u"x"));
}

TEST_F(Logger, CallsObserversOutermostFirstAndBeforeItWrites) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  std::vector<std::string> calls;
  scoped_observer const outer([&](UString const& message) {
    calls.push_back("outer " + fl::i18n::to_string(message) + readFile(at(u"install.log")));
  });
  {
    scoped_observer const inner(
        [&](UString const& message) { calls.push_back("inner " + fl::i18n::to_string(message)); });
    append_message(std::string("one"));
  }
  close_destination();
  append_message(u"two");
  EXPECT_EQ(calls[0], "outer one");
  EXPECT_EQ(calls[1], "inner one");
  EXPECT_THAT(calls[2], testing::StartsWith("outer two"));
  EXPECT_EQ(calls.size(), 3u);
}

TEST_F(Logger, WhatAnObserverThrowsPassesOnAndIsNotWritten) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  {
    scoped_observer const observer([](UString const&) { throw 7; });
    EXPECT_THROW(append_message(u"x"), int);
  }
  EXPECT_EQ(readFile(at(u"install.log")), "");
}

/// The log's machine fails on demand.
class LoggerWithFaults : public Logger {
 protected:
  ~LoggerWithFaults() override { close_destination(); }

  tests::FaultyMachine faulty{machine::current()};

 private:
  machine::ScopedMachine scope_{faulty};
};

TEST_F(LoggerWithFaults, AMessageIsOneWrite) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  faulty.faults().failAt(0, machine::ErrorCode::ioDevice);
  append_message(u"one\ntwo");
  append_message(u"three");
  EXPECT_EQ(faulty.faults().count(), 2u);
  EXPECT_EQ(faulty.faults().operations().back(), "FileWriter::write");
}

TEST_F(LoggerWithFaults, ThrowsWhatWritingThrowsAndGoesOn) {
  ASSERT_TRUE(set_destination(at(u"install.log")));
  faulty.faults().failAt(1, machine::ErrorCode::diskFull);
  EXPECT_THROW(append_message(u"one"), machine::SystemError);
  append_message(u"two");
  EXPECT_EQ(readFile(at(u"install.log")), "2026-11-21T08:30:00.123Z two\n");
}

TEST_F(LoggerWithFaults, SaysWhatItCouldNotMakeForEachFailure) {
  std::vector<UString> messages;
  scoped_observer const observer([&](UString const& message) { messages.push_back(message); });
  faulty.faults().failAt(0, machine::ErrorCode::ioDevice);
  ASSERT_TRUE(set_destination(at(u"counted\\install.log")));
  std::size_t const operations = faulty.faults().count();
  constexpr std::size_t ofTheFile = 2;  // whether it is a link, and opening it
  close_destination();
  for (std::size_t n = 1; n <= operations; ++n) {
    messages.clear();
    UString const folder = at(u"folder") + fl::i18n::to_ustring(std::to_string(n));
    faulty.faults().failAt(n, machine::ErrorCode::accessDenied);
    EXPECT_FALSE(set_destination(folder + u"\\install.log"));
    EXPECT_THAT(messages, ElementsAre(n <= operations - ofTheFile
                                          ? unableToCreateFolder + folder
                                          : unableToCreateFile + folder + u"\\install.log",
                                      u"Reset destination file log (none)"));
  }
}

}  // namespace
}  // namespace install::cpputil::logger

#include <string>

#include "benchmarks/benchmark.hpp"
#include "benchmarks/sandbox.hpp"
#include "install/cpputil/logger.hpp"
#include "machine/machine.hpp"

namespace benchmarks {

void appendMessage() {
  namespace logger = install::cpputil::logger;
  constexpr int messages = 20'000;
  fl::i18n::UString const message =
      u"Successfully set registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\k1\\value1 to data";
  std::string const line = "2026-11-21T08:30:00.123Z " + fl::i18n::to_string(message) + "\n";
  logger::set_destination(workFolder() / u"registration.log");
  auto const bare = machine::current().files().openForWriting(
      (workFolder() / u"bare.log").ustring(), machine::WriteMode::append);
  printRatio(
      "20,000 messages: log / one write of a ready line each", "as low as it gets", 9,
      [&] {
        for (int i = 0; i < messages; ++i) {
          logger::append_message(message);
        }
      },
      [&] {
        for (int i = 0; i < messages; ++i) {
          bare->write(line);
        }
      });
  logger::close_destination();
}

}  // namespace benchmarks

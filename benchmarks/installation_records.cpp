#include "vortanconnector/installationsregistry/installation_records.hpp"

#include <string>

#include "benchmarks/benchmark.hpp"

namespace benchmarks {

namespace {

using vortanconnector::installationsregistry::withRecord;

constexpr char const* now = "2026-11-21T08:30:00.000Z";

std::string document(std::string const& records, std::string const& others) {
  return "{\"version\":1,\"installations\":[" + records + "],\"x\":[" + others + "]}";
}

std::string genuine(int count) {
  std::string records;
  for (int i = 0; i < count; ++i) {
    records += (i > 0 ? "," : "") + std::string("{\"root\":\"C:\\\\Program Files\\\\Vortan\\\\R") +
               std::to_string(i) + "\",\"added\":\"" + now + "\"}";
  }
  return document(records, "");
}

std::string strange(int count) {
  std::string others;
  for (int i = 0; i < count; ++i) others += i > 0 ? ",{}" : "{}";
  return document("", others);
}

void compare(std::string const& what, std::string const& large, std::string const& small) {
  auto const add = [](std::string const& text) {
    return [&] { withRecord(text, u"D:\\new", now); };
  };
  printRatio(what, "about 10, as the size", 5, add(large), add(small));
}

}  // namespace

void installationRecords() {
  compare("one more installation: 45,000 recorded / 4,500", genuine(45'000), genuine(4'500));
  compare("one more installation: 200,000 empty objects of others / 20,000", strange(200'000),
          strange(20'000));
}

}  // namespace benchmarks

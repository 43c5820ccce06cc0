#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

/// What the fuzz targets share. A target reads bytes as a reader of the product would find them,
/// checks what must hold whatever they are, and ends the process where it does not: libFuzzer then
/// keeps the bytes. An exception of any type that the reader's contract does not name ends it too.
namespace fuzz {

[[noreturn]] inline void fail(char const* condition, char const* file, int line) {
  std::cerr << file << ":" << line << ": does not hold: " << condition << std::endl;
  std::abort();
}

/// Whether `read` ends; false when it refuses what it reads by a Refusal, which must have a text.
template <class Refusal, class Read>
bool isRead(Read const& read) {
  try {
    read();
    return true;
  } catch (Refusal const& refusal) {
    if (*refusal.what() == '\0') fail("a refusal has a text", __FILE__, __LINE__);
    return false;
  }
}

/// A target's work on one input.
void run(std::string_view input);

}  // namespace fuzz

/// Like assert, in every build.
#define FUZZ_EXPECT(condition) \
  ((condition) ? static_cast<void>(0) : fuzz::fail(#condition, __FILE__, __LINE__))

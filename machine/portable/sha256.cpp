#include "machine/sha256.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "machine/hexadecimal.hpp"

namespace machine {

namespace {

constexpr std::size_t blockSize = 64;

/// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::array<std::uint32_t, 64> roundConstants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t bigEndian(char const* bytes) {
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i) {
    word = word << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return word;
}

}  // namespace

/// Names as in FIPS 180-4: a to h are the working variables, w is the message schedule.
struct Sha256::State {
  std::array<std::uint32_t, 8> hash{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                    0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<char, blockSize> block{};
  std::uint64_t size = 0;

  void add(std::string_view bytes) {
    while (!bytes.empty()) {
      std::size_t const used = size % blockSize;
      std::size_t const count = std::min(bytes.size(), blockSize - used);
      std::copy_n(bytes.data(), count, block.data() + used);
      size += count;
      bytes.remove_prefix(count);
      if (size % blockSize == 0) {
        digestBlock();
      }
    }
  }

  void pad() {
    std::uint64_t const bits = size * 8;
    add("\x80");
    while (size % blockSize != blockSize - sizeof bits) {
      add(std::string_view("\0", 1));
    }
    for (int shift = 56; shift >= 0; shift -= 8) {
      char const byte = static_cast<char>(bits >> shift);
      add({&byte, 1});
    }
  }

 private:
  std::array<std::uint32_t, 64> schedule() const {
    std::array<std::uint32_t, 64> w;
    for (std::size_t t = 0; t < 16; ++t) {
      w[t] = bigEndian(block.data() + 4 * t);
    }
    for (std::size_t t = 16; t < w.size(); ++t) {
      std::uint32_t const sigma0 =
          std::rotr(w[t - 15], 7) ^ std::rotr(w[t - 15], 18) ^ (w[t - 15] >> 3);
      std::uint32_t const sigma1 =
          std::rotr(w[t - 2], 17) ^ std::rotr(w[t - 2], 19) ^ (w[t - 2] >> 10);
      w[t] = sigma1 + w[t - 7] + sigma0 + w[t - 16];
    }
    return w;
  }

  void digestBlock() {
    auto const w = schedule();
    auto [a, b, c, d, e, f, g, h] = hash;
    for (std::size_t t = 0; t < w.size(); ++t) {
      std::uint32_t const sum1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
      std::uint32_t const temporary1 = h + sum1 + ((e & f) ^ (~e & g)) + roundConstants[t] + w[t];
      std::uint32_t const sum0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
      std::uint32_t const temporary2 = sum0 + ((a & b) ^ (a & c) ^ (b & c));
      h = g;
      g = f;
      f = e;
      e = d + temporary1;
      d = c;
      c = b;
      b = a;
      a = temporary1 + temporary2;
    }
    std::array<std::uint32_t, 8> const after{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < hash.size(); ++i) {
      hash[i] += after[i];
    }
  }
};

Sha256::Sha256() : state_(std::make_unique<State>()) {}
Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) {
  state_->add(bytes);
}

std::string Sha256::finish() {
  state_->pad();
  std::string digest;
  for (std::uint32_t const word : state_->hash) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      digest += static_cast<char>(word >> shift);
    }
  }
  return hexadecimal(digest);
}

}  // namespace machine

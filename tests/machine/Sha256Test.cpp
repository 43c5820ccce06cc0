#include <gtest/gtest.h>

#include "machine/sha256.hpp"

namespace machine {
namespace {

std::string hashOf(std::string_view bytes) {
  Sha256 hash;
  hash.add(bytes);
  return hash.finish();
}

// FIPS 180-4's examples and those of NIST's secure hashing page.
TEST(Sha256, HashesTheStandardsExamples) {
  EXPECT_EQ(hashOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hashOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hashOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hashOf(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Around the length of a block, where the padding needs a further one; computed by sha256sum.
TEST(Sha256, PadsEveryLength) {
  EXPECT_EQ(hashOf(std::string(55, 'a')),
            "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
  EXPECT_EQ(hashOf(std::string(56, 'a')),
            "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a");
  EXPECT_EQ(hashOf(std::string(63, 'a')),
            "7d3e74a05d7db15bce4ad9ec0658ea98e3f06eeecf16b4c6fff2da457ddc2f34");
  EXPECT_EQ(hashOf(std::string(64, 'a')),
            "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
}

TEST(Sha256, ThePiecesDoNotMatter) {
  std::string const text(1000, 'q');
  for (std::size_t const piece : {1U, 3U, 63U, 64U, 65U, 127U}) {
    Sha256 hash;
    for (std::size_t i = 0; i < text.size(); i += piece)
      hash.add(std::string_view(text).substr(i, piece));
    EXPECT_EQ(hash.finish(), hashOf(text)) << piece;
  }
}

}  // namespace
}  // namespace machine

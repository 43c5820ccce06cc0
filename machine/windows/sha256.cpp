#include "machine/sha256.hpp"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <array>

#include "machine/hexadecimal.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/system_error.hpp"

namespace machine {

namespace {

void require(NTSTATUS status) {
  if (!BCRYPT_SUCCESS(status)) {
    throw windows::systemError("compute", u"SHA-256", static_cast<DWORD>(status));
  }
}

void closeAlgorithm(void* algorithm) {
  BCryptCloseAlgorithmProvider(algorithm, 0);
}

using UniqueAlgorithm = std::unique_ptr<void, windows::ReleaseWith<closeAlgorithm>>;
using UniqueHash = std::unique_ptr<void, windows::ReleaseWith<BCryptDestroyHash>>;

}  // namespace

struct Sha256::State {
  UniqueAlgorithm algorithm;
  UniqueHash hash;

  State() {
    BCRYPT_ALG_HANDLE openedAlgorithm = nullptr;
    require(BCryptOpenAlgorithmProvider(&openedAlgorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    algorithm.reset(openedAlgorithm);
    BCRYPT_HASH_HANDLE openedHash = nullptr;
    require(BCryptCreateHash(algorithm.get(), &openedHash, nullptr, 0, nullptr, 0, 0));
    hash.reset(openedHash);
  }
};

Sha256::Sha256() : state_(std::make_unique<State>()) {}
Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) {
  while (!bytes.empty()) {
    auto const part = bytes.substr(0, std::min<std::size_t>(bytes.size(), 1 << 30));
    // The call only reads the bytes, though its type does not say so.
    auto* const data = reinterpret_cast<UCHAR*>(const_cast<char*>(part.data()));
    require(BCryptHashData(state_->hash.get(), data, static_cast<ULONG>(part.size()), 0));
    bytes.remove_prefix(part.size());
  }
}

std::string Sha256::finish() {
  std::array<char, 32> digest{};
  require(BCryptFinishHash(state_->hash.get(), reinterpret_cast<UCHAR*>(digest.data()),
                           static_cast<ULONG>(digest.size()), 0));
  return hexadecimal({digest.data(), digest.size()});
}

}  // namespace machine

#pragma once

#include <ostream>

#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "foundation/storage/vfs/Exception.hpp"

namespace foundation::storage::vfs {

inline void PrintTo(AbsoluteIRI const& iri, std::ostream* out) {
  *out << fl::i18n::ustring_to_utf8(iri.text());
}

inline void PrintTo(ErrorCode code, std::ostream* out) {
  *out << "error code " << static_cast<int>(code);
}

}  // namespace foundation::storage::vfs

namespace tests {

/// The code of the Exception that `work` throws; a code of no failure when it throws none.
template <typename Work>
foundation::storage::vfs::ErrorCode errorCodeOf(Work&& work) {
  try {
    work();
    return foundation::storage::vfs::ErrorCode{};
  } catch (foundation::storage::vfs::Exception const& failure) {
    return failure.getErrorCode();
  }
}

}  // namespace tests

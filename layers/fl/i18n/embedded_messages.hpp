#pragma once

#include <cstddef>

namespace fl::i18n {

/// The bytes of messages.json; the build makes them (embedded_messages.cpp.in).
extern unsigned char const embeddedMessages[];
extern std::size_t const embeddedMessagesSize;

}  // namespace fl::i18n

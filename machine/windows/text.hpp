#pragma once

#include <windows.h>

#include "machine/unicode.hpp"

/// UTF-16 units between this project's strings and the system's: on Windows a wide character is a
/// UTF-16 unit, so they pass as they are, unpaired surrogates too.
namespace machine::windows {

inline wchar_t const* wide(UString const& text) {
  return reinterpret_cast<wchar_t const*>(text.c_str());
}

inline wchar_t* wideBuffer(UString& text) {
  return reinterpret_cast<wchar_t*>(text.data());
}

inline std::u16string_view unitsOf(wchar_t const* text) {
  return reinterpret_cast<char16_t const*>(text);
}

/// The system's strings end at a NUL: a name with one inside would silently become another name.
inline bool hasNul(std::u16string_view text) {
  return text.find(u'\0') != text.npos;
}

/// The text of a system call that takes a buffer with its size in units and answers the text's
/// length, or the size it needs when the buffer is too small. Empty when the call answers 0, which
/// is also how such calls fail.
template <class Call>
UString textFrom(Call call) {
  UString text(MAX_PATH, u'\0');
  for (;;) {
    std::size_t const length = call(wideBuffer(text), static_cast<DWORD>(text.size()));
    bool const fits = length < text.size();
    text.resize(fits ? length : length + 1);
    if (fits) {
      return text;
    }
  }
}

}  // namespace machine::windows

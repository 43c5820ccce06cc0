#include <gmock/gmock.h>

#include <cstdint>
#include <string>

#include "machine/error.hpp"
#include "machine/shell_link_format.hpp"

namespace {

using machine::requireWholeShellLink;
using machine::SystemError;
using testing::HasSubstr;
using namespace std::string_literals;

std::string number(std::uint32_t value, int size) {
  std::string bytes;
  for (; size-- > 0; value >>= 8) bytes += static_cast<char>(value & 0xFF);
  return bytes;
}
std::string u16(std::size_t value) {
  return number(static_cast<std::uint32_t>(value), 2);
}
std::string u32(std::size_t value) {
  return number(static_cast<std::uint32_t>(value), 4);
}

std::string header(std::uint32_t flags) {
  auto const identifier = "\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"s;
  return u32(76) + identifier + u32(flags) + std::string(52, '\0');
}

std::string sized(std::string const& content) {
  return u32(content.size() + 4) + content;
}

std::string const itemList = u16(2 + 3 + 2 + 4 + 2) + u16(5) + "abc" + u16(6) + "defg" + u16(0);
std::string const volume = sized(u32(3) + u32(0x1234) + u32(16) + "Disk\0"s);
std::string const volumeWithWideLabel =
    sized(u32(3) + u32(0x1234) + u32(20) + u32(20) + "D\0\0\0"s);
std::string const network = sized(u32(2) + u32(20) + u32(0) + u32(0x20000) + "\\\\s\\share\0"s);

/// Link information with a header of 28 bytes, over a volume and a network name.
std::string linkInformation(std::string const& itsVolume) {
  std::size_t const volumeAt = 28;
  std::size_t const pathAt = volumeAt + itsVolume.size();
  std::string const path = "C:\\t.exe\0"s;
  std::size_t const networkAt = pathAt + path.size();
  std::size_t const suffixAt = networkAt + network.size();
  return sized(u32(28) + u32(3) + u32(volumeAt) + u32(pathAt) + u32(networkAt) + u32(suffixAt) +
               itsVolume + path + network + "\0"s);
}

/// With every part that there is; two of the five texts.
std::string wholeLink() {
  return header(0x1 | 0x2 | 0x4 | 0x20 | 0x80) + itemList + linkInformation(volume) + u16(2) +
         "n\0a\0"s + u16(1) + "x\0"s + sized("\x03\x00\x00\xA0 extra"s) + u32(0);
}

/// The reason that a link is refused for, without the path and the code; "whole" if it is not.
std::string refusal(std::string const& bytes) {
  try {
    requireWholeShellLink(bytes, u"C:\\x.lnk");
    return "whole";
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.is(machine::ErrorCode::invalidData));
    std::string text = error.what();
    EXPECT_THAT(text, testing::StartsWith("read the shortcut C:\\x.lnk: The shortcut's "));
    EXPECT_THAT(text, testing::EndsWith(". (13)"));
    text.erase(text.size() - 6);
    return text.substr(text.find("The shortcut's ") + 15);
  }
}

TEST(ShellLinkFormat, ALinkWithEveryPartIsWhole) {
  EXPECT_EQ(refusal(wholeLink()), "whole");
  EXPECT_EQ(refusal(header(0)), "whole");
  EXPECT_EQ(refusal(header(0x2) + linkInformation(volumeWithWideLabel) + u32(0)), "whole");
  EXPECT_EQ(refusal(header(0x4) + u16(3) + "abc"), "whole") << "texts in the machine's code page";
}

TEST(ShellLinkFormat, ALinkCutAnywhereButBetweenExtraDataIsRefused) {
  auto const whole = wholeLink();
  auto const extraData = whole.size() - 4 - 14;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    bool const betweenBlocks = size == extraData || size == whole.size() - 4;
    EXPECT_EQ(refusal(whole.substr(0, size)) == "whole", betweenBlocks) << size;
  }
}

TEST(ShellLinkFormat, AnotherKindOfFileIsRefused) {
  EXPECT_EQ(refusal(""), "header at byte 0 is not whole");
  EXPECT_EQ(refusal(std::string(200, '\0')), "header at byte 0 is that of another kind of file");
  auto otherClass = wholeLink();
  otherClass[4] = 2;
  EXPECT_EQ(refusal(otherClass), "header at byte 0 is that of another kind of file");
}

TEST(ShellLinkFormat, AnItemListThatLeadsOutOfItselfIsRefused) {
  auto const withList = [](std::string const& list) {
    return refusal(header(0x1) + list + u32(0));
  };
  EXPECT_EQ(withList(u16(400) + u16(0)), "item list at byte 78 is not whole");
  EXPECT_EQ(withList(u16(2) + u16(5)), "item list at byte 78 is not whole");
  EXPECT_EQ(withList(u16(4) + u16(4) + "ab"), "item list at byte 78 is not whole") << "no end";
  EXPECT_EQ(withList(u16(3) + u16(1) + "a"), "item list at byte 78 has an item without a size");
}

TEST(ShellLinkFormat, LinkInformationThatLeadsOutOfItselfIsRefused) {
  auto const changed = [](std::size_t offset, std::string const& bytes) {
    auto information = linkInformation(volume);
    information.replace(offset, bytes.size(), bytes);
    // What follows is there to be read by who does not look at sizes.
    return refusal(header(0x2) + information + std::string(4, '\0'));
  };
  EXPECT_EQ(changed(0, u32(27)),
            "link information at byte 76 is too short for what it has to hold");
  EXPECT_EQ(changed(0, u32(0xFFFFFFFF)), "link information at byte 76 is not whole");
  EXPECT_EQ(changed(4, u32(27)), "link information at byte 76 has a header that is not its own");
  EXPECT_EQ(changed(4, u32(5000)), "link information at byte 76 has a header that is not its own");
  EXPECT_EQ(changed(12, u32(0xFFFFFFF0)), "volume identifier at byte 4294967356 is not whole");
  EXPECT_EQ(changed(16, u32(5000)), "link information at byte 76 is not whole");
  EXPECT_EQ(changed(20, u32(5000)), "network name at byte 5076 is not whole");
  EXPECT_EQ(changed(24, u32(5000)), "link information at byte 76 is not whole");
  EXPECT_EQ(changed(28, u32(16)),
            "volume identifier at byte 104 is too short for what it has to hold");
  EXPECT_EQ(changed(28 + 12, u32(5000)), "volume identifier at byte 104 is not whole");
  EXPECT_EQ(changed(28 + 12, u32(20)), "volume identifier at byte 104 is not whole")
      << "no field for a wide label";
}

/// Link information with a wide local path and suffix beside the narrow ones, over `network`.
std::string wideLinkInformation(std::string const& itsNetwork, std::string const& wideTexts) {
  std::size_t const textsAt = 36 + itsNetwork.size();
  return sized(u32(36) + u32(2) + u32(0) + u32(0) + u32(36) + u32(0) + u32(textsAt) +
               u32(textsAt + 4) + itsNetwork + wideTexts);
}

TEST(ShellLinkFormat, WideTextsEndInsideToo) {
  auto const refusalOf = [](std::string const& itsNetwork, std::string const& texts) {
    // What follows would end them.
    return refusal(header(0x2) + wideLinkInformation(itsNetwork, texts) + std::string(8, '\0'));
  };
  auto const wideNetwork = [](std::string const& wideNames) {
    return sized(u32(2) + u32(28) + u32(28) + u32(0x20000) + u32(29) + u32(33) + "\0"s + wideNames);
  };
  auto const names = "n\0\0\0d\0\0\0"s;
  auto const texts = "p\0\0\0s\0\0\0"s;
  EXPECT_EQ(refusalOf(network, texts), "whole");
  EXPECT_EQ(refusalOf(wideNetwork(names), texts), "whole");
  EXPECT_EQ(refusalOf(network, texts.substr(0, 6)), "link information at byte 76 is not whole");
  EXPECT_EQ(refusalOf(network, "p\0q\0r\0s\0"s), "link information at byte 76 is not whole");
  EXPECT_EQ(refusalOf(wideNetwork(names.substr(0, 6)), texts),
            "network name at byte 112 is not whole");
  EXPECT_EQ(refusalOf(wideNetwork("n\0e\0t\0s\0"s), texts),
            "network name at byte 112 is not whole");
}

TEST(ShellLinkFormat, ATextWithoutItsEndIsRefused) {
  auto information = linkInformation(volume);
  information.back() = 'x';
  EXPECT_EQ(refusal(header(0x2) + information + u32(0)),
            "link information at byte 76 is not whole");
}

TEST(ShellLinkFormat, ATextThatCountsMoreThanThereIsIsRefused) {
  EXPECT_EQ(refusal(header(0x4 | 0x80) + u16(0xFFFF) + "n\0"s), "text at byte 78 is not whole");
}

TEST(ShellLinkFormat, ExtraDataWithoutASizeOfItsOwnIsRefused) {
  EXPECT_EQ(refusal(header(0) + u32(4) + u32(0)),
            "extra data at byte 76 is too short for what it has to hold");
  EXPECT_EQ(refusal(header(0) + u32(0xFFFFFFFF) + u32(0)), "extra data at byte 76 is not whole");
}

}  // namespace

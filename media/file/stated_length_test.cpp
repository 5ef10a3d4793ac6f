#include "media/file/stated_length.h"

#include <gtest/gtest.h>

#include <string>

namespace movra::media {
namespace {

using namespace std::string_literals;

std::optional<std::uint64_t> LengthOf(const std::string& head) {
  return StatedLength({reinterpret_cast<const std::uint8_t*>(head.data()), head.size()});
}

const std::string kEbml = "\x1A\x45\xDF\xA3\x83\x42\x86\x81"s;
const std::string kSegment = "\x18\x53\x80\x67"s;

TEST(StatedLength, OfARiffFileIsThatOfItsChunkAndItsHead) {
  EXPECT_EQ(LengthOf("RIFF\x00\x10\x00\x00"
                     "AVI LIST"s),
            0x1008U);
  EXPECT_EQ(LengthOf("RIFF\x00\x00\x00\x80"
                     "AVI LIST"s),
            0x80000008U);
}

TEST(StatedLength, OfAMatroskaFileEndsWithItsSegment) {
  EXPECT_EQ(LengthOf(kEbml + kSegment + "\x01\x00\x00\x00\x00\x01\x00\x00"s), 8U + 12 + 0x10000);
  EXPECT_EQ(LengthOf(kEbml + kSegment + "\x85rest"s), 8U + 5 + 5);
}

// The beginning of a WMV, up to the flags of its properties.
std::string AsfHead(const std::string& length, char flags) {
  return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s +
         std::string(14, '\1') +
         "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"s +
         std::string(24, '\1') + length + std::string(40, '\1') + flags + std::string(3, '\0');
}

TEST(StatedLength, OfAnAsfFileStandsInItsProperties) {
  const std::string length = "\xA3\x30\x05\x00\x01\x00\x00\x00"s;
  EXPECT_EQ(LengthOf(AsfHead(length, 2)), 0x1000530A3U);
  EXPECT_EQ(LengthOf(AsfHead(length, 3)), std::nullopt) << "broadcast";
  EXPECT_EQ(LengthOf(AsfHead(length, 2).substr(0, 121)), std::nullopt);
  std::string other = AsfHead(length, 2);
  other[30] = '\0';
  EXPECT_EQ(LengthOf(other), std::nullopt);
}

TEST(StatedLength, IsNotKnownOfWhatWasWrittenInOneGo) {
  EXPECT_EQ(LengthOf("RIFF\x00\x00\x00\x00"
                     "AVI LIST"s),
            std::nullopt);
  EXPECT_EQ(LengthOf("RIFF\xFF\xFF\xFF\xFF"
                     "AVI LIST"s),
            std::nullopt);
  EXPECT_EQ(LengthOf(kEbml + kSegment + "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s), std::nullopt);
  EXPECT_EQ(LengthOf(kEbml + kSegment + "\xFFrest"s), std::nullopt);
}

TEST(StatedLength, IsNotKnownOfAnythingElseAndOfNoCutHead) {
  const std::string whole = kEbml + kSegment + "\x01\x00\x00\x00\x00\x01\x00\x00"s;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(LengthOf(whole.substr(0, size)), std::nullopt) << size;
  }
  EXPECT_EQ(LengthOf("RIFF\x01"s), std::nullopt);
  EXPECT_EQ(LengthOf("\0\0\0\x18"
                     "ftypisom"s),
            std::nullopt);
  EXPECT_EQ(LengthOf(std::string(128, '\0')), std::nullopt);
  EXPECT_EQ(LengthOf(kEbml + std::string(128, '\x01')), std::nullopt);
}

}  // namespace
}  // namespace movra::media

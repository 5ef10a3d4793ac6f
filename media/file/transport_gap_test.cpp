#include "media/file/transport_gap.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace movra::media {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Packet {
  int stream = 256;
  int counter = 0;
  bool payload = true;
  bool jumps = false;
};

Bytes Transport(const std::vector<Packet>& packets, std::size_t size = 188) {
  Bytes bytes;
  for (const Packet& packet : packets) {
    Bytes one(size, 0xFF);
    one[0] = 0x47;
    one[1] = static_cast<std::uint8_t>(packet.stream >> 8);
    one[2] = static_cast<std::uint8_t>(packet.stream);
    one[3] = static_cast<std::uint8_t>((packet.jumps ? 0x20 : 0) | (packet.payload ? 0x10 : 0) |
                                       packet.counter % 16);
    one[4] = 7;
    one[5] = 0x80;
    bytes.insert(bytes.end(), one.begin(), one.end());
  }
  return bytes;
}

TEST(IsTransportTorn, NotWhereTheCounterGoesOnInPacketsOfAnySize) {
  for (const std::size_t size : {188U, 192U, 204U}) {
    EXPECT_FALSE(IsTransportTorn(Transport({{.counter = 14},
                                            {.stream = 0, .counter = 5},
                                            {.counter = 15},
                                            {.counter = 15},
                                            {.counter = 3, .payload = false},
                                            {.counter = 16}},
                                           size)))
        << size;
  }
}

TEST(IsTransportTorn, WhereAPacketOfTheStreamIsMissing) {
  EXPECT_TRUE(IsTransportTorn(Transport({{.counter = 1}, {.counter = 3}})));
  EXPECT_FALSE(IsTransportTorn(Transport({{.counter = 1}, {.stream = 0, .counter = 3}})));
  EXPECT_FALSE(IsTransportTorn(Transport({{.counter = 1}, {.counter = 3, .jumps = true}})));
}

TEST(IsTransportTorn, WhereSomethingElseStandsInPlaceOfAPacket) {
  Bytes bytes = Transport({{.counter = 1}, {.counter = 2}, {.counter = 3}});
  bytes[2 * 188] = 0x5A;
  EXPECT_TRUE(IsTransportTorn(bytes));
}

TEST(IsTransportTorn, NotForWhatIsNotWhole) {
  const Bytes bytes = Transport({{.counter = 1}, {.counter = 5}});
  EXPECT_FALSE(IsTransportTorn({}));
  EXPECT_FALSE(IsTransportTorn(std::span(bytes).first(100)));
  EXPECT_FALSE(IsTransportTorn(std::span(bytes).first(2 * 188 - 1)));
}

}  // namespace
}  // namespace movra::media

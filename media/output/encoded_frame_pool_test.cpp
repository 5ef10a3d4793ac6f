#include "media/output/encoded_frame_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <vector>

namespace movra::media {
namespace {

using ::testing::ElementsAreArray;

video::EncodedFrame FrameOf(const std::vector<std::uint8_t>& bytes) {
  video::EncodedFrame frame;
  frame.data = bytes.data();
  frame.size_bytes = bytes.size();
  frame.sequence = bytes.size();
  return frame;
}

TEST(EncodedFramePool, AFrameHasBytesOfItsOwnThatItShows) {
  EncodedFramePool pool;
  std::vector<std::uint8_t> bytes{1, 2, 3};
  const auto stored = pool.Store(FrameOf(bytes));
  bytes.assign(3, 9);
  EXPECT_THAT(stored->bytes, ElementsAreArray({1, 2, 3}));
  EXPECT_EQ(stored->frame.data, stored->bytes.data());
  EXPECT_EQ(stored->frame.size_bytes, 3U);
  EXPECT_EQ(stored->frame.sequence, 3U);
}

TEST(EncodedFramePool, MemoryIsUsedAgainOnceNobodyHasTheFrame) {
  EncodedFramePool pool;
  const std::vector<std::uint8_t> bytes(1000, 1);
  const std::vector<std::uint8_t> fewer(500, 2);
  auto first = pool.Store(FrameOf(bytes));
  auto shared = first;
  const std::uint8_t* const place = first->frame.data;
  first.reset();
  const auto other = pool.Store(FrameOf(fewer));
  EXPECT_NE(other->frame.data, place);
  shared.reset();
  const auto again = pool.Store(FrameOf(fewer));
  EXPECT_EQ(again->frame.data, place);
  EXPECT_EQ(again->bytes, fewer);
}

TEST(EncodedFramePool, FramesOutliveIt) {
  std::optional<EncodedFramePool> pool(std::in_place);
  const std::vector<std::uint8_t> bytes{1, 2, 3};
  const auto stored = pool->Store(FrameOf(bytes));
  pool.reset();
  EXPECT_EQ(stored->bytes, bytes);
}

}  // namespace
}  // namespace movra::media

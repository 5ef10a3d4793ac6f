#include "media/frame/frame_pool.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "media/frame/frame_layout.h"
#include "media/frame/pictures_for_test.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;

TEST(FramePool, AFramesMemoryIsUsedAgainForTheNextOneOfItsSize) {
  FramePool pool;
  const std::uint8_t* memory = nullptr;
  {
    WritableFrame frame = pool.Allocate(PixelFormat::kI420, {64, 48});
    memory = frame.plane(0);
  }
  EXPECT_EQ(pool.idle_buffers(), 1U);
  WritableFrame again = pool.Allocate(PixelFormat::kI420, {64, 48});
  EXPECT_EQ(again.plane(0), memory);
  EXPECT_EQ(pool.idle_buffers(), 0U);
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(FramePool, MemoryIsSteadyOnceTheFramesInFlightHaveBeenSeen) {
  FramePool pool;
  std::vector<PixelFrame> in_flight(3);
  for (std::size_t i = 0; i < 100; ++i) {
    in_flight[i % in_flight.size()] = {};
    in_flight[i % in_flight.size()] = pool.Allocate(PixelFormat::kNV12, {128, 72}).Finish();
  }
  EXPECT_EQ(pool.allocations(), 3U);
  in_flight.clear();
  EXPECT_EQ(pool.idle_buffers(), 3U);
}

TEST(FramePool, BeyondTheBoundTheLongestWaitingBufferIsFreed) {
  FramePool pool(2);
  std::vector<WritableFrame> frames;
  for (const int width : {64, 128, 256})
    frames.push_back(pool.Allocate(PixelFormat::kGray, {width, 1}));
  for (WritableFrame& frame : frames) frame = {};
  EXPECT_EQ(pool.idle_buffers(), 2U);
  EXPECT_EQ(pool.allocations(), 3U);
  const WritableFrame kept = pool.Allocate(PixelFormat::kGray, {256, 1});
  EXPECT_EQ(pool.allocations(), 3U);
  const WritableFrame freed = pool.Allocate(PixelFormat::kGray, {64, 1});
  EXPECT_EQ(pool.allocations(), 4U);
}

TEST(FramePool, AFrameMayOutliveThePoolAndEndOnAnotherThread) {
  auto pool = std::make_unique<FramePool>();
  PixelFrame frame = FlatFrame(*pool, PixelFormat::kI420, {64, 48}, kRust);
  pool.reset();
  std::thread([moved = std::exchange(frame, {})]() mutable {
    EXPECT_EQ(DistanceFrom(moved.info(), kRust), 0);
    moved = {};
  }).join();
}

TEST(FramePool, BuffersComeBackFromOtherThreads) {
  constexpr int kFrames = 2000;
  FramePool pool;
  for (int i = 0; i < kFrames; i += 100) {
    std::vector<PixelFrame> frames;
    for (int k = 0; k < 4; ++k) {
      frames.push_back(FlatFrame(pool, PixelFormat::kI420, {16, 16}, kRust));
    }
    std::thread other([moved = std::move(frames)]() mutable {
      for (PixelFrame& frame : moved) frame = {};
    });
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(DistanceFrom(FlatFrame(pool, PixelFormat::kI420, {16, 16}, kGray).info(), kGray),
                0);
    }
    other.join();
  }
  EXPECT_LE(pool.allocations(), 5U);
}

TEST(FramePool, RowsAndPlanesAreAlignedAndDoNotOverlap) {
  FramePool pool;
  for (const PixelFormat format : kEveryFormat) {
    WritableFrame frame = pool.Allocate(format, {33, 17});
    for (std::size_t i = 0; i < PlaneCount(format); ++i) {
      const PlaneLayout layout = LayoutOf(format, {33, 17}, i);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(frame.plane(i)) % 64, 0U);
      EXPECT_EQ(frame.stride(i) % 64, 0);
      EXPECT_GE(static_cast<std::size_t>(frame.stride(i)), layout.row_bytes());
      std::memset(frame.plane(i), static_cast<int>(i),
                  static_cast<std::size_t>(frame.stride(i)) *
                      static_cast<std::size_t>(layout.samples.height));
    }
    for (std::size_t i = 0; i < PlaneCount(format); ++i) {
      for (const std::uint8_t byte : PlaneBytes(frame.info(), i)) ASSERT_EQ(byte, i);
    }
  }
}

TEST(FramePool, AnAllocatedFrameTakesOverWhatIsNotAboutMemory) {
  FramePool pool;
  PixelFrameInfo like;
  like.sequence = 7;
  like.timestamp = std::chrono::milliseconds(40);
  like.capture_time = std::chrono::seconds(3);
  like.delivery = video::FrameDelivery::kLossless;
  like.rotation = video::VideoRotation::k90;
  like.color = {1, 1, 1, true};
  const WritableFrame frame = pool.Allocate(PixelFormat::kGray, {2, 2}, like);
  EXPECT_EQ(frame.info().sequence, 7U);
  EXPECT_EQ(frame.info().timestamp, std::chrono::milliseconds(40));
  EXPECT_EQ(frame.info().capture_time, std::chrono::seconds(3));
  EXPECT_EQ(frame.info().delivery, video::FrameDelivery::kLossless);
  EXPECT_EQ(frame.info().rotation, video::VideoRotation::k90);
  EXPECT_EQ(frame.info().color, like.color);
  EXPECT_EQ(frame.info().format, PixelFormat::kGray);
  EXPECT_EQ(frame.info().size, (video::Size{2, 2}));
  EXPECT_EQ(frame.info().planes[1].data, nullptr);
}

TEST(FramePool, WhatCannotBeAllocatedIsEmpty) {
  FramePool pool;
  EXPECT_FALSE(pool.Allocate(PixelFormat::kNone, {2, 2}));
  EXPECT_FALSE(pool.Allocate(PixelFormat::kI420, {0, 0}));
  EXPECT_EQ(pool.allocations(), 0U);
}

TEST(WritableFrame, TheOnlyHandleToAPoolsFrameIsWrittenInPlace) {
  FramePool pool;
  PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, {32, 16}, kGray);
  const std::uint8_t* const memory = frame.info().planes[0].data;
  const WritableFrame writable = WritableFrame::Of(std::move(frame), pool);
  EXPECT_EQ(writable.info().planes[0].data, memory);
  EXPECT_EQ(pool.allocations(), 1U);
}

TEST(WritableFrame, ASharedFrameIsCopiedAndTheOthersSeeNoChange) {
  FramePool pool;
  for (const PixelFormat format : kEveryFormat) {
    const PixelFrame shared = FlatFrame(pool, format, {31, 15}, kGray);
    WritableFrame writable = WritableFrame::Of(shared, pool);
    EXPECT_EQ(DistanceFrom(writable.info(), kGray), 0);
    Fill(writable, {0, 0, 31, 15}, kRust);
    EXPECT_EQ(DistanceFrom(shared.info(), kGray), 0);
    EXPECT_EQ(DistanceFrom(std::move(writable).Finish().info(), kRust), 0);
  }
}

TEST(WritableFrame, AFrameThatALibraryOwnsIsCopiedThoughNobodySharesIt) {
  FramePool pool;
  const PixelFrame kept = FlatFrame(pool, PixelFormat::kGray, {8, 8}, kGray);
  PixelFrame foreign(kept.info(), std::make_shared<int>());
  const WritableFrame writable = WritableFrame::Of(std::move(foreign), pool);
  EXPECT_NE(writable.info().planes[0].data, kept.info().planes[0].data);
  EXPECT_EQ(DistanceFrom(writable.info(), kGray), 0);
}

TEST(WritableFrame, OfNothingIsNothing) {
  FramePool pool;
  EXPECT_FALSE(WritableFrame::Of({}, pool));
  EXPECT_FALSE(WritableFrame::Of(PixelFrame(PixelFrameInfo{}, std::make_shared<int>()), pool));
}

}  // namespace
}  // namespace movra::media

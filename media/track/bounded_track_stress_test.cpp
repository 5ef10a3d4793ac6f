#include <atomic>
#include <cstdint>
#include <latch>
#include <memory>
#include <thread>

#include "gtest/gtest.h"
#include "media/figures/frame_counter_for_test.h"
#include "media/track/bounded_track.h"

namespace movra::media {
namespace {

using video::FrameDelivery;

// Everything at once: what is promised is that nothing tears, hangs or leaks.
TEST(BoundedTrackStress, WritingReadingResettingAndRemovingCallbacksAtOnce) {
  constexpr int kRounds = 3000;
  FrameCounter frames;
  auto track = std::make_unique<BoundedTrack>(2);
  const auto writer = track->GetWriter();
  const auto reader = track->GetReader();
  std::latch start(4);
  std::atomic<int> calls = 0;

  std::thread writing([&] {
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i) {
      const auto delivery = i % 3 == 0 ? FrameDelivery::kLossless : FrameDelivery::kLive;
      static_cast<void>(writer->Write(frames.Make(static_cast<std::uint64_t>(i), delivery)));
      if (i % 50 == 0) writer->WriteEnd({});
    }
  });
  std::thread reading([&] {
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i) static_cast<void>(reader->Read());
  });
  std::thread installing([&] {
    start.arrive_and_wait();
    for (int i = 0; i < kRounds; ++i) {
      auto alive = std::make_shared<std::atomic<bool>>(true);
      const auto callback = [&calls, alive] {
        EXPECT_TRUE(*alive);
        ++calls;
      };
      reader->SetReadableCallback(callback);
      writer->SetRoomCallback(callback);
      writer->SetRoomCallback({});
      reader->SetReadableCallback({});
      *alive = false;
    }
  });
  start.arrive_and_wait();
  for (int i = 0; i < kRounds / 10; ++i) {
    track->Reset();
    static_cast<void>(writer->HasRoom());
  }
  track.reset();
  writing.join();
  reading.join();
  installing.join();
  EXPECT_LE(frames.most(), 6) << "two wait, two are being dropped, one comes, one goes";
  EXPECT_EQ(frames.alive(), 0);
}

}  // namespace
}  // namespace movra::media

// Producers that share a real queue, sources and encoders on threads of their own, and a main
// thread that changes everything meanwhile.

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "core/run_loop.h"
#include "core/serial_queue.h"
#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"
#include "video/video_preprocessor.h"

namespace movra::media {
namespace {

using video::FrameDelivery;
using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;
using video::Size;
using video::TrackWriteResult;

constexpr Size kSize{64, 36};

video::CustomProcessParams Params(const Size& size) {
  video::CustomProcessParams params;
  params.width = size.width;
  params.height = size.height;
  params.enabled = true;
  params.pixel_format = PixelFormat::kI420;
  return params;
}

// Set by a callback, waited for by the thread that has nothing to do.
class Signal {
 public:
  void Set() {
    set_ = true;
    set_.notify_one();
  }
  void Wait() {
    set_.wait(false);
    set_ = false;
  }

 private:
  std::atomic<bool> set_ = false;
};

// Writes numbered frames as fast as they are taken, then the end mark.
void RunSource(video::IPixelFrameTrackWriter& writer, FramePool& pool, std::uint64_t frames,
               FrameDelivery delivery) {
  Signal room;
  writer.SetRoomCallback([&] { room.Set(); });
  for (std::uint64_t i = 0; i < frames; ++i) {
    video::PixelFrameInfo info;
    info.sequence = i;
    info.timestamp = std::chrono::milliseconds(i);
    info.delivery = delivery;
    const PixelFrame frame = FlatFrame(pool, PixelFormat::kI420, kSize, kRust, info);
    while (writer.Write(frame) == TrackWriteResult::kFull) room.Wait();
  }
  writer.SetRoomCallback({});
  writer.WriteEnd({});
}

// Reads until the end mark; returns the sequence numbers.
std::vector<std::uint64_t> RunEncoder(video::IPixelFrameTrackReader& reader) {
  Signal readable;
  reader.SetReadableCallback([&] { readable.Set(); });
  std::vector<std::uint64_t> sequence;
  for (;;) {
    const video::TrackItem item = reader.Read();
    if (const auto* const frame = std::get_if<PixelFrame>(&item)) {
      sequence.push_back(frame->info().sequence);
    } else if (std::holds_alternative<video::StreamEnd>(item)) {
      break;
    } else {
      readable.Wait();
    }
  }
  reader.SetReadableCallback({});
  return sequence;
}

TEST(PreprocessorStress, NoLosslessFrameIsLostWhateverTheMainThreadChanges) {
  constexpr std::uint64_t kFrames = 400;
  // Not running, as before a program's loop runs: nothing may depend on its tasks.
  const auto main_loop = std::make_shared<core::RunLoop>();
  const auto previous = core::SetMainQueue(main_loop);
  const auto queue = std::make_shared<core::SerialQueue>("preprocess");
  FramePool pool;
  const auto source = video::IPixelFrameTrack::Create("source", 1);
  const auto big = video::IPixelFrameTrack::Create("big", 1);
  const auto small = video::IPixelFrameTrack::Create("small", 1);
  auto preprocessor =
      video::IVideoPreprocessor2::Create(video::VideoContext(InstanceTrace(), ""), queue);
  preprocessor->SetInputTrackReader(source->GetReader());
  preprocessor->AddOutputTrack(InterceptPosition::kEncoder, Params({32, 18}), big->GetWriter());
  preprocessor->AddOutputTrack(InterceptPosition::kEncoder, Params({16, 8}), small->GetWriter());
  preprocessor->StartProcessing();

  std::vector<std::uint64_t> big_frames;
  std::vector<std::uint64_t> small_frames;
  std::atomic<bool> done = false;
  std::thread sending(
      [&] { RunSource(*source->GetWriter(), pool, kFrames, FrameDelivery::kLossless); });
  std::thread encoding_small([&] { small_frames = RunEncoder(*small->GetReader()); });
  std::thread encoding_big([&] {
    big_frames = RunEncoder(*big->GetReader());
    done = true;
  });
  for (int i = 0; !done; ++i) {
    const auto preview = video::IPixelFrameTrack::Create("preview", 1);
    preprocessor->AddOutputTrack(InterceptPosition::kPreview, Params(kSize), preview->GetWriter());
    preprocessor->SetMirror(static_cast<video::MirrorMode>(i % 3));
    preprocessor->SetRotation(static_cast<video::VideoRotation>(i % 4 * 90));
    preprocessor->SetEncoderOutputSize(32 + i % 8 * 2, 18);
    // A stream's size changes, also while the source ends.
    const auto& resized = i % 2 == 0 ? big : small;
    preprocessor->RemoveOutputTrack(resized->GetWriter());
    preprocessor->AddOutputTrack(InterceptPosition::kEncoder, Params({16 + i % 4 * 2, 8}),
                                 resized->GetWriter());
    preprocessor->Snapshot(
        movra_base::BindOnce([](std::shared_ptr<video::ObjcWrapper<NSImage>>) {}));
    static_cast<void>(preprocessor->GetStats());
    preprocessor->RemoveOutputTrack(preview->GetWriter());
    static_cast<void>(preview->GetReader()->Read());
  }
  sending.join();
  encoding_big.join();
  encoding_small.join();
  core::SetMainQueue(previous);
  EXPECT_EQ(big_frames.size(), kFrames);
  EXPECT_EQ(big_frames, small_frames);
  for (std::uint64_t i = 0; i < big_frames.size(); ++i) ASSERT_EQ(big_frames[i], i);
}

TEST(PreprocessorStress, StoppingReplacingAndDestroyingWhileFramesFlowIsSafe) {
  const auto queue = std::make_shared<core::SerialQueue>("preprocess");
  FramePool pool;
  const auto source = video::IPixelFrameTrack::Create("source", 2);
  std::atomic<bool> done = false;
  std::thread sending([&] {
    for (std::uint64_t i = 0; !done; ++i) {
      video::PixelFrameInfo info;
      info.sequence = i;
      info.timestamp = std::chrono::milliseconds(i);
      info.delivery = i % 2 == 0 ? FrameDelivery::kLive : FrameDelivery::kLossless;
      static_cast<void>(
          source->GetWriter()->Write(FlatFrame(pool, PixelFormat::kI420, kSize, kRust, info)));
    }
  });
  for (int i = 0; i < 300; ++i) {
    const auto track = video::IPixelFrameTrack::Create("tap", 1);
    const auto preprocessor =
        video::IVideoPreprocessor2::Create(video::VideoContext(InstanceTrace(), ""), queue);
    preprocessor->SetInputTrackReader(source->GetReader());
    preprocessor->AddOutputTrack(InterceptPosition::kEncoder, Params({32, 18}), track->GetWriter());
    preprocessor->StartProcessing();
    static_cast<void>(track->GetReader()->Read());
    if (i % 3 == 0) preprocessor->StopProcessing();
    if (i % 3 == 1) preprocessor->RemoveOutputTrack(track->GetWriter());
    track->Reset();
  }
  done = true;
  sending.join();
}

}  // namespace
}  // namespace movra::media

#ifndef MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_FIXTURE_FOR_TEST_H_
#define MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_FIXTURE_FOR_TEST_H_

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "media/frame/pictures_for_test.h"
#include "video/pixel_frame_track.h"
#include "video/video_preprocessor.h"

namespace movra::media {

// Runs its tasks when the test says so. One thread.
class ManualQueue final : public core::DispatchQueue {
 public:
  [[nodiscard]] bool IsCurrent() const override { return is_current; }
  void Post(core::Task task) override { tasks_.push_back(std::move(task)); }
  void PostDelayed(core::Task task, std::chrono::nanoseconds /*delay*/) override {
    Post(std::move(task));
  }

  bool RunOne() {
    if (tasks_.empty()) return false;
    core::Task task = std::move(tasks_.front());
    tasks_.pop_front();
    std::move(task).Run();
    return true;
  }
  void RunAll() {
    while (RunOne()) {
    }
  }
  [[nodiscard]] std::size_t waiting() const { return tasks_.size(); }

  bool is_current = true;

 private:
  std::deque<core::Task> tasks_;
};

// An application's writer: remembers what arrives.
class RecordingWriter final : public video::IPixelFrameTrackWriter {
 public:
  video::TrackWriteResult Write(video::PixelFrame frame) override {
    frames.push_back(std::move(frame));
    if (on_write) on_write();
    return video::TrackWriteResult::kAccepted;
  }
  void WriteEnd(const video::StreamEnd& end) override {
    ends.push_back(end);
    if (on_write) on_write();
  }

  std::vector<video::PixelFrame> frames;
  std::vector<video::StreamEnd> ends;
  std::function<void()> on_write;  // Behind each frame and end mark.
};

// A source's reader that is interrupted right behind a read: whoever reads has the item in hand
// while the test changes everything.
class PausingReader final : public video::IPixelFrameTrackReader {
 public:
  explicit PausingReader(std::shared_ptr<video::IPixelFrameTrackReader> reader)
      : reader_(std::move(reader)) {}

  [[nodiscard]] std::uint32_t GetCaptureStat() override { return reader_->GetCaptureStat(); }
  [[nodiscard]] video::TrackItem Read() override {
    video::TrackItem item = reader_->Read();
    if (in_the_pause && !std::holds_alternative<std::monostate>(item)) {
      std::exchange(in_the_pause, {})();
    }
    return item;
  }
  void SetReadableCallback(std::function<void()> callback) override {
    reader_->SetReadableCallback(std::move(callback));
  }

  std::function<void()> in_the_pause;  // Once.

 private:
  const std::shared_ptr<video::IPixelFrameTrackReader> reader_;
};

// "3" for a frame of that sequence number, "end 0", or "" for nothing.
inline std::string Text(const video::TrackItem& item) {
  if (const auto* const frame = std::get_if<video::PixelFrame>(&item)) {
    return std::to_string(frame->info().sequence);
  }
  if (const auto* const end = std::get_if<video::StreamEnd>(&item)) {
    return "end " + std::to_string(end->error_code);
  }
  return "";
}

// A preprocessor between a source's track and whatever the test attaches, on a queue that the test
// runs. Frames are 64x36.
class PreprocessorTest : public ::testing::Test {
 protected:
  static constexpr video::Size kSize{64, 36};
  static constexpr auto kLive = video::FrameDelivery::kLive;
  static constexpr auto kLossless = video::FrameDelivery::kLossless;
  static constexpr auto kEncoder = video::InterceptPosition::kEncoder;
  static constexpr auto kPreview = video::InterceptPosition::kPreview;

  PreprocessorTest() { preprocessor->SetInputTrackReader(source->GetReader()); }

  static video::CustomProcessParams Params(const video::Size& size,
                                           video::PixelFormat format = video::PixelFormat::kI420) {
    video::CustomProcessParams params;
    params.width = size.width;
    params.height = size.height;
    params.enabled = true;
    params.pixel_format = format;
    return params;
  }

  video::PixelFrame MakeFrame(std::uint64_t sequence, video::FrameDelivery delivery,
                              video::PixelFormat format = video::PixelFormat::kI420) {
    video::PixelFrameInfo info;
    info.sequence = sequence;
    info.delivery = delivery;
    info.timestamp = std::chrono::milliseconds(40) * static_cast<std::int64_t>(sequence);
    info.capture_time = info.timestamp + std::chrono::seconds(1);
    return FlatFrame(pool, format, kSize, kRust, info);
  }

  video::TrackWriteResult Send(std::uint64_t sequence, video::FrameDelivery delivery) {
    return source->GetWriter()->Write(MakeFrame(sequence, delivery));
  }

  std::shared_ptr<video::IPixelFrameTrack> AddTrack(video::InterceptPosition position,
                                                    const video::Size& size = kSize) {
    auto track = video::IPixelFrameTrack::Create("tap", 1);
    preprocessor->AddOutputTrack(position, Params(size), track->GetWriter());
    return track;
  }

  static std::string Read(const std::shared_ptr<video::IPixelFrameTrack>& track) {
    return Text(track->GetReader()->Read());
  }

  FramePool pool;
  std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  std::shared_ptr<video::IPixelFrameTrack> source = video::IPixelFrameTrack::Create("source", 1);
  const video::VideoContext context{InstanceTrace(7), "[main]"};
  std::shared_ptr<video::IVideoPreprocessor2> preprocessor =
      video::IVideoPreprocessor2::Create(context, queue);
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_PREPROCESSOR_FIXTURE_FOR_TEST_H_

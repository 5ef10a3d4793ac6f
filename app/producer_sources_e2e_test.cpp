// Producers whose source changes, or that share one, on the real collaborators.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <numeric>
#include <string>
#include <vector>

#include "app/producer_e2e_for_test.h"
#include "media/camera/frame_marker.h"
#include "media/capture/picture_size.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/file/clip_for_test.h"
#include "media/output/encoded_file_writer.h"
#include "media/sources/source_kinds.h"

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using ::testing::Each;
using ::testing::ElementsAreArray;
using ::testing::Eq;
using ::testing::Ge;
using video::Size;

// A file that stays open behind the end of a source, and what has come into it.
class OpenFile final : public video::IVideoFrameTrackWriter {
 public:
  explicit OpenFile(const std::string& path) {
    media::EncodedFileWriterOptions options;
    options.path = path;
    options.stays_open = true;
    std::string error;
    file_ = media::EncodedFileWriter::Create(options, &error);
    EXPECT_NE(file_, nullptr) << error;
  }

  // IVideoFrameTrackWriter
  void Write(const video::EncodedFrame& frame) override {
    file_->Write(frame);
    const std::lock_guard lock(mutex_);
    ++frames_;
    changed_.notify_all();
  }
  void WriteEnd(const video::StreamEnd& end) override {
    file_->WriteEnd(end);
    const std::lock_guard lock(mutex_);
    ++ends_;
    changed_.notify_all();
  }

  void WaitForFrames(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return frames_ >= count; });
  }
  void WaitForEnds(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return ends_ >= count; });
  }
  [[nodiscard]] std::size_t ends() {
    const std::lock_guard lock(mutex_);
    return ends_;
  }
  void Close() { file_->Close(); }

 private:
  std::shared_ptr<media::EncodedFileWriter> file_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t frames_ = 0;  // Guarded by mutex_, like ends_.
  std::size_t ends_ = 0;
};

std::vector<int> Numbers(const media::DecodedFile& file) {
  std::vector<int> numbers;
  for (const media::DecodedPicture& picture : file.pictures) {
    const auto number =
        media::ReadFrameMarker(picture.luma.data(), picture.size.width, picture.size);
    numbers.push_back(number ? static_cast<int>(*number) : -1);
  }
  return numbers;
}

// Behind each other: 0, 1, 2 ... of every source.
std::vector<int> Runs(const std::vector<int>& lengths) {
  std::vector<int> numbers;
  for (const int length : lengths) {
    for (int i = 0; i < length; ++i) numbers.push_back(i);
  }
  return numbers;
}

class ProducerSourcesE2e : public ProducerE2e {
 protected:
  void Switch(video::IVideoProducer2& producer, const std::string& id) {
    OnMainQueue([&] { producer.StopCapture({}); });
    StartCamera(producer, id);
  }

  const media::ClipDirectory clips_;
};

TEST_F(ProducerSourcesE2e, SourcesThatFollowOneAnotherLoseNoFrameInOneFile) {
  const std::string path = clips_.Path("all.mp4");
  const std::string clip = clips_.Make("clip.mp4", "-c:v libx264 -preset veryfast", 25);
  const auto file = std::make_shared<OpenFile>(path);
  const auto producer = MakeProducer();
  StartEncoder(*producer, kBig, Params({640, 360}, 30, 900'000), file);
  StartCamera(*producer, "test:?frames=30&size=640x360&rate=30&lossless");
  file->WaitForEnds(1);
  Switch(*producer, media::FileSourceId(clip));
  file->WaitForEnds(2);
  Switch(*producer, "test:?frames=20&size=480x640&rate=30&lossless");
  file->WaitForEnds(3);
  OnMainQueue([&] { producer->StopEncoder(kBig, 60'000); });
  file->Close();

  const media::DecodedFile decoded = media::DecodeFile(path);
  EXPECT_EQ(decoded.error, "");
  EXPECT_THAT(Numbers(decoded), ElementsAreArray(Runs({30, 25, 20})));
  ASSERT_EQ(decoded.pictures.size(), 75u);
  for (const std::size_t first : {0u, 30u, 55u}) EXPECT_TRUE(decoded.pictures[first].key_frame);
  // As fast as they are taken they follow each other at once, one picture's time apart.
  for (std::size_t i = 0; i < 75; ++i) {
    EXPECT_NEAR(static_cast<double>(decoded.pictures[i].timestamp.count()),
                static_cast<double>(i) * 1e9 / 30, 2e6)
        << i;
  }
  EXPECT_NEAR(static_cast<double>(decoded.duration.count()), 2.5e9, 4e6);
}

TEST_F(ProducerSourcesE2e, ASourceThatIsStoppedHasNoEndAndTheNextOneGoesOnInItsFile) {
  const std::string path = clips_.Path("stopped.mp4");
  int ends = 0;
  media::EncodedFileWriterOptions options;
  options.path = path;
  options.on_end = [&](const video::StreamEnd& /*end*/) { ++ends; };
  std::string error;
  const auto file = media::EncodedFileWriter::Create(options, &error);
  ASSERT_NE(file, nullptr) << error;
  const auto producer = MakeProducer();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 400'000), file);
  StartCamera(*producer, "test:?size=320x180&rate=30&lossless");
  while (file->written().frames < 5) OnMainQueue([] {});
  Switch(*producer, "test:?size=320x180&rate=30&lossless");
  // More than the tracks hold of the first one.
  const std::uint64_t before = file->written().frames;
  while (file->written().frames < before + 20) OnMainQueue([] {});
  OnMainQueue([&] {
    producer->StopCapture({});
    producer->StopEncoder(kBig, 60'000);
  });
  file->Close();
  EXPECT_EQ(ends, 0);

  const media::DecodedFile decoded = media::DecodeFile(path);
  EXPECT_EQ(decoded.error, "");
  const std::vector<int> numbers = Numbers(decoded);
  EXPECT_EQ(numbers.size(), file->written().frames);
  EXPECT_EQ(std::count(numbers.begin(), numbers.end(), 0), 2);
}

TEST_F(ProducerSourcesE2e, BehindALiveSourceStandsWhatCameAsMuchLaterAsItCame) {
  const std::string path = clips_.Path("live.mp4");
  const auto file = std::make_shared<OpenFile>(path);
  const auto producer = MakeProducer();
  StartEncoder(*producer, kBig, Params({320, 180}, 30, 400'000), file);
  StartCamera(*producer, "test:?size=320x180&rate=30");
  file->WaitForFrames(8);
  OnMainQueue([&] { producer->StopCapture({}); });
  const auto stopped = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() < stopped + milliseconds(300)) OnMainQueue([] {});
  const auto started = std::chrono::steady_clock::now();
  StartCamera(*producer, "test:?frames=15&size=640x480&rate=30&lossless");
  file->WaitForEnds(1);
  EXPECT_EQ(file->ends(), 1u);  // The live one had none.
  OnMainQueue([&] { producer->StopEncoder(kBig, 60'000); });
  file->Close();

  const media::DecodedFile decoded = media::DecodeFile(path);
  EXPECT_EQ(decoded.error, "");
  const std::vector<int> numbers = Numbers(decoded);
  ASSERT_GE(numbers.size(), 8u + 15u);
  const std::size_t before = numbers.size() - 15;
  EXPECT_THAT(std::vector<int>(numbers.end() - 15, numbers.end()), ElementsAreArray(Runs({15})));
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end() - 15));
  EXPECT_TRUE(decoded.pictures[before].key_frame);
  const nanoseconds gap =
      decoded.pictures[before].timestamp - decoded.pictures[before - 1].timestamp;
  EXPECT_GE(gap, started - stopped);
  // Nobody knows how busy the machine is; but an hour is no gap that it had.
  EXPECT_LT(gap, std::chrono::hours(1));
}

// The sizes of what a camera delivers to one producer.
class Sizes final : public video::IPixelFrameTrackWriter {
 public:
  video::TrackWriteResult Write(video::PixelFrame frame) override {
    const std::lock_guard lock(mutex_);
    widths_.push_back(frame.info().size.width);
    changed_.notify_all();
    return video::TrackWriteResult::kAccepted;
  }
  void WriteEnd(const video::StreamEnd& /*end*/) override {}

  // Of the next frames.
  std::vector<int> Next(std::size_t count) {
    std::unique_lock lock(mutex_);
    const std::size_t from = widths_.size();
    changed_.wait(lock, [&] { return widths_.size() >= from + count; });
    return {widths_.begin() + static_cast<std::ptrdiff_t>(from), widths_.end()};
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int> widths_;  // Guarded by mutex_.
};

class NoWriter final : public video::IVideoFrameTrackWriter {
 public:
  void Write(const video::EncodedFrame& /*frame*/) override {}
  void WriteEnd(const video::StreamEnd& /*end*/) override {}
};

TEST_F(ProducerSourcesE2e, ProducersThatShareACameraTakeNothingFromEachOther) {
  constexpr Size kLarge{640, 360};
  constexpr Size kLittle{320, 180};
  for (const bool large_first : {true, false}) {
    struct Sharer {
      Size size;
      std::shared_ptr<video::VideoProducer2Impl> producer;
      std::shared_ptr<Sizes> sizes = std::make_shared<Sizes>();
      std::shared_ptr<NoWriter> writer = std::make_shared<NoWriter>();
    };
    std::vector<Sharer> sharers(2);
    sharers[0].size = large_first ? kLarge : kLittle;
    sharers[1].size = large_first ? kLittle : kLarge;
    for (Sharer& sharer : sharers) {
      sharer.producer = MakeProducer();
      StartEncoder(*sharer.producer, kBig, Params(sharer.size, 30, 400'000), sharer.writer);
      OnMainQueue([&] {
        sharer.producer->AddVideoShuntTrack(video::InterceptPosition::kCaptured,
                                            video::PixelFormat::kI420, video::BufferType::kMemory,
                                            sharer.sizes);
        video::CameraParams camera;
        camera.camera_id = "test:";
        sharer.producer->StartCapture(camera, {});
      });
    }
    for (Sharer& sharer : sharers) {
      EXPECT_THAT(sharer.sizes->Next(5), Each(Ge(sharer.size.width)));
    }
    // Each in turn wants less: neither may get less than its own start asked for.
    for (Sharer& sharer : sharers) {
      OnMainQueue([&] { sharer.producer->SetEncoderParams(kBig, Params({160, 90}, 15, 100'000)); });
      for (Sharer& other : sharers) {
        EXPECT_THAT(other.sizes->Next(5), Each(Ge(other.size.width))) << large_first;
      }
    }
    OnMainQueue([&] {
      for (Sharer& sharer : sharers) sharer.producer->StopCapture({});
    });
  }
}

TEST_F(ProducerSourcesE2e, OnlyAskedForItTheCamerasNaturalSizeGoesBeforeTheEncoders) {
  struct Case {
    const char* id;
    Size asked;
    int width;
  };
  for (const Case& one : {Case{"test:", {0, 0}, 640}, Case{"test:", media::kNaturalSize, 1280},
                          Case{"test:?size=800x600", media::kNaturalSize, 800}}) {
    const auto producer = MakeProducer();
    const auto sizes = std::make_shared<Sizes>();
    const auto writer = std::make_shared<NoWriter>();
    StartEncoder(*producer, kBig, Params({640, 360}, 30, 400'000), writer);
    OnMainQueue([&] {
      producer->SetProducerMode(video::ProducerMode::kOwnSize);
      producer->AddVideoShuntTrack(video::InterceptPosition::kCaptured, video::PixelFormat::kI420,
                                   video::BufferType::kMemory, sizes);
      video::CameraParams camera;
      camera.camera_id = one.id;
      camera.width = one.asked.width;
      camera.height = one.asked.height;
      producer->StartCapture(camera, {});
    });
    EXPECT_THAT(sizes->Next(3), Each(Eq(one.width))) << one.id << " " << one.asked.ToString();
    // Nor do they change it later.
    OnMainQueue([&] { producer->SetEncoderParams(kBig, Params({320, 180}, 30, 200'000)); });
    EXPECT_THAT(sizes->Next(3), Each(Eq(one.width)));
    OnMainQueue([&] { producer->StopCapture({}); });
  }
}

}  // namespace
}  // namespace movra::app

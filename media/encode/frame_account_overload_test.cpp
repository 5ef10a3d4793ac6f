// Many producers' collaborators with far more to do than they can: whatever gets lost where, every
// frame ends in one figure.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/serial_queue.h"
#include "gtest/gtest.h"
#include "media/encode/encoder_controller.h"
#include "media/figures/frame_account.h"
#include "media/frame/pictures_for_test.h"
#include "video/video_preprocessor.h"

namespace movra::media {
namespace {

using video::FrameDelivery;
using video::Size;
using video::TrackWriteResult;
using video::VideoStreamType;

constexpr Size kSize{64, 36};
constexpr std::uint64_t kFrames = 300;

// Keeps a few frames inside, fails now and then, and takes its time.
class FlakyEncoder final : public IFrameEncoder {
 public:
  [[nodiscard]] bool Reconfigure(const EncoderSettings& /*settings*/) override { return true; }
  [[nodiscard]] bool CanGoOn() const override { return true; }
  [[nodiscard]] bool Submit(const video::PixelFrame& /*frame*/, std::int64_t ticks,
                            bool /*key_frame*/, EncoderFailure& failure) override {
    std::this_thread::yield();
    inside_.push_back(ticks);
    if (++pictures_ % 7 != 0) return true;
    failure.code = video::VideoEncoderError::kEncodeFailed;
    return false;
  }
  [[nodiscard]] std::optional<EncodedPicture> Take(EncoderFailure& /*failure*/) override {
    if (inside_.size() <= stay_inside_) return std::nullopt;
    const std::int64_t ticks = inside_.front();
    inside_.pop_front();
    return EncodedPicture{kBytes, sizeof kBytes, false, ticks};
  }
  [[nodiscard]] bool Flush(EncoderFailure& failure) override {
    stay_inside_ = 0;
    if (pictures_ % 2 == 0) return true;
    failure.code = video::VideoEncoderError::kEncodeFailed;
    return false;
  }
  [[nodiscard]] std::string Describe() const override { return "flaky"; }

 private:
  static constexpr std::uint8_t kBytes[] = {0, 0, 0, 1, 0x65};
  std::deque<std::int64_t> inside_;
  std::size_t stay_inside_ = 2;
  int pictures_ = 0;
};

EncoderRegistry FlakyEncoders() {
  EncoderEntry entry;
  entry.open = [](const EncoderSettings&, const StreamFormat&, EncoderFailure&) {
    return std::make_unique<FlakyEncoder>();
  };
  entry.input_formats = {{video::BufferType::kMemory, video::PixelFormat::kI420}};
  return EncoderRegistry({{entry}, {}});
}

class CountingWriter final : public video::IVideoFrameTrackWriter {
 public:
  void Write(const video::EncodedFrame& /*frame*/) override { ++written; }
  std::atomic<std::uint64_t> written = 0;
};

// One of two streams: as the producer sets it up.
struct Stream {
  VideoStreamType type;
  std::shared_ptr<CountingWriter> writer = std::make_shared<CountingWriter>();
  std::shared_ptr<video::IPixelFrameTrack> track = nullptr;
  std::shared_ptr<EncoderController> encoder = nullptr;
};

class Chain {
 public:
  Chain(std::uint64_t trace, const std::shared_ptr<core::DispatchQueue>& queue)
      : context_(InstanceTrace(trace), ""),
        account_(FrameAccount::Of(context_.trace())),
        preprocessor_(video::IVideoPreprocessor2::Create(context_, queue)) {
    preprocessor_->StartProcessing();
    for (Stream& stream : streams_) Start(stream, {32, 18});
    StartCapture(FrameDelivery::kLive);
  }

  // Everything that a program may do while frames flow.
  void Disturb(int turn) {
    Stream& stream = streams_[static_cast<std::size_t>(turn) % 2];
    switch (turn % 5) {
      case 0:
        Resize(stream, {16 + turn % 8 * 2, 18});
        break;
      case 1:
        Resize(stream, {65536, 18});  // Which nobody can make.
        break;
      case 2:
        StopStream(stream, turn % 2 == 0 ? 0 : 5);
        Start(stream, {32, 18});
        break;
      case 3:
        StopCapture();
        StartCapture(turn % 2 == 0 ? FrameDelivery::kLive : FrameDelivery::kLossless);
        break;
      default:
        preprocessor_->StopProcessing();
        preprocessor_->StartProcessing();
    }
  }

  void StopEverything() {
    StopCapture();
    for (Stream& stream : streams_) StopStream(stream, 60'000);
    preprocessor_.reset();
  }

  // An encoder that was not waited for may still have a frame in hand.
  void ExpectEveryFrameInOneFigure() const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (const Stream& stream : streams_) {
      while (account_->Totals(stream.type).on_the_way() != 0 &&
             std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
      }
      const FrameTotals totals = account_->Totals(stream.type);
      EXPECT_EQ(totals.source.came, sent_);
      EXPECT_EQ(totals.on_the_way(), 0U);
      EXPECT_EQ(totals.stream.of(FrameFate::kEncoded), stream.writer->written);
    }
  }

 private:
  void Start(Stream& stream, const Size& size) {
    stream.track = video::IPixelFrameTrack::Create("encoder", 1);
    stream.encoder = std::make_shared<EncoderController>(
        context_, stream.type, std::weak_ptr<video::IVideoEncoderController::Client>(),
        FlakyEncoders());
    video::EncodeParams params;
    params.frame_rate = 200;
    stream.encoder->SetEncodeParams(params);
    stream.encoder->SetInputTrackReader(stream.track->GetReader());
    stream.encoder->SetOutputTrackWriter(stream.writer);
    stream.encoder->Start();
    Add(stream, size);
  }
  void Add(const Stream& stream, const Size& size) {
    video::CustomProcessParams params;
    params.width = size.width;
    params.height = size.height;
    params.pixel_format = video::PixelFormat::kI420;
    params.stream_type = stream.type;
    preprocessor_->AddOutputTrack(video::InterceptPosition::kEncoder, params,
                                  stream.track->GetWriter());
  }
  void Resize(const Stream& stream, const Size& size) {
    preprocessor_->RemoveOutputTrack(stream.track->GetWriter());
    Add(stream, size);
  }
  void StopStream(Stream& stream, std::uint64_t max_wait_ms) {
    preprocessor_->RemoveOutputTrack(stream.track->GetWriter());
    stream.encoder->Stop(max_wait_ms);
    stream.track->Reset();
    stream.track.reset();
    stream.encoder.reset();
  }

  void StartCapture(FrameDelivery delivery) {
    capture_ = video::IPixelFrameTrack::Create("capture", 1);
    is_capturing_ = true;
    source_ = std::thread([this, delivery, writer = capture_->GetWriter()] {
      for (std::uint64_t i = 0; i < kFrames && is_capturing_; ++i) {
        video::PixelFrameInfo info;
        info.delivery = delivery;
        info.timestamp = std::chrono::milliseconds(i);
        const auto frame = FlatFrame(pool_, video::PixelFormat::kI420, kSize, kRust, info);
        TrackWriteResult result = writer->Write(frame);
        while (result == TrackWriteResult::kFull && delivery == FrameDelivery::kLossless &&
               is_capturing_) {
          std::this_thread::yield();
          result = writer->Write(frame);
        }
        // A lossless frame that was not taken up to the end never came.
        const bool is_given_up =
            result == TrackWriteResult::kFull && delivery == FrameDelivery::kLossless;
        if (!is_given_up) ++sent_;
      }
    });
    preprocessor_->StartProcessing();
    preprocessor_->SetInputTrackReader(capture_->GetReader());
  }
  void StopCapture() {
    is_capturing_ = false;
    source_.join();
    capture_->Reset();
    capture_.reset();
    preprocessor_->StopProcessing();
  }

  const video::VideoContext context_;
  const std::shared_ptr<FrameAccount> account_;
  std::shared_ptr<video::IVideoPreprocessor2> preprocessor_;
  std::vector<Stream> streams_{{VideoStreamType::kBig}, {VideoStreamType::kSmall}};
  FramePool pool_;
  std::shared_ptr<video::IPixelFrameTrack> capture_;
  std::atomic<bool> is_capturing_ = false;
  std::uint64_t sent_ = 0;
  std::thread source_;
};

TEST(FrameAccountOverload, EveryFrameIsEncodedOrDroppedForAReasonThatIsCounted) {
  constexpr int kChains = 12;
  constexpr int kTurns = 10;
  std::vector<std::unique_ptr<Chain>> chains;
  {
    const auto queue = std::make_shared<core::SerialQueue>("preprocess");
    for (std::uint64_t i = 0; i < kChains; ++i) {
      chains.push_back(std::make_unique<Chain>(900 + i, queue));
    }
    for (int turn = 0; turn < kTurns; ++turn) {
      for (const auto& chain : chains) chain->Disturb(turn);
    }
    for (const auto& chain : chains) chain->StopEverything();
  }  // With the queue ends what it still had in hand.
  for (const auto& chain : chains) chain->ExpectEveryFrameInOneFigure();
}

}  // namespace
}  // namespace movra::media

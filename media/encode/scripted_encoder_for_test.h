#ifndef MOVRA_MEDIA_ENCODE_SCRIPTED_ENCODER_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_SCRIPTED_ENCODER_FOR_TEST_H_

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/encode/encoder_registry.h"

namespace movra::media {

// What the library behind the seam is told, and how it answers. Shared by all encoders of a test.
struct Script {
  struct Opened {
    EncoderSettings settings;
    StreamFormat format;
  };

  std::mutex mutex;
  // All guarded by mutex.
  std::vector<Opened> opened;
  std::vector<EncoderSettings> reconfigured;
  std::vector<std::int64_t> ticks;
  std::vector<bool> asked_for_key;
  int flushes = 0;
  bool open_fails = false;
  std::string refused_preset;  // It is said beforehand that none is opened with it.
  bool encode_fails = false;
  bool reconfigure_fails = false;
  bool reconfigure_does_nothing = false;
  bool take_fails = false;
  bool flush_fails = false;
  bool flush_gives_nothing = false;
  bool ends_at_flush = false;               // Takes no frame behind it.
  bool gives_foreign_ticks = false;         // Pictures of no frame that there ever was.
  std::size_t delay = 0;                    // So many frames stay inside until another one comes.
  std::size_t at_once = 1;                  // So many pictures come together.
  bool last_first = false;                  // Those that come together come in the opposite order.
  std::chrono::nanoseconds first_takes{0};  // How long the first frame takes at least.
};

// Gives a picture of five bytes for each frame; the last one is the frame's sequence number.
class ScriptedEncoder : public IFrameEncoder {
 public:
  explicit ScriptedEncoder(std::shared_ptr<Script> script) : script_(std::move(script)) {}

  bool Reconfigure(const EncoderSettings& settings) override {
    const std::lock_guard lock(script_->mutex);
    script_->reconfigured.push_back(settings);
    return !script_->reconfigure_fails;
  }

  bool CanGoOn() const override {
    const std::lock_guard lock(script_->mutex);
    if (script_->ends_at_flush && flushed_) return false;
    return !script_->reconfigure_does_nothing || script_->reconfigured.empty();
  }

  bool Submit(const video::PixelFrame& frame, std::int64_t ticks, bool key_frame,
              EncoderFailure& failure) override {
    const std::lock_guard lock(script_->mutex);
    script_->ticks.push_back(ticks);
    script_->asked_for_key.push_back(key_frame);
    if (script_->encode_fails) {
      failure = {video::VideoEncoderError::kEncodeFailed, "told to fail"};
      return false;
    }
    const bool first = std::exchange(first_, false);
    const auto end = std::chrono::steady_clock::now() + script_->first_takes;
    while (first && std::chrono::steady_clock::now() < end) {
    }
    inside_.push_back({ticks, frame.info().sequence, key_frame || first});
    if (inside_.size() >= script_->delay + script_->at_once) MakeReady(script_->at_once);
    return true;
  }

  std::optional<EncodedPicture> Take(EncoderFailure& failure) override {
    const std::lock_guard lock(script_->mutex);
    if (script_->take_fails) {
      failure = {video::VideoEncoderError::kEncodeFailed, "told not to give"};
      return std::nullopt;
    }
    if (ready_.empty()) return std::nullopt;
    const Inside frame = ready_.front();
    ready_.pop_front();
    bytes_.back() = static_cast<std::uint8_t>(frame.sequence);
    EncodedPicture picture{bytes_.data(), bytes_.size(), frame.key_frame, frame.ticks};
    if (script_->gives_foreign_ticks) --picture.ticks;
    // As a library with layers would: every other picture is of the upper one.
    picture.temporal_layer = static_cast<std::int32_t>(frame.sequence % 2);
    picture.referenced = frame.sequence % 2 == 0;
    return picture;
  }

  bool Flush(EncoderFailure& failure) override {
    const std::lock_guard lock(script_->mutex);
    ++script_->flushes;
    flushed_ = true;
    if (script_->flush_fails) {
      failure = {video::VideoEncoderError::kEncodeFailed, "told not to flush"};
      return false;
    }
    if (!script_->flush_gives_nothing) MakeReady(inside_.size());
    return true;
  }

  std::string Describe() const override { return "scripted"; }

 private:
  struct Inside {
    std::int64_t ticks = 0;
    std::uint64_t sequence = 0;
    bool key_frame = false;
  };

  void MakeReady(std::size_t count) {
    std::deque<Inside> together;
    for (; count > 0; --count, inside_.pop_front()) {
      script_->last_first ? together.push_front(inside_.front())
                          : together.push_back(inside_.front());
    }
    ready_.insert(ready_.end(), together.begin(), together.end());
  }

  const std::shared_ptr<Script> script_;
  std::deque<Inside> inside_;
  std::deque<Inside> ready_;
  std::array<std::uint8_t, 5> bytes_{0, 0, 0, 1, 0x65};
  bool first_ = true;
  bool flushed_ = false;
};

// Another codec that the scripted encoder has. It reads NV12 alone.
inline constexpr video::VideoCodec kOtherCodec{9};

inline EncoderRegistry ScriptedRegistry(const std::shared_ptr<Script>& script) {
  const auto open = [script](const EncoderSettings& settings, const StreamFormat& format,
                             EncoderFailure& failure) -> std::unique_ptr<IFrameEncoder> {
    const std::lock_guard lock(script->mutex);
    script->opened.push_back({settings, format});
    if (script->open_fails) {
      failure = {video::VideoEncoderError::kOpenFailed, "told not to open"};
      return nullptr;
    }
    return std::make_unique<ScriptedEncoder>(script);
  };
  const video::PixelFrameFormat i420{video::BufferType::kMemory, video::PixelFormat::kI420};
  const video::PixelFrameFormat nv12{video::BufferType::kMemory, video::PixelFormat::kNV12};
  EncoderTable table;
  const auto refuses = [script](const EncoderSettings& settings, const video::Size& size) {
    const std::lock_guard lock(script->mutex);
    if (size.width % 2 != 0 || size.height % 2 != 0) return "odd: " + size.ToString();
    return settings.preset == script->refused_preset ? "no such preset" : std::string();
  };
  table.encoders.push_back(
      {video::VideoCodec::kH264, "scripted", {}, open, {i420, nv12}, {}, refuses});
  table.encoders.push_back({kOtherCodec, "scripted", {}, open, {nv12}, {}, refuses});
  return EncoderRegistry(std::move(table));
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_SCRIPTED_ENCODER_FOR_TEST_H_

#ifndef MOVRA_MEDIA_ENCODE_ENCODE_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_ENCODE_FOR_TEST_H_

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/value.h"
#include "core/run_loop.h"
#include "video/pixel_frame.h"
#include "video/video_encoder_controller.h"
#include "video/video_frame_track.h"

namespace movra::media {

// Paints picture `index` of a moving scene: a gradient that drifts, a bright square that walks, and
// noise of the given strength, new in each picture. The same arguments give the same samples. The
// frame is lossless and stands at index / rate seconds.
[[nodiscard]] video::PixelFrame PaintFrame(const video::Size& size, int index, int rate = 30,
                                           int noise = 0,
                                           video::PixelFormat format = video::PixelFormat::kI420);

// The frame with its description changed.
[[nodiscard]] video::PixelFrame Redescribed(
    const video::PixelFrame& frame, const std::function<void(video::PixelFrameInfo&)>& change);

// Keeps what an encoder writes. A thread can be held inside Write.
class PacketRecorder : public video::IVideoFrameTrackWriter {
 public:
  struct Packet {
    video::EncodedFrame frame;  // Its data pointer is void after Write.
    std::vector<std::uint8_t> bytes;
  };

  // IVideoFrameTrackWriter
  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

  // Holds the writing thread in its next Write until Release.
  void HoldNextWrite();
  void WaitUntilHeld();
  void Release();

  // Fail the test when it does not happen within a minute.
  void WaitForPackets(std::size_t count);
  void WaitForEnd();

  [[nodiscard]] std::vector<Packet> packets() const;
  [[nodiscard]] std::vector<video::StreamEnd> ends() const;
  // The most threads that were ever inside Write at once.
  [[nodiscard]] int most_inside() const;

 private:
  void WaitFor(const char* what, const std::function<bool()>& happened);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Packet> packets_;
  std::vector<video::StreamEnd> ends_;
  bool hold_ = false;
  bool held_ = false;
  int inside_ = 0;
  int most_inside_ = 0;
};

// Keeps the events that reach it on the main queue.
class RecordingClient : public video::IVideoEncoderController::Client {
 public:
  struct Error {
    video::VideoEncoderError error;
    std::string text;
  };
  struct Change {
    video::EncoderProperty from;
    video::EncoderProperty to;
  };

  // IVideoEncoderController::Client
  void OnEncoderNeededFormatChanged(video::VideoStreamType /*type*/, video::PixelFormat /*format*/,
                                    video::BufferType /*buffer_type*/) override {}
  void OnEncoderPropertyChanged(video::VideoStreamType type, const video::EncoderProperty& from,
                                const video::EncoderProperty& to) override;
  void OnEncodeAbilityChanged(video::VideoStreamType /*type*/,
                              const video::EncodeAbility& /*ability*/) override {}
  void OnEncoderError(video::VideoStreamType type, video::VideoEncoderError error,
                      const movra_base::Value& detail) override;

  std::vector<Error> errors;
  std::vector<Change> changes;
  std::vector<video::VideoStreamType> types;  // Of all events, in order.
};

// A main queue for the test's own thread, installed for as long as it lives.
class ScopedMainLoop {
 public:
  ScopedMainLoop();
  ~ScopedMainLoop();
  ScopedMainLoop(const ScopedMainLoop&) = delete;
  ScopedMainLoop& operator=(const ScopedMainLoop&) = delete;

  void RunPosted() { loop_->RunUntilIdle(); }

 private:
  const std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODE_FOR_TEST_H_

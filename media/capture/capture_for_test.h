#ifndef MOVRA_MEDIA_CAPTURE_CAPTURE_FOR_TEST_H_
#define MOVRA_MEDIA_CAPTURE_CAPTURE_FOR_TEST_H_

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "media/capture/frame_source.h"
#include "media/capture/release.h"
#include "media/frame/frame_pool.h"
#include "video/pixel_frame_track.h"

namespace movra::media {

// A writer that keeps what it gets, and takes lossless frames only as far as the test allows.
class CollectingWriter final : public video::IPixelFrameTrackWriter {
 public:
  static constexpr std::size_t kUnlimited = 1'000'000;

  explicit CollectingWriter(std::size_t room = kUnlimited) : room_(room) {}

  void MakeRoom(std::size_t frames);
  void Close();

  // These wait for the writing thread.
  std::vector<video::PixelFrame> WaitForFrames(std::size_t count);
  video::StreamEnd WaitForEnd();
  // Until the source has been told that there is no room.
  void WaitUntilRefused();

  [[nodiscard]] std::vector<video::PixelFrame> frames() const;
  [[nodiscard]] std::optional<video::StreamEnd> end() const;
  [[nodiscard]] bool has_room_callback() const;
  // The most handles that there were of a frame's samples when it was written.
  [[nodiscard]] long most_owners() const;

  // IPixelFrameTrackWriter
  video::TrackWriteResult Write(video::PixelFrame frame) override;
  void WriteEnd(const video::StreamEnd& end) override;
  [[nodiscard]] bool HasRoom() const override;
  void SetRoomCallback(std::function<void()> callback) override;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  // All guarded by mutex_.
  std::size_t room_;
  bool closed_ = false;
  mutable bool refused_ = false;
  long most_owners_ = 0;
  std::vector<video::PixelFrame> frames_;
  std::optional<video::StreamEnd> end_;
  std::function<void()> room_callback_;
};

// A writer whose calls take as long as the test likes, and which tells when two threads are inside.
class HeldWriter final : public video::IPixelFrameTrackWriter {
 public:
  // Until a write waits inside, and until it is let on; the next one waits again.
  void WaitUntilWriting();
  void LetOn();

  [[nodiscard]] int writes() const;
  [[nodiscard]] int ends() const;
  [[nodiscard]] int most_inside() const;

  // IPixelFrameTrackWriter
  video::TrackWriteResult Write(video::PixelFrame frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  int writes_ = 0;  // That were begun.
  int let_on_ = 0;
  int ends_ = 0;
  int inside_ = 0;
  int most_inside_ = 0;
};

// What a scripted source does, shared with the test because the capture owns the source.
struct SourceScript {
  video::CameraInfo info;
  SourcePolicy policy{.delivery = video::FrameDelivery::kLossless, .paced = false};
  std::deque<SourceItem> items;  // Behind the last one Read waits to be interrupted.
  SourceItem last_item = video::StreamEnd{.error_code = -1, .reason = "interrupted"};
  bool open_waits = false;  // For an interruption.
  bool is_deaf = false;     // Interruptions change nothing; LetOn ends what waits.

  std::mutex mutex;
  std::condition_variable changed;
  // Guarded by mutex.
  bool interrupted = false;
  bool let_on = false;
  int waiting = 0;
  int alive = 0;                         // Sources of this script.
  std::vector<CaptureRequest> requests;  // What each Open and Read was asked for.

  // Until the source waits in Open or behind its last item.
  void WaitUntilWaiting();
  void WaitUntilInterrupted();
  void WaitUntilGone();
  [[nodiscard]] bool IsGone();
  void LetOn();
};

class ScriptedSource final : public FrameSource {
 public:
  explicit ScriptedSource(std::shared_ptr<SourceScript> script);
  ~ScriptedSource() override;

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override;
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& request) override;
  [[nodiscard]] SourcePolicy Policy() const override { return script_->policy; }
  [[nodiscard]] SourceItem Read(const CaptureRequest& request) override;
  void Interrupt() override;

 private:
  void WaitForInterruption(std::unique_lock<std::mutex>& lock);

  const std::shared_ptr<SourceScript> script_;
};

// Until it is done.
void WaitFor(Release& release);

// A small picture, number `sequence` of a stream of `rate` frames per second.
[[nodiscard]] SourceFrame MakeSourceFrame(std::uint64_t sequence, int rate = 30,
                                          video::Size size = {64, 36});

// A script of `count` such pictures and the end.
[[nodiscard]] std::shared_ptr<SourceScript> MakeScript(std::uint64_t count, int rate = 30);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CAPTURE_FOR_TEST_H_

#ifndef MOVRA_MEDIA_OUTPUT_SINK_BRANCH_H_
#define MOVRA_MEDIA_OUTPUT_SINK_BRANCH_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "media/output/encoded_frame_pool.h"
#include "media/output/encoded_sink.h"
#include "media/output/sink_figures.h"
#include "media/output/sink_kinds.h"

namespace movra::media {

// What may wait for one sink. A frame that is larger than all of it has room in an empty queue.
struct SinkQueue {
  SinkPolicy policy = SinkPolicy::kLossless;
  std::size_t max_bytes = 0;
  std::size_t max_frames = std::numeric_limits<std::size_t>::max();
  // kLossless: a full queue holds up whoever puts frames into it; false: the sink breaks off.
  bool waits_when_full = false;
};

// One sink among several: its queue, and its thread, on which alone the sink is written. What the
// sink throws is told once and ends it, and so does what it cannot keep up with; the file of one
// that was too slow ends whole behind what waited for it.
//
// Put and PutEnd come from one thread at a time, the rest from any. The thread holds a share of the
// branch.
class SinkBranch : public std::enable_shared_from_this<SinkBranch> {
 public:
  // `on_error` tells what the sink cannot tell itself, at most once, on the thread that puts or on
  // the sink's own.
  SinkBranch(std::shared_ptr<IEncodedSink> sink, const SinkQueue& queue,
             std::function<void(const WriteError&)> on_error);

  // Before anything else. Throws std::system_error if the system has no thread left.
  void Start();

  void Put(std::shared_ptr<const StoredFrame> frame);
  // Behind the last frame.
  void PutEnd(const video::StreamEnd& end);

  // As IEncodedSink; the limit holds for what Close waits for too.
  void LimitWaits(std::chrono::milliseconds patience);
  // Takes no more, waits for what is queued as long as LimitWaits left, or an instant if nobody
  // did, and closes the sink.
  void Close(std::optional<std::chrono::nanoseconds> end);

  [[nodiscard]] SinkFigures figures() const;
  [[nodiscard]] bool broken_off() const;
  [[nodiscard]] const IEncodedSink& sink() const { return *sink_; }

 private:
  using Lock = std::unique_lock<std::mutex>;

  // A frame, the end of the stream, or with neither the end of a sink that was too slow.
  struct Item {
    std::shared_ptr<const StoredFrame> frame;
    std::optional<video::StreamEnd> end;
  };

  // All with mutex_ held.
  [[nodiscard]] bool HasRoomFor(const StoredFrame& frame) const;
  [[nodiscard]] std::optional<SinkDrop> WhyDropped(const StoredFrame& frame);
  void Push(Item item);
  void DropWaiting(SinkDrop reason);
  void CountDrop(SinkDrop reason);

  void BreakOff(Lock lock);
  void Run();
  // Whether the sink can go on.
  [[nodiscard]] bool Deliver(const Item& item);
  void Tell(WriteErrorKind kind, const std::string& what) const;

  const std::shared_ptr<IEncodedSink> sink_;
  const SinkQueue limits_;
  const std::function<void(const WriteError&)> on_error_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  std::deque<Item> queue_;
  std::size_t queued_frames_ = 0;
  std::size_t queued_bytes_ = 0;
  SinkFigures figures_;
  bool needs_key_frame_ = false;
  bool broken_off_ = false;
  bool closing_ = false;
  bool over_ = true;  // There is no thread, or it touches nothing any more.
  std::optional<std::chrono::steady_clock::time_point> wait_limit_;

  std::thread thread_;  // Of Start and the first Close.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_SINK_BRANCH_H_

// The encoded streams of a run: their encoders' parameters, their meters, where they go and their
// figures.

#ifndef MOVRA_APP_STREAM_SET_H_
#define MOVRA_APP_STREAM_SET_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/ending_judge.h"
#include "app/output_files.h"
#include "app/progress_line.h"
#include "app/run_options.h"
#include "app/run_report.h"
#include "app/stream_meter.h"
#include "app/stream_plan.h"
#include "media/figures/frame_account.h"
#include "media/output/encoded_fan_out.h"
#include "media/output/write_error.h"
#include "video/producer/video_producer2.h"
#include "video/video_frame_track.h"

namespace movra::app {

// Which of the streams, and which of its sinks.
struct SinkPlace {
  std::size_t stream = 0;
  std::size_t sink = 0;
};

// Open, Start, any number of events and looks, LimitWaits, Stop. On the main queue, all of it but
// the events.
class StreamSet {
 public:
  // On encoders' and sinks' threads, until Stop has returned.
  struct Events {
    std::function<void()> on_first_frame;  // Of a stream.
    std::function<void(std::size_t stream)> on_limit;
    std::function<void(const SinkPlace&, const video::StreamEnd&)> on_end;
    std::function<void(const SinkPlace&, const media::WriteError&)> on_error;
  };

  // The options outlive it.
  StreamSet(const RunOptions& options, const std::vector<StreamPlan>& plans,
            const OutputFiles& files);

  // Makes every sink. Where one cannot be made, those before it are closed with the set. Throws
  // std::system_error if the system has no thread left.
  [[nodiscard]] std::optional<Failure> Open(const Events& events, media::SourceClock clock);
  void Start(video::IVideoProducer2& producer) const;

  // What events say. Each answers whether every stream is over now.
  [[nodiscard]] bool NoteLimit(std::size_t stream);
  [[nodiscard]] bool NoteEnd(const SinkPlace& place);
  [[nodiscard]] bool NoteBreakOff(const SinkPlace& place);
  // Another source follows: streams that have come to the end of one go on.
  void GoOn();
  [[nodiscard]] bool is_over() const;
  [[nodiscard]] bool has(video::VideoStreamType type) const;
  // Whether the stream has a sink that did not break off.
  [[nodiscard]] bool goes_on(std::size_t stream) const;
  // "--big", "--also big"
  [[nodiscard]] std::string OptionOf(const SinkPlace& place) const;

  // Of what is under way, for whoever looks.
  void AddTo(ProgressSample& sample, const media::FrameAccount& account) const;
  [[nodiscard]] std::uint64_t packets() const;
  // The option of a sink whose reader takes nothing; empty if none is waited for.
  [[nodiscard]] std::string reader_waited_for() const;

  // Of all sinks, as IEncodedSink.
  void LimitWaits(std::chrono::milliseconds patience) const;
  // Ends the encoders one after the other, closes their sinks and notes the figures. `left` says
  // how long may still be waited. Null: the producer has ended them already.
  void Stop(video::IVideoProducer2* producer, std::optional<Ending> ending,
            const std::function<std::chrono::milliseconds()>& left);

  // Of streams that were stopped; before, the plans alone.
  [[nodiscard]] const std::vector<StreamReport>& reports() const { return reports_; }
  [[nodiscard]] std::vector<SinkEnding> sink_endings() const;

 private:
  enum class SinkState { kOpen, kEnded, kBrokenOff };
  struct Stream {
    std::shared_ptr<media::EncodedFanOut> sinks;
    std::shared_ptr<StreamMeter> meter;  // In front of the sinks; what the encoder writes into.
    std::vector<SinkState> states;       // Of the sinks.
    bool limit_reached = false;

    [[nodiscard]] bool is_over() const;
  };

  [[nodiscard]] std::optional<Failure> OpenStream(std::size_t index, const Events& events,
                                                  const std::shared_ptr<media::TimeOrigin>& origin,
                                                  media::SourceClock clock);
  void NoteFigures(std::size_t index);

  const RunOptions& options_;
  std::vector<StreamReport> reports_;
  std::vector<Stream> streams_;  // Of those that were opened.
};

}  // namespace movra::app

#endif  // MOVRA_APP_STREAM_SET_H_

#ifndef MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "media/encode/encoder_counters.h"
#include "media/encode/encoder_events.h"
#include "media/encode/encoder_registry.h"
#include "media/encode/encoder_run.h"
#include "media/main_queue/main_queue_checker.h"
#include "video/size.h"
#include "video/video_encoder_controller.h"
#include "video/video_loggable.h"

namespace movra::media {

// Encodes one stream on a thread of its own, which each start makes anew. Main queue. Whatever the
// thread needs belongs to the run of that start, so neither Stop nor the destructor waits longer
// than it was told to for somebody's blocked writer.
class EncoderController final : public video::IVideoEncoderController,
                                private video::VideoLoggable {
 public:
  EncoderController(const video::VideoContext& context, video::VideoStreamType type,
                    std::weak_ptr<Client> client, EncoderRegistry registry);
  ~EncoderController() override;

  // IVideoEncoderController
  void Start() override;
  void Stop(std::uint64_t max_wait_ms) override;
  void RequestKeyFrame() override;
  [[nodiscard]] bool IsStarted() override;
  [[nodiscard]] video::EncoderStats GetStats() override;
  [[nodiscard]] video::EncoderProperty GetProperty() override;
  void SetEncodeParams(const video::EncodeParams& params) override;
  void SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) override;
  void SetOutputTrackWriter(std::weak_ptr<video::IVideoFrameTrackWriter> writer) override;
  void SetRpsNearestRefSize(int size) override;
  void DeliverRpsAck(std::int32_t ack_value, std::uint16_t ack_flag) override;
  void SetRoiConfig(std::vector<video::RoiConfigInfo> configs) override;

 private:
  // Starts the run's thread; false, logged and told to the client, if the system has none left.
  [[nodiscard]] bool StartThread(const std::shared_ptr<EncoderRun>& run,
                                 const EncoderEvents& events);
  // What Stop does, on whatever thread the controller is released.
  void End(std::uint64_t max_wait_ms);
  void ApplyControls();
  // Why the running stream cannot take the change, which would make `merged` of its parameters;
  // empty if it can.
  [[nodiscard]] std::string WhyRefused(const video::EncodeParams& change,
                                       const video::EncodeParams& merged) const;
  // Has the input track deliver the size that was taken last, whatever its writer is told.
  void KeepInputSize();
  // Makes the input track wake the run, or nobody.
  void ListenToInput();
  void UnlistenToInput();
  // Late frames are counted by the track, since it was made; ours are those of all tracks so far.
  void UpdateLateFrames();
  void LogReferenceSelectionOnce();
  // The producer connects an encoder that is started without a size to nothing.
  void TellIfWithoutSize() const;

  const video::VideoStreamType type_;
  const EncoderRegistry registry_;
  const std::shared_ptr<EncoderCounters> counters_;
  MainQueueChecker checker_;
  EncoderRelay relay_;

  EncoderControls controls_;
  bool has_size_ = true;  // The parameters given last had both sides; before any, nobody asked.
  std::optional<video::Size> input_size_;  // Of the parameters that were taken last.
  bool refused_size_ = false;              // The input track's writer is told what was refused.
  std::uint32_t late_in_former_tracks_ = 0;
  std::uint32_t late_in_track_ = 0;
  bool reference_selection_logged_ = false;

  // Of the current start.
  std::shared_ptr<EncoderRun> run_;
  std::optional<EncoderEvents> events_;
  std::thread thread_;
  // A stopped run whose thread was still busy when the wait was over.
  std::shared_ptr<EncoderRun> unfinished_run_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_H_

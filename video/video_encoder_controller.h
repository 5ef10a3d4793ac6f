#ifndef MOVRA_VIDEO_VIDEO_ENCODER_CONTROLLER_H_
#define MOVRA_VIDEO_VIDEO_ENCODER_CONTROLLER_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "base/value.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/pixel_frame_track.h"
#include "video/stats.h"
#include "video/video_context.h"
#include "video/video_frame_track.h"
#include "video/video_types.h"

namespace movra::video {

// Encodes one stream: reads frames from its input track on a thread of its own and writes encoded
// frames into its output writer there. Called on the main queue; reports to its client on the main
// queue. Both tracks are held weakly.
class IVideoEncoderController {
 public:
  class Client {
   public:
    // The encoder wants its input in another format from now on.
    virtual void OnEncoderNeededFormatChanged(VideoStreamType type, PixelFormat format,
                                              BufferType buffer_type) = 0;
    virtual void OnEncoderPropertyChanged(VideoStreamType type, const EncoderProperty& from,
                                          const EncoderProperty& to) = 0;
    virtual void OnEncodeAbilityChanged(VideoStreamType type, const EncodeAbility& ability) = 0;
    // `detail` is a text for people, or null.
    virtual void OnEncoderError(VideoStreamType type, VideoEncoderError error,
                                const movra_base::Value& detail) = 0;
    virtual ~Client() = default;
  };

  [[nodiscard]] static std::shared_ptr<IVideoEncoderController> CreateVideoEncoderController(
      const VideoContext& context, VideoStreamType type, std::weak_ptr<Client> client);

  // The input format that an encoder for these parameters wants.
  [[nodiscard]] static PixelFrameFormat QueryInputPixelFormat(VideoStreamType type,
                                                              const EncodeParams& params);

  // A controller that is released while it runs stops by itself, without waiting.
  virtual ~IVideoEncoderController() = default;

  // Called after reader, writer and parameters are set.
  virtual void Start() = 0;
  // Drains the input track, the encoder and the writer within `max_wait_ms`; after it returns no
  // new write begins, and one in progress may end. 0 does not wait.
  virtual void Stop(std::uint64_t max_wait_ms) = 0;
  virtual void RequestKeyFrame() = 0;
  [[nodiscard]] virtual bool IsStarted() = 0;
  [[nodiscard]] virtual EncoderStats GetStats() = 0;
  // What the open encoder is; empty before the first frame. Not used by the producer.
  [[nodiscard]] virtual EncoderProperty GetProperty() = 0;
  // Before the start or while running; absent fields stay as they are. A change that cannot be
  // taken while running is refused as a whole, with kReconfigureFailed, and the stream goes on as
  // it was, in size too, whatever the input track is asked to deliver. The size that is encoded is
  // that of the frames: the size here is what the input track will deliver.
  virtual void SetEncodeParams(const EncodeParams& params) = 0;
  virtual void SetInputTrackReader(std::weak_ptr<IPixelFrameTrackReader> reader) = 0;
  virtual void SetOutputTrackWriter(std::weak_ptr<IVideoFrameTrackWriter> writer) = 0;
  virtual void SetRpsNearestRefSize(int size) = 0;
  virtual void DeliverRpsAck(std::int32_t ack_value, std::uint16_t ack_flag) = 0;
  virtual void SetRoiConfig(std::vector<RoiConfigInfo> configs) = 0;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_ENCODER_CONTROLLER_H_

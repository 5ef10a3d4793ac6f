#ifndef MOVRA_VIDEO_VIDEO_CODEC_MANAGER_H_
#define MOVRA_VIDEO_VIDEO_CODEC_MANAGER_H_

namespace movra::video {

// What this process can encode. A process-wide singleton, asked on any thread. Of each answer only
// the low byte counts: 0 for no.
class IVideoCodecManager {
 public:
  [[nodiscard]] static IVideoCodecManager& GetInstance();

  // Whether graphics hardware, or the processor, encodes the codec (a VideoCodec's number).
  [[nodiscard]] virtual int IsHardwareEncoderSupported(int codec) = 0;
  [[nodiscard]] virtual int IsSoftwareEncoderSupported(int codec) = 0;

  // Whether encoders take regions of interest, and reference picture selection.
  [[nodiscard]] virtual int IsRoiSupported() = 0;
  [[nodiscard]] virtual int IsReferenceSelectionSupported() = 0;

  virtual ~IVideoCodecManager() = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_CODEC_MANAGER_H_

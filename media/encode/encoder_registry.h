#ifndef MOVRA_MEDIA_ENCODE_ENCODER_REGISTRY_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_REGISTRY_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "media/encode/encoder_settings.h"
#include "media/encode/frame_encoder.h"
#include "video/custom_process_params.h"
#include "video/pixel_frame.h"
#include "video/video_types.h"

// Which encoders there are. Whoever wants to know what can be encoded, by what and of which frames
// asks here; nothing else in this folder names a codec or a library.

namespace movra::media {

struct EncoderAbilities {
  bool hardware = false;             // Encodes on graphics hardware, not on the processor.
  bool regions = false;              // Regions of interest.
  bool reference_selection = false;  // Reference picture selection.
};

// One library that encodes one codec.
struct EncoderEntry {
  video::VideoCodec codec = kDefaultCodec;
  std::string library{};  // "libx264"
  // Why it cannot be used on this machine now; an empty text if it can. Asked on any thread, often:
  // what takes long to find out is kept. None: it always can.
  std::function<std::string()> probe{};
  FrameEncoderFactory open{};
  // That it reads, the one it likes best first.
  std::vector<video::PixelFrameFormat> input_formats{};
  EncoderAbilities abilities{};
  // Why no encoder would be opened with these, for people, as far as can be told without opening
  // one; an empty text if nothing speaks against it. Quick; any thread. None: nothing ever does.
  std::function<std::string(const EncoderSettings&, const video::Size&)> refuses{};

  // Whether the encoder can be given the frame, and why not, for people.
  [[nodiscard]] bool Reads(const video::PixelFrameInfo& info) const;
  [[nodiscard]] std::string WhyNotRead(const video::PixelFrameInfo& info) const;

  [[nodiscard]] std::string WhyUnusable() const { return probe ? probe() : std::string(); }
  [[nodiscard]] bool IsUsable() const { return WhyUnusable().empty(); }
};

// A codec that other builds encode, and why this one does not, for people.
struct MissingEncoder {
  video::VideoCodec codec = kDefaultCodec;
  std::string reason{};
};

struct EncoderTable {
  std::vector<EncoderEntry> encoders;  // Of those of one codec the preferred one first.
  std::vector<MissingEncoder> missing;
};

// A fixed table of encoders. Any thread.
class EncoderRegistry {
 public:
  explicit EncoderRegistry(EncoderTable table);

  // The encoders of this build.
  [[nodiscard]] static const EncoderRegistry& OfThisBuild();

  [[nodiscard]] const std::vector<EncoderEntry>& encoders() const { return table_.encoders; }

  // The encoder of the codec that is to be used: the first one that can be. Null if there is none;
  // otherwise it lives as long as the registry.
  [[nodiscard]] const EncoderEntry* Find(video::VideoCodec codec) const;

  // Why none is found, for people: "this build has no H.264 encoder: ...".
  [[nodiscard]] std::string WhyNone(video::VideoCodec codec) const;

  // What frames for an encoder of the codec should be: I420 in memory if there is none.
  [[nodiscard]] video::PixelFrameFormat InputFormat(video::VideoCodec codec) const;

  // Why an encoder of the settings' codec would not be opened for pictures of this size, for
  // people, as far as can be told without opening it; an empty text if nothing speaks against it.
  [[nodiscard]] std::string WhyRefused(const EncoderSettings& settings,
                                       const video::Size& size) const;

  // Opens the encoder of the settings' codec. Null, and `failure`, if there is none or it cannot be
  // opened.
  [[nodiscard]] std::unique_ptr<IFrameEncoder> Open(const EncoderSettings& settings,
                                                    const StreamFormat& format,
                                                    EncoderFailure& failure) const;

 private:
  EncoderTable table_;
};

// The libraries. Each adds its row, or in a build without it why it is missing.
void AddX264Encoder(EncoderTable& table);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_REGISTRY_H_

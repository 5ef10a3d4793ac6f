// The rows about the two encoded streams.

#include <cstdint>
#include <memory>
#include <utility>

#include "app/frame_rate.h"
#include "app/operation_groups.h"
#include "app/operation_row.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

using I = video::IVideoProducer2;
using video::EncodeParams;
using video::RoiConfigInfo;
using video::RpsAck;
using video::VideoStreamType;

constexpr std::int32_t kGreatestThreads = 128;
constexpr std::int32_t kGreatestQpDelta = 51;  // ITU-T H.264 counts from 0 to 51.

TypedArgument<VideoStreamType> Stream() { return NameOf<VideoStreamType>("type", "Which stream."); }

TypedArgument<std::int32_t> Positive(std::string name, std::string help) {
  return Integer<std::int32_t>(std::move(name), std::move(help), 1);
}

TypedArgument<std::int32_t> Bitrate(std::string name, std::string help) {
  return Integer<std::int32_t>(std::move(name), std::move(help), kLeastBitrateBps,
                               kGreatestBitrateBps);
}

TypedArgument<EncodeParams> EncodeRecord(std::string help) {
  using P = EncodeParams;
  const auto side = [](std::string name) {
    return Integer<std::int32_t>(std::move(name), "Pixels, even.", kLeastSide, kGreatestSide);
  };
  return RecordOf<P>(
      "params", std::move(help),
      {FieldOf(&P::width, side("width")), FieldOf(&P::height, side("height")),
       FieldOf(&P::frame_rate,
               Integer<std::int32_t>("frame_rate",
                                     "Frames per second at most, rounded up to a whole number.", 1,
                                     kGreatestFrameRate)),
       FieldOf(&P::codec, NameOf<video::VideoCodec>("codec", "What the stream is encoded as.")),
       FieldOf(&P::bitrate_bps, Bitrate("bitrate_bps", "Bits per second.")),
       FieldOf(&P::max_bitrate_bps,
               Bitrate("max_bitrate_bps", "Bits per second at most; as bitrate_bps if left out.")),
       FieldOf(&P::key_frame_interval_ms,
               Positive("key_frame_interval_ms", "Milliseconds from key frame to key frame.")),
       FieldOf(&P::threads, Integer<std::int32_t>("threads", "0: the encoder's own choice.", 0,
                                                  kGreatestThreads)),
       FieldOf(&P::preset, Text("preset", "The encoder's name for speed against quality.")),
       FieldOf(&P::frame_rate_numerator,
               Positive("frame_rate_numerator", "The highest rate exactly, with the next field.")),
       FieldOf(&P::frame_rate_denominator,
               Positive("frame_rate_denominator", "As in 30000/1001."))});
}

TypedArgument<RpsAck> AckRecord() {
  using P = RpsAck;
  return RecordOf<P>(
      "ack", "What the far end has received.",
      {FieldOf(&P::receive_time_ms,
               Integer<std::uint64_t>("receive_time_ms", "When; not for the encoder.").OrElse(0)),
       FieldOf(&P::ack_value, Integer<std::int32_t>("ack_value", "As the far end sent it.")),
       FieldOf(&P::ack_flag, Integer<std::uint16_t>("ack_flag", "As the far end sent it."))});
}

TypedArgument<RoiConfigInfo> RegionOfInterest() {
  using P = RoiConfigInfo;
  return RecordOf<P>(
      "configs", "The regions, in pixels of the encoded picture; none: no region.",
      {FieldOf(&P::x, Integer<std::int32_t>("x", "Of the left edge.")),
       FieldOf(&P::y, Integer<std::int32_t>("y", "Of the upper edge.")),
       FieldOf(&P::width, Positive("width", "Pixels.")),
       FieldOf(&P::height, Positive("height", "Pixels.")),
       FieldOf(&P::qp_delta,
               Integer<std::int32_t>("qp_delta", "Below 0: better than the rest of the picture.",
                                     -kGreatestQpDelta, kGreatestQpDelta))});
}

std::string UseOf(VideoStreamType type) {
  return "encoder " + std::to_string(static_cast<std::int32_t>(type));
}

void StartEncoder(OperationCall& call, VideoStreamType type, const EncodeParams& params,
                  const std::shared_ptr<OperationObjects::Writer>& writer) {
  call.uses.Keep(UseOf(type), writer);
  call.producer.StartEncoder(type, params, writer);
}

// A writer that nothing uses any more finishes what it has written.
void StopEncoder(OperationCall& call, VideoStreamType type, unsigned long long max_wait_ms) {
  call.producer.StopEncoder(type, max_wait_ms);
  call.uses.Release(UseOf(type));
}

}  // namespace

std::vector<Operation> EncodingOperations() {
  return {
      Row("start_encoder", "Starts a stream's encoder into a writer.", &StartEncoder, Stream(),
          EncodeRecord("What is encoded; what is left out is the encoder's own choice."),
          Writer("writer", "Where the stream goes; it is finished when the encoder is stopped.")),
      Row("stop_encoder", "Stops a stream's encoder.", &StopEncoder, Stream(),
          Integer<unsigned long long>("max_wait_ms",
                                      "How long to wait for what is under way to be written.")
              .OrElse(1000)),
      Row("set_encoder_params", "Changes what is encoded.", &I::SetEncoderParams, Stream(),
          EncodeRecord("What changes; what is left out stays.")),
      Row("set_encoder_mirror", "Mirrors what is encoded, in both streams.", &I::SetEncoderMirror,
          Bool("mirror", "Whether left and right are swapped.")),
      Row("set_encoder_rotation", "Turns what is encoded, in both streams.", &I::SetEncoderRotation,
          NameOf<video::VideoRotation>("rotation", "Clockwise, in degrees.")),
      Row("set_rps_nearest_ref_size", "How many near pictures may be referred to.",
          &I::SetRpsNearestRefSize, Stream(),
          Integer<int>("size", "Pictures; reference picture selection.", 0)),
      Row("deliver_rps_ack", "Tells an encoder what the far end has received.", &I::DeliverRpsAck,
          Stream(), AckRecord()),
      Row("request_key_frame", "Asks for a key frame.", &I::RequestKeyFrame, Stream()),
      Row("set_roi_config", "Which parts of the picture matter more or less.", &I::SetRoiConfig,
          Stream(), ListOf(RegionOfInterest()))};
}

}  // namespace movra::app

#include "media/output/container_muxer.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "media/bitstream/annex_b.h"
#include "media/bitstream/codec_bitstream.h"
#include "media/bitstream/h264.h"
#include "media/encode/frame_rate.h"
#include "media/encode/sequence_timing.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

// What players take where nothing is said.
constexpr FrameRate kUsualRate{25, 1};

// The sink's own words stand beside it.
constexpr char kRefused[] = "the output refused it";

// The byte stream is what encoders give, but for the rate that it is played at, which nothing but
// its sequence parameter sets can tell. In a file they are changed at the end, to the mean of all
// pictures; a pipe gets the rate of the first two, and so the first one with the second.
class AnnexBMuxer final : public IContainerMuxer {
 public:
  explicit AnnexBMuxer(IByteSink& sink) : sink_(sink) {}

  std::string Start(std::span<const MuxTrack> tracks) override;
  std::string Write(const MuxPacket& packet) override;
  std::string Finish(std::span<const nanoseconds> last_durations) override;
  [[nodiscard]] std::uint64_t packets_in_sink() const override { return pictures_; }

 private:
  // One that was written, mostly the same again and again.
  struct ParameterSet {
    std::vector<std::uint8_t> unit;
    std::vector<std::uint64_t> positions;
  };

  // The first picture, once the rate is known.
  std::string WriteHeld(nanoseconds interval);
  void SetRate(nanoseconds interval);
  std::string WritePicture(std::span<const std::uint8_t> data, bool key_frame);
  // A copy of the key frame that says the rate.
  std::span<const std::uint8_t> WithRate(std::span<const std::uint8_t> key_frame);
  void Note(std::vector<std::uint8_t> parameter_set, std::uint64_t position);
  // Changes the rate in what was written.
  std::string CorrectRate(const FrameRate& rate);

  IByteSink& sink_;
  FrameRate rate_;
  nanoseconds first_time_{0};
  nanoseconds last_time_{0};
  std::uint64_t seen_ = 0;
  std::uint64_t pictures_ = 0;
  std::vector<std::uint8_t> held_;
  std::vector<std::uint8_t> key_frame_;
  std::vector<ParameterSet> parameter_sets_;  // All that the file has; for files alone.
};

std::string AnnexBMuxer::Start(std::span<const MuxTrack> tracks) {
  if (tracks.size() != 1) return "a byte stream has room for one track of pictures alone";
  const CodecBitstream* const bitstream = FindCodecBitstream(tracks.front().codec);
  if (bitstream != nullptr && bitstream->has_annex_b) return {};
  return "pictures of " + video::VideoCodecToString(tracks.front().codec) +
         " have no byte stream of their own and need a container";
}

std::string AnnexBMuxer::Write(const MuxPacket& packet) {
  last_time_ = packet.time;
  if (seen_++ == 0) {
    first_time_ = packet.time;
    if (!sink_.IsSeekable()) {
      held_.assign(packet.data.begin(), packet.data.end());
      return {};
    }
    SetRate(packet.duration);
  }
  if (!held_.empty()) {
    if (std::string error = WriteHeld(packet.time - first_time_); !error.empty()) return error;
  }
  return WritePicture(packet.data, packet.key_frame);
}

std::string AnnexBMuxer::Finish(std::span<const nanoseconds> last_durations) {
  const nanoseconds last_duration = last_durations.front();
  if (!held_.empty()) return WriteHeld(last_duration);
  const FrameRate mean = seen_ == 1 ? MeasuredFrameRate(last_duration, 1)
                                    : MeasuredFrameRate(last_time_ - first_time_,
                                                        static_cast<std::int64_t>(seen_) - 1);
  return mean.IsNone() || mean == rate_ ? std::string() : CorrectRate(mean);
}

std::string AnnexBMuxer::WriteHeld(nanoseconds interval) {
  SetRate(interval);
  const std::vector<std::uint8_t> held = std::exchange(held_, {});
  return WritePicture(held, true);
}

void AnnexBMuxer::SetRate(nanoseconds interval) {
  rate_ = MeasuredFrameRate(interval, 1);
  if (rate_.IsNone()) rate_ = kUsualRate;
}

std::string AnnexBMuxer::WritePicture(std::span<const std::uint8_t> data, bool key_frame) {
  const std::span<const std::uint8_t> bytes = key_frame ? WithRate(data) : data;
  if (!sink_.Write(bytes.data(), bytes.size())) return kRefused;
  sink_.MarkWhole();
  ++pictures_;
  return {};
}

std::span<const std::uint8_t> AnnexBMuxer::WithRate(std::span<const std::uint8_t> key_frame) {
  // Parameter sets stand in front.
  constexpr std::size_t kMostOfSets = 1024;
  for (const auto unit : NalUnits(key_frame.first(std::min(key_frame.size(), kMostOfSets)))) {
    if (h264::NalUnitType(unit) != h264::kNalSequenceParameterSet) continue;
    const auto begin = static_cast<std::size_t>(unit.data() - key_frame.data());
    std::vector<std::uint8_t> changed = WithFrameRate(unit, rate_);
    const auto rest = key_frame.subspan(begin + unit.size());
    key_frame_.assign(key_frame.data(), unit.data());
    key_frame_.insert(key_frame_.end(), changed.begin(), changed.end());
    key_frame_.insert(key_frame_.end(), rest.begin(), rest.end());
    if (sink_.IsSeekable()) Note(std::move(changed), sink_.bytes_written() + begin);
    return key_frame_;
  }
  return key_frame;
}

void AnnexBMuxer::Note(std::vector<std::uint8_t> parameter_set, std::uint64_t position) {
  if (parameter_sets_.empty() || parameter_sets_.back().unit != parameter_set) {
    parameter_sets_.push_back({std::move(parameter_set), {}});
  }
  parameter_sets_.back().positions.push_back(position);
}

std::string AnnexBMuxer::CorrectRate(const FrameRate& rate) {
  for (const ParameterSet& set : parameter_sets_) {
    const std::vector<std::uint8_t> changed = WithFrameRate(set.unit, rate);
    // A set that could not be read was left as it was.
    if (changed.size() != set.unit.size()) continue;
    for (const std::uint64_t position : set.positions) {
      if (!sink_.Seek(static_cast<std::int64_t>(position)) ||
          !sink_.Write(changed.data(), changed.size())) {
        return kRefused;
      }
    }
  }
  return {};
}

}  // namespace

std::unique_ptr<IContainerMuxer> MakeContainerMuxer(ContainerFormat format, IByteSink& sink,
                                                    std::string& error) {
  if (format == ContainerFormat::kAnnexB) return std::make_unique<AnnexBMuxer>(sink);
  return MakeLibavMuxer(format, sink, error);
}

}  // namespace movra::media

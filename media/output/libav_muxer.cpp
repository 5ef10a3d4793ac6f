#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "media/ffmpeg/av_options.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/output/container_muxer.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

constexpr int kIoBufferBytes = 1 << 16;
constexpr AVRational kNanosecondBase{1, 1'000'000'000};
constexpr AVRational kMpegBase{1, 90'000};

// What a reader may have to wait for, and what a process that is killed may lose.
constexpr nanoseconds kLongestFragment = std::chrono::milliseconds(250);

// 6.6 hours of 90 kHz, which is what an MP4 can say. libavformat bridges as much again; a picture
// that stands longer than both stands so long.
constexpr std::int64_t kLongestDuration = std::numeric_limits<std::int32_t>::max();

// libavformat writes Matroska in milliseconds and offers no other unit. It gets times in units of
// 10 microseconds instead, and the one number in the file that tells how long a unit is becomes
// 10000 instead of 1000000 nanoseconds.
constexpr AVRational kMatroskaBase{1, 100'000};
constexpr std::array<std::uint8_t, 7> kMatroskaMillisecondScale{0x2A, 0xD7, 0xB1, 0x83,
                                                                0x0F, 0x42, 0x40};
constexpr std::array<std::uint8_t, 3> kMatroskaOurScale{0x00, 0x27, 0x10};
// The element stands at the head of the file, before any picture.
constexpr std::int64_t kMatroskaHeadBytes = 4096;

const char* NameOf(ContainerFormat format) {
  switch (format) {
    case ContainerFormat::kMp4:
      return "mp4";
    case ContainerFormat::kMkv:
      return "matroska";
    case ContainerFormat::kMpegTs:
      return "mpegts";
    case ContainerFormat::kAnnexB:
      break;
  }
  return "h264";
}

AVCodecID CodecIdOf(video::VideoCodec codec) {
  return codec == video::VideoCodec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_NONE;
}

std::string Explain(const char* what, int error) {
  return std::string("cannot ") + what + ": " + ErrorText(error);
}

class LibavMuxer final : public IContainerMuxer {
 public:
  LibavMuxer(ContainerFormat format, IByteSink& sink) : format_(format), sink_(sink) {}

  // IContainerMuxer
  std::string Start(std::span<const MuxTrack> tracks) override;
  std::string Write(const MuxPacket& packet) override;
  std::string Finish(std::span<const nanoseconds> last_durations) override;
  [[nodiscard]] std::uint64_t packets_in_sink() const override { return packets_in_sink_; }

 private:
  struct Track {
    AVRational base{1, 1};  // What a unit of its packets' times is.
    // An MP4 tells how long each picture lasts, which is known when the next one comes, and
    // Matroska how long all of them do. Or the packet before, if none is held.
    std::vector<std::uint8_t> data;
    std::int64_t time = -1;  // In units.
    bool key_frame = false;
    bool is_holding = false;

    [[nodiscard]] std::int64_t ToUnits(nanoseconds duration) const {
      return av_rescale_q(duration.count(), kNanosecondBase, base);
    }
  };

  static int WriteBytes(void* self, std::uint8_t* data, int size);
  static std::int64_t SeekTo(void* self, std::int64_t offset, int whence);

  std::string AddStream(const MuxTrack& track);
  std::string WriteHeader();
  // Hands the track's held packet over, with the units that it lasts.
  int WriteHeld(std::size_t track, std::int64_t duration);
  // Begins a fragment or cluster if the packet would make the one before too long.
  int FlushIfFull(const MuxPacket& packet);
  // All packets so far go into the sink.
  int Flush();
  // What the library has written goes into the sink, in one write.
  bool WriteOut();
  bool WriteCollected();
  void PatchMatroskaScale(std::uint8_t* data, std::size_t size);
  [[nodiscard]] std::string Refusal() const;

  const ContainerFormat format_;
  IByteSink& sink_;
  AvIoPtr io_;  // Outlives the context, which does not own it.
  AvOutputPtr context_;
  const AvPacketPtr packet_{av_packet_alloc()};
  std::vector<Track> tracks_;
  // What the library wrote and the sink does not have yet. A killed process leaves a part of a
  // fragment only if it was within the one write that this becomes.
  std::vector<std::uint8_t> collected_;
  std::int64_t position_ = 0;  // Behind what was collected.
  bool matroska_scale_patched_ = false;
  std::uint64_t packets_ = 0;
  std::uint64_t packets_in_sink_ = 0;
  nanoseconds fragment_start_{0};
};

std::string LibavMuxer::Start(std::span<const MuxTrack> tracks) {
  AVFormatContext* context = nullptr;
  const int result = avformat_alloc_output_context2(&context, nullptr, NameOf(format_), nullptr);
  if (result < 0) return Explain("make the container", result);
  context_.reset(context);
  auto* const buffer = static_cast<std::uint8_t*>(av_malloc(kIoBufferBytes));
  io_.reset(avio_alloc_context(buffer, kIoBufferBytes, 1, this, nullptr, &WriteBytes,
                               sink_.IsSeekable() ? &SeekTo : nullptr));
  if (io_ == nullptr) return Explain("make the container", AVERROR(ENOMEM));
  context_->pb = io_.get();
  // Times are ours, also where a stream begins behind the common origin.
  context_->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
  context_->flags |= AVFMT_FLAG_FLUSH_PACKETS | AVFMT_FLAG_CUSTOM_IO;
  for (const MuxTrack& track : tracks) {
    if (std::string error = AddStream(track); !error.empty()) return error;
  }
  return WriteHeader();
}

std::string LibavMuxer::AddStream(const MuxTrack& track) {
  AVStream* const stream = avformat_new_stream(context_.get(), nullptr);
  if (stream == nullptr) return Explain("add the stream", AVERROR(ENOMEM));
  stream->time_base = kMpegBase;
  stream->sample_aspect_ratio = {1, 1};
  AVCodecParameters& parameters = *stream->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_VIDEO;
  parameters.codec_id = CodecIdOf(track.codec);
  parameters.width = track.size.width;
  parameters.height = track.size.height;
  parameters.format = AV_PIX_FMT_YUV420P;
  parameters.sample_aspect_ratio = {1, 1};
  parameters.color_primaries = static_cast<AVColorPrimaries>(track.color.primaries);
  parameters.color_trc = static_cast<AVColorTransferCharacteristic>(track.color.transfer);
  parameters.color_space = static_cast<AVColorSpace>(track.color.matrix);
  parameters.color_range = track.color.full_range ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  const std::size_t size = track.parameter_sets.size();
  parameters.extradata =
      static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  if (parameters.extradata == nullptr) return Explain("add the stream", AVERROR(ENOMEM));
  std::copy(track.parameter_sets.begin(), track.parameter_sets.end(), parameters.extradata);
  parameters.extradata_size = static_cast<int>(size);
  return {};
}

std::string LibavMuxer::WriteHeader() {
  AvOptions options;
  if (format_ == ContainerFormat::kMp4) {
    // The header first and complete; fragments end where Write says.
    options.Set("movflags", "empty_moov+default_base_moof+frag_custom");
    options.Set("use_editlist", "0");
    options.SetNumber("video_track_timescale", kMpegBase.den);
  } else if (format_ == ContainerFormat::kMkv) {
    options.SetNumber("cluster_time_limit",
                      av_rescale_q(kLongestFragment.count(), kNanosecondBase, kMatroskaBase));
    // A checksum would be that of the number before it was changed.
    options.Set("write_crc32", "0");
  }
  const int result = avformat_write_header(context_.get(), options.get());
  if (result < 0) return Explain("write the header", result);
  WriteOut();
  for (unsigned i = 0; i < context_->nb_streams; ++i) {
    tracks_.emplace_back().base =
        matroska_scale_patched_ ? kMatroskaBase : context_->streams[i]->time_base;
  }
  return Refusal();
}

std::string LibavMuxer::Refusal() const {
  return sink_.error().has_value() ? "the output refused it" : "";
}

std::string LibavMuxer::Write(const MuxPacket& packet) {
  Track& track = tracks_[packet.track];
  // Two pictures within one unit still need an order.
  const std::int64_t time = std::max(track.time + 1, track.ToUnits(packet.time));
  int result = track.is_holding ? WriteHeld(packet.track, time - track.time) : 0;
  if (result >= 0) result = FlushIfFull(packet);
  track.data.assign(packet.data.begin(), packet.data.end());
  track.time = time;
  track.key_frame = packet.key_frame;
  track.is_holding = true;
  if (format_ == ContainerFormat::kMpegTs) {
    // It neither tells how long a picture lasts nor has anything to collect pictures for.
    if (result >= 0) result = WriteHeld(packet.track, track.ToUnits(packet.duration));
    if (result >= 0) result = Flush();
  }
  return result < 0 ? Explain("write a picture", result) : Refusal();
}

int LibavMuxer::WriteHeld(std::size_t track, std::int64_t duration) {
  Track& held = tracks_[track];
  held.is_holding = false;
  // A packet without a buffer of its own is copied where it has to last.
  packet_->data = held.data.data();
  packet_->size = static_cast<int>(held.data.size());
  packet_->pts = held.time;
  packet_->dts = held.time;
  // The next picture's own time tells where a longer one ends.
  const bool is_mp4 = format_ == ContainerFormat::kMp4;
  packet_->duration = is_mp4 ? std::min(duration, kLongestDuration) : duration;
  packet_->flags = held.key_frame ? AV_PKT_FLAG_KEY : 0;
  packet_->stream_index = static_cast<int>(track);
  const int result = av_write_frame(context_.get(), packet_.get());
  av_packet_unref(packet_.get());
  ++packets_;
  return result;
}

int LibavMuxer::FlushIfFull(const MuxPacket& packet) {
  const bool full = packet.time + packet.duration - fragment_start_ > kLongestFragment;
  if (format_ == ContainerFormat::kMpegTs || (packets_ > 0 && !full)) return 0;
  fragment_start_ = packet.time;
  if (const int result = packets_ > 0 ? Flush() : 0; result < 0) return result;
  if (format_ != ContainerFormat::kMp4) return 0;
  // Asked for anew for each fragment: it begins at its first picture's own time rather than where
  // the durations of those before it add up to.
  return av_opt_set(context_->priv_data, "movflags", "+frag_discont", 0);
}

int LibavMuxer::Flush() {
  const int result = av_write_frame(context_.get(), nullptr);
  const bool written = WriteOut();
  if (result < 0) return result;
  if (!written) return AVERROR(EIO);
  sink_.MarkWhole();
  packets_in_sink_ = packets_;
  return 0;
}

bool LibavMuxer::WriteOut() {
  avio_flush(io_.get());
  return WriteCollected();
}

bool LibavMuxer::WriteCollected() {
  // A file that is replaced is left alone until there is something for it.
  if (!collected_.empty()) static_cast<void>(sink_.Write(collected_.data(), collected_.size()));
  collected_.clear();
  return !sink_.error().has_value();
}

std::string LibavMuxer::Finish(std::span<const nanoseconds> last_durations) {
  int result = 0;
  for (std::size_t i = 0; i < tracks_.size() && result >= 0; ++i) {
    if (tracks_[i].is_holding) result = WriteHeld(i, tracks_[i].ToUnits(last_durations[i]));
  }
  // Before the trailer, so that an error in it costs no picture.
  if (result >= 0 && packets_ > 0) result = Flush();
  if (result < 0) return Explain("write a picture", result);
  result = av_write_trailer(context_.get());
  WriteOut();
  return result < 0 ? Explain("finish the file", result) : Refusal();
}

int LibavMuxer::WriteBytes(void* self, std::uint8_t* data, int size) {
  auto* const muxer = static_cast<LibavMuxer*>(self);
  const auto bytes = static_cast<std::size_t>(size);
  if (muxer->format_ == ContainerFormat::kMkv && muxer->position_ < kMatroskaHeadBytes) {
    muxer->PatchMatroskaScale(data, bytes);
  }
  muxer->collected_.insert(muxer->collected_.end(), data, data + size);
  muxer->position_ += size;
  return size;
}

std::int64_t LibavMuxer::SeekTo(void* self, std::int64_t offset, int whence) {
  auto* const muxer = static_cast<LibavMuxer*>(self);
  // Muxers seek absolutely; the size they may do without.
  if (whence != SEEK_SET) return AVERROR(ENOSYS);
  // The library has flushed its buffer before it moves.
  if (!muxer->WriteCollected() || !muxer->sink_.Seek(offset)) return AVERROR(EIO);
  muxer->position_ = offset;
  return offset;
}

void LibavMuxer::PatchMatroskaScale(std::uint8_t* data, std::size_t size) {
  std::uint8_t* const end = data + size;
  std::uint8_t* const found =
      std::search(data, end, kMatroskaMillisecondScale.begin(), kMatroskaMillisecondScale.end());
  if (found == end) return;
  std::copy(kMatroskaOurScale.begin(), kMatroskaOurScale.end(),
            found + kMatroskaMillisecondScale.size() - kMatroskaOurScale.size());
  matroska_scale_patched_ = true;
}

}  // namespace

std::unique_ptr<IContainerMuxer> MakeLibavMuxer(ContainerFormat format, IByteSink& sink,
                                                std::string& error) {
  error = LoadFfmpeg();
  if (!error.empty()) return nullptr;
  return std::make_unique<LibavMuxer>(format, sink);
}

}  // namespace movra::media

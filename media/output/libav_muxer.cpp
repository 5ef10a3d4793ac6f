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

std::string Explain(const char* what, int error) {
  return std::string("cannot ") + what + ": " + ErrorText(error);
}

class LibavMuxer final : public IContainerMuxer {
 public:
  LibavMuxer(ContainerFormat format, OutputFile& file) : format_(format), file_(file) {}

  // IContainerMuxer
  std::string Start(const MuxHeader& header) override;
  std::string Write(const MuxPacket& packet) override;
  std::string Finish(nanoseconds last_duration) override;
  [[nodiscard]] std::uint64_t pictures_in_file() const override { return pictures_in_file_; }

 private:
  static int WriteBytes(void* self, std::uint8_t* data, int size);
  static std::int64_t SeekTo(void* self, std::int64_t offset, int whence);

  std::string AddStream(const MuxHeader& header);
  std::string WriteHeader();
  // Hands the held picture over, with the units that it lasts.
  int WriteHeld(std::int64_t duration);
  // Begins a fragment or cluster if the packet would make the one before too long.
  int FlushIfFull(const MuxPacket& packet);
  // All pictures so far go into the file.
  int Flush();
  // What the library has written goes into the file, in one write.
  bool WriteOut();
  bool WriteCollected();
  void PatchMatroskaScale(std::uint8_t* data, std::size_t size);
  [[nodiscard]] std::int64_t ToUnits(nanoseconds time) const;

  const ContainerFormat format_;
  OutputFile& file_;
  AvIoPtr io_;  // Outlives the context, which does not own it.
  AvOutputPtr context_;
  const AvPacketPtr packet_{av_packet_alloc()};
  AVRational base_{1, 1};  // What a unit of a packet's times is.
  // What the library wrote and the file does not have yet. A killed process leaves a part of a
  // fragment only if it was within the one write that this becomes.
  std::vector<std::uint8_t> collected_;
  std::int64_t position_ = 0;  // Behind what was collected.
  bool matroska_scale_patched_ = false;
  std::uint64_t pictures_ = 0;
  std::uint64_t pictures_in_file_ = 0;
  nanoseconds fragment_start_{0};

  // An MP4 tells how long each picture lasts, which is known when the next one comes, and Matroska
  // how long all of them do.
  struct Held {
    std::vector<std::uint8_t> data;
    std::int64_t time = -1;  // In units.
    bool key_frame = false;
  };
  Held held_;  // Or the picture before, if none is held.
  bool is_holding_ = false;
};

std::string LibavMuxer::Start(const MuxHeader& header) {
  AVFormatContext* context = nullptr;
  const int result = avformat_alloc_output_context2(&context, nullptr, NameOf(format_), nullptr);
  if (result < 0) return Explain("make the container", result);
  context_.reset(context);
  auto* const buffer = static_cast<std::uint8_t*>(av_malloc(kIoBufferBytes));
  io_.reset(avio_alloc_context(buffer, kIoBufferBytes, 1, this, nullptr, &WriteBytes,
                               file_.IsSeekable() ? &SeekTo : nullptr));
  if (io_ == nullptr) return Explain("make the container", AVERROR(ENOMEM));
  context_->pb = io_.get();
  // Times are ours, also where a stream begins behind the common origin.
  context_->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
  context_->flags |= AVFMT_FLAG_FLUSH_PACKETS | AVFMT_FLAG_CUSTOM_IO;
  if (std::string error = AddStream(header); !error.empty()) return error;
  return WriteHeader();
}

std::string LibavMuxer::AddStream(const MuxHeader& header) {
  AVStream* const stream = avformat_new_stream(context_.get(), nullptr);
  if (stream == nullptr) return Explain("add the stream", AVERROR(ENOMEM));
  stream->time_base = kMpegBase;
  stream->sample_aspect_ratio = {1, 1};
  AVCodecParameters& parameters = *stream->codecpar;
  parameters.codec_type = AVMEDIA_TYPE_VIDEO;
  parameters.codec_id = AV_CODEC_ID_H264;
  parameters.width = header.size.width;
  parameters.height = header.size.height;
  parameters.format = AV_PIX_FMT_YUV420P;
  parameters.sample_aspect_ratio = {1, 1};
  parameters.color_primaries = static_cast<AVColorPrimaries>(header.color.primaries);
  parameters.color_trc = static_cast<AVColorTransferCharacteristic>(header.color.transfer);
  parameters.color_space = static_cast<AVColorSpace>(header.color.matrix);
  parameters.color_range = header.color.full_range ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  const std::size_t size = header.parameter_sets.size();
  parameters.extradata =
      static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  if (parameters.extradata == nullptr) return Explain("add the stream", AVERROR(ENOMEM));
  std::copy(header.parameter_sets.begin(), header.parameter_sets.end(), parameters.extradata);
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
  base_ = context_->streams[0]->time_base;
  if (matroska_scale_patched_) base_ = kMatroskaBase;
  return file_.error().has_value() ? "the file refused it" : "";
}

std::string LibavMuxer::Write(const MuxPacket& packet) {
  // Two pictures within one unit still need an order.
  const std::int64_t time = std::max(held_.time + 1, ToUnits(packet.time));
  int result = is_holding_ ? WriteHeld(time - held_.time) : 0;
  if (result >= 0) result = FlushIfFull(packet);
  held_.data.assign(packet.data.begin(), packet.data.end());
  held_.time = time;
  held_.key_frame = packet.key_frame;
  is_holding_ = true;
  if (format_ == ContainerFormat::kMpegTs) {
    // It neither tells how long a picture lasts nor has anything to collect pictures for.
    if (result >= 0) result = WriteHeld(ToUnits(packet.duration));
    if (result >= 0) result = Flush();
  }
  if (result < 0) return Explain("write a picture", result);
  return file_.error().has_value() ? "the file refused it" : "";
}

int LibavMuxer::WriteHeld(std::int64_t duration) {
  is_holding_ = false;
  // A packet without a buffer of its own is copied where it has to last.
  packet_->data = held_.data.data();
  packet_->size = static_cast<int>(held_.data.size());
  packet_->pts = held_.time;
  packet_->dts = held_.time;
  // The next picture's own time tells where a longer one ends.
  const bool is_mp4 = format_ == ContainerFormat::kMp4;
  packet_->duration = is_mp4 ? std::min(duration, kLongestDuration) : duration;
  packet_->flags = held_.key_frame ? AV_PKT_FLAG_KEY : 0;
  packet_->stream_index = 0;
  const int result = av_write_frame(context_.get(), packet_.get());
  av_packet_unref(packet_.get());
  ++pictures_;
  return result;
}

int LibavMuxer::FlushIfFull(const MuxPacket& packet) {
  const bool full = packet.time + packet.duration - fragment_start_ > kLongestFragment;
  if (format_ == ContainerFormat::kMpegTs || (pictures_ > 0 && !full)) return 0;
  fragment_start_ = packet.time;
  if (const int result = pictures_ > 0 ? Flush() : 0; result < 0) return result;
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
  file_.MarkWhole();
  pictures_in_file_ = pictures_;
  return 0;
}

bool LibavMuxer::WriteOut() {
  avio_flush(io_.get());
  return WriteCollected();
}

bool LibavMuxer::WriteCollected() {
  // A file that is replaced is left alone until there is something for it.
  if (!collected_.empty()) static_cast<void>(file_.Write(collected_.data(), collected_.size()));
  collected_.clear();
  return !file_.error().has_value();
}

std::string LibavMuxer::Finish(nanoseconds last_duration) {
  int result = is_holding_ ? WriteHeld(ToUnits(last_duration)) : 0;
  // Before the trailer, so that an error in it costs no picture.
  if (result >= 0 && pictures_ > 0) result = Flush();
  if (result < 0) return Explain("write a picture", result);
  result = av_write_trailer(context_.get());
  WriteOut();
  if (result < 0) return Explain("finish the file", result);
  return file_.error().has_value() ? "the file refused it" : "";
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
  if (!muxer->WriteCollected() || !muxer->file_.Seek(offset)) return AVERROR(EIO);
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

std::int64_t LibavMuxer::ToUnits(nanoseconds time) const {
  return av_rescale_q(time.count(), kNanosecondBase, base_);
}

}  // namespace

std::unique_ptr<IContainerMuxer> MakeLibavMuxer(ContainerFormat format, OutputFile& file,
                                                std::string& error) {
  error = LoadFfmpeg();
  if (!error.empty()) return nullptr;
  return std::make_unique<LibavMuxer>(format, file);
}

}  // namespace movra::media

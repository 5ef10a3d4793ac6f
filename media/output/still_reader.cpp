#include "media/output/still_reader.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/file/av_frame_wrapper.h"
#include "media/file/video_container.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

// What the units of two containers may make of one time.
constexpr nanoseconds kRounding = std::chrono::microseconds(500);

class StillReader {
 public:
  explicit StillReader(const StillSource& source) : source_(source) {}

  // Why the file cannot be read; empty if it can.
  std::string Open() {
    if (std::string error = LoadFfmpeg(); !error.empty()) return error;
    if (const auto failure = container_.Open(source_.path)) return "it " + failure->text;
    const AVCodec* decoder = nullptr;
    const int index =
        av_find_best_stream(container_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (index < 0) return ErrorText(index);
    stream_ = container_->streams[index];
    codec_.reset(avcodec_alloc_context3(decoder));
    packet_.reset(av_packet_alloc());
    if (codec_ == nullptr || packet_ == nullptr) return ErrorText(AVERROR(ENOMEM));
    int error = avcodec_parameters_to_context(codec_.get(), stream_->codecpar);
    if (error >= 0) error = avcodec_open2(codec_.get(), decoder, nullptr);
    if (error >= 0) ahead_ = ReadPacket();
    return error < 0 ? ErrorText(error) : "";
  }

  // Goes on to the next picture; its packet joins those that it is predicted from. False at the
  // end.
  bool Advance() {
    if (ahead_ == nullptr) return false;
    if ((ahead_->flags & AV_PKT_FLAG_KEY) != 0) since_key_frame_.clear();
    if (number_ == 0) first_pts_ = ahead_->pts;
    ++number_;
    since_key_frame_.push_back(std::move(ahead_));
    ahead_ = ReadPacket();
    return true;
  }

  // When the picture after this one begins; at the last one its own end.
  [[nodiscard]] nanoseconds end() const {
    return ahead_ == nullptr ? source_.duration : TimeOf(*ahead_, number_);
  }
  [[nodiscard]] std::uint64_t number() const { return number_ - 1; }

  // How many pictures lie between the last key frame and this one.
  [[nodiscard]] std::uint64_t pictures_since_key_frame() const {
    return since_key_frame_.size() - 1;
  }

  // This picture, or that of the key frame it goes back to.
  std::optional<Still> Decode(bool key_frame) {
    AvFramePtr last;
    const std::size_t count = key_frame ? 1 : since_key_frame_.size();
    for (std::size_t i = 0; i < count; ++i) {
      if (avcodec_send_packet(codec_.get(), since_key_frame_[i].get()) == 0) Receive(last);
    }
    avcodec_send_packet(codec_.get(), nullptr);  // What the decoder still holds.
    Receive(last);
    avcodec_flush_buffers(codec_.get());
    if (last == nullptr) return std::nullopt;
    Still still;
    still.time =
        TimeOf(*since_key_frame_[count - 1], number_ - since_key_frame_.size() + count - 1);
    still.frame = wrapper_.Wrap(std::move(last));
    if (!still.frame) return std::nullopt;
    return still;
  }

 private:
  void Receive(AvFramePtr& last) {
    for (;;) {
      AvFramePtr frame(av_frame_alloc());
      if (frame == nullptr || avcodec_receive_frame(codec_.get(), frame.get()) < 0) return;
      last = std::move(frame);
    }
  }

  // Null at the end.
  AvPacketPtr ReadPacket() {
    do {
      av_packet_unref(packet_.get());
      if (av_read_frame(container_.get(), packet_.get()) < 0) return nullptr;
    } while (packet_->stream_index != stream_->index);
    return AvPacketPtr(av_packet_clone(packet_.get()));
  }

  // A stream without a container has no times; its pictures are taken for evenly spread.
  [[nodiscard]] nanoseconds TimeOf(const AVPacket& packet, std::uint64_t number) const {
    if (packet.pts == AV_NOPTS_VALUE || first_pts_ == AV_NOPTS_VALUE) {
      const double part = static_cast<double>(number) / static_cast<double>(source_.frames);
      return nanoseconds(std::llround(static_cast<double>(source_.duration.count()) * part));
    }
    return nanoseconds(
        av_rescale_q(packet.pts - first_pts_, stream_->time_base, {1, 1'000'000'000}));
  }

  const StillSource& source_;
  VideoContainer container_;
  AvCodecContextPtr codec_;
  AvPacketPtr packet_;
  AvFrameWrapper wrapper_;
  AVStream* stream_ = nullptr;
  std::int64_t first_pts_ = AV_NOPTS_VALUE;
  std::uint64_t number_ = 0;  // Of pictures so far.
  std::vector<AvPacketPtr> since_key_frame_;
  AvPacketPtr ahead_;  // The packet behind them; null at the end.
};

}  // namespace

std::vector<Still> ReadStills(const StillSource& source, int count, std::string* error) {
  std::vector<Still> stills;
  StillReader reader(source);
  *error = reader.Open();
  if (!error->empty()) return stills;
  const auto parts = static_cast<std::uint64_t>(count);
  // The middle of a part; a short video has fewer pictures than parts.
  const auto middle = [&](std::uint64_t part) {
    return (2 * part + 1) * source.frames / (2 * parts);
  };
  std::uint64_t part = 0;
  while (part < parts && reader.Advance()) {
    const std::uint64_t number = reader.number();
    if (number < middle(part)) continue;
    const std::uint64_t since_begin = number - std::min(number, part * source.frames / parts);
    const bool key_frame = reader.pictures_since_key_frame() <= since_begin;
    while (part < parts && number >= middle(part)) ++part;
    if (auto still = reader.Decode(key_frame)) stills.push_back(std::move(*still));
  }
  if (stills.empty()) *error = "not one picture could be decoded";
  return stills;
}

std::vector<Still> ReadStillsAt(const StillSource& source, const std::vector<nanoseconds>& times,
                                std::string* error) {
  std::vector<Still> stills;
  StillReader reader(source);
  *error = reader.Open();
  if (!error->empty()) return stills;
  bool is_there = reader.Advance();
  for (const nanoseconds time : times) {
    while (is_there && reader.end() <= time + kRounding) is_there = reader.Advance();
    if (!is_there) break;
    if (auto still = reader.Decode(false)) stills.push_back(std::move(*still));
  }
  if (stills.empty()) *error = "not one picture could be decoded";
  return stills;
}

}  // namespace movra::media

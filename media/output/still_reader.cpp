#include "media/output/still_reader.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "media/camera/av_frame_wrapper.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;

class StillReader {
 public:
  // Why the file cannot be read; empty if it can.
  std::string Open(const std::string& path) {
    if (std::string error = LoadFfmpeg(); !error.empty()) return error;
    AVFormatContext* context = nullptr;
    const std::string url = "file:" + path;
    if (const int error = avformat_open_input(&context, url.c_str(), nullptr, nullptr); error < 0) {
      return ErrorText(error);
    }
    container_.reset(context);
    if (const int error = avformat_find_stream_info(context, nullptr); error < 0) {
      return ErrorText(error);
    }
    const AVCodec* decoder = nullptr;
    const int index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (index < 0) return ErrorText(index);
    stream_ = context->streams[index];
    codec_.reset(avcodec_alloc_context3(decoder));
    packet_.reset(av_packet_alloc());
    if (codec_ == nullptr || packet_ == nullptr) return ErrorText(AVERROR(ENOMEM));
    int error = avcodec_parameters_to_context(codec_.get(), stream_->codecpar);
    if (error >= 0) error = avcodec_open2(codec_.get(), decoder, nullptr);
    return error < 0 ? ErrorText(error) : "";
  }

  // The next packet joins those that its picture is predicted from. False at the end.
  bool ReadPacket() {
    do {
      av_packet_unref(packet_.get());
      if (av_read_frame(container_.get(), packet_.get()) < 0) return false;
    } while (packet_->stream_index != stream_->index);
    if ((packet_->flags & AV_PKT_FLAG_KEY) != 0) since_key_frame_.clear();
    if (!first_pts_) first_pts_ = packet_->pts;
    since_key_frame_.emplace_back(av_packet_clone(packet_.get()));
    return true;
  }

  // How many packets lie between the last key frame and the one that was read last.
  [[nodiscard]] std::uint64_t packets_since_key_frame() const {
    return since_key_frame_.size() - 1;
  }

  // The picture of the packet that was read last, or that of the key frame it goes back to.
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
    const std::int64_t pts = since_key_frame_[count - 1]->pts;
    if (pts != AV_NOPTS_VALUE && *first_pts_ != AV_NOPTS_VALUE) {
      still.time =
          nanoseconds(av_rescale_q(pts - *first_pts_, stream_->time_base, {1, 1'000'000'000}));
    }
    still.frame = wrapper_.Wrap(std::move(last));
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

  AvInputPtr container_;
  AvCodecContextPtr codec_;
  AvPacketPtr packet_;
  AvFrameWrapper wrapper_;
  AVStream* stream_ = nullptr;
  std::optional<std::int64_t> first_pts_;
  std::vector<AvPacketPtr> since_key_frame_;
};

}  // namespace

std::vector<Still> ReadStills(const std::string& path, std::uint64_t frames, int count,
                              std::string* error) {
  std::vector<Still> stills;
  StillReader reader;
  *error = reader.Open(path);
  if (!error->empty()) return stills;
  const auto parts = static_cast<std::uint64_t>(count);
  std::uint64_t part = 0;
  for (std::uint64_t number = 0; part < parts && reader.ReadPacket(); ++number) {
    // The middle of each part; a short video has fewer pictures than parts.
    if (number < (2 * part + 1) * frames / (2 * parts)) continue;
    const std::uint64_t since_begin = number - std::min(number, part * frames / parts);
    const bool key_frame = reader.packets_since_key_frame() <= since_begin;
    while (part < parts && number >= (2 * part + 1) * frames / (2 * parts)) ++part;
    if (auto still = reader.Decode(key_frame); still && still->frame)
      stills.push_back(std::move(*still));
  }
  if (stills.empty()) *error = "not one picture could be decoded";
  return stills;
}

}  // namespace movra::media

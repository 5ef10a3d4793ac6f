#include "media/camera/video_file_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "media/camera/camera_error.h"
#include "media/camera/file_check.h"
#include "media/camera/file_end.h"
#include "media/camera/picture_size.h"
#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using video::CameraInfo;
using video::StreamEnd;
using video::VideoRotation;

constexpr AVRational kNanoseconds{1, 1'000'000'000};
constexpr nanoseconds kUsualDuration{40'000'000};

CameraInfo Failure(CameraError error, std::string text) {
  CameraInfo info;
  info.error_code = static_cast<std::int32_t>(error);
  info.error_text = std::move(text);
  return info;
}

// What a display matrix asks for, to the nearest quarter of a turn. Its first two numbers tell
// where the picture's x axis goes, the fourth and fifth where its y axis does. If the way from one
// to the other has changed its sense, the picture is mirrored as well.
Orientation OrientationOf(const std::uint8_t* data, std::size_t size) {
  std::array<std::int32_t, 9> matrix{};
  if (data == nullptr || size < sizeof matrix) return {};
  std::memcpy(matrix.data(), data, sizeof matrix);
  const double x_to_x = matrix[0];
  const double x_to_y = matrix[1];
  const double y_to_x = matrix[3];
  const double y_to_y = matrix[4];
  const bool mirrored = x_to_x * y_to_y < x_to_y * y_to_x;
  const double degrees = std::atan2(x_to_y, mirrored ? -x_to_x : x_to_x) * 180 / std::acos(-1.0);
  const auto quarters = (std::lround(degrees / 90) + 4) % 4;
  return {static_cast<VideoRotation>(quarters * 90), mirrored};
}

Orientation OrientationOf(const AVStream& stream) {
  std::size_t size = 0;
  const std::uint8_t* const data =
      av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  return OrientationOf(data, size);
}

bool IsInterlaced(AVFieldOrder order) {
  return order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE;
}

bool IsMp4(const AVFormatContext& container) {
  return std::string_view(container.iformat->name).starts_with("mov,");
}

bool IsY4m(const AVFormatContext& container) {
  return std::string_view(container.iformat->name) == "yuv4mpegpipe";
}

nanoseconds InNanoseconds(std::int64_t value, AVRational unit) {
  return nanoseconds(av_rescale_q(value, unit, kNanoseconds));
}

// The duration of the stream alone, which Matroska states as a tag of the form 00:00:02.000000000.
std::optional<nanoseconds> TaggedDuration(const AVStream& stream) {
  const AVDictionaryEntry* const tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
  std::int64_t microseconds = 0;
  if (tag == nullptr || av_parse_time(&microseconds, tag->value, 1) < 0) return std::nullopt;
  return std::chrono::microseconds(microseconds);
}

}  // namespace

int VideoFileDecoder::IsInterrupted(void* decoder) {
  return static_cast<VideoFileDecoder*>(decoder)->interrupted_ ? 1 : 0;
}

CameraInfo VideoFileDecoder::Open(const std::string& path) {
  path_ = path;
  const FileCheck check = CheckReadableFile(path);
  if (check.error != CameraError::kNone) return Failure(check.error, check.text);
  if (const std::string error = LoadFfmpeg(); !error.empty()) {
    return Failure(CameraError::kUnavailable, error);
  }
  if (const int error = OpenContainer(path, check.is_pipe); error != 0) {
    return Failure(
        CameraError::kNotAVideo,
        "'" + path + "' is not a video, or its beginning is damaged (" + ErrorText(error) + ")");
  }
  const AVCodec* decoder = nullptr;
  const int index = av_find_best_stream(container_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
  if (index == AVERROR_DECODER_NOT_FOUND) {
    return Failure(CameraError::kUnsupported,
                   "'" + path + "' holds video that nothing here can decode");
  }
  // A text file passes for a drawing made of characters, and a song's cover for a video.
  const bool only_text = std::string_view(container_->iformat->name) == "tty";
  if (index < 0 || only_text ||
      (container_->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    return Failure(CameraError::kNotAVideo, "'" + path + "' has no video in it");
  }
  stream_ = container_->streams[index];
  if (const int error = OpenDecoder(); error != 0) {
    return Failure(CameraError::kUnsupported,
                   "the " + std::string(avcodec_get_name(stream_->codecpar->codec_id)) +
                       " video of '" + path + "' cannot be decoded (" + ErrorText(error) + ")");
  }
  orientation_ = OrientationOf(*stream_);
  return Describe();
}

int VideoFileDecoder::OpenContainer(const std::string& path, bool is_pipe) {
  if (is_pipe) {
    if (const int error = pipe_.Open(path); error != 0) return error;
  }
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) return AVERROR(ENOMEM);
  context->interrupt_callback = {&IsInterrupted, this};
  context->pb = pipe_.context();
  // The prefix keeps a file whose name looks like an address from being taken for one. The context
  // is freed where this fails.
  const std::string url = "file:" + path;
  if (const int error = avformat_open_input(&context, url.c_str(), nullptr, nullptr); error < 0) {
    return error;
  }
  container_.reset(context);
  const int error = avformat_find_stream_info(context, nullptr);
  return std::min(error, 0);
}

int VideoFileDecoder::OpenDecoder() {
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    if (container_->streams[i] != stream_) container_->streams[i]->discard = AVDISCARD_ALL;
  }
  const AVCodec* const decoder = avcodec_find_decoder(stream_->codecpar->codec_id);
  if (decoder == nullptr) return AVERROR_DECODER_NOT_FOUND;
  codec_.reset(avcodec_alloc_context3(decoder));
  packet_.reset(av_packet_alloc());
  if (codec_ == nullptr || packet_ == nullptr) return AVERROR(ENOMEM);
  if (const int error = avcodec_parameters_to_context(codec_.get(), stream_->codecpar); error < 0) {
    return error;
  }
  codec_->pkt_timebase = stream_->time_base;
  codec_->thread_count = threads_;
  // Frames that lack what they are predicted from come out too, marked, so that they are counted.
  codec_->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
  return std::min(avcodec_open2(codec_.get(), decoder, nullptr), 0);
}

CameraInfo VideoFileDecoder::Describe() const {
  CameraInfo info;
  info.is_file = true;
  const AVRational aspect = av_guess_sample_aspect_ratio(container_.get(), stream_, nullptr);
  const AVCodecParameters& parameters = *stream_->codecpar;
  info.natural_size = UprightSize({parameters.width, parameters.height}, aspect.num, aspect.den,
                                  orientation_.rotation);
  const AVRational rate = av_guess_frame_rate(container_.get(), stream_, nullptr);
  if (rate.num > 0 && rate.den > 0) {
    info.rate_numerator = rate.num;
    info.rate_denominator = rate.den;
  }
  if (stream_->duration > 0) {
    info.duration = InNanoseconds(stream_->duration, stream_->time_base);
  } else if (container_->duration > 0) {
    info.duration = InNanoseconds(container_->duration, AV_TIME_BASE_Q);
  }
  info.is_interlaced = IsInterlaced(parameters.field_order);
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    info.has_audio =
        info.has_audio || container_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
  }
  return info;
}

SourceItem VideoFileDecoder::Next() {
  while (!interrupted_) {
    AvFramePtr frame(av_frame_alloc());
    const int result = avcodec_receive_frame(codec_.get(), frame.get());
    if (result == AVERROR(EAGAIN)) {
      FeedDecoder();
    } else if (result == AVERROR_EOF) {
      return End();
    } else if (result < 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 ||
               frame->decode_error_flags != 0) {
      CountDamage();
    } else if (auto item = Deliver(std::move(frame))) {
      return std::move(*item);
    }
  }
  return std::monostate();
}

void VideoFileDecoder::FeedDecoder() {
  for (;;) {
    const int read = av_read_frame(container_.get(), packet_.get());
    if (read < 0) {
      broken_off_ = broken_off_ || read != AVERROR_EOF || EndsEarly();
      // No packet at all asks the decoder for the frames that it still holds.
      static_cast<void>(avcodec_send_packet(codec_.get(), nullptr));
      return;
    }
    const bool wanted = packet_->stream_index == stream_->index;
    int sent = 0;
    if (wanted) {
      TrackPacket();
      sent = avcodec_send_packet(codec_.get(), packet_.get());
    }
    av_packet_unref(packet_.get());
    if (sent < 0) CountDamage();
    if (wanted) return;
  }
}

void VideoFileDecoder::TrackPacket() {
  last_packet_incomplete_ = (packet_->flags & AV_PKT_FLAG_CORRUPT) != 0;
  last_packet_end_ = packet_->pos + packet_->size;
  if (!first_packet_dts_) {
    first_packet_dts_ = packet_->dts != AV_NOPTS_VALUE ? packet_->dts : packet_->pts;
  }
  if (packet_->pts == AV_NOPTS_VALUE) return;
  earliest_pts_ = std::min(earliest_pts_.value_or(packet_->pts), packet_->pts);
  latest_pts_end_ = std::max(latest_pts_end_, packet_->pts + packet_->duration);
}

bool VideoFileDecoder::EndsEarly() const {
  if (last_packet_incomplete_) return true;
  // Here the library keeps quiet about a last picture that is not whole.
  if (IsY4m(*container_)) return avio_seek(container_->pb, 0, SEEK_CUR) > last_packet_end_;
  // MP4 says so itself, and may hold less than its duration where it was edited. In other
  // containers only a duration that the file states can be held against what there was.
  const bool stated = container_->duration_estimation_method == AVFMT_DURATION_FROM_STREAM;
  if (!stated || !earliest_pts_ || IsMp4(*container_)) return false;
  const nanoseconds there = InNanoseconds(latest_pts_end_ - *earliest_pts_, stream_->time_base);
  if (const auto video_duration = TaggedDuration(*stream_)) {
    return there + milliseconds(200) < *video_duration;
  }
  // The longest stream of the file may be another one.
  return stream_->duration > 0 &&
         there + seconds(1) < InNanoseconds(stream_->duration, stream_->time_base);
}

std::optional<SourceFrame> VideoFileDecoder::Deliver(AvFramePtr frame) {
  const AVRational aspect = av_guess_sample_aspect_ratio(container_.get(), stream_, frame.get());
  const nanoseconds timestamp = Stamp(*frame);
  const Orientation orientation = OrientationNow(*frame);
  const video::PixelFrame wrapped = wrapper_.Wrap(std::move(frame));
  if (!wrapped) {
    CountDamage();
    return std::nullopt;
  }
  ++delivered_;
  video::PixelFrameInfo info = wrapped.info();
  info.timestamp = timestamp;
  info.rotation = orientation.rotation;
  info.sequence = next_sequence_++;
  info.damaged_frames = damaged_frames_;
  return SourceFrame{wrapped.WithInfo(info),
                     UprightSize(info.size, aspect.num, aspect.den, orientation.rotation),
                     orientation.mirror};
}

// What a picture says of itself goes before what the container says of all, up to the next picture
// that a stream can begin with.
Orientation VideoFileDecoder::OrientationNow(const AVFrame& frame) {
  if (frame.key_frame != 0) own_orientation_.reset();
  const AVFrameSideData* const own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
  if (own != nullptr) own_orientation_ = OrientationOf(own->data, own->size);
  return own_orientation_.value_or(orientation_);
}

nanoseconds VideoFileDecoder::Stamp(const AVFrame& frame) {
  const nanoseconds expected = last_timestamp_ + last_duration_;
  nanoseconds timestamp = expected;
  if (const std::int64_t pts = frame.best_effort_timestamp; pts != AV_NOPTS_VALUE) {
    if (!first_pts_) first_pts_ = pts;
    timestamp = pass_start_ + InNanoseconds(pts - *first_pts_, stream_->time_base);
    // Recordings put one behind the other begin to count anew.
    if (delivered_ > 0 && IsAnotherClock(timestamp - expected)) {
      pass_start_ = expected;
      first_pts_ = pts;
      timestamp = expected;
    }
  }
  // Broken files stamp two frames alike, or backwards.
  timestamp = std::max(timestamp, last_timestamp_ + nanoseconds(1));
  last_timestamp_ = timestamp;
  last_duration_ = FrameDuration(frame);
  return timestamp;
}

bool VideoFileDecoder::IsAnotherClock(nanoseconds jump) const {
  // Forwards a picture may stand still for as long as it likes, but in what is broadcast.
  const bool may_jump = (container_->iformat->flags & AVFMT_TS_DISCONT) != 0;
  return jump < -milliseconds(500) || (may_jump && jump > seconds(10));
}

nanoseconds VideoFileDecoder::FrameDuration(const AVFrame& frame) const {
  if (frame.pkt_duration > 0) return InNanoseconds(frame.pkt_duration, stream_->time_base);
  const AVRational rate = stream_->avg_frame_rate;
  return rate.num > 0 && rate.den > 0 ? InNanoseconds(1, av_inv_q(rate)) : kUsualDuration;
}

bool VideoFileDecoder::Rewind() {
  // What came through a pipe is gone.
  if (delivered_ == 0 || pipe_.context() != nullptr) return false;
  // By the decoding time: what is decoded first is often shown later.
  const std::int64_t start = first_packet_dts_.value_or(0);
  if (av_seek_frame(container_.get(), stream_->index, start, AVSEEK_FLAG_BACKWARD) < 0 &&
      av_seek_frame(container_.get(), stream_->index, 0, AVSEEK_FLAG_BYTE) < 0) {
    return false;
  }
  avcodec_flush_buffers(codec_.get());
  // No end mark will tell of what the file lacks.
  if (std::exchange(broken_off_, false)) CountDamage();
  pass_start_ = last_timestamp_ + last_duration_;
  first_pts_.reset();
  return true;
}

StreamEnd VideoFileDecoder::End() const {
  return EndOfFile(path_, {.delivered_frames = delivered_,
                           .damaged_frames = damaged_frames_,
                           .duration = last_timestamp_ + last_duration_,
                           .broken_off = broken_off_});
}

void VideoFileDecoder::CountDamage() {
  ++damaged_frames_;
  ++next_sequence_;
}

}  // namespace movra::media

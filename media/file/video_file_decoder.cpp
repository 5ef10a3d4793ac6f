#include "media/file/video_file_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"
#include "media/capture/picture_size.h"
#include "media/ffmpeg/code_of.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/format_name.h"
#include "media/file/file_check.h"
#include "media/file/file_end.h"
#include "media/file/stream_time.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using video::CameraInfo;
using video::StreamEnd;
using video::VideoRotation;

constexpr nanoseconds kUsualDuration{40'000'000};

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

bool IsHdr(const AVCodecParameters& parameters) {
  const int transfer = CodeOf(parameters.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED);
  return transfer == AVCOL_TRC_SMPTE2084 || transfer == AVCOL_TRC_ARIB_STD_B67;
}

// Of a picture; those behind it follow by a nanosecond.
constexpr nanoseconds kLatest{2 * kFurthestTime};

void BoundTimes(AVPacket& packet) {
  if (packet.pts != AV_NOPTS_VALUE) packet.pts = BoundedTime(packet.pts);
  if (packet.dts != AV_NOPTS_VALUE) packet.dts = BoundedTime(packet.dts);
  packet.duration = BoundedTime(packet.duration);
}

}  // namespace

CameraInfo VideoFileDecoder::Open(const std::string& path, nanoseconds start) {
  path_ = path;
  start_ = start;
  const FileCheck check = CheckReadableFile(path);
  if (check.error != CameraError::kNone) return CameraFailure(check.error, check.text);
  if (const std::string error = LoadFfmpeg(); !error.empty()) {
    return CameraFailure(CameraError::kUnavailable, error);
  }
  if (check.is_pipe) {
    if (const int error = pipe_.Open(path); error != 0) {
      return CameraFailure(CameraError::kCannotOpen,
                           "'" + path + "' cannot be opened (" + ErrorText(error) + ")");
    }
  }
  if (const auto failure = container_.Open(path, pipe_.context(), &interrupted_)) {
    return CameraFailure(failure->code, "'" + path + "' " + failure->text);
  }
  const AVCodec* decoder = nullptr;
  const int index = av_find_best_stream(container_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
  if (index == AVERROR_DECODER_NOT_FOUND) {
    return CameraFailure(CameraError::kUnsupported,
                         "'" + path + "' holds video that nothing here can decode");
  }
  // A song's cover passes for a video.
  if (index < 0 || (container_->streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    return CameraFailure(CameraError::kNotAVideo, "'" + path + "' has no video in it");
  }
  stream_ = container_->streams[index];
  if (const int error = OpenDecoder(); error != 0) {
    return CameraFailure(CameraError::kUnsupported,
                         "the " + std::string(avcodec_get_name(stream_->codecpar->codec_id)) +
                             " video of '" + path + "' cannot be decoded (" + ErrorText(error) +
                             ")");
  }
  orientation_ = OrientationOf(*stream_);
  account_.Open(*container_, *stream_);
  CameraInfo info = Describe();
  // These two are told how long they are by what there is of them.
  const std::string_view name = FormatName(*container_->iformat);
  const bool is_measured = name == "avi" || name == "gif";
  if (container_->duration_estimation_method == AVFMT_DURATION_FROM_STREAM && !is_measured) {
    stated_duration_ = info.duration;
  }
  if (start_.count() == 0) return info;
  if (info.duration.count() > 0) {
    if (start_ >= info.duration) return StartsBehindItsEnd(path, info.duration);
    info.duration -= start_;
  }
  SeekToTheStart();
  return info;
}

void VideoFileDecoder::SeekToTheStart() {
  const AVInputFormat& format = *container_->iformat;
  const bool has_times = (format.flags & AVFMT_NOTIMESTAMPS) == 0 && !CountsPictures();
  if (pipe_.context() != nullptr || !has_times) return;
  if (stream_->start_time == AV_NOPTS_VALUE) return;
  start_pts_ = stream_->start_time + InUnits(start_, stream_->time_base);
  bool has_moved = false;
  // Every container finds a time, but not every one the key frame in front of it.
  for (const seconds back : {seconds(0), seconds(2), seconds(10), seconds(60)}) {
    const std::int64_t time = *start_pts_ - InUnits(back, stream_->time_base);
    if (time <= stream_->start_time) break;
    has_moved = true;
    if (!HasKeyFrameFrom(time) || !SeekTo(time)) continue;
    late_from_ = time;
    waits_for_key_ = true;
    account_.BeginLate();
    return;
  }
  if (has_moved && !SeekToTheFirst()) broken_off_ = true;
}

bool VideoFileDecoder::HasKeyFrameFrom(std::int64_t time) {
  if (!SeekTo(time)) return false;
  while (av_read_frame(container_.get(), packet_.get()) >= 0) {
    const bool is_wanted = packet_->stream_index == stream_->index;
    const bool is_key = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
    const std::int64_t pts = packet_->pts != AV_NOPTS_VALUE ? packet_->pts : packet_->dts;
    av_packet_unref(packet_.get());
    if (is_wanted && (is_key || pts > *start_pts_)) {
      return is_key && pts != AV_NOPTS_VALUE && pts <= *start_pts_;
    }
  }
  return false;
}

bool VideoFileDecoder::IsBeforeTheStart(const AVFrame& frame) {
  if (start_.count() == 0) return false;
  nanoseconds time = left_out_;
  if (frame.best_effort_timestamp != AV_NOPTS_VALUE && !CountsPictures()) {
    const std::int64_t pts = BoundedTime(frame.best_effort_timestamp);
    if (!start_pts_) start_pts_ = pts + InUnits(start_, stream_->time_base);
    time = start_ + InNanoseconds(pts - *start_pts_, stream_->time_base);
  }
  if (time >= start_) return false;
  left_out_ = std::min(time + FrameDuration(frame), kLatest);
  return true;
}

void VideoFileDecoder::IgnoreOtherStreams() {
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    if (container_->streams[i] != stream_) container_->streams[i]->discard = AVDISCARD_ALL;
  }
}

int VideoFileDecoder::OpenDecoder() {
  IgnoreOtherStreams();
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
  codec_->err_recognition |= AV_EF_CRCCHECK;
  codec_->opaque = &complaints_;
  return std::min(avcodec_open2(codec_.get(), decoder, nullptr), 0);
}

CameraInfo VideoFileDecoder::Describe() const {
  CameraInfo info;
  info.traits.replayable = pipe_.context() == nullptr;
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
  info.has_alpha = HasAlpha(parameters.format);
  info.is_hdr = IsHdr(parameters);
  for (unsigned i = 0; i < container_->nb_streams; ++i) {
    info.has_audio =
        info.has_audio || container_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
  }
  return info;
}

SourceItem VideoFileDecoder::Next() {
  if (plays_only_ && !interrupted_) return NextOfStill();
  while (!interrupted_) {
    AvFramePtr frame(av_frame_alloc());
    const int result = avcodec_receive_frame(codec_.get(), frame.get());
    if (result == AVERROR(EAGAIN)) {
      FeedDecoder();
    } else if (result == AVERROR_EOF) {
      told_missing_ = account_.Missing();
      CountDamage(told_missing_);
      return End();
    } else if (result < 0) {
      account_.TakeError();
      CountDamage();
    } else if (IsBeforeTheStart(*frame)) {
      static_cast<void>(IsWhole(*frame));
      static_cast<void>(OrientationNow(*frame));  // Those behind it may be turned as it is.
    } else if (!IsWhole(*frame)) {
      // What was cut off before the first picture was left out on purpose.
      if (!account_.IsBeforeTheFirst(*frame)) CountDamage();
      if (CountsPictures() && delivered_ > 0) last_duration_ += FrameDuration(*frame);
    } else if (auto item = Deliver(std::move(frame))) {
      return std::move(*item);
    }
  }
  return std::monostate();
}

bool VideoFileDecoder::IsWhole(const AVFrame& frame) {
  account_.TakePicture(frame);
  // H.264 marks each picture that it had to make up; what it complains of besides, at the seams of
  // recordings that were put together, shows nowhere.
  const bool complained =
      complaints_.Take(frame.reordered_opaque) && stream_->codecpar->codec_id != AV_CODEC_ID_H264;
  return !complained && (frame.flags & AV_FRAME_FLAG_CORRUPT) == 0 && frame.decode_error_flags == 0;
}

void VideoFileDecoder::FeedDecoder() {
  for (;;) {
    const int read = av_read_frame(container_.get(), packet_.get());
    if (read < 0) {
      const bool ends_early = account_.EndsEarly();
      const bool failed = read != AVERROR_EOF && !account_.IsComplete();
      broken_off_ = broken_off_ || failed || ends_early;
      // No packet at all asks the decoder for the frames that it still holds.
      static_cast<void>(avcodec_send_packet(codec_.get(), nullptr));
      return;
    }
    BoundTimes(*packet_);
    const bool wanted = packet_->stream_index == stream_->index;
    int sent = 0;
    const bool is_key = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
    if (wanted && waits_for_key_ && !is_key) {
      av_packet_unref(packet_.get());
      continue;
    }
    if (wanted) {
      waits_for_key_ = false;
      Account(*packet_);
      sent = avcodec_send_packet(codec_.get(), packet_.get());
    }
    av_packet_unref(packet_.get());
    if (sent < 0) {
      account_.TakeError();
      CountDamage();
    }
    if (wanted) return;
  }
}

void VideoFileDecoder::Account(const AVPacket& packet) {
  const std::int64_t time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
  if (packets_ == 0 && time != AV_NOPTS_VALUE) first_packet_dts_ = time;
  CountDamage(account_.TakePacket(packet));
  // Nothing tells of a picture that the container could not give whole, but this mark.
  codec_->reordered_opaque = ++packets_;
  if ((packet.flags & AV_PKT_FLAG_CORRUPT) != 0) complaints_.Add(packets_);
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
  SourceFrame item{wrapped.WithInfo(info),
                   UprightSize(info.size, aspect.num, aspect.den, orientation.rotation),
                   orientation.mirror};
  only_ = delivered_ == 1 ? std::optional(item) : std::nullopt;
  return item;
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
  const nanoseconds expected = ExpectedTime();
  nanoseconds timestamp = expected;
  if (frame.best_effort_timestamp != AV_NOPTS_VALUE && !CountsPictures()) {
    const std::int64_t pts = BoundedTime(frame.best_effort_timestamp);
    if (!first_pts_) first_pts_ = pts;
    timestamp = pass_start_ + InNanoseconds(pts - *first_pts_, stream_->time_base);
    // Recordings put one behind the other begin to count anew. What the picture before said of its
    // length is no measure: where a pause was cut out, it still says the length of the pause.
    if (delivered_ > 0 && IsAnotherClock(timestamp - last_timestamp_)) {
      pass_start_ = expected;
      first_pts_ = pts;
      timestamp = expected;
    }
  }
  // Broken files stamp two frames alike, or backwards, or at the end of time.
  timestamp = std::max(std::min(timestamp, kLatest), last_timestamp_ + nanoseconds(1));
  last_timestamp_ = timestamp;
  last_duration_ = FrameDuration(frame);
  return timestamp;
}

// Bare MPEG-1 and MPEG-2 hold no times. Those that they get are of decoding for one picture and of
// showing for the next.
bool VideoFileDecoder::CountsPictures() const {
  return FormatName(*container_->iformat) == "mpegvideo";
}

nanoseconds VideoFileDecoder::ExpectedTime() const {
  return std::min(last_timestamp_ + last_duration_, kLatest);
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
  if (only_ && !broken_off_ && damaged_frames_ == 0) {
    // Asked for again, some containers of a single picture give none.
    plays_only_ = only_waits_ = true;
    return true;
  }
  // What came through a pipe is gone.
  if (delivered_ == 0 || pipe_.context() != nullptr) return false;
  if (!SeekToTheFirst()) return false;
  avcodec_flush_buffers(codec_.get());
  // No end mark will tell of what the file lacks.
  if (std::exchange(broken_off_, false) && told_missing_ == 0) CountDamage();
  account_.Rewind();
  waits_for_key_ = late_from_.has_value();
  left_out_ = nanoseconds(0);
  pass_start_ = ExpectedTime();
  first_pts_.reset();
  return true;
}

bool VideoFileDecoder::SeekTo(std::int64_t time) {
  return av_seek_frame(container_.get(), stream_->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool VideoFileDecoder::SeekToTheFirst() {
  // From elsewhere other packets might come, in whose account the pictures before it would lack.
  if (late_from_ && SeekTo(*late_from_)) return true;
  // By the decoding time: what is decoded first is often shown later. Where the time begins before
  // zero, the first packets may have none, and no time leads to them.
  if (first_packet_dts_ && SeekTo(*first_packet_dts_)) return true;
  const bool is_simple = (container_->iformat->flags & AVFMT_GENERIC_INDEX) != 0;
  if (is_simple && av_seek_frame(container_.get(), stream_->index, 0, AVSEEK_FLAG_BYTE) >= 0) {
    return true;
  }
  const auto index = static_cast<unsigned>(stream_->index);
  if (!container_.Reopen() || index >= container_->nb_streams) return false;
  stream_ = container_->streams[index];
  if (stream_->codecpar->codec_id != codec_->codec_id) return false;
  IgnoreOtherStreams();
  account_.GoOnWith(*container_, *stream_);
  return true;
}

SourceItem VideoFileDecoder::NextOfStill() {
  if (!std::exchange(only_waits_, false)) return End();
  last_timestamp_ = std::max(ExpectedTime(), last_timestamp_ + nanoseconds(1));
  ++delivered_;
  SourceFrame again = *only_;
  video::PixelFrameInfo info = again.frame.info();
  info.timestamp = last_timestamp_;
  info.sequence = next_sequence_++;
  again.frame = again.frame.WithInfo(info);
  return again;
}

StreamEnd VideoFileDecoder::End() const {
  if (delivered_ == 0 && left_out_.count() > 0) {
    const CameraInfo behind = StartsBehindItsEnd(path_, left_out_);
    StreamEnd end;
    end.error_code = behind.error_code;
    end.reason = behind.error_text;
    return end;
  }
  return EndOfFile(path_, {.delivered_frames = delivered_,
                           .damaged_frames = damaged_frames_,
                           .duration = ExpectedTime(),
                           .stated_duration = stated_duration_,
                           .start = start_,
                           .broken_off = broken_off_});
}

void VideoFileDecoder::CountDamage(std::uint64_t frames) {
  damaged_frames_ += frames;
  next_sequence_ += frames;
}

}  // namespace movra::media

#include "media/file/file_account.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>
#include <vector>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/format_name.h"
#include "media/file/stated_length.h"
#include "media/file/stream_time.h"
#include "media/file/transport_gap.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

// In a transport stream, from one picture to the next.
constexpr nanoseconds kLongestGap = seconds(10);
constexpr std::int64_t kLongestTear = 1 << 24;  // Bytes.
constexpr int kSmallestPicture = 16;            // Bytes; less may be an end mark alone.
// An AVI that was written without going back to its head counts as many pictures, or more.
constexpr std::int64_t kNobodyCounted = 1 << 30;
constexpr std::uint8_t kGifTrailer = 0x3B;
constexpr std::uint8_t kGifExtension = 0x21;
constexpr std::int64_t kLongestGifEnd = 1 << 20;  // Bytes.

bool IsNamed(const AVFormatContext& container, std::string_view name) {
  return FormatName(*container.iformat) == name;
}

bool IsMatroska(const AVFormatContext& container) { return IsNamed(container, "matroska"); }

bool IsMp4(const AVFormatContext& container) { return IsNamed(container, "mov"); }

// Of the containers that are none, those whose pictures tell by their kind that they were cut off.
bool IsBare(const AVFormatContext& container) {
  return IsNamed(container, "hevc") || IsNamed(container, "mpegvideo");
}

// The duration of the stream alone, which Matroska states as a tag of the form 00:00:02.000000000.
// Elsewhere it came along from another file, with all that file's tags.
std::optional<nanoseconds> TaggedDuration(const AVFormatContext& container,
                                          const AVStream& stream) {
  if (!IsMatroska(container)) return std::nullopt;
  const AVDictionaryEntry* const tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
  std::int64_t microseconds = 0;
  if (tag == nullptr || av_parse_time(&microseconds, tag->value, 1) < 0) return std::nullopt;
  return InNanoseconds(microseconds, AV_TIME_BASE_Q);
}

// These state one duration for all of their streams: the longest may be another one.
bool SharesItsDuration(const AVFormatContext& container) {
  return container.nb_streams > 1 &&
         (IsNamed(container, "asf") || IsNamed(container, "flv") || IsMatroska(container));
}

// Bits of the uncompressed header, the first one highest: a mark of two, two of the profile, one
// more in the last profile, whether an old picture is shown again, the kind, whether it is shown.
bool IsShownVp9(const AVPacket& packet) {
  const bool has_several = (packet.data[packet.size - 1] & 0xE0) == 0xC0;
  if (has_several) return true;  // And the last one is shown.
  const unsigned head = packet.data[0];
  const int behind_profile = (head & 0x30) == 0x30 ? 2 : 3;
  return (head >> behind_profile & 1) != 0 || (head >> (behind_profile - 2) & 1) != 0;
}

// Kinds of pictures of HEVC (ITU-T H.265, 7.4.2.2) and of MPEG-1 and MPEG-2 (ISO/IEC 13818-2,
// 6.3.9) in a packet of a bare stream; negative if there is none.
int PictureKind(AVCodecID codec, const AVPacket& packet) {
  constexpr int kFirstOtherUnit = 32;
  for (int i = 0; i + 5 < packet.size; ++i) {
    const std::uint8_t* const at = packet.data + i;
    if (at[0] != 0 || at[1] != 0 || at[2] != 1) continue;
    const int unit = at[3] >> 1 & 0x3F;
    if (codec == AV_CODEC_ID_HEVC && unit < kFirstOtherUnit) return unit;
    if (codec != AV_CODEC_ID_HEVC && at[3] == 0) return at[5] >> 3 & 7;
  }
  return -1;
}

// Whether it is predicted from a picture before the key frame that it follows, as far as its kind
// tells.
bool IsPredictedAcross(AVCodecID codec, const AVPacket& packet) {
  const int kind = PictureKind(codec, packet);
  return codec == AV_CODEC_ID_HEVC ? kind == 8 || kind == 9 : kind == 3;
}

// Reads without moving where the container reads on; less than asked for at the file's end, and
// nothing of what came through a pipe.
std::vector<std::uint8_t> ReadAt(AVIOContext& file, std::int64_t begin, std::int64_t size) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  const std::int64_t position = avio_seek(&file, 0, SEEK_CUR);
  if (avio_seek(&file, begin, SEEK_SET) < 0) return {};
  const int read = avio_read(&file, bytes.data(), static_cast<int>(size));
  avio_seek(&file, position, SEEK_SET);
  bytes.resize(static_cast<std::size_t>(std::max(read, 0)));
  return bytes;
}

// Whether a GIF (GIF89a, 27) has its trailer there, behind extensions or at once.
bool HasGifTrailer(AVIOContext& file, std::int64_t begin) {
  const std::vector<std::uint8_t> bytes = ReadAt(file, begin, kLongestGifEnd);
  std::size_t at = 0;
  while (at + 1 < bytes.size() && bytes[at] == kGifExtension) {
    at += 2;
    while (at < bytes.size() && bytes[at] != 0) at += bytes[at] + std::size_t{1};
    ++at;
  }
  return at < bytes.size() && bytes[at] == kGifTrailer;
}

}  // namespace

void FileAccount::Open(AVFormatContext& container, const AVStream& stream) {
  GoOnWith(container, stream);
  Rewind();
}

void FileAccount::GoOnWith(AVFormatContext& container, const AVStream& stream) {
  container_ = &container;
  stream_ = &stream;
}

void FileAccount::Rewind() {
  packets_ = expected_ = pictures_ = 0;
  begins_with_key_ = has_begun_ = has_left_front_ = false;
  key_pts_.reset();
  first_pts_.reset();
  leading_pts_.clear();
  last_dts_.reset();
  const AVCodecID codec = stream_->codecpar->codec_id;
  const AVCodecDescriptor* const described = avcodec_descriptor_get(codec);
  const bool stands_alone =
      described != nullptr && (described->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
  counts_ = stands_alone || codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC ||
            codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO ||
            codec == AV_CODEC_ID_VP8 || codec == AV_CODEC_ID_VP9;
}

std::uint64_t FileAccount::TakePacket(const AVPacket& packet) {
  const std::uint64_t lost = LostBefore(packet);
  const bool is_key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  if (packets_ == 0) begins_with_key_ = is_key;
  if (packets_ == 0 && begins_late_) {
    const int place = av_index_search_timestamp(const_cast<AVStream*>(stream_), packet.dts,
                                                AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    passed_over_ = std::max(place, 0);
  }
  ++packets_;
  last_packet_incomplete_ = (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
  last_packet_end_ = packet.pos + packet.size;
  const bool has_time = packet.pts != AV_NOPTS_VALUE;
  if (is_key) key_pts_ = has_time ? std::optional(packet.pts) : std::nullopt;
  if (packets_ == 1) first_pts_ = key_pts_;
  const bool leads = IsBare(*container_) ? LeadsInBareStream(packet) : Leads(packet);
  if (leads && has_time) leading_pts_.insert(packet.pts);
  if (!leads && IsOnePicture(packet)) ++expected_;
  if (!has_time) return lost;
  earliest_pts_ = std::min(earliest_pts_.value_or(packet.pts), packet.pts);
  latest_pts_end_ = std::max(latest_pts_end_, packet.pts + packet.duration);
  return lost;
}

bool FileAccount::Leads(const AVPacket& packet) {
  const bool has_time = packet.pts != AV_NOPTS_VALUE;
  // What had to be shown before the file's time begins has none. Behind the beginning any packet
  // may have none, where a container does not state a time for each.
  const bool leads = has_time ? key_pts_ && packet.pts < *key_pts_ : !has_left_front_ && first_pts_;
  has_left_front_ = has_left_front_ || (packets_ > 1 && has_time && !leads);
  return leads;
}

// Which times these get is no measure.
bool FileAccount::LeadsInBareStream(const AVPacket& packet) {
  if (packets_ == 1 || has_left_front_) return false;
  const AVCodecID codec = stream_->codecpar->codec_id;
  const bool leads = IsPredictedAcross(codec, packet);
  // In HEVC others stand between those that are predicted across.
  const bool is_key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  has_left_front_ = codec == AV_CODEC_ID_HEVC ? is_key : !leads;
  return leads;
}

bool FileAccount::IsOnePicture(const AVPacket& packet) const {
  if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0 || packet.size <= 0) return false;
  switch (stream_->codecpar->codec_id) {
    case AV_CODEC_ID_VP8:
      return (packet.data[0] & 0x10) != 0;
    case AV_CODEC_ID_VP9:
      return IsShownVp9(packet);
    default:
      return packet.size >= kSmallestPicture;
  }
}

void FileAccount::TakePicture(const AVFrame& picture) {
  if (picture.interlaced_frame != 0) counts_ = false;
  const bool has_time = picture.pts != AV_NOPTS_VALUE;
  const bool leads =
      has_time ? leading_pts_.erase(picture.pts) > 0 : first_pts_.has_value() && !has_begun_;
  if (!leads) ++pictures_;
  has_begun_ = has_begun_ || (has_time && first_pts_ && picture.pts >= *first_pts_);
}

bool FileAccount::IsBeforeTheFirst(const AVFrame& picture) const {
  if (!begins_with_key_ || !first_pts_) return false;
  return picture.pts == AV_NOPTS_VALUE ? !has_begun_ : picture.pts < *first_pts_;
}

// Packets that are lost on the way take their pictures with them before any decoder sees them.
std::uint64_t FileAccount::LostBefore(const AVPacket& packet) {
  if (!IsNamed(*container_, "mpegts")) return 0;
  if (packet.dts == AV_NOPTS_VALUE || packet.duration <= 0) return 0;
  const auto last_dts = std::exchange(last_dts_, packet.dts);
  const std::int64_t begin = std::exchange(last_pos_, packet.pos);
  if (!last_dts) return 0;
  const std::int64_t gap = packet.dts - *last_dts;
  const std::int64_t steps = (gap + packet.duration / 2) / packet.duration;
  const std::int64_t bytes = packet.pos - begin;
  const bool may_be_torn = begin >= 0 && bytes > 0 && bytes <= kLongestTear;
  // After more another recording begins.
  const bool goes_on = InNanoseconds(gap, stream_->time_base) <= kLongestGap;
  if (steps < 2 || !goes_on || !may_be_torn) return 0;
  return IsTransportTorn(ReadAt(*container_->pb, begin, bytes))
             ? static_cast<std::uint64_t>(steps - 1)
             : 0;
}

bool FileAccount::EndsEarly() {
  if (std::exchange(judged_, true)) return ends_early_;
  ends_early_ = last_packet_incomplete_ || IsShorterThanItSays() || IsShorterThanItsDuration();
  never_read_ = NeverRead();
  ends_early_ = ends_early_ || (IsMp4(*container_) && never_read_ > 0);
  return ends_early_;
}

bool FileAccount::IsComplete() const {
  return IsNamed(*container_, "gif") && HasGifTrailer(*container_->pb, last_packet_end_);
}

bool FileAccount::IsShorterThanItSays() const {
  AVIOContext& file = *container_->pb;
  const std::int64_t end = avio_seek(&file, 0, SEEK_CUR);
  // Here the library keeps quiet about a last picture that is not whole.
  if (IsNamed(*container_, "yuv4mpegpipe")) return end > last_packet_end_;
  if (IsNamed(*container_, "gif")) return file.seekable != 0 && !IsComplete();
  const std::int64_t size = avio_size(&file);
  const auto stated = StatedLength(ReadAt(file, 0, kStatedLengthHead));
  return size > 0 && stated && static_cast<std::uint64_t>(size) < *stated;
}

bool FileAccount::IsShorterThanItsDuration() const {
  // An MP4 may hold less than its duration where it was edited. In other containers only a duration
  // that the file states can be held against what there was.
  const bool stated = container_->duration_estimation_method == AVFMT_DURATION_FROM_STREAM;
  const bool is_counted = stream_->nb_frames < kNobodyCounted;
  if (!stated || !is_counted || !earliest_pts_ || IsMp4(*container_)) return false;
  // Some writers state how long the stream is, others when it ends: counted from the beginning of
  // the file, behind which a video may begin as late as it likes.
  const std::int64_t begin = std::min<std::int64_t>(*earliest_pts_, 0);
  const nanoseconds there = InNanoseconds(latest_pts_end_ - begin, stream_->time_base);
  if (const auto video_duration = TaggedDuration(*container_, *stream_)) {
    return there + milliseconds(200) < *video_duration;
  }
  return !SharesItsDuration(*container_) && stream_->duration > 0 &&
         there + seconds(1) < InNanoseconds(stream_->duration, stream_->time_base);
}

std::uint64_t FileAccount::NeverRead() const {
  // Its index has a place for each; elsewhere the count is what a writer once meant.
  const auto counted = IsMp4(*container_)
                           ? static_cast<std::int64_t>(avformat_index_get_entries_count(stream_))
                           : stream_->nb_frames;
  if (!IsMp4(*container_) && (begins_late_ || !ends_early_ || counted >= kNobodyCounted)) return 0;
  const auto read = passed_over_ + static_cast<std::int64_t>(packets_);
  return static_cast<std::uint64_t>(std::max<std::int64_t>(counted - read, 0));
}

std::uint64_t FileAccount::Missing() const {
  const std::uint64_t silent = counts_ && expected_ > pictures_ ? expected_ - pictures_ : 0;
  return never_read_ + silent;
}

}  // namespace movra::media

#include "media/file/y4m_reader.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "media/capture/camera_failure.h"
#include "media/capture/picture_size.h"
#include "media/file/file_check.h"
#include "media/file/file_end.h"
#include "media/file/played_file.h"
#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using video::CameraInfo;

constexpr std::string_view kFrameMark = "FRAME";
constexpr std::size_t kLongestHeader = 256;
constexpr std::size_t kLongestMark = 80;

class OwnedFile {
 public:
  explicit OwnedFile(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~OwnedFile() {
    if (fd_ >= 0) close(fd_);
  }
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

// The line that begins at the offset, without its end; empty if there is none of that length.
std::string ReadLine(int file, std::int64_t offset, std::size_t longest) {
  std::string line(longest, '\0');
  ssize_t count = 0;
  do {
    count = pread(file, line.data(), line.size(), offset);
  } while (count < 0 && errno == EINTR);
  line.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  const std::size_t end = line.find('\n');
  return end == std::string::npos ? std::string() : line.substr(0, end);
}

std::int64_t SampleBytes(const video::Size& size) {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < PlaneCount(video::PixelFormat::kI420); ++i) {
    const PlaneLayout layout = LayoutOf(video::PixelFormat::kI420, size, i);
    bytes += layout.row_bytes() * static_cast<std::size_t>(layout.samples.height);
  }
  return static_cast<std::int64_t>(bytes);
}

// Where the file's samples go: the rows, with those that touch in one piece.
std::vector<iovec> PiecesOf(WritableFrame& frame) {
  std::vector<iovec> pieces;
  for (std::size_t i = 0; i < PlaneCount(frame.info().format); ++i) {
    const PlaneLayout layout = LayoutOf(frame.info().format, frame.info().size, i);
    std::uint8_t* row = frame.plane(i);
    for (int y = 0; y < layout.samples.height; ++y, row += frame.stride(i)) {
      const bool touches =
          !pieces.empty() &&
          static_cast<std::uint8_t*>(pieces.back().iov_base) + pieces.back().iov_len == row;
      if (touches) {
        pieces.back().iov_len += layout.row_bytes();
      } else {
        pieces.push_back({row, layout.row_bytes()});
      }
    }
  }
  return pieces;
}

// Drops what has been filled.
void Advance(std::vector<iovec>& pieces, std::size_t& first, std::size_t bytes) {
  while (first < pieces.size() && bytes >= pieces[first].iov_len) bytes -= pieces[first++].iov_len;
  if (bytes == 0) return;
  pieces[first].iov_base = static_cast<std::uint8_t*>(pieces[first].iov_base) + bytes;
  pieces[first].iov_len -= bytes;
}

}  // namespace

Y4mReader::~Y4mReader() {
  if (file_ >= 0) close(file_);
}

bool Y4mReader::CanRead(const std::string& path) {
  const FileCheck check = CheckReadableFile(path);
  if (check.error != CameraError::kNone || check.is_pipe) return false;
  const OwnedFile file(path);
  return ParseY4mHeader(ReadLine(file.get(), 0, kLongestHeader)).has_value();
}

CameraInfo Y4mReader::Open(const std::string& path, nanoseconds start) {
  CameraInfo info;
  OwnedFile file(path);
  const std::string line = ReadLine(file.get(), 0, kLongestHeader);
  const auto header = ParseY4mHeader(line);
  struct stat status {};
  if (!header || fstat(file.get(), &status) != 0) {  // It was another file a moment ago.
    return CameraFailure(CameraError::kCannotOpen, "'" + path + "' cannot be opened");
  }
  path_ = path;
  header_ = *header;
  frames_ = 0;
  damaged_frames_ = 0;
  first_frame_offset_ = static_cast<std::int64_t>(line.size()) + 1;
  offset_ = first_frame_offset_;
  if (file_ >= 0) close(file_);
  file_ = file.Release();
  posix_fadvise(file_, 0, 0, POSIX_FADV_SEQUENTIAL);

  info.traits.replayable = true;
  info.natural_size = UprightSize(header_.size, header_.aspect_numerator,
                                  header_.aspect_denominator, video::VideoRotation::k0);
  info.rate_numerator = header_.rate_numerator;
  info.rate_denominator = header_.rate_denominator;
  const auto mark_bytes = static_cast<std::int64_t>(kFrameMark.size()) + 1;
  const auto frames = static_cast<std::uint64_t>((status.st_size - first_frame_offset_) /
                                                 (SampleBytes(header_.size) + mark_bytes));
  const std::uint64_t skipped = SkipTo(start);
  if (skipped > 0 && offset_ >= status.st_size) return StartsBehindItsEnd(path, TimeOf(skipped));
  first_frame_offset_ = offset_;
  info.duration = TimeOf(frames - std::min(frames, skipped));
  return info;
}

std::uint64_t Y4mReader::SkipTo(nanoseconds start) {
  std::uint64_t skipped = 0;
  for (; TimeOf(skipped) < start; ++skipped) {
    // Whatever else stands there is told when it is read.
    if (ReadMark() != Mark::kFrame) return skipped;
    offset_ += SampleBytes(header_.size);
  }
  return skipped;
}

SourceItem Y4mReader::Next() {
  if (interrupted_) return std::monostate();
  const Mark mark = ReadMark();
  if (mark == Mark::kEnd) return End(/*broken_off=*/false);
  if (mark == Mark::kOther) return BreakOff();
  video::PixelFrameInfo like;
  like.color.full_range = header_.full_range;
  like.timestamp = TimeOf(frames_);
  like.sequence = frames_ + damaged_frames_;
  like.damaged_frames = damaged_frames_;
  WritableFrame frame = pool_.Allocate(video::PixelFormat::kI420, header_.size, like);
  if (!ReadSamples(frame)) return BreakOff();
  ++frames_;
  return SourceFrame{std::move(frame).Finish(),
                     UprightSize(header_.size, header_.aspect_numerator, header_.aspect_denominator,
                                 video::VideoRotation::k0)};
}

bool Y4mReader::Rewind() {
  if (frames_ == 0) return false;
  offset_ = first_frame_offset_;
  return true;
}

Y4mReader::Mark Y4mReader::ReadMark() {
  const std::string line = ReadLine(file_, offset_, kLongestMark);
  if (line == kFrameMark || line.starts_with(std::string(kFrameMark) + " ")) {
    offset_ += static_cast<std::int64_t>(line.size()) + 1;
    return Mark::kFrame;
  }
  struct stat status {};
  return fstat(file_, &status) == 0 && offset_ >= status.st_size ? Mark::kEnd : Mark::kOther;
}

bool Y4mReader::ReadSamples(WritableFrame& frame) {
  std::vector<iovec> pieces = PiecesOf(frame);
  std::size_t first = 0;
  while (first < pieces.size()) {
    const auto count = static_cast<int>(std::min<std::size_t>(pieces.size() - first, IOV_MAX));
    const ssize_t bytes = preadv(file_, pieces.data() + first, count, offset_);
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes <= 0) return false;
    offset_ += bytes;
    Advance(pieces, first, static_cast<std::size_t>(bytes));
  }
  return true;
}

nanoseconds Y4mReader::TimeOf(std::uint64_t frame) const {
  constexpr std::int64_t kSecond = 1'000'000'000;
  constexpr std::int64_t kLastSecond = 1'000'000'000;
  const std::int64_t numerator = header_.rate_numerator;
  std::int64_t units = 0;
  const bool too_long = __builtin_mul_overflow(frame, header_.rate_denominator, &units);
  // A header may state a picture in a lifetime. From the end of time on they follow closely.
  if (too_long || units / numerator >= kLastSecond) {
    return nanoseconds(kLastSecond * kSecond + static_cast<std::int64_t>(frame));
  }
  const std::int64_t rest = units % numerator;
  return nanoseconds(units / numerator * kSecond + (rest * kSecond + numerator / 2) / numerator);
}

video::StreamEnd Y4mReader::BreakOff() {
  ++damaged_frames_;
  return End(/*broken_off=*/true);
}

video::StreamEnd Y4mReader::End(bool broken_off) const {
  return EndOfFile(path_, {.delivered_frames = frames_,
                           .damaged_frames = damaged_frames_,
                           .duration = TimeOf(frames_),
                           .broken_off = broken_off});
}

std::unique_ptr<FrameSource> MakeY4mSource(const std::string& path, const Playback& playback) {
  if (!Y4mReader::CanRead(path)) return nullptr;
  return std::make_unique<PlayedFile<Y4mReader>>(path, playback);
}

}  // namespace movra::media

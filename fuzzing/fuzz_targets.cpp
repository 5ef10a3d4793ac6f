#include "fuzzing/fuzz_targets.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <variant>

#include "media/frame/frame_layout.h"

namespace movra::fuzzing {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "this does not hold: %s\n", what);
  std::abort();
}

std::string TextOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

MemoryFile::MemoryFile(Bytes bytes) : fd_(memfd_create("fuzz", MFD_CLOEXEC)) {
  Require(write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
          "there is memory for the file");
}

MemoryFile::~MemoryFile() { close(fd_); }

std::string MemoryFile::path() const { return "/proc/self/fd/" + std::to_string(fd_); }

bool ItemChecker::Check(const media::SourceItem& item) {
  const auto* const source = std::get_if<media::SourceFrame>(&item);
  if (source == nullptr) return false;
  const video::PixelFrameInfo& info = source->frame.info();
  std::uint64_t sum = 0;
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < media::PlaneCount(info.format); ++i) {
    const media::PlaneLayout layout = media::LayoutOf(info.format, info.size, i);
    for (int y = 0; y < layout.samples.height; ++y) {
      const std::uint8_t* const row =
          info.planes[i].data + std::ptrdiff_t{y} * info.planes[i].stride;
      for (std::size_t x = 0; x < layout.row_bytes(); ++x) sum += row[x];
      count += layout.row_bytes();
    }
  }
  Require(count > 0 && sum <= 255 * count, "there are samples");  // All of them were read.
  Require(info.timestamp.count() > last_timestamp_, "time stamps grow");
  Require(static_cast<std::int64_t>(info.sequence) > last_sequence_, "sequence numbers grow");
  Require(info.damaged_frames >= last_damaged_, "damage is never taken back");
  Require(source->upright_size.width > 0 && source->upright_size.height > 0, "there is a size");
  // Of ITU-T H.273, which has given meanings to no more so far.
  const auto is_code = [](std::int32_t code) { return code >= 0 && code < 32; };
  Require(
      is_code(info.color.primaries) && is_code(info.color.transfer) && is_code(info.color.matrix),
      "colours have a code");
  last_timestamp_ = info.timestamp.count();
  last_sequence_ = static_cast<std::int64_t>(info.sequence);
  last_damaged_ = info.damaged_frames;
  return true;
}

}  // namespace movra::fuzzing

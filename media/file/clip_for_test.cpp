#include "media/file/clip_for_test.h"

#include <sched.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "media/camera/test_picture.h"
#include "media/frame/frame_layout.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;

void WriteFrame(std::FILE* out, const video::PixelFrame& frame) {
  std::fputs("FRAME\n", out);
  const video::PixelFrameInfo& info = frame.info();
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const PlaneLayout layout = LayoutOf(info.format, info.size, i);
    for (int y = 0; y < layout.samples.height; ++y) {
      std::fwrite(info.planes[i].data + std::ptrdiff_t{y} * info.planes[i].stride, 1,
                  layout.row_bytes(), out);
    }
  }
}

// Programs that this thread starts meanwhile see one processor. What encoders write depends on how
// many there are.
class OneProcessor {
 public:
  OneProcessor() {
    CPU_ZERO(&before_);
    if (sched_getaffinity(0, sizeof before_, &before_) != 0) throw std::runtime_error("processors");
    int first = 0;
    while (!CPU_ISSET(first, &before_)) ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    sched_setaffinity(0, sizeof one, &one);
  }
  ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t before_;
};

}  // namespace

ClipDirectory::ClipDirectory() = default;

std::string ClipDirectory::Make(const std::string& name, const std::string& arguments, int frames,
                                video::Size size) const {
  const std::string command = "cd '" + directory_.path().string() +
                              "' && ffmpeg -v error -y -f yuv4mpegpipe -i - " + arguments + " '" +
                              name + "'";
  const OneProcessor one;
  std::FILE* const pipe = popen(command.c_str(), "w");
  if (pipe == nullptr) throw std::runtime_error("no pipe to ffmpeg");
  std::fprintf(pipe, "YUV4MPEG2 W%d H%d F30:1 Ip A1:1 C420mpeg2\n", size.width, size.height);
  const TestPicture picture(size);
  FramePool pool;
  for (int i = 0; i < frames; ++i) {
    const std::chrono::nanoseconds time(std::int64_t{i} * 1'000'000'000 / 30);
    WriteFrame(pipe, picture.Draw(static_cast<std::uint64_t>(i), time, pool));
  }
  if (pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
  return Path(name);
}

std::string ClipDirectory::MakeTurned(const std::string& name, int frames, video::Size size) const {
  Make("lying-" + name, "-c:v libx264 -preset veryfast -crf 20 -vf transpose=cclock", frames, size);
  // The option counts counter-clockwise: this asks for a quarter turn clockwise.
  RunFfmpeg("-i 'lying-" + name + "' -c copy -metadata:s:v rotate=270 '" + name + "'");
  return Path(name);
}

void ClipDirectory::SetDisplayMatrix(const std::string& path, int x_to_x, int x_to_y, int y_to_x,
                                     int y_to_y) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // In the track's header, behind its name, of nine numbers of four bytes; these are 16.16.
  std::size_t at = bytes.find("tkhd");
  if (at == std::string::npos) throw std::runtime_error("no track in " + path);
  at += 4 + 40;
  for (const auto& [index, value] : {std::pair{0U, x_to_x}, std::pair{1U, x_to_y},
                                     std::pair{3U, y_to_x}, std::pair{4U, y_to_y}}) {
    const auto high = static_cast<std::uint16_t>(value);
    bytes[at + 4 * index] = static_cast<char>(high >> 8);
    bytes[at + 4 * index + 1] = static_cast<char>(high & 0xFF);
    bytes[at + 4 * index + 2] = 0;
    bytes[at + 4 * index + 3] = 0;
  }
  std::ofstream(path, std::ios::binary) << bytes;
}

void ClipDirectory::RunFfmpeg(const std::string& arguments) const {
  const std::string command =
      "cd '" + directory_.path().string() + "' && ffmpeg -v error -nostdin -y " + arguments;
  const OneProcessor one;
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

std::string ClipDirectory::MakeTruncated(const std::string& source, const std::string& name,
                                         double share) const {
  const auto bytes = static_cast<double>(fs::file_size(source)) * share;
  fs::copy_file(source, Path(name));
  fs::resize_file(Path(name), static_cast<std::uintmax_t>(bytes));
  return Path(name);
}

std::string ClipDirectory::MakeText(const std::string& name, const std::string& text) const {
  std::ofstream(Path(name)) << text;
  return Path(name);
}

}  // namespace movra::media

#include "app/clip_matrix_for_test.h"

#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/process_for_test.h"
#include "media/camera/frame_marker.h"

namespace movra::app {
namespace {

using media::ClipDirectory;
using video::Size;

std::size_t LumaBytes(const Size& size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

std::size_t FrameBytes(const Size& size) {
  return LumaBytes(size) + 2 * LumaBytes({(size.width + 1) / 2, (size.height + 1) / 2});
}

std::string SizeText(const Size& size, const char* between) {
  return std::to_string(size.width) + between + std::to_string(size.height);
}

std::string RawName(std::size_t index) { return "raw" + std::to_string(index) + ".yuv"; }

Pictures ReadRaw(const ClipDirectory& clips, const std::string& name, const Size& size) {
  std::string bytes(std::filesystem::file_size(clips.Path(name)), '\0');
  std::ifstream(clips.Path(name), std::ios::binary)
      .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  Pictures pictures{size, {}};
  const std::size_t frame = FrameBytes(size);
  for (std::size_t at = 0; at + frame <= bytes.size(); at += frame) {
    pictures.frames.push_back(bytes.substr(at, frame));
  }
  return pictures;
}

double SquareSum(const std::string& a, const std::string& b, std::size_t begin, std::size_t end) {
  double sum = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const int difference = static_cast<std::uint8_t>(a[i]) - static_cast<std::uint8_t>(b[i]);
    sum += difference * difference;
  }
  return sum;
}

double ToDecibels(double square_sum, std::size_t count) {
  constexpr double kSame = 99;
  if (square_sum == 0) return kSame;
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) / square_sum);
}

}  // namespace

std::vector<std::optional<std::uint32_t>> Pictures::Numbers() const {
  std::vector<std::optional<std::uint32_t>> numbers;
  for (const std::string& frame : frames) {
    const auto* const luma = reinterpret_cast<const std::uint8_t*>(frame.data());
    numbers.push_back(media::ReadFrameMarker(luma, size.width, size));
  }
  return numbers;
}

Psnr Compare(const Pictures& a, const Pictures& b) {
  const std::size_t luma = LumaBytes(a.size);
  const std::size_t whole = FrameBytes(a.size);
  double luma_sum = 0;
  double chroma_sum = 0;
  for (std::size_t i = 0; i < a.frames.size(); ++i) {
    luma_sum += SquareSum(a.frames[i], b.frames.at(i), 0, luma);
    chroma_sum += SquareSum(a.frames[i], b.frames[i], luma, whole);
  }
  return {ToDecibels(luma_sum, luma * a.frames.size()),
          ToDecibels(chroma_sum, (whole - luma) * a.frames.size())};
}

std::vector<Pictures> ReadPictures(const ClipDirectory& clips,
                                   const std::vector<StoredVideo>& videos) {
  std::string inputs;
  std::string outputs;
  for (std::size_t i = 0; i < videos.size(); ++i) {
    inputs += " -i '" + videos[i].file + "'";
    outputs += " -map " + std::to_string(i) + " -vsync passthrough -f rawvideo " + RawName(i);
  }
  clips.RunFfmpeg(inputs + outputs);
  std::vector<Pictures> pictures;
  pictures.reserve(videos.size());
  for (const StoredVideo& video : videos) {
    pictures.push_back(ReadRaw(clips, RawName(pictures.size()), video.size));
  }
  return pictures;
}

std::vector<Pictures> ScaleByFfmpeg(const ClipDirectory& clips, const std::string& file,
                                    const std::string& filter, const std::vector<Size>& sizes,
                                    const std::string& colors) {
  const std::string count = std::to_string(sizes.size());
  std::string graph = "[0:v:0]" + filter + ",split=" + count;
  std::string chains;
  std::string outputs;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const std::string number = std::to_string(i);
    graph += "[in" + number + "]";
    chains += ";[in" + number + "]scale=" + SizeText(sizes[i], ":") +
              ":flags=bilinear+accurate_rnd" + colors + ",format=yuv420p[out" + number + "]";
    outputs += " -map '[out" + number + "]' -vsync passthrough -f rawvideo " + RawName(i);
  }
  clips.RunFfmpeg("-i '" + file + "' -filter_complex '" + graph + chains + "'" + outputs);
  std::vector<Pictures> pictures;
  for (const Size& size : sizes) {
    pictures.push_back(ReadRaw(clips, RawName(pictures.size()), size));
  }
  return pictures;
}

std::vector<Pictures> EncodeByFfmpeg(const ClipDirectory& clips,
                                     const std::vector<EncodeTask>& tasks) {
  std::string inputs;
  std::string outputs;
  std::vector<StoredVideo> encoded;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    const EncodeTask& task = tasks[i];
    {
      std::ofstream raw(clips.Path(RawName(i)), std::ios::binary);
      for (const std::string& frame : task.pictures.frames) raw << frame;
    }
    inputs += " -f rawvideo -pix_fmt yuv420p -video_size " + SizeText(task.pictures.size, "x") +
              " -framerate " + std::to_string(task.frame_rate_fps) + " -i " + RawName(i);
    const std::string rate = std::to_string(task.bitrate_bps);
    encoded.push_back({"encoded" + std::to_string(i) + ".mkv", task.pictures.size});
    outputs += " -map " + std::to_string(i) +
               " -c:v libx264 -preset veryfast -tune zerolatency -threads 1 -bf 0 -g 100000 -b:v " +
               rate + " -maxrate " + rate + " -bufsize " + rate + " " + encoded.back().file;
  }
  clips.RunFfmpeg(inputs + outputs);
  return ReadPictures(clips, encoded);
}

std::string ColorsOf(const std::string& path) {
  const ProcessResult result =
      RunProcess({.words = {"ffprobe", "-v", "error", "-show_entries",
                            "stream=color_range,color_space,color_transfer,color_primaries", "-of",
                            "default=noprint_wrappers=1:nokey=1", path}});
  std::istringstream lines(result.out);
  std::string text;
  for (std::string line; std::getline(lines, line);) text += (text.empty() ? "" : " ") + line;
  return text;
}

}  // namespace movra::app

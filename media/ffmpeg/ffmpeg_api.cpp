#include "media/ffmpeg/ffmpeg_api.h"

#include "media/ffmpeg/ffmpeg_log.h"

namespace movra::media {
namespace {

// A library's structures are those of its major version, which is part of its file's name.
std::string FileName(const char* library, int major) {
  return "lib" + std::string(library) + ".so." + std::to_string(major);
}

std::string Load() {
  LibraryLoader loader;
#define MOVRA_BIND(name) loader.Bind(#name, name);
  loader.Open(FileName("avutil", LIBAVUTIL_VERSION_MAJOR));
  MOVRA_AVUTIL_FUNCTIONS(MOVRA_BIND)
  loader.Open(FileName("swscale", LIBSWSCALE_VERSION_MAJOR));
  MOVRA_SWSCALE_FUNCTIONS(MOVRA_BIND)
  loader.Open(FileName("avcodec", LIBAVCODEC_VERSION_MAJOR));
  MOVRA_AVCODEC_FUNCTIONS(MOVRA_BIND)
  loader.Open(FileName("avformat", LIBAVFORMAT_VERSION_MAJOR));
  MOVRA_AVFORMAT_FUNCTIONS(MOVRA_BIND)
#undef MOVRA_BIND
  if (loader.error().empty()) RouteFfmpegLog();
  return loader.error();
}

}  // namespace

std::string LoadFfmpeg() {
  static const std::string error = Load();
  return error;
}

}  // namespace movra::media

#include "media/ffmpeg/ffmpeg_log.h"

#include <cstdarg>
#include <string>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/ffmpeg/decoder_complaints.h"
#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

void NoteComplaint(void* context) {
  if (context == nullptr || *static_cast<const AVClass**>(context) != avcodec_get_class()) return;
  const auto& codec = *static_cast<const AVCodecContext*>(context);
  DecoderComplaints::AddOf(codec.opaque, codec.reordered_opaque);
}

void Log(void* context, int level, const char* format, std::va_list arguments) {
  if (level > AV_LOG_WARNING) return;
  if (level <= AV_LOG_ERROR) NoteComplaint(context);
  const int our_level =
      level <= AV_LOG_ERROR ? movra_logging::kLogLevelWarning : movra_logging::kLogLevelInfo;
  if (!movra_logging::ShouldCreateLogMessage(our_level)) return;
  char text[1024];
  int with_prefix = 1;
  av_log_format_line2(context, level, format, arguments, text, sizeof text, &with_prefix);
  std::string line = text;
  while (!line.empty() && line.back() == '\n') line.pop_back();
  if (line.empty()) return;
  LogStream("../media/ffmpeg/ffmpeg_log", __LINE__, __func__, our_level, nullptr) << line;
}

}  // namespace

void RouteFfmpegLog() { av_log_set_callback(&Log); }

}  // namespace movra::media

#include "media/ffmpeg/ffmpeg_ptr.h"

#include <array>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace movra::media {

void AvDeleter::operator()(AVCodecContext* context) const { avcodec_free_context(&context); }

void AvDeleter::operator()(AVFrame* frame) const { av_frame_free(&frame); }

void AvDeleter::operator()(AVPacket* packet) const { av_packet_free(&packet); }

void AvDeleter::operator()(SwsContext* context) const { sws_freeContext(context); }

void AvInputDeleter::operator()(AVFormatContext* context) const { avformat_close_input(&context); }

void AvOutputDeleter::operator()(AVFormatContext* context) const { avformat_free_context(context); }

std::string ErrorText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_make_error_string(text.data(), text.size(), error);
  return text.data();
}

}  // namespace movra::media

#include "media/ffmpeg/ffmpeg_ptr.h"

#include <array>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {

void AvDeleter::operator()(AVCodecContext* context) const { avcodec_free_context(&context); }

void AvDeleter::operator()(AVIOContext* context) const {
  av_freep(&context->buffer);
  avio_context_free(&context);
}

void AvDeleter::operator()(AVFrame* frame) const { av_frame_free(&frame); }

void AvDeleter::operator()(AVPacket* packet) const { av_packet_free(&packet); }

void AvDeleter::operator()(SwsContext* context) const { sws_freeContext(context); }

void AvFileDeleter::operator()(AVIOContext* file) const { avio_close(file); }

void AvInputDeleter::operator()(AVFormatContext* context) const { avformat_close_input(&context); }

void AvOutputDeleter::operator()(AVFormatContext* context) const { avformat_free_context(context); }

std::string ErrorText(int error) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

}  // namespace movra::media

#include "media/ffmpeg/decode_for_test.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"

namespace movra::media {
namespace {

constexpr AVRational kNanoseconds{1, 1'000'000'000};

std::chrono::nanoseconds ToNanoseconds(std::int64_t value, AVRational time_base) {
  if (value == AV_NOPTS_VALUE) return std::chrono::nanoseconds(-1);
  return std::chrono::nanoseconds(av_rescale_q(value, time_base, kNanoseconds));
}

DecodedPicture ToPicture(const AVFrame& frame, AVRational time_base) {
  DecodedPicture picture;
  picture.size = {frame.width, frame.height};
  picture.timestamp = ToNanoseconds(frame.pts, time_base);
  picture.key_frame = frame.key_frame != 0;
  picture.color = {frame.color_primaries, frame.color_trc, frame.colorspace,
                   frame.color_range == AVCOL_RANGE_JPEG};
  for (int y = 0; y < frame.height; ++y) {
    const std::uint8_t* const row = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
    picture.luma.insert(picture.luma.end(), row, row + frame.width);
  }
  return picture;
}

class Decoder {
 public:
  explicit Decoder(const AVCodecParameters* parameters)
      : context_(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))) {
    if (parameters != nullptr) avcodec_parameters_to_context(context_.get(), parameters);
    context_->thread_count = 1;
    EXPECT_GE(avcodec_open2(context_.get(), nullptr, nullptr), 0);
  }

  // A null packet drains.
  void Send(const AVPacket* packet, AVRational time_base, std::vector<DecodedPicture>& pictures) {
    EXPECT_GE(avcodec_send_packet(context_.get(), packet), 0);
    while (avcodec_receive_frame(context_.get(), frame_.get()) >= 0) {
      EXPECT_EQ(frame_->decode_error_flags, 0);
      pictures.push_back(ToPicture(*frame_, time_base));
    }
  }

 private:
  const AvCodecContextPtr context_;
  const AvFramePtr frame_{av_frame_alloc()};
};

}  // namespace

std::vector<DecodedPicture> DecodePackets(const std::vector<std::vector<std::uint8_t>>& packets) {
  EXPECT_EQ(LoadFfmpeg(), "");
  std::vector<DecodedPicture> pictures;
  Decoder decoder(nullptr);
  for (const auto& bytes : packets) {
    const AvPacketPtr packet(av_packet_alloc());
    EXPECT_GE(av_new_packet(packet.get(), static_cast<int>(bytes.size())), 0);
    std::copy(bytes.begin(), bytes.end(), packet->data);
    decoder.Send(packet.get(), kNanoseconds, pictures);
  }
  decoder.Send(nullptr, kNanoseconds, pictures);
  return pictures;
}

DecodedFile DecodeFile(const std::string& path) {
  DecodedFile file;
  EXPECT_EQ(LoadFfmpeg(), "");
  AVFormatContext* opened = nullptr;
  int result = avformat_open_input(&opened, path.c_str(), nullptr, nullptr);
  const AvInputPtr input(opened);
  if (result >= 0) result = avformat_find_stream_info(input.get(), nullptr);
  if (result < 0 || input->nb_streams != 1) {
    file.error = result < 0 ? ErrorText(result) : "not one stream";
    return file;
  }
  const AVStream& stream = *input->streams[0];
  file.container = input->iformat->name;
  file.header_size = {stream.codecpar->width, stream.codecpar->height};
  file.header_color = {stream.codecpar->color_primaries, stream.codecpar->color_trc,
                       stream.codecpar->color_space,
                       stream.codecpar->color_range == AVCOL_RANGE_JPEG};
  if (input->duration != AV_NOPTS_VALUE) {
    file.duration = ToNanoseconds(input->duration, AVRational{1, AV_TIME_BASE});
  }
  Decoder decoder(stream.codecpar);
  const AvPacketPtr packet(av_packet_alloc());
  while ((result = av_read_frame(input.get(), packet.get())) >= 0) {
    decoder.Send(packet.get(), stream.time_base, file.pictures);
    av_packet_unref(packet.get());
  }
  decoder.Send(nullptr, stream.time_base, file.pictures);
  if (result != AVERROR_EOF) file.error = ErrorText(result);
  return file;
}

namespace {

// Of the columns from the left on.
double ColumnsPsnr(const video::PixelFrame& frame, const DecodedPicture& picture, int columns) {
  const video::PixelFrameInfo& info = frame.info();
  if (info.size != picture.size) return -1;
  double squares = 0;
  const std::uint8_t* decoded = picture.luma.data();
  for (int y = 0; y < info.size.height; ++y, decoded += info.size.width) {
    const std::uint8_t* const row = info.planes[0].data + std::ptrdiff_t{y} * info.planes[0].stride;
    for (int x = 0; x < columns; ++x) {
      const double difference = double{1} * row[x] - decoded[x];
      squares += difference * difference;
    }
  }
  const double mean = squares / (double{1} * columns * info.size.height);
  return mean == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mean);
}

}  // namespace

double LumaPsnr(const video::PixelFrame& frame, const DecodedPicture& picture) {
  return ColumnsPsnr(frame, picture, frame.info().size.width);
}

double LeftLumaPsnr(const video::PixelFrame& frame, const DecodedPicture& picture) {
  return ColumnsPsnr(frame, picture, frame.info().size.width / 2);
}

}  // namespace movra::media

#ifndef MOVRA_MEDIA_FFMPEG_FFMPEG_PTR_H_
#define MOVRA_MEDIA_FFMPEG_FFMPEG_PTR_H_

#include <memory>
#include <string>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;
struct SwsContext;

// Owners of FFmpeg's C objects: each is freed by the function that belongs to its allocation, once,
// when the owner goes. FFmpeg's own headers are not needed to hold one.

namespace movra::media {

struct AvDeleter {
  void operator()(AVIOContext* context) const;  // With its buffer.
  void operator()(AVCodecContext* context) const;
  void operator()(AVFrame* frame) const;
  void operator()(AVPacket* packet) const;
  void operator()(SwsContext* context) const;
};

// A file that FFmpeg opened, which is not what it is to free an AVIOContext of our own.
struct AvFileDeleter {
  void operator()(AVIOContext* file) const;
};

// Input and output contexts leave their AVIO to whoever made it.
struct AvInputDeleter {
  void operator()(AVFormatContext* context) const;
};
struct AvOutputDeleter {
  void operator()(AVFormatContext* context) const;
};

using AvInputPtr = std::unique_ptr<AVFormatContext, AvInputDeleter>;
using AvOutputPtr = std::unique_ptr<AVFormatContext, AvOutputDeleter>;
using AvCodecContextPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using AvFilePtr = std::unique_ptr<AVIOContext, AvFileDeleter>;
using AvIoPtr = std::unique_ptr<AVIOContext, AvDeleter>;
using AvFramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using AvPacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using SwsContextPtr = std::unique_ptr<SwsContext, AvDeleter>;

// FFmpeg's words for one of its error codes, "No such file or directory".
[[nodiscard]] std::string ErrorText(int error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_FFMPEG_PTR_H_

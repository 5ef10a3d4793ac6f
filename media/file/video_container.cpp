#include "media/file/video_container.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "media/ffmpeg/av_options.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/format_name.h"

namespace movra::media {
namespace {

constexpr char kWhatIsPlayed[] =
    "only files that hold all of their video are played, such as MP4, MOV, Matroska, WebM, "
    "MPEG-TS, AVI, Y4M and bare H.264";

// FFmpeg's names of the containers that hold their own samples, by the first of each. Not among
// them: whatever names other files or addresses (concat, dash, hls, image2, imf, sdp, rtsp, svg
// ...), sound alone, text, and formats that hardly anybody has and nobody looks after.
constexpr std::array<std::string_view, 32> kContainers{
    "apng", "asf",      "av1",   "avi",      "bmp_pipe",  "dv",       "flv",       "gif",
    "h261", "h263",     "h264",  "hevc",     "ivf",       "j2k_pipe", "jpeg_pipe", "live_flv",
    "m4v",  "matroska", "mjpeg", "mov",      "mpeg",      "mpegts",   "mpegvideo", "mxf",
    "nut",  "obu",      "ogg",   "png_pipe", "tiff_pipe", "vc1",      "webp_pipe", "yuv4mpegpipe"};

bool HoldsItsOwnSamples(const AVInputFormat& format) {
  return std::find(kContainers.begin(), kContainers.end(), FormatName(format)) != kContainers.end();
}

Failure<CameraError> NotAVideo(int error) {
  return {CameraError::kNotAVideo,
          "is not a video, or its beginning is damaged (" + ErrorText(error) + ")"};
}

// Of an MP4 from a pipe, once its index was read. What is still in the buffer can be gone back to.
bool CanReachItsSamples(AVFormatContext& context) {
  if (context.pb->seekable != 0) return true;
  if (FormatName(*context.iformat) != "mov") return true;
  const std::int64_t here = avio_seek(context.pb, 0, SEEK_CUR);
  for (unsigned i = 0; i < context.nb_streams; ++i) {
    const AVIndexEntry* const first = avformat_index_get_entry(context.streams[i], 0);
    if (first == nullptr || first->pos >= here) continue;
    if (avio_seek(context.pb, first->pos, SEEK_SET) < 0) return false;
    avio_seek(context.pb, here, SEEK_SET);
  }
  return true;
}

int IsInterrupted(void* interrupted) {
  const auto* const flag = static_cast<const std::atomic<bool>*>(interrupted);
  return flag != nullptr && *flag ? 1 : 0;
}

AVIOInterruptCB InterruptedBy(const std::atomic<bool>* interrupted) {
  return {&IsInterrupted, const_cast<std::atomic<bool>*>(interrupted)};
}

}  // namespace

std::optional<Failure<CameraError>> VideoContainer::Open(const std::string& path, AVIOContext* pipe,
                                                         const std::atomic<bool>* interrupted) {
  path_ = path;
  interrupted_ = interrupted;
  if (pipe == nullptr) {
    if (const int error = OpenFile(); error < 0) {
      return Failure<CameraError>{CameraError::kCannotOpen,
                                  "cannot be opened (" + ErrorText(error) + ")"};
    }
  }
  AVIOContext* const io = pipe != nullptr ? pipe : file_.get();
  // By what it holds alone: a name may look like a pattern of names.
  const int probed = av_probe_input_buffer2(io, &format_, "", nullptr, 0, 0);
  // Reading may have failed as well.
  if (probed == AVERROR_INVALIDDATA && io->bytes_read == 0) {
    return Failure<CameraError>{CameraError::kEmptyFile, "is empty"};
  }
  if (probed < 0) return NotAVideo(probed);
  if (!HoldsItsOwnSamples(*format_)) {
    return Failure<CameraError>{CameraError::kNotAVideo, "has no video of its own in it but is '" +
                                                             std::string(format_->name) + "' (" +
                                                             format_->long_name + "); " +
                                                             kWhatIsPlayed};
  }
  const int error = OpenContext(io);
  if (!refused_.empty()) {
    return Failure<CameraError>{
        CameraError::kNotAVideo,
        "refers to '" + refused_ + "', which is not opened: " + kWhatIsPlayed};
  }
  if (pipe != nullptr && error == AVERROR(EIO) && FormatName(*format_) == "gif") {
    return Failure<CameraError>{CameraError::kUnsupported,
                                "is a GIF, which cannot be read from a pipe; it has to be a file"};
  }
  if (index_is_behind_) {
    return Failure<CameraError>{
        CameraError::kUnsupported,
        "is an MP4 or MOV whose index stands at its end, which cannot be read from a pipe; it "
        "has to be a file, or to have its index in front (ffmpeg -movflags +faststart)"};
  }
  if (error < 0) return NotAVideo(error);
  return std::nullopt;
}

bool VideoContainer::Reopen() {
  if (file_ == nullptr || avio_seek(file_.get(), 0, SEEK_SET) < 0) return false;
  context_.reset();
  return OpenContext(file_.get()) >= 0;
}

int VideoContainer::OpenFile() {
  AvOptions options;
  options.Set("protocol_whitelist", "file");
  const AVIOInterruptCB interrupt = InterruptedBy(interrupted_);
  AVIOContext* file = nullptr;
  // The prefix keeps a file whose name looks like an address from being taken for one.
  const std::string url = "file:" + path_;
  const int error = avio_open2(&file, url.c_str(), AVIO_FLAG_READ, &interrupt, options.get());
  file_.reset(file);
  return error;
}

int VideoContainer::OpenContext(AVIOContext* io) {
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) return AVERROR(ENOMEM);
  context->interrupt_callback = InterruptedBy(interrupted_);
  context->pb = io;
  context->opaque = this;
  context->io_open = &Refuse;
  AvOptions options;
  // Some demuxers open others, or protocols, without asking.
  options.Set("format_whitelist", format_->name);
  options.Set("protocol_whitelist", "none");
  // A movie's references are left out in silence, unless all of them may be opened. They are opened
  // by asking, and the answer is no.
  options.Set("enable_drefs", "1");
  options.Set("use_absolute_path", "1");
  // The context is freed where this fails.
  if (const int error = avformat_open_input(&context, path_.c_str(), format_, options.get());
      error < 0) {
    return error;
  }
  context_.reset(context);
  if (!CanReachItsSamples(*context)) {
    index_is_behind_ = true;
    return AVERROR(ESPIPE);
  }
  return avformat_find_stream_info(context, nullptr);
}

int VideoContainer::Refuse(AVFormatContext* context, AVIOContext** /*io*/, const char* url,
                           int /*flags*/, AVDictionary** /*options*/) {
  std::string& refused = static_cast<VideoContainer*>(context->opaque)->refused_;
  if (refused.empty()) refused = url;
  return AVERROR(EPERM);
}

}  // namespace movra::media

#ifndef MOVRA_MEDIA_FILE_VIDEO_CONTAINER_H_
#define MOVRA_MEDIA_FILE_VIDEO_CONTAINER_H_

#include <atomic>
#include <optional>
#include <string>

#include "media/capture/camera_error.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/result/result.h"

struct AVDictionary;
struct AVInputFormat;

namespace movra::media {

// A file or pipe that holds a video, opened for FFmpeg to read; and nothing else is opened.
//
// FFmpeg takes a file for what its bytes say, whatever it is called: a playlist fetches addresses,
// a session description listens for senders, a list of files opens them and itself, a movie may
// keep its samples elsewhere. Whoever is given a video and plays it must not be made to do any of
// this, so only containers that hold their own samples are accepted, by name, and what these refer
// to is not opened but told.
//
// One thread at a time; `interrupted` of Open may change on any.
class VideoContainer {
 public:
  VideoContainer() = default;
  VideoContainer(const VideoContainer&) = delete;
  VideoContainer& operator=(const VideoContainer&) = delete;

  // Once. Reads from `pipe`, or from the regular file at the path if that is null. Both arguments
  // outlive the container; reading fails once `interrupted` is set. Nothing, or what is wrong: a
  // text that goes behind the file's name, "is not a video".
  [[nodiscard]] std::optional<Failure<CameraError>> Open(
      const std::string& path, AVIOContext* pipe = nullptr,
      const std::atomic<bool>* interrupted = nullptr);

  // Once it is open: begins again at the file's first byte, with a new context. False of a pipe,
  // and where the file is no longer what it was; there may be no context then.
  [[nodiscard]] bool Reopen();

  // Null unless open.
  [[nodiscard]] AVFormatContext* get() const { return context_.get(); }
  AVFormatContext* operator->() const { return context_.get(); }
  AVFormatContext& operator*() const { return *context_; }

 private:
  // What FFmpeg calls to open anything more.
  static int Refuse(AVFormatContext* context, AVIOContext** io, const char* url, int flags,
                    AVDictionary** options);

  // These answer 0 or FFmpeg's error.
  int OpenFile();
  int OpenContext(AVIOContext* io);

  std::string path_;
  const AVInputFormat* format_ = nullptr;
  const std::atomic<bool>* interrupted_ = nullptr;
  std::string refused_;           // The first thing that was to be opened besides.
  bool index_is_behind_ = false;  // The samples went by before anything told where they are.
  AvFilePtr file_;                // Null for a pipe. Outlives the context.
  AvInputPtr context_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_VIDEO_CONTAINER_H_

#ifndef MOVRA_MEDIA_FILE_PLAYED_FILE_H_
#define MOVRA_MEDIA_FILE_PLAYED_FILE_H_

#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "media/capture/frame_source.h"
#include "media/file/playback.h"
#include "video/camera_service.h"

namespace movra::media {

// A video file as a camera, whatever reads it. A Reader has
//   CameraInfo Open(const std::string& path, nanoseconds start);
//                                              // What it is, or why it cannot be read. Its first
//                                              // frame is the first that is shown from `start` on.
//   SourceItem Next();                         // A frame, nothing, or the end.
//   bool Rewind();                             // To the first frame; time stamps go on growing.
//   void Interrupt();                          // As FrameSource's.
template <class Reader>
class PlayedFile final : public FrameSource {
 public:
  template <class... ReaderArgs>
  PlayedFile(std::string path, const Playback& playback, ReaderArgs&&... reader_args)
      : path_(std::move(path)),
        playback_(playback),
        reader_(std::forward<ReaderArgs>(reader_args)...) {}

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override {
    if (info_) return *info_;
    info_ = reader_.Open(path_, playback_.start);
    info_->traits.has_end = !playback_.loop;
    info_->traits.keeps_time = playback_.realtime;
    info_->traits.rate_is_fixed = true;
    return *info_;
  }
  // A file that was described is open already.
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& /*request*/) override {
    return Describe();
  }

  [[nodiscard]] SourcePolicy Policy() const override {
    if (playback_.realtime) return {.delivery = video::FrameDelivery::kLive, .paced = true};
    return {.delivery = video::FrameDelivery::kLossless, .paced = false};
  }

  [[nodiscard]] SourceItem Read(const CaptureRequest& /*request*/) override {
    SourceItem item = reader_.Next();
    const bool ended = std::holds_alternative<video::StreamEnd>(item);
    return ended && playback_.loop && reader_.Rewind() ? reader_.Next() : std::move(item);
  }

  void Interrupt() override { reader_.Interrupt(); }

 private:
  const std::string path_;
  const Playback playback_;
  Reader reader_;
  std::optional<video::CameraInfo> info_;  // Once it was opened.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_PLAYED_FILE_H_

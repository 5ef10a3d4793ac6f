#ifndef MOVRA_MEDIA_FILE_Y4M_READER_H_
#define MOVRA_MEDIA_FILE_Y4M_READER_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "media/capture/frame_source.h"
#include "media/file/playback.h"
#include "media/file/y4m_header.h"
#include "media/frame/frame_pool.h"
#include "video/camera_service.h"
#include "video/pixel_frame.h"

namespace movra::media {

// Reads YUV4MPEG2 files: pictures without compression, each copied once, from the file into memory
// of the pool. Nothing that such a file needs is worth loading a library of codecs.
//
// One thread at a time; Interrupt comes from any.
class Y4mReader {
 public:
  Y4mReader() = default;
  ~Y4mReader();
  Y4mReader(const Y4mReader&) = delete;
  Y4mReader& operator=(const Y4mReader&) = delete;

  // Whether the path names a file that can be read here; others may be able to read the rest.
  [[nodiscard]] static bool CanRead(const std::string& path);

  // What it is, or why it cannot be read. The first frame is the first that is shown from `start`
  // on, and has the time stamp 0.
  [[nodiscard]] video::CameraInfo Open(
      const std::string& path, std::chrono::nanoseconds start = std::chrono::nanoseconds(0));

  // The next frame; then the end, which says so if the file stops within a frame or holds something
  // else where a frame should begin. Nothing when interrupted.
  [[nodiscard]] SourceItem Next();

  // Goes back to that frame; time stamps go on growing. False if there was none.
  [[nodiscard]] bool Rewind();

  void Interrupt() { interrupted_ = true; }

 private:
  // Whether a frame's header stands here; it is passed over.
  enum class Mark { kFrame, kEnd, kOther };
  [[nodiscard]] Mark ReadMark();
  // Passes over what is shown before; how many frames that were.
  [[nodiscard]] std::uint64_t SkipTo(std::chrono::nanoseconds start);
  // Whether all samples were there.
  [[nodiscard]] bool ReadSamples(WritableFrame& frame);
  // How many frames take that long, to the nearest nanosecond.
  [[nodiscard]] std::chrono::nanoseconds TimeOf(std::uint64_t frame) const;
  [[nodiscard]] video::StreamEnd BreakOff();
  [[nodiscard]] video::StreamEnd End(bool broken_off) const;

  std::string path_;
  int file_ = -1;
  Y4mHeader header_;
  std::int64_t first_frame_offset_ = 0;
  std::int64_t offset_ = 0;
  std::uint64_t frames_ = 0;  // Over all passes, like the next.
  std::uint64_t damaged_frames_ = 0;
  FramePool pool_;
  std::atomic<bool> interrupted_ = false;
};

// The camera that plays such a file; null if the path names no such file.
[[nodiscard]] std::unique_ptr<FrameSource> MakeY4mSource(const std::string& path,
                                                         const Playback& playback);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_Y4M_READER_H_

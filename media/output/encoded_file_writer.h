#ifndef MOVRA_MEDIA_OUTPUT_ENCODED_FILE_WRITER_H_
#define MOVRA_MEDIA_OUTPUT_ENCODED_FILE_WRITER_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "media/output/container_format.h"
#include "media/output/container_muxer.h"
#include "media/output/output_file.h"
#include "media/output/time_line.h"
#include "media/output/time_origin.h"
#include "media/output/write_error.h"
#include "video/pixel_frame.h"
#include "video/video_frame_track.h"

namespace movra::media {

struct EncodedFileWriterOptions {
  std::string path;  // "-" for standard output.
  ContainerFormat format = ContainerFormat::kMp4;
  bool overwrite = false;  // False: an existing file is refused.
  // Shared by the streams of one run; null: the file's own first frame is its time 0.
  std::shared_ptr<TimeOrigin> origin;
  // Encoder thread, at most once: the file broke off; frames that follow are ignored.
  std::function<void(const WriteError&)> on_error;
  // Encoder thread: the stream's end has come and the file is finished, whole or broken off.
  std::function<void(const video::StreamEnd&)> on_end;
};

// What a file holds. Of one that broke off, what can still be played.
struct WrittenFigures {
  std::uint64_t frames = 0;
  std::uint64_t key_frames = 0;
  std::uint64_t bytes = 0;                   // Of the pictures, without the container.
  std::uint64_t file_bytes = 0;              // Of all that was written: of a file its size.
  std::chrono::nanoseconds duration{0};      // From the first frame to the end of the last one.
  std::chrono::nanoseconds longest_wait{0};  // From one picture to the next.

  friend bool operator==(const WrittenFigures&, const WrittenFigures&) = default;
};

// Writes one encoded stream into a file, a pipe or standard output.
//
//   std::string error;
//   EncodedFileWriterOptions options;
//   options.path = "big.mp4";
//   const auto writer = EncodedFileWriter::Create(options, &error);
//   producer->StartEncoder(type, params, writer);
//   ...                                     // until on_end, or as long as one likes
//   producer->StopEncoder(type, 1000);
//   writer->Close();
//
// The file grows by a quarter of a second of media at most, so that a process that is killed leaves
// a file that plays up to there; after an error it ends behind the last frame that is whole in it.
// Its first frame is a key frame; those before one are left out.
// Times are the source's, from the origin on, exact to the container's unit of 11 microseconds or
// less; where a source's time jumps back, the file's goes on. H.264 without a container has no
// times but one rate, which is the mean of the stream's in a file, and of its first two pictures in
// a pipe. A size that changes within the stream is carried by its key frames. Nothing is left
// behind of a stream without a frame.
//
// A process that writes to pipes ignores SIGPIPE; then a closed pipe is an error like others.
class EncodedFileWriter final : public video::IVideoFrameTrackWriter {
 public:
  // Null, and for people what is wrong, if the path cannot be written or this build does not have
  // the format.
  [[nodiscard]] static std::shared_ptr<EncodedFileWriter> Create(
      const EncodedFileWriterOptions& options, std::string* error);

  // As Close.
  ~EncodedFileWriter() override;

  // IVideoFrameTrackWriter
  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

  // From now on all writes together wait no longer than this for whoever should read a pipe; then
  // the stream breaks off. Any thread.
  void LimitWaits(std::chrono::milliseconds patience) { file_->LimitWaits(patience); }

  // Finishes the file if its end has not come. Nothing more is written, and no callback begins any
  // more; one that has may end. A Write that is blocked by whoever should read a pipe breaks off
  // after an instant. If the end has not come, the last picture stands until `end`, counted from
  // the origin, instead of as long as its encoder expected. Any thread; again is harmless.
  void Close(std::optional<std::chrono::nanoseconds> end = std::nullopt);

  // Any thread.
  [[nodiscard]] WrittenFigures written() const;
  [[nodiscard]] std::uint64_t bytes_written() const { return file_->bytes_written(); }
  [[nodiscard]] bool waits_for_reader() const { return file_->waits_for_reader(); }
  [[nodiscard]] bool failed() const { return failed_; }
  [[nodiscard]] const std::string& path() const { return options_.path; }

 private:
  EncodedFileWriter(EncodedFileWriterOptions options, std::unique_ptr<OutputFile> file,
                    std::unique_ptr<IContainerMuxer> muxer);

  // All with mutex_ held. Each returns the error that it met first.
  std::optional<WriteError> WriteFrame(const video::EncodedFrame& frame);
  std::optional<WriteError> Finish();
  // The last picture stands until then, counted from the origin.
  void StandUntil(std::chrono::nanoseconds end);
  std::optional<WriteError> Check(const std::string& muxer_error);
  void Count(const video::EncodedFrame& frame, std::chrono::nanoseconds time,
             std::chrono::nanoseconds time_before);
  // Notes the figures as those of the file if it holds every picture that they count.
  void NoteWhole();

  const EncodedFileWriterOptions options_;
  const std::unique_ptr<OutputFile> file_;

  std::mutex mutex_;
  // All guarded by mutex_. The muxer is released with the file's end.
  std::unique_ptr<IContainerMuxer> muxer_;
  TimeLine time_line_;  // Of what is in the file.
  std::chrono::nanoseconds last_duration_{0};
  std::chrono::nanoseconds first_time_{0};

  // Written under mutex_, read anywhere.
  std::atomic<bool> closed_ = false;
  std::atomic<bool> failed_ = false;

  // Apart from mutex_, which a blocked Write holds.
  mutable std::mutex figures_mutex_;
  WrittenFigures figures_;  // Guarded by figures_mutex_.
  WrittenFigures whole_;    // Guarded by mutex_: what the file holds when it is cut back.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ENCODED_FILE_WRITER_H_

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
#include "media/output/encoded_sink.h"
#include "media/output/output_file.h"
#include "media/output/time_line.h"
#include "media/output/time_origin.h"
#include "media/output/write_error.h"
#include "video/pixel_frame.h"
#include "video/video_frame_track.h"

namespace movra::media {

using EncodedFileWriterOptions = SinkRequest;

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
// The file is finished when its source ends by itself, which on_end tells, or by Close. Stopping
// the source or the encoder does not finish it: another source may follow in the same file, on one
// time line. Behind an end that finished the file a second source is refused with one warning line;
// to have several sources that end by themselves in one file, let it stay open.
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
class EncodedFileWriter final : public IEncodedSink {
 public:
  // Null, and for people what is wrong, if the path cannot be written or this build does not have
  // the format. Without an `error` to be set, the options' `on_error` is told, before this returns.
  [[nodiscard]] static std::shared_ptr<EncodedFileWriter> Create(
      const EncodedFileWriterOptions& options, std::string* error = nullptr);

  // As Close.
  ~EncodedFileWriter() override;

  // IVideoFrameTrackWriter
  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;

  // IEncodedSink; who is waited for is the reader of a pipe.
  void LimitWaits(std::chrono::milliseconds patience) override { file_->LimitWaits(patience); }
  void Close(std::optional<std::chrono::nanoseconds> end) override;
  [[nodiscard]] WrittenFigures written() const override;
  [[nodiscard]] bool waits_for_reader() const override { return file_->waits_for_reader(); }
  [[nodiscard]] bool failed() const override { return failed_; }
  [[nodiscard]] std::string name() const override;

  // The last picture stands as long as its encoder expected.
  void Close() { Close(std::nullopt); }

  // Any thread.
  [[nodiscard]] std::uint64_t bytes_written() const { return file_->bytes_written(); }
  [[nodiscard]] const std::string& path() const { return options_.path; }

 private:
  EncodedFileWriter(EncodedFileWriterOptions options, std::unique_ptr<OutputFile> file,
                    std::unique_ptr<IContainerMuxer> muxer);

  // All with mutex_ held. Each returns the error that it met first.
  std::optional<WriteError> WriteFrame(const video::EncodedFrame& frame);
  std::optional<WriteError> Begin(const video::EncodedFrame& key_frame);
  std::optional<WriteError> Finish();
  // The last picture stands until then, counted from the origin.
  void StandUntil(std::chrono::nanoseconds end);
  std::optional<WriteError> Check(const std::string& muxer_error);
  void Count(const video::EncodedFrame& frame, std::chrono::nanoseconds time,
             std::chrono::nanoseconds time_before);
  // Notes the figures as those of the file if it holds every picture that they count.
  void NoteWhole();
  // Of a frame that comes when the file is finished.
  void TellRefusalOnce();

  const EncodedFileWriterOptions options_;
  const std::unique_ptr<OutputFile> file_;

  std::mutex mutex_;
  // All guarded by mutex_. The muxer is released with the file's end.
  std::unique_ptr<IContainerMuxer> muxer_;
  bool ended_ = false;            // By its source.
  bool refusal_is_told_ = false;  // Of what came behind that.
  video::VideoCodec codec_{};     // Of what is in the file.
  TimeLine time_line_;            // Of what is in the file.
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

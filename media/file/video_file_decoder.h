#ifndef MOVRA_MEDIA_FILE_VIDEO_FILE_DECODER_H_
#define MOVRA_MEDIA_FILE_VIDEO_FILE_DECODER_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "media/capture/frame_source.h"
#include "media/ffmpeg/decoder_complaints.h"
#include "media/ffmpeg/ffmpeg_ptr.h"
#include "media/file/av_frame_wrapper.h"
#include "media/file/file_account.h"
#include "media/file/pipe_input.h"
#include "media/file/video_container.h"
#include "media/frame/orient_frame.h"
#include "video/camera_service.h"

struct AVStream;

namespace movra::media {

// Reads the video of a file, frame by frame:
//
//   VideoFileDecoder decoder;
//   video::CameraInfo info = decoder.Open("clip.mp4");
//   if (info.error_code != 0) ...info.error_text...
//   for (SourceItem item = decoder.Next(); ...; item = decoder.Next())
//
// Every frame is delivered in the order of its showing, with its time stamp to the nanosecond,
// counted from the first frame that could be decoded; time stamps always grow. Frames are as they
// are stored, and say how they are to be turned, mirrored and stretched. A file may change its size
// on the way.
//
// Damage: what cannot be decoded, or only with made-up parts, is left out, counted, and leaves a
// gap in the sequence numbers; decoding goes on behind it. So is what the container says that there
// is and that never came (media/file/file_account.h). The end says how much there was, and its
// error code is CameraError::kBrokenOff when the file ends before its video does, kNothingDecoded
// when there was none to be had.
//
// One thread at a time, Interrupt apart. The frames may outlive the decoder.
class VideoFileDecoder {
 public:
  // More threads decode faster and cost more CPU time, memory and delay; 0 means one for each core.
  explicit VideoFileDecoder(int threads = 1) : threads_(threads) {}

  // Once. Errors are CameraError values with a text that names the file. Frames that are shown
  // before `start` are left out, as if the file began there.
  [[nodiscard]] video::CameraInfo Open(
      const std::string& path, std::chrono::nanoseconds start = std::chrono::nanoseconds(0));

  // The next frame or the end, after which it is not called again unless Rewind succeeded. Nothing
  // when it was interrupted.
  [[nodiscard]] SourceItem Next();

  // Goes back to the first frame that was delivered. Time stamps and sequence numbers go on: the
  // frames that follow are stamped as if the file were stored twice. A file that breaks off counts
  // as one damaged frame more, where it is not known how many it lacks. The picture of a file that
  // holds but one is given again without reading it. False if it cannot go back, or had no frame to
  // show.
  [[nodiscard]] bool Rewind();

  // Makes Open and Next give up soon. Any thread.
  void Interrupt() {
    interrupted_ = true;
    pipe_.Interrupt();
  }

 private:
  // 0 or FFmpeg's error.
  int OpenDecoder();
  void IgnoreOtherStreams();
  [[nodiscard]] video::CameraInfo Describe() const;

  // Lets reading begin shortly before the start, where the container can; otherwise it begins with
  // the file, and what comes before is decoded for nothing.
  void SeekToTheStart();
  // Whether a decoder that is fed from the time on can begin with a key frame from before the
  // start.
  [[nodiscard]] bool HasKeyFrameFrom(std::int64_t time);
  // Whether the picture is shown before the start.
  [[nodiscard]] bool IsBeforeTheStart(const AVFrame& frame);
  void FeedDecoder();
  // Before the packet goes to the decoder.
  void Account(const AVPacket& packet);
  // Whether nothing in the picture was made up.
  [[nodiscard]] bool IsWhole(const AVFrame& frame);
  // Stamps and wraps a decoded frame; nothing if it cannot be converted.
  [[nodiscard]] std::optional<SourceFrame> Deliver(AvFramePtr frame);
  [[nodiscard]] Orientation OrientationNow(const AVFrame& frame);
  [[nodiscard]] std::chrono::nanoseconds Stamp(const AVFrame& frame);
  // Whether the time of a picture is that of the one before and its length.
  [[nodiscard]] bool CountsPictures() const;
  [[nodiscard]] bool SeekTo(std::int64_t time);
  [[nodiscard]] bool SeekToTheFirst();
  [[nodiscard]] SourceItem NextOfStill();
  [[nodiscard]] video::StreamEnd End() const;
  // Where the picture behind the last one belongs.
  [[nodiscard]] std::chrono::nanoseconds ExpectedTime() const;
  [[nodiscard]] bool IsAnotherClock(std::chrono::nanoseconds jump) const;
  [[nodiscard]] std::chrono::nanoseconds FrameDuration(const AVFrame& frame) const;
  void CountDamage(std::uint64_t frames = 1);

  const int threads_;
  std::atomic<bool> interrupted_ = false;
  std::string path_;
  PipeInput pipe_;  // What the container is read from if that is a pipe.
  VideoContainer container_;
  DecoderComplaints complaints_;  // Outlives the codec.
  AvCodecContextPtr codec_;
  AvPacketPtr packet_;
  AvFrameWrapper wrapper_;
  AVStream* stream_ = nullptr;                  // The container's.
  Orientation orientation_;                     // By the container.
  std::optional<Orientation> own_orientation_;  // By the pictures themselves.

  std::uint64_t next_sequence_ = 0;
  std::uint64_t damaged_frames_ = 0;
  std::uint64_t delivered_ = 0;
  bool broken_off_ = false;

  // What is shown before is left out.
  std::chrono::nanoseconds start_{0};
  std::optional<std::int64_t> start_pts_;  // Once it is known when the stream's time begins.
  std::chrono::nanoseconds left_out_{0};   // Up to the end of the last one that was.
  std::optional<std::int64_t> late_from_;  // Where reading was sent to, if it began late.
  bool waits_for_key_ = false;

  FileAccount account_;
  std::int64_t packets_ = 0;  // That went to the decoder.
  std::uint64_t told_missing_ = 0;
  std::optional<std::int64_t> first_packet_dts_;  // In the stream's unit; some have none.
  std::chrono::nanoseconds stated_duration_{0};

  // The file's picture as long as there was but one, and whether it is played without reading it
  // again.
  std::optional<SourceFrame> only_;
  bool plays_only_ = false;
  bool only_waits_ = false;

  // Of this pass through the file: its place on the time line, and the stream time it begins at.
  std::chrono::nanoseconds pass_start_{0};
  std::optional<std::int64_t> first_pts_;
  std::chrono::nanoseconds last_timestamp_{-1};
  std::chrono::nanoseconds last_duration_{0};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_VIDEO_FILE_DECODER_H_

// A session on test doubles: the test is the camera, both encoders and the clock.

#ifndef MOVRA_APP_RUN_SESSION_FOR_TEST_H_
#define MOVRA_APP_RUN_SESSION_FOR_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/run_session.h"
#include "media/figures/frame_account.h"
#include "media/temporary_directory_for_test.h"
#include "testing/camera_service_double.h"
#include "testing/encoder_double.h"
#include "testing/environment.h"

namespace movra::app {

// While it lives no file grows beyond so many bytes, as on a disk that is full.
class FullFile {
 public:
  explicit FullFile(rlim_t most) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{most, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullFile() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

// Of a video file that is played once, as fast as it goes.
inline constexpr video::SourceTraits kFileTraits{
    .has_end = true, .keeps_time = false, .rate_is_fixed = true, .replayable = true};

class RunSessionTest : public ::testing::Test {
 protected:
  using nanoseconds = std::chrono::nanoseconds;
  using milliseconds = std::chrono::milliseconds;
  using seconds = std::chrono::seconds;
  static constexpr auto kBig = video::VideoStreamType::kBig;
  static constexpr auto kSmall = video::VideoStreamType::kSmall;

  RunSessionTest();
  ~RunSessionTest() override;

  // The stream's plan and file, before Begin.
  void AddStream(video::VideoStreamType type, const std::string& file);

  // A further place for the stream that was added last, before Begin.
  void AddSink(const std::string& file);

  // Makes the session, and lets it begin on the main queue.
  void Make();
  void Begin();
  void AnswerStart(int error_code = 0);
  // With the first frames of both streams.
  void BeginFiveSecondsOfAFile();

  [[nodiscard]] testing::EncoderDouble& Encoder(video::VideoStreamType type);
  // An encoded frame, as its encoder would write it; then what that posted. At time 0 it is a key
  // frame.
  void Write(video::VideoStreamType type, nanoseconds timestamp, std::uint64_t damaged_frames = 0);
  void WriteKeyFrame(video::VideoStreamType type, nanoseconds timestamp);
  void WriteEnd(video::VideoStreamType type, const video::StreamEnd& end = {});
  // A frame of both streams, and the end of both.
  void WriteBoth(nanoseconds timestamp);
  void EndBoth(const video::StreamEnd& end = {});
  void Interrupt();
  // Of streams with several places, which end on threads of their own.
  void WaitUntilOver();

  // Where the frames of the session's producer are counted; of a session that is made.
  [[nodiscard]] static media::FrameCounters& Source();
  [[nodiscard]] static media::FrameCounters& Stream(video::VideoStreamType type);

  void AdvanceBy(nanoseconds time) { env_.clock().AdvanceBy(time); }
  // Runs the action right after every entry of the journal that begins so.
  void AtEntry(const std::string& begin, std::function<void()> action);
  // The entries of the journal that begin with one of the texts, in their order.
  [[nodiscard]] std::vector<std::string> EntriesOf(const std::vector<std::string>& begins);

  [[nodiscard]] bool is_over() const { return over_ > 0; }
  // Of a session that is over; a failure if it is not.
  [[nodiscard]] RunReport Report();
  // What was told on the console; a terminal of so many columns if Make comes after MakeTerminal.
  [[nodiscard]] std::string Said();
  void MakeTerminal(unsigned short columns);

  testing::Environment env_;
  const media::TemporaryDirectory directory_;
  RunOptions options_;
  video::CameraInfo source_;
  CapturePlan plan_;
  OutputFiles files_;
  std::vector<ScriptLine> script_;  // Before Make; and this.
  EventLog* events_ = nullptr;
  std::shared_ptr<RunSession> session_;

 private:
  int console_ends_[2] = {-1, -1};
  std::unique_ptr<Console> console_;
  int over_ = 0;

  void WriteFrame(video::VideoStreamType type, video::EncodedFrame frame);
};

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_SESSION_FOR_TEST_H_

#include "app/run_session_for_test.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <thread>

namespace movra::app {
namespace {

// Whatever stands behind the headers; nobody decodes it.
constexpr std::array<std::uint8_t, 24> kKeyFrame{0,    0, 0, 1, 0x67, 66, 0, 30, 0,    0, 0, 1,
                                                 0x68, 1, 2, 3, 0,    0,  0, 1,  0x65, 1, 2, 3};
constexpr std::array<std::uint8_t, 8> kOtherFrame{0, 0, 0, 1, 0x41, 1, 2, 3};

}  // namespace

RunSessionTest::RunSessionTest() {
  options_.source = "test:";
  source_.traits.keeps_time = true;
  source_.natural_size = {640, 360};
  env_.MakeCameraService();
}

RunSessionTest::~RunSessionTest() {
  session_.reset();
  for (const int end : console_ends_) {
    if (end >= 0) close(end);
  }
}

void RunSessionTest::AddStream(video::VideoStreamType type, const std::string& file) {
  StreamPlan plan;
  plan.type = type;
  plan.size = type == kBig ? video::Size{640, 360} : video::Size{160, 90};
  plan.frame_rate = type == kBig ? FrameRate{30, 1} : FrameRate{25, 2};
  plan.bitrate_bps = type == kBig ? 800'000 : 100'000;
  plan_.streams.push_back(plan);
  files_.streams.push_back({directory_ / file, media::ContainerFormatForPath(file).value()});
}

void RunSessionTest::AddSink(const std::string& file) {
  files_.also.resize(files_.streams.size());
  files_.also.back().push_back({directory_ / file, *media::ContainerFormatForPath(file)});
}

void RunSessionTest::MakeTerminal(unsigned short columns) {
  ASSERT_EQ(openpty(&console_ends_[0], &console_ends_[1], nullptr, nullptr, nullptr), 0);
  winsize size{};
  size.ws_col = columns;
  ioctl(console_ends_[1], TIOCSWINSZ, &size);
}

void RunSessionTest::Make() {
  if (plan_.streams.empty()) {
    AddStream(kBig, "big.h264");
    AddStream(kSmall, "small.h264");
  }
  if (console_ends_[0] < 0) {
    ASSERT_EQ(pipe(console_ends_), 0);
  }
  console_ = std::make_unique<Console>(console_ends_[1]);
  const auto now = [this] { return std::chrono::steady_clock::time_point(env_.clock().now()); };
  session_ = std::make_shared<RunSession>(
      RunSetting{options_, source_, plan_, files_, script_, events_, now(), *console_,
                 core::GetMainQueue(), [this] { ++over_; }, now});
}

void RunSessionTest::Begin() {
  if (session_ == nullptr) Make();
  core::GetMainQueue()->Post(
      movra_base::BindOnce(&RunSession::Begin, std::weak_ptr<RunSession>(session_)));
  env_.main_queue().RunAll();
}

void RunSessionTest::AnswerStart(int error_code) {
  env_.world().camera_services.Last().AnswerStart(error_code, 5);
  env_.main_queue().RunAll();
}

void RunSessionTest::BeginFiveSecondsOfAFile() {
  options_.duration = std::chrono::seconds(5);
  source_.traits = kFileTraits;
  Begin();
  AnswerStart();
  WriteBoth(nanoseconds(0));
}

testing::EncoderDouble& RunSessionTest::Encoder(video::VideoStreamType type) {
  return type == kSmall ? env_.world().small_encoders.Last() : env_.world().big_encoders.Last();
}

void RunSessionTest::Write(video::VideoStreamType type, nanoseconds timestamp,
                           std::uint64_t damaged_frames) {
  video::EncodedFrame frame;
  frame.timestamp = timestamp;
  frame.damaged_frames = damaged_frames;
  frame.key_frame = timestamp.count() == 0;
  WriteFrame(type, frame);
}

void RunSessionTest::WriteKeyFrame(video::VideoStreamType type, nanoseconds timestamp) {
  video::EncodedFrame frame;
  frame.timestamp = timestamp;
  frame.key_frame = true;
  WriteFrame(type, frame);
}

void RunSessionTest::WriteFrame(video::VideoStreamType type, video::EncodedFrame frame) {
  frame.data = frame.key_frame ? kKeyFrame.data() : kOtherFrame.data();
  frame.size_bytes = frame.key_frame ? kKeyFrame.size() : kOtherFrame.size();
  frame.stream_type = type;
  frame.size = {640, 360};
  frame.duration = milliseconds(100);
  if (const auto writer = Encoder(type).output().lock()) writer->Write(frame);
  env_.main_queue().RunAll();
}

void RunSessionTest::WriteEnd(video::VideoStreamType type, const video::StreamEnd& end) {
  if (const auto writer = Encoder(type).output().lock()) writer->WriteEnd(end);
  env_.main_queue().RunAll();
}

void RunSessionTest::WriteBoth(nanoseconds timestamp) {
  Write(kBig, timestamp);
  Write(kSmall, timestamp);
}

void RunSessionTest::EndBoth(const video::StreamEnd& end) {
  WriteEnd(kBig, end);
  WriteEnd(kSmall, end);
}

void RunSessionTest::Interrupt() {
  session_->Interrupt();
  env_.main_queue().RunAll();
}

void RunSessionTest::WaitUntilOver() {
  while (!is_over()) {
    env_.main_queue().RunAll();
    std::this_thread::yield();
  }
}

media::FrameCounters& RunSessionTest::Source() {
  return *media::FrameAccount::Source(media::FrameAccount::Of(InstanceTrace(1)));
}

media::FrameCounters& RunSessionTest::Stream(video::VideoStreamType type) {
  return *media::FrameAccount::Stream(media::FrameAccount::Of(InstanceTrace(1)), type);
}

void RunSessionTest::AtEntry(const std::string& begin, std::function<void()> action) {
  env_.journal().SetObserver([begin, action = std::move(action)](const std::string& entry) {
    if (entry.starts_with(begin)) action();
  });
}

std::vector<std::string> RunSessionTest::EntriesOf(const std::vector<std::string>& begins) {
  std::vector<std::string> found;
  for (const std::string& entry : env_.journal().Take()) {
    const bool is_meant = std::any_of(begins.begin(), begins.end(), [&](const std::string& begin) {
      return entry.starts_with(begin);
    });
    if (is_meant) found.push_back(entry);
  }
  return found;
}

RunReport RunSessionTest::Report() {
  EXPECT_EQ(over_, 1);
  return over_ == 1 ? session_->Conclude() : RunReport();
}

std::string RunSessionTest::Said() {
  fcntl(console_ends_[0], F_SETFL, O_NONBLOCK);
  std::string text(65536, '\0');
  const ssize_t size = read(console_ends_[0], text.data(), text.size());
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return text;
}

}  // namespace movra::app

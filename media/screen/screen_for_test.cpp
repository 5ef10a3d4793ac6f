#include "media/screen/screen_for_test.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "media/frame/convert_frame.h"
#include "video/to_string.h"

namespace movra::media {

using video::PixelFrame;

namespace {

template <class Value>
std::string NameOf(Value value) {
  for (const auto& named : video::NamedValues<Value>()) {
    if (named.value == value) return std::string(named.name);
  }
  return "?";
}

std::unique_ptr<X11Desktop>& SharedDesktop() {
  static std::unique_ptr<X11Desktop> desktop;
  if (desktop == nullptr) desktop = std::make_unique<X11Desktop>(X11Desktop::Manager::kOpenbox);
  return desktop;
}

}  // namespace

void ScreenClient::OnScreenSharingError(long source, video::VideoScreenSharingError error) {
  Add("Error", source, NameOf(error));
}
void ScreenClient::OnScreenSharingStarted(long source) { Add("Started", source); }
void ScreenClient::OnScreenSharingStopped(long source,
                                          video::VideoScreenSharingStoppedReason reason) {
  Add("Stopped", source, NameOf(reason));
}
void ScreenClient::OnScreenSharingPaused(long source,
                                         video::VideoScreenSharingPausedReason reason) {
  Add("Paused", source, NameOf(reason));
}
void ScreenClient::OnScreenSharingResumed(long source,
                                          video::VideoScreenSharingResumedReason reason) {
  Add("Resumed", source, NameOf(reason));
}
void ScreenClient::OnScreenSharingFirstFrame(long source, long long elapsed_ms) {
  EXPECT_GE(elapsed_ms, 0);
  EXPECT_LT(elapsed_ms, 60'000);
  Add("FirstFrame", source);
}
void ScreenClient::OnWindowCovered(long source) { Add("Covered", source); }
void ScreenClient::OnScreenSharingWindowSizeChanged(long source, const video::Size& size) {
  Add("Size", source, std::to_string(size.width) + "x" + std::to_string(size.height));
}
void ScreenClient::OnCapturerModeChange(long source, video::CapturerMode from,
                                        video::CapturerMode to) {
  Add("Mode", source, NameOf(from) + " " + NameOf(to));
}

bool ScreenClient::Heard(const std::string& event) const {
  return std::find(events_.begin(), events_.end(), event) != events_.end();
}

void ScreenClient::Add(const std::string& event, long source, const std::string& more) {
  events_.push_back(event + " " + std::to_string(source) + (more.empty() ? "" : " " + more));
}

video::TrackWriteResult ScreenWriter::Write(PixelFrame frame) {
  const MutexLock lock(mutex_);
  const video::Size size = frame.info().size;
  if (sizes_.empty() || sizes_.back() != size) sizes_.push_back(size);
  ++frames_;
  last_ = std::move(frame);
  return video::TrackWriteResult::kAccepted;
}

PixelFrame ScreenWriter::last() const {
  const MutexLock lock(mutex_);
  return last_;
}

std::uint64_t ScreenWriter::frames() const {
  const MutexLock lock(mutex_);
  return frames_;
}

std::vector<video::Size> ScreenWriter::sizes() const {
  const MutexLock lock(mutex_);
  return sizes_;
}

std::uint32_t ColorAt(const PixelFrame& frame, int x, int y) {
  const video::Size size = frame.info().size;
  if (!frame || x < 0 || y < 0 || x >= size.width || y >= size.height) return 0xFF000000;
  FramePool pool;
  const PixelFrame rgb = ConvertFrame(frame, video::PixelFormat::kBGRA, pool);
  const video::PixelPlane& plane = rgb.info().planes[0];
  const std::uint8_t* const pixel =
      plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride + 4 * x;
  return static_cast<std::uint32_t>(pixel[2]) << 16U | static_cast<std::uint32_t>(pixel[1]) << 8U |
         pixel[0];
}

bool IsLike(std::uint32_t a, std::uint32_t b) {
  if ((a | b) > 0xFFFFFF) return false;
  for (const unsigned shift : {0U, 8U, 16U}) {
    const int difference =
        static_cast<int>((a >> shift) & 0xFFU) - static_cast<int>((b >> shift) & 0xFFU);
    if (std::abs(difference) > 8) return false;
  }
  return true;
}

ScreenTest::ScreenTest() : desktop_(SharedDesktop().get()) {
  core::SetMainQueue(main_);
  sharing_ = video::IScreenSharing::Create(video::VideoContext(InstanceTrace(3), "[main]"));
  sharing_->SetClient(client_);
  sharing_->AddOutputWriter(writer_);
}

ScreenTest::~ScreenTest() {
  sharing_.reset();
  main_->RunUntilIdle();
  core::SetMainQueue(nullptr);
}

void ScreenTest::TearDownTestSuite() { SharedDesktop().reset(); }

void ScreenTest::KillDesktop() { SharedDesktop().reset(); }

bool ScreenTest::WaitFor(const std::function<bool()>& is_so) {
  return WaitUntilSo([&] {
    main_->RunUntilIdle();
    return is_so();
  });
}

void ScreenTest::Start(long source, video::DesktopScreenParams params) {
  params.source_id = source;
  if (!params.capture_cursor.has_value()) params.capture_cursor = false;
  sharing_->StartDesktopCapture(params);
}

}  // namespace movra::media

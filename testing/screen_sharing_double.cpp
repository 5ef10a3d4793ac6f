#include "testing/screen_sharing_double.h"

#include <utility>

#include "testing/world.h"

namespace movra::testing {

ScreenSharingDouble::ScreenSharingDouble(std::string name, std::shared_ptr<Journal> journal,
                                         const video::VideoContext& context)
    : Double(std::move(name), std::move(journal)), context_(context) {}

void ScreenSharingDouble::AddOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Called("AddOutputWriter", writer);
  writers_.push_back(std::move(writer));
}

void ScreenSharingDouble::RemoveOutputWriter(
    std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Called("RemoveOutputWriter", writer);
  std::erase(writers_, writer);
}

void ScreenSharingDouble::StartDesktopCapture(const video::DesktopScreenParams& params) {
  Called("StartDesktopCapture", params);
  desktop_params_ = params;
  state_ = State::kDesktop;
  is_paused_ = false;
}

void ScreenSharingDouble::StartMobileCapture(const video::MobileScreenParams& params) {
  Called("StartMobileCapture", params);
  mobile_params_ = params;
  state_ = State::kMobile;
  is_paused_ = false;
}

void ScreenSharingDouble::Stop() {
  Called("Stop");
  state_ = State::kStopped;
  is_paused_ = false;
}

void ScreenSharingDouble::UpdateDesktopScreenParams(const video::DesktopScreenParams& params) {
  Called("UpdateDesktopScreenParams", params);
  desktop_params_ = params;
}

void ScreenSharingDouble::UpdateMobileScreenParams(const video::MobileScreenParams& params) {
  Called("UpdateMobileScreenParams", params);
  mobile_params_ = params;
}

void ScreenSharingDouble::Pause() {
  Called("Pause");
  is_paused_ = state_ != State::kStopped;
}

void ScreenSharingDouble::Resume() {
  Called("Resume");
  is_paused_ = false;
}

void ScreenSharingDouble::SetClient(std::shared_ptr<Client> client) {
  Called("SetClient", client);
  client_ = client;
}

std::uint32_t ScreenSharingDouble::GetCaptureStat() {
  Called("GetCaptureStat");
  return stat;
}

void ScreenSharingDouble::AddExcludedShareWindow(long window) {
  Called("AddExcludedShareWindow", window);
  excluded_.insert(window);
}

void ScreenSharingDouble::RemoveExcludedShareWindow(long window) {
  Called("RemoveExcludedShareWindow", window);
  excluded_.erase(window);
}

void ScreenSharingDouble::RemoveAllExcludedShareWindow() {
  Called("RemoveAllExcludedShareWindow");
  excluded_.clear();
}

void ScreenSharingDouble::AddIncludedShareWindow(long window) {
  Called("AddIncludedShareWindow", window);
  included_.insert(window);
}

void ScreenSharingDouble::RemoveIncludedShareWindow(long window) {
  Called("RemoveIncludedShareWindow", window);
  included_.erase(window);
}

void ScreenSharingDouble::RemoveAllIncludedShareWindow() {
  Called("RemoveAllIncludedShareWindow");
  included_.clear();
}

}  // namespace movra::testing

namespace movra::video {

std::shared_ptr<IScreenSharing> IScreenSharing::Create(const VideoContext& context) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IScreenSharing", "Create", context);
  if (!world.answers.makes_screen_sharing) return nullptr;
  auto made = std::make_shared<testing::ScreenSharingDouble>(world.UniqueName("screen_sharing"),
                                                             world.journal(), context);
  world.screen_sharings.Add(made);
  return made;
}

std::vector<ScreenSourceInfo> IScreenSharing::GetSourceList(const Size& thumbnail,
                                                            const Size& icon) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IScreenSharing", "GetSourceList", thumbnail, icon);
  return world.answers.screen_sources;
}

}  // namespace movra::video

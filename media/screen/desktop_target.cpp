#include "media/screen/desktop_target.h"

#include <algorithm>
#include <string>

namespace movra::media {

using video::Region;

namespace {

// Some changes of monitors are told by no event.
constexpr std::chrono::seconds kLookInterval{1};
constexpr std::uint8_t kEventMask = 0x7F;  // The rest says who sent it.

std::string TextOf(const Region& region) {
  return std::to_string(region.width) + "x" + std::to_string(region.height) +
         (region.x < 0 ? "" : "+") + std::to_string(region.x) + (region.y < 0 ? "" : "+") +
         std::to_string(region.y);
}

}  // namespace

ScreenTarget::Problem DesktopTarget::Open(const ScreenSettings& settings) {
  area_ = FindArea();
  if (IsEmpty(area_)) {
    return Failure<CameraError>{CameraError::kNoSuchCamera, "there is no such monitor"};
  }
  if (auto problem = SetRegion(settings.params.region)) return problem;
  constexpr std::uint16_t kChanges =
      XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
      XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE | XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE;
  damage_ = xcb_generate_id(connection_.xcb());
  const bool is_told =
      connection_.Check(
          xcb_randr_select_input_checked(connection_.xcb(), connection_.root(), kChanges)) &&
      connection_.Check(xcb_damage_create_checked(connection_.xcb(), damage_, connection_.root(),
                                                  XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY));
  if (is_told) return SetWindows(settings);
  return Failure<CameraError>{CameraError::kCannotOpen,
                              "the X server does not tell of changes of its screen"};
}

ScreenTarget::Problem DesktopTarget::Change(const ScreenSettings& settings) {
  has_news_ = true;
  // Whatever else is wrong, no window is shown that shall not be.
  if (auto problem = SetWindows(settings)) return problem;
  return SetRegion(settings.params.region);
}

void DesktopTarget::OnEvent(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & kEventMask;
  if (composer_ != nullptr) {
    // It knows better, also of what is beneath windows that are left out.
    if (composer_->OnEvent(event)) has_news_ = true;
  } else if (type == connection_.damage_event()) {
    has_news_ = true;
  }
  const bool is_randr = type == connection_.randr_event() + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                        type == connection_.randr_event() + XCB_RANDR_NOTIFY;
  if (is_randr) has_moved_ = true;
}

ScreenTarget::State DesktopTarget::Update(Clock::time_point now) {
  if (!has_moved_ && now - looked_at_ < kLookInterval) return State::kThere;
  has_moved_ = false;
  looked_at_ = now;
  const Region area = FindArea();
  if (IsEmpty(area)) return State::kGone;
  if (area == area_) return State::kThere;
  area_ = area;
  has_news_ = true;
  // A part that is not there any more gives way to all of it.
  if (SetRegion(region_)) static_cast<void>(SetRegion({}));
  return State::kThere;
}

const Canvas* DesktopTarget::Grab() {
  // Before the picture is taken: what changes behind it is news again.
  has_news_ = false;
  connection_.Check(xcb_damage_subtract_checked(connection_.xcb(), damage_, XCB_NONE, XCB_NONE));
  if (composer_ != nullptr) {
    if (const Canvas* const canvas = composer_->Compose(part_, windows_)) return canvas;
  } else if (image_.Get(connection_.root(), part_)) {
    return &image_.canvas();
  }
  // The screen has become smaller, which Update is about to find.
  has_news_ = true;
  has_moved_ = true;
  return nullptr;
}

video::CapturerMode DesktopTarget::mode() const {
  if (composer_ != nullptr) return video::CapturerMode::kComposed;
  return region_.has_value() ? video::CapturerMode::kRegion : video::CapturerMode::kDisplay;
}

Region DesktopTarget::FindArea() const {
  const Region desktop = connection_.GeometryOf(connection_.root());
  if (monitor_ == XCB_ATOM_NONE) return desktop;
  const auto monitors = ListMonitors(connection_);
  const auto found =
      std::find_if(monitors.begin(), monitors.end(),
                   [this](const X11Monitor& monitor) { return monitor.id == monitor_; });
  return found == monitors.end() ? Region() : Intersection(found->area, desktop);
}

ScreenTarget::Problem DesktopTarget::SetWindows(const ScreenSettings& settings) {
  windows_ = {settings.excluded, settings.included,
              settings.params.exclude_own_windows.value_or(false)};
  if (windows_.shows_all()) {
    composer_.reset();
    return std::nullopt;
  }
  if (composer_ != nullptr) return std::nullopt;
  composer_ = std::make_unique<DesktopComposer>(connection_);
  if (composer_->Start()) return std::nullopt;
  return Failure<CameraError>{CameraError::kCannotOpen,
                              "the X server does not keep the windows' pictures apart"};
}

ScreenTarget::Problem DesktopTarget::SetRegion(const movra_base::Optional<Region>& region) {
  Region part = area_;
  if (region.has_value()) {
    const Region& asked = *region;
    if (IsEmpty(asked)) {
      return Failure<CameraError>{CameraError::kBadOption,
                                  "an area of " + TextOf(asked) + " has no pixels"};
    }
    // Far outside, it must not come back around the other end of the numbers.
    constexpr std::int32_t kFarthest = 1 << 20;
    Region moved = asked;
    moved.x = std::clamp(asked.x, -kFarthest, kFarthest) + area_.x;
    moved.y = std::clamp(asked.y, -kFarthest, kFarthest) + area_.y;
    part = Intersection(moved, area_);
    if (IsEmpty(part)) {
      return Failure<CameraError>{CameraError::kBadOption, "the area " + TextOf(asked) +
                                                               " lies outside of the screen of " +
                                                               std::to_string(area_.width) + "x" +
                                                               std::to_string(area_.height)};
    }
  }
  region_ = region;
  part_ = part;
  return std::nullopt;
}

}  // namespace movra::media

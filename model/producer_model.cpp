#include "model/producer_model.h"

#include <algorithm>
#include <utility>

#include "testing/describe.h"

namespace movra::video::model {

using testing::Describe;

ProducerModel::ProducerModel(const testing::Answers& answers) : answers_(answers) {
  for (const char* setting : {"beauty", "source", "mode", "adaptive mode", "adaptive flag",
                              "mirror", "encoder mirror", "encoder size"}) {
    told_[setting] = "-";
  }
  told_["cover"] = "null";
  told_["processing"] = "false";
}

std::string ProducerModel::NewName(const std::string& name) {
  const int number = ++names_[name];
  return number == 1 ? name : name + "#" + std::to_string(number);
}

std::string ProducerModel::NewTrack(const std::string& name) {
  return answers_.makes_track ? NewName(name) : std::string();
}

bool ProducerModel::IsScreen() const { return source_ == VideoSourceType::kScreen; }

// Lifecycle and capture.

void ProducerModel::LoseCameraService() { camera_.reset(); }

void ProducerModel::MakeCameraService() { camera_ = Camera{.name = NewName("camera_service")}; }

void ProducerModel::Initialize() { told_["processing"] = "true"; }

void ProducerModel::Uninitialize() {
  if (IsRunning()) {
    EndCameraCapture(camera_params_, false);
    subscribed_ = false;
  }
  uninitialized_ = true;
  StopEncoder(VideoStreamType::kBig);
  StopEncoder(VideoStreamType::kSmall);
  local_.reset();
  custom_.reset();
}

void ProducerModel::StartCamera(const CameraParams& params, bool with_callback) {
  if (IsRunning()) return;
  if (params.camera_id.starts_with(answers_.virtual_camera_prefix)) {
    virtual_params_ = params;
  } else {
    camera_params_ = params;
    const Size size = CameraSize({params.width.value_or(0), params.height.value_or(0)});
    camera_params_->width = size.width;
    camera_params_->height = size.height;
  }
  BeginCapture(with_callback);
}

// The limit of the doubles gives back what it gets.
Size ProducerModel::CameraSize(Size input) const {
  const Size encode = encoders_[0].size;
  const auto mode = static_cast<int>(mode_);
  if (mode < 0 || mode > 3) return {};
  if (mode == 3) return input == Size{} ? encode : input;
  return {std::max(encode.width, encode.height), std::min(encode.width, encode.height)};
}

void ProducerModel::StartDesktop(const DesktopScreenParams& params) {
  if (IsRunning()) return;
  desktop_params_ = params;
  BeginCapture(false);
}

void ProducerModel::StartMobile(const MobileScreenParams& params) {
  if (IsRunning()) return;
  mobile_params_ = params;
  BeginCapture(false);
}

void ProducerModel::BeginCapture(bool with_callback) {
  if (camera_params_.has_value()) {
    source_ = VideoSourceType::kCamera;
    subscribed_ = true;
    BeginCameraCapture(camera_params_.value(), "CameraOutputTrack", with_callback);
  } else if (mobile_params_.has_value() || desktop_params_.has_value()) {
    source_ = VideoSourceType::kScreen;
    screen_client_ = "producer";
    if (capture_track_.empty()) capture_track_ = NewTrack("ScreenOutputTrack");
    if (!capture_track_.empty()) {
      screen_writers_.push_back(capture_track_ + ".writer");
      screen_paused_ = false;
      if (mobile_params_.has_value()) {
        screen_state_ = "2";
        screen_mobile_ = Describe(mobile_params_.value());
      } else {
        screen_state_ = "1";
        screen_desktop_ = Describe(desktop_params_.value());
      }
    }
  } else {
    source_ = VideoSourceType::kVirtualCamera;
    told_["cover"] = "null";
    BeginCameraCapture(virtual_params_.value(), "VirtualCaptureOutputTrack", with_callback);
  }
  status_ = Status::kStarted;
  told_["processing"] = "true";
  if (!capture_track_.empty()) input_ = capture_track_ + ".reader";
  told_["source"] = Describe(source_);
  told_["adaptive mode"] = Describe(
      adaptive_mode_.value_or(IsScreen() ? FrameAdaptiveMode::kFit : FrameAdaptiveMode::kCrop));
}

void ProducerModel::BeginCameraCapture(const CameraParams& params, const char* track,
                                       bool with_callback) {
  if (capture_track_.empty()) capture_track_ = NewTrack(track);
  if (!camera_ || capture_track_.empty()) return;
  camera_->captures.push_back({Describe(params), capture_track_ + ".writer"});
  if (with_callback) ++camera_->callbacks;
}

void ProducerModel::EndCameraCapture(const movra_base::Optional<CameraParams>& params,
                                     bool with_callback) {
  if (!camera_ || capture_track_.empty() || !params.has_value()) return;
  std::erase_if(camera_->captures, [&](const Capture& capture) {
    return capture.writer == capture_track_ + ".writer";
  });
  if (with_callback) ++camera_->callbacks;
}

void ProducerModel::EndScreenCapture() {
  if (!capture_track_.empty()) std::erase(screen_writers_, capture_track_ + ".writer");
  screen_state_ = "0";
  screen_paused_ = false;
}

void ProducerModel::StopCapture(bool with_callback) {
  if (IsRunning()) TearDownCapture(with_callback);
}

void ProducerModel::TearDownCapture(bool with_callback) {
  EndCameraCapture(camera_params_, with_callback);
  subscribed_ = false;
  EndScreenCapture();
  if (IsRunning()) EndCameraCapture(virtual_params_, false);
  camera_params_.reset();
  virtual_params_.reset();
  desktop_params_.reset();
  mobile_params_.reset();
  capture_track_.clear();
  source_ = VideoSourceType::kNone;
  status_ = Status::kStopped;
  told_["processing"] = "false";
}

void ProducerModel::Pause() {
  screen_paused_ = screen_state_ != "0";
  status_ = Status::kPaused;
}

void ProducerModel::Resume() {
  screen_paused_ = false;
  status_ = Status::kStarted;
}

void ProducerModel::SetMode(ProducerMode mode) {
  mode_ = mode;
  told_["mode"] = Describe(mode);
}

void ProducerModel::SetCover(const std::string& text) {
  const bool is_shown = !text.empty() && status_ == Status::kStarted;
  told_["cover"] = is_shown && source_ != VideoSourceType::kVirtualCamera ? text : "null";
  if (!is_shown || source_ != VideoSourceType::kCamera || !camera_params_.has_value()) return;
  const std::string image = text.substr(1, text.find(' ') - 1);
  if (camera_) camera_->updated = "{" + camera_params_->camera_id + " cover=" + image + "}";
}

void ProducerModel::EnableCustomCapture(bool enable) {
  if (!enable) {
    source_ = VideoSourceType::kNone;
    status_ = Status::kStopped;
    told_["processing"] = "false";
    return;
  }
  if (source_ == VideoSourceType::kCustom && status_ == Status::kStarted) return;
  TearDownCapture(false);
  source_ = VideoSourceType::kCustom;
  status_ = Status::kStarted;
  told_["processing"] = "true";
}

void ProducerModel::SetCustomInput(const std::string& reader) {
  if (source_ == VideoSourceType::kCustom) input_ = reader;
}

void ProducerModel::DeviceChanged(CameraDeviceState state, const std::string& device_id) {
  if (!subscribed_ || !camera_ || source_ != VideoSourceType::kCamera) return;
  const auto& devices = answers_.cameras;
  if (state == CameraDeviceState::kRemoved) {
    if (devices.empty() || camera_params_->camera_id != device_id) return;
    camera_params_->camera_id = devices[0].device_id;
  } else if (state != CameraDeviceState::kAdded || devices.size() != 1) {
    return;
  }
  EndCameraCapture(camera_params_, false);
  subscribed_ = false;
  BeginCameraCapture(camera_params_.value(), "CameraOutputTrack", true);
}

void ProducerModel::AutoFocusChanged(bool enabled) {
  if (subscribed_ && local_) local_->manual_focus = !enabled;
}

// Preview and effects.

void ProducerModel::SetView(const std::string& view) {
  if (view.empty()) {
    RemoveTapOf(local_track_);
    local_.reset();
    return;
  }
  if (local_) {
    local_->view = view;
  } else {
    if (local_track_.empty()) local_track_ = NewTrack("[call][main]");
    if (!answers_.makes_renderer) return;
    local_ = Renderer{.name = NewName("renderer"),
                      .input = local_track_.empty() ? "null" : local_track_ + ".reader",
                      .view = view,
                      .fill = fill_,
                      .background = background_};
    if (camera_) local_->manual_focus = !answers_.is_auto_focus_enabled;
  }
  ConnectPreview(local_, local_track_);
}

void ProducerModel::SetFillMode(FillMode mode) {
  fill_ = mode;
  if (local_) local_->fill = mode;
  if (custom_) custom_->fill = mode;
}

void ProducerModel::SetBackground(std::uint32_t color) {
  background_ = color;
  if (local_) local_->background = color;
}

void ProducerModel::SetAdaptiveMode(FrameAdaptiveMode mode, bool flag) {
  adaptive_mode_ = mode;
  told_["adaptive mode"] = Describe(mode);
  told_["adaptive flag"] = Describe(flag);
}

void ProducerModel::SetMirror(MirrorMode mode) { told_["mirror"] = Describe(mode); }

void ProducerModel::SetWatermark(bool in_preview) {
  watermark_in_preview_ = in_preview;
  ConnectPreview(local_, local_track_);
  ConnectPreview(custom_, custom_track_);
}

void ProducerModel::EnableCustomRender(bool enable, PixelFormat format, const std::string& writer) {
  if (!enable) {
    RemoveTapOf(custom_track_);
    custom_.reset();
    return;
  }
  if (custom_track_.empty()) custom_track_ = NewTrack("[call][main]");
  custom_.reset();
  if (!answers_.makes_renderer) return;
  custom_ = Renderer{.name = NewName("renderer"),
                     .input = custom_track_.empty() ? "null" : custom_track_ + ".reader",
                     .fill = fill_,
                     .output = Describe(format) + " " + writer};
  ConnectPreview(custom_, custom_track_);
}

void ProducerModel::ConnectPreview(const std::optional<Renderer>& renderer,
                                   const std::string& track) {
  if (!renderer || track.empty()) return;
  RemoveTapOf(track);
  CustomProcessParams params;
  params.enabled = true;
  taps_.push_back({watermark_in_preview_ ? InterceptPosition::kPreviewWithWatermark
                                         : InterceptPosition::kPreview,
                   params, track + ".writer"});
}

void ProducerModel::RemoveTapOf(const std::string& track) {
  if (!track.empty()) RemoveTap(track + ".writer");
}

void ProducerModel::SetBeauty(float level) { told_["beauty"] = Describe(level / 9.0F); }

void ProducerModel::AddTap(InterceptPosition position, PixelFormat format,
                           const std::string& writer) {
  CustomProcessParams params;
  params.enabled = true;
  params.pixel_format = format;
  taps_.push_back({position, params, writer});
}

void ProducerModel::RemoveTap(const std::string& writer) {
  std::erase_if(taps_, [&](const Tap& tap) { return tap.writer == writer; });
}

void ProducerModel::AddListener(InterceptPosition position, const CustomProcessParams& params,
                                const std::string& listener) {
  listeners_.push_back({position, params, listener});
}

void ProducerModel::RemoveListener(const std::string& listener) {
  std::erase_if(listeners_, [&](const Listener& entry) { return entry.name == listener; });
}

// Encoding.

bool ProducerModel::encoder_exists(VideoStreamType type) const {
  return !encoders_[type == VideoStreamType::kSmall ? 1 : 0].name.empty();
}

void ProducerModel::EncoderStoppedByItself(VideoStreamType type) { Of(type).started = false; }

void ProducerModel::MakeEncoder(VideoStreamType type) {
  Encoder& encoder = Of(type);
  if (!encoder.name.empty()) return;
  const std::string stream = type == VideoStreamType::kSmall ? "small_encoder" : "big_encoder";
  if (answers_.makes_encoder) encoder.name = NewName(stream);
  RemoveTapOf(encoder.track);  // It ends with its track.
  encoder.track = NewTrack(stream + "_pixel_frame_track");
}

void ProducerModel::AskFormat(Encoder& encoder) {
  if (encoder.format != PixelFormat::kNone) return;
  encoder.format = answers_.encoder_input_format.pixel_format;
  encoder.buffer_type = answers_.encoder_input_format.buffer_type;
}

void ProducerModel::ConnectEncoder(VideoStreamType type, Size size) {
  MakeEncoder(type);
  Encoder& encoder = Of(type);
  if (encoder.name.empty() || encoder.track.empty()) return;
  RemoveTapOf(encoder.track);
  if (!encoder.started) return;
  CustomProcessParams params;
  params.width = size.width;
  params.height = size.height;
  params.enabled = true;
  params.buffer_type = encoder.buffer_type;
  params.pixel_format = encoder.format;
  params.stream_type = type;
  taps_.push_back({InterceptPosition::kEncoder, params, encoder.track + ".writer"});
}

void ProducerModel::StartEncoder(VideoStreamType type, const EncodeParams& params,
                                 const std::string& writer) {
  SetEncodeParams(type, params);
  if (writer == "null") return;
  MakeEncoder(type);
  Encoder& encoder = Of(type);
  if (encoder.name.empty() || encoder.started) return;
  if (!encoder.track.empty()) encoder.input = encoder.track + ".reader";
  encoder.output = writer;
  encoder.started = true;
  if (!params.width.has_value() || !params.height.has_value()) return;
  AskFormat(encoder);
  ConnectEncoder(type, {params.width.value(), params.height.value()});
}

void ProducerModel::StopEncoder(VideoStreamType type) {
  Encoder& encoder = Of(type);
  RemoveTapOf(encoder.track);
  const Encoder old = std::exchange(encoder, {});
  encoder.size = old.size;
  encoder.frame_rate = old.frame_rate;
  encoder.format = old.format;
  encoder.buffer_type = old.buffer_type;
}

void ProducerModel::SetEncodeParams(VideoStreamType type, const EncodeParams& params) {
  MakeEncoder(type);
  Encoder& encoder = Of(type);
  const bool has_size = params.width.has_value() && params.height.has_value();
  const Size size{params.width.value_or(0), params.height.value_or(0)};
  if (!encoder.name.empty()) {
    encoder.params = Describe(params);
    if (has_size && size != encoder.size) {
      if (type != VideoStreamType::kSmall) told_["encoder size"] = Describe(size);
      AskFormat(encoder);
      ConnectEncoder(type, size);
    }
  }
  if (params.frame_rate.has_value()) encoder.frame_rate = params.frame_rate.value();
  if (has_size) encoder.size = size;
  if (type != VideoStreamType::kSmall && IsRunning()) AdaptCapture(params);
}

void ProducerModel::AdaptCapture(const EncodeParams& params) {
  const bool is_camera = source_ == VideoSourceType::kCamera && camera_params_.has_value();
  if (params.frame_rate.has_value()) {
    const std::int32_t rate = params.frame_rate.value();
    if (is_camera && camera_params_->frame_rate.value_or(0) < rate) {
      camera_params_->frame_rate = rate;
      if (camera_) camera_->updated = Describe(camera_params_.value());
    } else if (IsScreen() && mobile_params_.has_value()) {
      if (mobile_params_->frame_rate.value_or(0) < rate) {
        mobile_params_->frame_rate = rate;
        screen_mobile_ = Describe(mobile_params_.value());
      }
    } else if (IsScreen() && desktop_params_->frame_rate.value_or(0) < rate) {
      desktop_params_->frame_rate = rate;
      screen_desktop_ = Describe(desktop_params_.value());
    }
  }
  if (!is_camera || !params.width.has_value() || !params.height.has_value()) return;
  const Size size = CameraSize({});
  const Size now{camera_params_->width.value_or(0), camera_params_->height.value_or(0)};
  if (mode_ == ProducerMode::kOwnSize || size == now) return;
  camera_params_->width = size.width;
  camera_params_->height = size.height;
  if (camera_) camera_->updated = Describe(camera_params_.value());
}

void ProducerModel::TouchEncoder(VideoStreamType type) { MakeEncoder(type); }

void ProducerModel::EncoderWantsFormat(VideoStreamType type, PixelFormat format,
                                       BufferType buffer_type) {
  Of(type).format = format;
  Of(type).buffer_type = buffer_type;
  ConnectEncoder(type, Of(type).size);
}

void ProducerModel::SetEncoderMirror(bool mirror) { told_["encoder mirror"] = Describe(mirror); }

}  // namespace movra::video::model

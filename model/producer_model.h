// A second, plainer telling of what the producer does: no calls, only what they leave behind.
//
// Collaborators are their names, as the doubles get them: "renderer#2", "CameraOutputTrack.writer".
// The model reads what the factories will answer from the world, as the producer finds out by
// asking them. Records are told as the text that the doubles show.

#ifndef MOVRA_MODEL_PRODUCER_MODEL_H_
#define MOVRA_MODEL_PRODUCER_MODEL_H_

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/observed_state.h"
#include "testing/world.h"
#include "video/capture_params.h"
#include "video/encode_params.h"

namespace movra::video::model {

class ProducerModel {
 public:
  explicit ProducerModel(const testing::Answers& answers);

  [[nodiscard]] ObservedState State() const;

  // Whether the camera service is there; making it again makes a new one.
  void LoseCameraService();
  void MakeCameraService();
  [[nodiscard]] bool has_camera_service() const { return camera_.has_value(); }
  [[nodiscard]] bool has_local_renderer() const { return local_.has_value(); }
  [[nodiscard]] bool is_uninitialized() const { return uninitialized_; }
  [[nodiscard]] std::size_t waiting_callbacks() const { return camera_ ? camera_->callbacks : 0; }
  void CameraCallbacksAnswered() { camera_->callbacks = 0; }
  [[nodiscard]] bool encoder_exists(VideoStreamType type) const;
  void EncoderStoppedByItself(VideoStreamType type);

  void Initialize();
  void Uninitialize();
  void StartCamera(const CameraParams& params, bool with_callback);
  void StartDesktop(const DesktopScreenParams& params);
  void StartMobile(const MobileScreenParams& params);
  void StopCapture(bool with_callback);
  void Pause();
  void Resume();
  void SetMode(ProducerMode mode);
  void SetCover(const std::string& text);  // Empty: none.
  void EnableCustomCapture(bool enable);
  void SetCustomInput(const std::string& reader);
  void DeviceChanged(CameraDeviceState state, const std::string& device_id);
  void AutoFocusChanged(bool enabled);

  void SetView(const std::string& view);  // Empty: none.
  void SetFillMode(FillMode mode);
  void SetBackground(std::uint32_t color);
  void SetAdaptiveMode(FrameAdaptiveMode mode, bool flag);
  void SetMirror(MirrorMode mode);
  void SetWatermark(bool in_preview);
  void EnableCustomRender(bool enable, PixelFormat format, const std::string& writer);

  void StartEncoder(VideoStreamType type, const EncodeParams& params, const std::string& writer);
  void StopEncoder(VideoStreamType type);
  void SetEncodeParams(VideoStreamType type, const EncodeParams& params);
  void TouchEncoder(VideoStreamType type);  // Any control that needs a controller.
  void EncoderWantsFormat(VideoStreamType type, PixelFormat format, BufferType buffer_type);
  void SetEncoderMirror(bool mirror);

  void SetBeauty(float level);
  void AddTap(InterceptPosition position, PixelFormat format, const std::string& writer);
  void RemoveTap(const std::string& writer);
  void AddListener(InterceptPosition position, const CustomProcessParams& params,
                   const std::string& listener);
  void RemoveListener(const std::string& listener);
  void Exclude(long window) { excluded_.insert(window); }
  void StopExcluding(long window) { excluded_.erase(window); }
  void StopExcludingAll() { excluded_.clear(); }
  void Include(long window) { included_.insert(window); }
  void StopIncluding(long window) { included_.erase(window); }
  void StopIncludingAll() { included_.clear(); }

 private:
  enum class Status { kStopped, kStarted, kPaused };
  struct Capture {
    std::string params;
    std::string writer;
  };
  struct Camera {
    std::string name;
    std::vector<Capture> captures = {};
    std::string updated = "-";
    std::size_t callbacks = 0;
  };
  struct Renderer {
    std::string name;
    std::string input;
    std::string view = "null";
    std::optional<FillMode> fill = {};
    std::optional<std::uint32_t> background = {};
    std::optional<bool> manual_focus = {};
    std::string output = {};
  };
  struct Tap {
    InterceptPosition position;
    CustomProcessParams params;
    std::string writer;
  };
  struct Listener {
    InterceptPosition position;
    CustomProcessParams params;
    std::string name;
  };
  struct Encoder {
    std::string name;  // Empty: no controller.
    bool started = false;
    std::string params = "-";
    std::string input = "null";
    std::string output = "null";
    std::string track;  // Empty: none.
    Size size;
    std::int32_t frame_rate = 0;
    PixelFormat format = PixelFormat::kNone;
    BufferType buffer_type = BufferType::kMemory;
  };

  std::string NewName(const std::string& name);
  std::string NewTrack(const std::string& name);  // Empty if the factory makes none.
  [[nodiscard]] bool IsRunning() const { return status_ != Status::kStopped; }
  [[nodiscard]] bool IsScreen() const;

  void BeginCapture(bool with_callback);
  void BeginCameraCapture(const CameraParams& params, const char* track, bool with_callback);
  void EndCameraCapture(const movra_base::Optional<CameraParams>& params, bool with_callback);
  void EndScreenCapture();
  void TearDownCapture(bool with_callback);
  [[nodiscard]] Size CameraSize(Size input) const;

  Encoder& Of(VideoStreamType type) { return encoders_[type == VideoStreamType::kSmall ? 1 : 0]; }
  void MakeEncoder(VideoStreamType type);
  void ConnectEncoder(VideoStreamType type, Size size);
  void AskFormat(Encoder& encoder);
  void AdaptCapture(const EncodeParams& params);
  void ConnectPreview(const std::optional<Renderer>& renderer, const std::string& track);
  void RemoveTapOf(const std::string& track);
  void DescribeEncoders(ObservedState& state) const;
  void DescribePreprocessor(ObservedState& state) const;
  void DescribeRenderer(const std::optional<Renderer>& renderer, const std::string& track,
                        ObservedState& state) const;

  const testing::Answers& answers_;
  std::map<std::string, int> names_;
  bool uninitialized_ = false;

  Status status_ = Status::kStopped;
  VideoSourceType source_ = VideoSourceType::kNone;
  ProducerMode mode_ = ProducerMode::kDefault;
  movra_base::Optional<CameraParams> camera_params_;
  movra_base::Optional<CameraParams> virtual_params_;
  movra_base::Optional<DesktopScreenParams> desktop_params_;
  movra_base::Optional<MobileScreenParams> mobile_params_;
  std::string capture_track_;
  bool subscribed_ = false;

  std::optional<Camera> camera_;
  std::string screen_state_ = "0";
  bool screen_paused_ = false;
  std::vector<std::string> screen_writers_;
  std::string screen_desktop_ = "-";
  std::string screen_mobile_ = "-";
  std::string screen_client_ = "null";
  std::set<long> excluded_;
  std::set<long> included_;

  ObservedState told_;  // Of the preprocessor.
  std::string input_ = "null";
  std::vector<Tap> taps_;
  std::vector<Listener> listeners_;
  bool watermark_in_preview_ = false;
  std::optional<FrameAdaptiveMode> adaptive_mode_;

  std::optional<Renderer> local_;
  std::optional<Renderer> custom_;
  std::string local_track_;
  std::string custom_track_;
  std::optional<FillMode> fill_;
  std::optional<std::uint32_t> background_;

  std::array<Encoder, 2> encoders_;
};

}  // namespace movra::video::model

#endif  // MOVRA_MODEL_PRODUCER_MODEL_H_

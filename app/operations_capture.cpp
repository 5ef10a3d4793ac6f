// The rows about the producer's life and about what it captures.

#include <cstdint>
#include <memory>
#include <utility>

#include "app/frame_rate.h"
#include "app/operation_groups.h"
#include "app/operation_row.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

using I = video::IVideoProducer2;
using video::CameraParams;
using video::DesktopScreenParams;
using video::MobileScreenParams;
using video::Region;

constexpr char kCameraSide[] =
    "Pixels, in mode \"own_size\"; -1 in both: the natural size, 0 in both: the big stream's.";

TypedArgument<std::int32_t> Pixels(std::string name, std::string help, std::int32_t least) {
  return Integer<std::int32_t>(std::move(name), std::move(help), least, kGreatestSide);
}

TypedArgument<std::int32_t> FramesPerSecond() {
  return Integer<std::int32_t>("frame_rate", "Frames per second.", 1, kGreatestFrameRate);
}

TypedArgument<CameraParams> CameraRecord() {
  return RecordOf<CameraParams>(
      "params", "What the camera is asked for; what is left out is its own choice.",
      {FieldOf(&CameraParams::camera_id,
               Text("camera_id",
                    "Which camera: \"test:\", \"file:PATH\", \"/dev/video0\", or "
                    "\"virtual:NAME\" for a cover image alone.")),
       FieldOf(&CameraParams::facing,
               Integer<std::uint8_t>("facing", "Which way it faces, as its driver counts.")),
       FieldOf(&CameraParams::orientation,
               Integer<std::int32_t>("orientation", "How it is held, as its driver counts.")),
       FieldOf(&CameraParams::frame_rate, FramesPerSecond()),
       FieldOf(&CameraParams::width, Pixels("width", kCameraSide, -1)),
       FieldOf(&CameraParams::height, Pixels("height", kCameraSide, -1)),
       FieldOf(&CameraParams::cover_image,
               Image("cover_image", "Shown instead of camera pictures."))});
}

TypedArgument<Region> RegionRecord() {
  return RecordOf<Region>(
      "region", "The part of the source that is captured, in pixels; all of it if left out.",
      {FieldOf(&Region::x, Integer<std::int32_t>("x", "Of the left edge.").OrElse(0)),
       FieldOf(&Region::y, Integer<std::int32_t>("y", "Of the upper edge.").OrElse(0)),
       FieldOf(&Region::width, Pixels("width", "Pixels.", 1)),
       FieldOf(&Region::height, Pixels("height", "Pixels.", 1))});
}

TypedArgument<DesktopScreenParams> DesktopRecord() {
  using P = DesktopScreenParams;
  return RecordOf<P>(
      "params", "What the capturer is asked for; what is left out is its own choice.",
      {FieldOf(&P::frame_rate, FramesPerSecond()),
       FieldOf(&P::source_id,
               Integer<std::int64_t>("source_id", "An id of get_screen_share_source_list.")),
       FieldOf(&P::region, RegionRecord()),
       FieldOf(&P::source_kind,
               Integer<std::int32_t>("source_kind", "0: a display, 1: a window.", 0, 1)),
       FieldOf(&P::capture_cursor, Bool("capture_cursor", "Whether the pointer is shown.")),
       FieldOf(&P::capture_children,
               Bool("capture_children", "Pop-ups and dialogs of a shared window too.")),
       FieldOf(&P::show_border, Bool("show_border", "A border around what is shared.")),
       FieldOf(&P::border_color, Color<std::int32_t>("border_color", "Of that border.", true)),
       FieldOf(&P::border_width,
               Integer<std::int32_t>("border_width", "Pixels.", 0, kGreatestSide)),
       FieldOf(&P::exclude_own_windows,
               Bool("exclude_own_windows", "Leaves out this program's windows.")),
       FieldOf(&P::capture_covered,
               Bool("capture_covered", "A shared window also while others cover it.")),
       FieldOf(&P::activate_window,
               Bool("activate_window", "Brings a shared window to the front.")),
       FieldOf(&P::high_dpi, Bool("high_dpi", "Device pixels instead of points."))});
}

TypedArgument<MobileScreenParams> MobileRecord() {
  using P = MobileScreenParams;
  return RecordOf<P>("params",
                     "What the capturer is asked for; what is left out is its own choice.",
                     {FieldOf(&P::frame_rate, FramesPerSecond()),
                      FieldOf(&P::landscape, Bool("landscape", "Whether the screen lies.")),
                      FieldOf(&P::region, RegionRecord())});
}

AnswersLater StartCamera(OperationCall& call, const CameraParams& params) {
  call.producer.StartCapture(
      params, movra_base::BindOnce(
                  [](const std::shared_ptr<OperationAnswer>& answer, int error, int elapsed_ms) {
                    answer->Give(Json{{"error_code", error}, {"elapsed_ms", elapsed_ms}});
                  },
                  call.answer));
  return {};
}

AnswersLater StopCapture(OperationCall& call) {
  call.producer.StopCapture(movra_base::BindOnce(
      [](const std::shared_ptr<OperationAnswer>& answer) { answer->Give(Json()); }, call.answer));
  return {};
}

void Uninitialize(OperationCall& call) {
  call.producer.Uninitialize();
  call.uninitialized = true;
  call.uses.ReleaseAll();
}

}  // namespace

std::vector<Operation> LifecycleOperations() {
  return {
      Answering("`{\"roi\": true, ...}`",
                AtAnyTime(Row("get_encode_ability", "What this process can encode.",
                              [](OperationCall&) { return ToData(I::GetEncodeAbility()); }))),
      AtAnyTime(Row("set_client", "Who hears of the producer's events.", &I::SetClient,
                    Client("client", "The program's recorder; null: nobody."))),
      Answering(
          "`{\"capture_stat\": 250, ...}`",
          AtAnyTime(Row("get_stats", "Figures of the producer and of one encoder.", &I::GetStats,
                        NameOf<video::VideoStreamType>("type", "Whose encoder.")))),
      Row("initialize", "Starts frame processing.", &I::Initialize),
      Row("uninitialize", "Stops everything and releases the collaborators.", &Uninitialize),
      Answering("`\"default\"`", AtAnyTime(Row("get_producer_type", "What kind of producer it is.",
                                               &I::GetProducerType)))};
}

std::vector<Operation> CaptureOperations() {
  const auto start_desktop = static_cast<void (I::*)(const DesktopScreenParams&)>(&I::StartCapture);
  const auto start_mobile = static_cast<void (I::*)(const MobileScreenParams&)>(&I::StartCapture);
  return {
      Answering(
          "`{\"error_code\": 0, \"elapsed_ms\": 12}` when the camera has started or could not",
          Row("start_capture_camera", "Starts a camera or a virtual camera.", &StartCamera,
              CameraRecord())),
      Row("start_capture_desktop_screen", "Starts the capture of a display or a window.",
          start_desktop, DesktopRecord()),
      Row("start_capture_mobile_screen", "Starts the capture of a mobile device's screen.",
          start_mobile, MobileRecord()),
      Answering("null when the camera has stopped; `{\"dropped\": true}` for any other source",
                Row("stop_capture", "Stops whichever source runs.", &StopCapture)),
      Row("pause_capture", "Pauses the source.", &I::PauseCapture),
      Row("resume_capture", "Goes on with the source.", &I::ResumeCapture),
      Row("set_producer_mode", "How the camera's size follows the big stream's.",
          &I::SetProducerMode,
          NameOf<video::ProducerMode>(
              "mode", "From the next start of a capture or change of the big stream's size on.")),
      Answering("true or false",
                AtAnyTime(Row("is_capturing", "Whether a source runs unpaused.", &I::IsCapturing))),
      Answering("the kind of source, as in `\"camera\"`",
                AtAnyTime(Row("get_current_source_type", "What is captured from.",
                              &I::GetCurrentSourceType))),
      Row("set_camera_focus_position", "Focuses the camera at a point of the preview.",
          &I::SetCameraFocusPosition,
          Number<float>("x", "From the left edge on, as a part of the width.", 0, 1),
          Number<float>("y", "From the upper edge on, as a part of the height.", 0, 1))};
}

}  // namespace movra::app

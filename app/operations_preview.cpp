// The rows about the preview and what it shares with the frames.

#include <memory>
#include <utility>

#include "app/operation_groups.h"
#include "app/operation_row.h"

namespace movra::app {
namespace {

using I = video::IVideoProducer2;
using video::VideoCoverImageParams;

TypedArgument<std::shared_ptr<VideoCoverImageParams>> CoverRecord() {
  using P = VideoCoverImageParams;
  return SharedOrNull(RecordOf<P>(
      "params", "The picture; null: none any more.",
      {FieldOf(&P::image, Image("image", "What is shown.", Null::kRefused)),
       FieldOf(
           &P::image_option,
           Integer<std::int32_t>("image_option", "How the preprocessor places it.").OrElse(0))}));
}

}  // namespace

std::vector<Operation> PreviewOperations() {
  return {
      Row("set_render_view", "Starts, retargets or stops the preview.", &I::SetRenderView,
          View("view", "What is drawn into; null stops the preview.")),
      Row("set_render_mirror", "Mirrors the frames.", &I::SetRenderMirror,
          NameOf<video::MirrorMode>("mode", "Whether left and right are swapped.")),
      Row("set_render_rotation", "Turns the frames.", &I::SetRenderRotation,
          NameOf<video::VideoRotation>("rotation", "Clockwise, in degrees.")),
      Row("set_render_background_color", "What surrounds the picture in the preview.",
          &I::SetRenderBackgroundColor,
          Color<unsigned int>("color", "Of the preview alone.", true)),
      Row("set_fill_mode", "How a picture is fitted into a view of another shape.", &I::SetFillMode,
          NameOf<video::FillMode>("mode", "Crops, leaves bars, or changes the shape.")),
      Row("set_g_sensor_mode", "What follows from how the device is held.", &I::SetGSensorMode,
          NameOf<video::GSensorMode>("mode", "Nothing, a rotation, or the layout.")),
      Row("set_output_frame_adaptive_mode",
          "How a picture is fitted into an output of another shape.",
          &I::SetOutputFrameAdaptiveMode,
          NameOf<video::FrameAdaptiveMode>("mode", "Crops, changes the shape, or adds bars."),
          Bool("flag", "Passed on to the preprocessor.").OrElse(true)),
      Row("set_cover_image_params", "Shows a still picture instead of captured ones.",
          &I::SetCoverImageParams, CoverRecord())};
}

}  // namespace movra::app

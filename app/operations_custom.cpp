// The rows about code and tracks of one's own on the road of a frame.

#include <memory>
#include <utility>

#include "app/operation_groups.h"
#include "app/operation_row.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

using I = video::IVideoProducer2;
using video::BufferType;
using video::CustomProcessParams;
using video::InterceptPosition;
using video::PixelFormat;

constexpr char kRendering[] = "custom rendering";
constexpr char kCapturing[] = "custom capturing";
constexpr char kListening[] = "listeners";
constexpr char kTapping[] = "taps";

TypedArgument<InterceptPosition> Position() {
  return NameOf<InterceptPosition>("position", "Where on the road of a frame.");
}

TypedArgument<PixelFormat> Format(std::string name, std::string help) {
  return NameOf<PixelFormat>(std::move(name), std::move(help)).OrElse("none");
}

TypedArgument<BufferType> Buffer(std::string name) {
  return NameOf<BufferType>(std::move(name), "Where the pixels lie.").OrElse("memory");
}

TypedArgument<CustomProcessParams> ProcessRecord() {
  using P = CustomProcessParams;
  const auto side = [](std::string name) {
    return Integer<std::int32_t>(std::move(name), "Pixels; 0: as the frame is.", 0, kGreatestSide)
        .OrElse(0);
  };
  return RecordOf<P>(
             "params", "The frames that the listener wants.",
             {FieldOf(&P::width, side("width")), FieldOf(&P::height, side("height")),
              FieldOf(&P::enabled,
                      Bool("enabled", "True for what only looks on, false for what changes frames.")
                          .OrElse(false)),
              FieldOf(&P::buffer_type, Buffer("buffer_type")),
              FieldOf(&P::pixel_format, Format("pixel_format", "\"none\": as the frame is.")),
              FieldOf(&P::stream_type,
                      NameOf<video::VideoStreamType>("stream_type", "For which stream.")
                          .OrElse("big"))})
      .OrElse(Json::object());
}

void EnableProcessing(OperationCall& call, bool enable, PixelFormat format, BufferType type,
                      const std::shared_ptr<OperationObjects::Listener>& listener) {
  if (enable && format != PixelFormat::kNone) {
    call.uses.Keep(kListening, listener);
    call.producer.EnableCustomProcessing(enable, format, type, listener);
  } else {
    call.producer.EnableCustomProcessing(enable, format, type, listener);
    call.uses.Release(listener);
  }
}

void EnableRendering(OperationCall& call, bool enable, PixelFormat format, BufferType type,
                     const std::shared_ptr<OperationObjects::ShuntWriter>& writer) {
  if (enable) call.uses.Keep(kRendering, writer);
  call.producer.EnableCustomRendering(enable, format, type, writer);
  if (!enable) call.uses.Release(kRendering);
}

void SetReader(OperationCall& call, const std::shared_ptr<OperationObjects::Reader>& reader) {
  call.producer.SetCustomCaptureInputTrack(reader);
  call.uses.Release(kCapturing);
  call.uses.Keep(kCapturing, reader);
}

void AddTap(OperationCall& call, InterceptPosition position, PixelFormat format, BufferType type,
            const std::shared_ptr<OperationObjects::ShuntWriter>& writer) {
  call.uses.Keep(kTapping, writer);
  call.producer.AddVideoShuntTrack(position, format, type, writer);
}

void RemoveTap(OperationCall& call, const std::shared_ptr<OperationObjects::ShuntWriter>& writer) {
  call.producer.RemoveVideoShuntTrack(writer);
  call.uses.Release(writer);
}

void AddListener(OperationCall& call, InterceptPosition position, const CustomProcessParams& params,
                 const std::shared_ptr<OperationObjects::Listener>& listener) {
  call.uses.Keep(kListening, listener);
  call.producer.AddInterceptor(position, params, listener);
}

void RemoveListener(OperationCall& call,
                    const std::shared_ptr<OperationObjects::Listener>& listener) {
  call.producer.RemoveInterceptor(listener);
  call.uses.Release(listener);
}

}  // namespace

std::vector<Operation> CustomOperations() {
  const std::string delivered = "The frames that are handed over; \"none\": as they are.";
  return {
      Row("enable_custom_processing", "Lets every frame pass through a listener, or no longer.",
          &EnableProcessing, Bool("enable", "Whether it does."),
          Format("format", "The frames that are handed over; \"none\" removes the listener."),
          Buffer("buffer_type"),
          Listener("listener", "What the frames pass through.", Null::kAllowed).OrElse(nullptr)),
      Row("enable_custom_rendering", "Writes the preview's frames into a writer, or no longer.",
          &EnableRendering, Bool("enable", "Whether it does."), Format("format", delivered),
          Buffer("buffer_type"),
          ShuntWriter("writer", "Where the frames go.", Null::kAllowed).OrElse(nullptr)),
      Row("enable_custom_capturing", "Takes pushed frames for the source, or no longer.",
          &I::EnableCustomCapturing, Bool("enable", "Whether it does; stops whatever runs.")),
      Row("set_custom_capture_input_track", "Where pushed frames come from.", &SetReader,
          Reader("reader", "Runs from now until another one or null is set.")),
      Row("add_video_shunt_track", "Copies frames into a writer.", &AddTap, Position(),
          Format("format", delivered), Buffer("buffer_type"),
          ShuntWriter("writer", "Where the copies go.")),
      Row("remove_video_shunt_track", "Ends such copies.", &RemoveTap,
          UsedShuntWriter("writer", "As it was added.")),
      Row("add_interceptor", "Lets frames pass through a listener.", &AddListener, Position(),
          ProcessRecord(), Listener("listener", "What the frames pass through.")),
      Row("remove_interceptor", "Takes a listener away.", &RemoveListener,
          UsedListener("listener", "As it was added."))};
}

}  // namespace movra::app

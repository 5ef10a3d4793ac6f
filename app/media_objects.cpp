#include "app/media_objects.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "app/color_text.h"
#include "app/frame_listeners.h"
#include "app/picture_file.h"
#include "app/source_reader.h"
#include "app/stream_spec.h"
#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "media/frame/frame_pool.h"
#include "media/frame/platform_objects.h"
#include "media/output/sink_kinds.h"

namespace movra::app {
namespace {

// Of a picture of one colour: whoever draws it gives it the size that he needs.
constexpr video::Size kColorPicture{16, 16};

Failure NotBuilt(const std::string& text, const std::string& why) {
  return {ExitCode::kNotBuilt, "'" + text + "': " + why};
}

video::PixelFrame PictureOf(std::uint32_t rgb) {
  media::FramePool pool;
  media::WritableFrame frame = pool.Allocate(video::PixelFormat::kBGRA, kColorPicture);
  if (!frame) return {};
  for (int y = 0; y < kColorPicture.height; ++y) {
    std::uint8_t* sample = frame.plane(0) + static_cast<std::ptrdiff_t>(y) * frame.stride(0);
    for (int x = 0; x < kColorPicture.width; ++x) {
      *sample++ = static_cast<std::uint8_t>(rgb);
      *sample++ = static_cast<std::uint8_t>(rgb >> 8);
      *sample++ = static_cast<std::uint8_t>(rgb >> 16);
      *sample++ = 0xFF;
    }
  }
  return std::move(frame).Finish();
}

// A number as windows' are written: 4194311 or 0x400007. Absent if it is none, or 0.
std::optional<std::uint64_t> WindowNumber(std::string_view text) {
  const bool hexadecimal = text.starts_with("0x");
  if (hexadecimal) text.remove_prefix(2);
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != end || number == 0) return std::nullopt;
  return number;
}

}  // namespace

MediaObjects::MediaObjects(EventRecorder::Handler on_event, std::shared_ptr<Client> recorder)
    : on_event_(std::move(on_event)),
      recorder_(recorder != nullptr ? std::move(recorder)
                                    : std::make_shared<EventRecorder>(on_event_)) {}

EventRecorder::Handler MediaObjects::Poster() const {
  return [on_event = on_event_, queue = std::weak_ptr(core::GetMainQueue())](const Json& event) {
    if (const auto main_queue = queue.lock()) {
      main_queue->Post(movra_base::BindOnce(
          [](const EventRecorder::Handler& handler, const Json& told) { handler(told); }, on_event,
          event));
    }
  };
}

Result<std::shared_ptr<OperationObjects::Writer>> MediaObjects::MakeWriter(
    const std::string& spec) {
  const Result<StreamSpec> read = ParseStreamSpec(spec);
  if (const Failure* failure = FailureOf(read)) return *failure;
  const StreamSpec& stream = ValueOf(read);
  StreamSpec target_alone;
  target_alone.target = stream.target;
  if (!stream.target || !(stream == target_alone)) {
    return Failure{ExitCode::kMalformed,
                   "'" + spec +
                       "' has to be where the stream goes and nothing else, as in 'talk.mp4'; "
                       "size and rates are parameters"};
  }
  media::SinkRequest request;
  request.path = stream.target->path;
  request.format = stream.target->format;
  request.on_error = [post = Poster(), spec](const media::WriteError& error) {
    post({{"event", "writer_error"}, {"writer", spec}, {"error", error.text}});
  };
  request.on_end = [post = Poster(), spec](const video::StreamEnd& end) {
    post({{"event", "writer_ended"},
          {"writer", spec},
          {"error_code", end.error_code},
          {"reason", end.reason}});
  };
  std::string error;
  std::shared_ptr<Writer> writer =
      media::FindSinkKind(stream.target->scheme)->make(request, &error);
  if (writer == nullptr) return Failure{ExitCode::kDirectoryNotWritable, error};
  return writer;
}

Result<std::shared_ptr<OperationObjects::Reader>> MediaObjects::MakeReader(const std::string& id) {
  return OpenSourceReader(id, [post = Poster(), id](const std::string& why) {
    post({{"event", "reader_error"}, {"reader", id}, {"error", why}});
  });
}

Result<std::shared_ptr<OperationObjects::View>> MediaObjects::MakeView(const std::string& text) {
  constexpr std::string_view kPrefix = "x11:";
  if (text == "window") {
    return NotBuilt(text,
                    "a window of the program's own is not there yet; write 'x11:ID' with "
                    "the number of a window that is");
  }
  if (text.starts_with(kPrefix)) {
    if (const auto number = WindowNumber(std::string_view(text).substr(kPrefix.size()))) {
      return std::make_shared<View>(*number);
    }
  }
  return Failure{ExitCode::kMalformed, "'" + text +
                                           "' is no view; write 'window', or 'x11:ID' with the "
                                           "number of a window as in 'x11:0x400007'"};
}

Result<std::shared_ptr<OperationObjects::Image>> MediaObjects::MakeImage(const std::string& text) {
  if (const auto color = ParseColor(text); color && !color->alpha) {
    video::PixelFrame frame = PictureOf(color->rgb);
    if (!frame) return Failure{ExitCode::kNoResources, "there is no memory left"};
    return std::make_shared<Image>(std::move(frame));
  }
  Result<video::PixelFrame> picture = ReadPictureFile(text);
  if (const Failure* failure = FailureOf(picture)) return *failure;
  return std::make_shared<Image>(std::move(ValueOf(picture)));
}

Result<std::shared_ptr<OperationObjects::Listener>> MediaObjects::MakeListener(
    const std::string& text) {
  return MakeFrameListener(text);
}

Result<std::shared_ptr<OperationObjects::ShuntWriter>> MediaObjects::MakeShuntWriter(
    const std::string& path) {
  return NotBuilt(path, "frames that are tapped are not written into files yet");
}

Json MediaObjects::DescribeImage(const Image& image) {
  const video::Size& size = image.frame().info().size;
  return {{"width", size.width}, {"height", size.height}};
}

}  // namespace movra::app

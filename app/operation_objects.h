// What makes real objects of the words that data has for them.

#ifndef MOVRA_APP_OPERATION_OBJECTS_H_
#define MOVRA_APP_OPERATION_OBJECTS_H_

#include <memory>
#include <string>

#include "app/operation_argument.h"
#include "app/result.h"
#include "video/objc_wrapper.h"
#include "video/pixel_frame_track.h"
#include "video/producer/video_producer2.h"
#include "video/video_frame_track.h"
#include "video/video_interceptor_listener.h"

namespace movra::app {

// Each operation makes a new object of a text, or says why there can be none and what would be
// right. Who asks keeps what is made (app/operation_uses.h). Main queue.
class OperationObjects {
 public:
  using Writer = video::IVideoFrameTrackWriter;
  using Reader = video::IPixelFrameTrackReader;
  using View = video::ObjcWrapper<NSView>;
  using Image = video::ObjcWrapper<NSImage>;
  using Listener = video::VideoInterceptorListener;
  using ShuntWriter = video::IPixelFrameTrackWriter;
  using Client = video::IVideoProducer2::Client;

  virtual ~OperationObjects() = default;

  [[nodiscard]] virtual Result<std::shared_ptr<Writer>> MakeWriter(const std::string& spec) = 0;
  [[nodiscard]] virtual Result<std::shared_ptr<Reader>> MakeReader(const std::string& id) = 0;
  [[nodiscard]] virtual Result<std::shared_ptr<View>> MakeView(const std::string& text) = 0;
  [[nodiscard]] virtual Result<std::shared_ptr<Image>> MakeImage(const std::string& text) = 0;
  [[nodiscard]] virtual Result<std::shared_ptr<Listener>> MakeListener(const std::string& text) = 0;
  [[nodiscard]] virtual Result<std::shared_ptr<ShuntWriter>> MakeShuntWriter(
      const std::string& path) = 0;

  // The one client of the program, which these objects keep. Null: it has none.
  [[nodiscard]] virtual std::shared_ptr<Client> Recorder() = 0;

  // What an answer says of a picture, which is not null. Any thread.
  [[nodiscard]] virtual Json DescribeImage(const Image& image) = 0;
};

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_OBJECTS_H_

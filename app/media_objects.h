// The real objects that operations are given: files, sources, pictures, listeners.

#ifndef MOVRA_APP_MEDIA_OBJECTS_H_
#define MOVRA_APP_MEDIA_OBJECTS_H_

#include <functional>
#include <memory>
#include <string>

#include "app/event_recorder.h"
#include "app/operation_objects.h"

namespace movra::app {

// Made of what this program has. What it has not yet (sinks of the network, windows of its own,
// files of tapped frames) is refused, and the refusal says so.
//
// The handler gets the producer's events (app/event_recorder.h), and of the objects made here
// {"event": "writer_error" or "reader_error", "writer" or "reader": TEXT, "error": WHY}. It is
// called on the main queue and may outlive this.
class MediaObjects final : public OperationObjects {
 public:
  explicit MediaObjects(EventRecorder::Handler on_event);

  // OperationObjects
  [[nodiscard]] Result<std::shared_ptr<Writer>> MakeWriter(const std::string& spec) override;
  [[nodiscard]] Result<std::shared_ptr<Reader>> MakeReader(const std::string& id) override;
  [[nodiscard]] Result<std::shared_ptr<View>> MakeView(const std::string& text) override;
  [[nodiscard]] Result<std::shared_ptr<Image>> MakeImage(const std::string& text) override;
  [[nodiscard]] Result<std::shared_ptr<Listener>> MakeListener(const std::string& text) override;
  [[nodiscard]] Result<std::shared_ptr<ShuntWriter>> MakeShuntWriter(
      const std::string& path) override;
  [[nodiscard]] std::shared_ptr<Client> Recorder() override { return recorder_; }
  [[nodiscard]] Json DescribeImage(const Image& image) override;

 private:
  // What tells the handler of an error, from any thread.
  [[nodiscard]] std::function<void(const std::string& why)> Reporter(const std::string& kind,
                                                                     const std::string& text);

  const EventRecorder::Handler on_event_;
  const std::shared_ptr<EventRecorder> recorder_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_MEDIA_OBJECTS_H_

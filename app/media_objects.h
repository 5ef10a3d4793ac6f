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
// The handler gets the producer's events (app/event_recorder.h), and these of the objects made
// here:
//
//   {"event": "writer_ended", "writer": TEXT, "error_code": 0, "reason": ""}   its file is finished
//   {"event": "writer_error", "writer": TEXT, "error": WHY}                    it broke off
//   {"event": "reader_error", "reader": TEXT, "error": WHY}                    nothing is read
//
// It is called on the main queue and may outlive this.
class MediaObjects final : public OperationObjects {
 public:
  // `recorder` is the program's client; null: one that hands the events to the handler.
  explicit MediaObjects(EventRecorder::Handler on_event,
                        std::shared_ptr<Client> recorder = nullptr);

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
  // What posts an event to the handler, from any thread.
  [[nodiscard]] EventRecorder::Handler Poster() const;

  const EventRecorder::Handler on_event_;
  const std::shared_ptr<Client> recorder_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_MEDIA_OBJECTS_H_

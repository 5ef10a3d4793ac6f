// The two sides of a random play, and the list of the steps it can take.

#ifndef MOVRA_MODEL_PLAY_TABLE_H_
#define MOVRA_MODEL_PLAY_TABLE_H_

#include <memory>
#include <string>
#include <vector>

#include "model/choices.h"
#include "model/producer_model.h"
#include "testing/application_doubles.h"
#include "testing/environment.h"
#include "testing/images.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::video::model {

struct Table {
  explicit Table(Choices the_choices);

  Choices choices;
  testing::Environment environment;
  ProducerModel model{environment.world().answers};
  std::shared_ptr<testing::ClientDouble> client = environment.Make<testing::ClientDouble>("client");
  std::shared_ptr<VideoProducer2Impl> producer;

  std::vector<std::shared_ptr<testing::FrameWriterDouble>> writers;
  std::vector<std::shared_ptr<testing::EncodedWriterDouble>> encoded_writers;
  std::vector<std::shared_ptr<testing::ListenerDouble>> listeners;
  std::shared_ptr<testing::FrameReaderDouble> reader =
      environment.Make<testing::FrameReaderDouble>("application reader");

  std::vector<std::string> callbacks;       // The names of all that were given away.
  std::vector<std::string> client_entries;  // What the client must have heard in this step.

  // A callback to give away, or none.
  template <class Signature>
  movra_base::OnceCallback<Signature> MakeCallback(bool wanted) {
    if (!wanted) return {};
    callbacks.push_back("callback" + std::to_string(callbacks.size()));
    return environment.Callback<Signature>(callbacks.back());
  }

  // The client must have heard this, if there is one.
  template <class... Args>
  void ExpectEvent(const char* event, const Args&... args) {
    if (client) {
      client_entries.push_back(testing::DescribeCall("client", event, producer.get(), args...));
    }
  }
};

struct Step {
  const char* name;
  void (*take)(Table&);
};

// Everything that an initialised or new producer may be asked or told.
[[nodiscard]] const std::vector<Step>& AllSteps();

// The parts of the list, a file each.
void AddCaptureSteps(std::vector<Step>& steps);
void AddPreviewSteps(std::vector<Step>& steps);
void AddEncodingSteps(std::vector<Step>& steps);
void AddWorldSteps(std::vector<Step>& steps);

}  // namespace movra::video::model

#endif  // MOVRA_MODEL_PLAY_TABLE_H_

#include "model/random_play.h"

#include <utility>
#include <vector>

#include "model/play_table.h"
#include "testing/encoder_double.h"
#include "testing/preprocessor_double.h"
#include "testing/renderer_double.h"
#include "testing/screen_sharing_double.h"
#include "testing/track_double.h"

namespace movra::video::model {
namespace {

std::vector<Step> MakeAllSteps() {
  std::vector<Step> steps;
  AddCaptureSteps(steps);
  AddPreviewSteps(steps);
  AddEncodingSteps(steps);
  AddWorldSteps(steps);
  return steps;
}

// The entries in which the client tells of events.
std::vector<std::string> ClientEntries(const std::vector<std::string>& entries) {
  std::vector<std::string> of_client;
  for (const std::string& entry : entries) {
    if (entry.starts_with("client.")) of_client.push_back(entry);
  }
  return of_client;
}

class Referee {
 public:
  explicit Referee(Table& table) : table_(table) {}

  // What is wrong after a step; empty if nothing is.
  std::string Judge() {
    const std::vector<std::string> entries = table_.environment.journal().Take();
    NoteCallbacks(entries);
    const std::vector<std::string> heard = ClientEntries(entries);
    if (heard != std::exchange(table_.client_entries, {})) return "the client heard otherwise";
    if (HasDoubleRegistration()) return "a writer is registered twice";
    return Differences(table_.model.State(), Observe(table_.environment, *table_.producer));
  }

  // After the release of the producer.
  std::string JudgeTheEnd() {
    NoteCallbacks(table_.environment.journal().Take());
    for (const std::string& callback : table_.callbacks) {
      if (ends_[callback] != 1) return callback + " was not destroyed exactly once";
      if (runs_[callback] > 1) return callback + " was run twice";
    }
    const testing::World& world = table_.environment.world();
    if (world.preprocessors.CountAlive() + world.screen_sharings.CountAlive() +
            world.renderers.CountAlive() + world.big_encoders.CountAlive() +
            world.small_encoders.CountAlive() >
        0) {
      return "a collaborator outlives the producer";
    }
    return {};
  }

 private:
  void NoteCallbacks(const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
      if (entry.starts_with("~callback")) ++ends_[entry.substr(1)];
      if (entry.starts_with("callback")) ++runs_[entry.substr(0, entry.find('('))];
    }
  }

  bool HasDoubleRegistration() const {
    const testing::World& world = table_.environment.world();
    const auto preprocessor = world.preprocessors.Find(0);
    if (!preprocessor) return false;
    for (std::size_t i = 0; i < world.tracks.count(); ++i) {
      const auto track = world.tracks.Find(i);
      if (track && preprocessor->CountRegistrations(track->writer()) > 1) return true;
    }
    return false;
  }

  Table& table_;
  std::map<std::string, int> ends_;
  std::map<std::string, int> runs_;
};

std::string Report(const std::vector<const char*>& steps, const std::string& what) {
  std::string report = "after";
  for (const char* step : steps) report += std::string(" ") + step;
  return report + ":\n" + what;
}

}  // namespace

const std::vector<Step>& AllSteps() {
  static const std::vector<Step> steps = MakeAllSteps();
  return steps;
}

Table::Table(Choices the_choices) : choices(the_choices) {
  for (const char* name : {"writer1", "writer2"}) {
    writers.push_back(environment.Make<testing::FrameWriterDouble>(name));
    encoded_writers.push_back(
        environment.Make<testing::EncodedWriterDouble>(std::string("encoded ") + name));
  }
  for (const char* name : {"listener1", "listener2"}) {
    listeners.push_back(environment.Make<testing::ListenerDouble>(name));
  }
  environment.MakeCameraService();
  model.MakeCameraService();
  producer = std::make_shared<VideoProducer2Impl>(VideoContext(InstanceTrace(7), "[call]"), client,
                                                  VideoStreamType::kBig);
  testing::SetNameOf(*producer, "producer");
}

PlayResult Play(std::span<const std::uint8_t> bytes) {
  Table table{Choices(bytes)};
  Referee referee(table);
  std::vector<const char*> taken;
  std::string wrong = referee.Judge();
  while (wrong.empty() && !table.choices.AreUsedUp()) {
    const Step& step = AllSteps()[table.choices.Index(AllSteps().size())];
    taken.push_back(step.name);
    step.take(table);
    wrong = referee.Judge();
  }
  if (wrong.empty() && bytes.size() % 2 == 0) {  // The others are released as they are.
    taken.push_back("Uninitialize");
    table.model.Uninitialize();
    table.producer->Uninitialize();
    wrong = referee.Judge();
  }
  if (wrong.empty()) {
    taken.push_back("release");
    if (table.model.has_camera_service()) table.environment.LoseCameraService();
    table.producer.reset();
    wrong = referee.JudgeTheEnd();
  }
  return {.failure = wrong.empty() ? "" : Report(taken, wrong), .steps = taken.size()};
}

}  // namespace movra::video::model

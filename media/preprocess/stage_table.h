#ifndef MOVRA_MEDIA_PREPROCESS_STAGE_TABLE_H_
#define MOVRA_MEDIA_PREPROCESS_STAGE_TABLE_H_

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "logging/guarded_call.h"
#include "media/effects/frame_stage.h"
#include "video/video_context.h"
#include "video/video_types.h"

namespace movra::media {

// A position where frames visit interceptors and taps, or a stage that changes them.
using StageRow = std::variant<video::InterceptPosition, std::shared_ptr<IFrameStage>>;

// What the preprocessor does with a frame, from top to bottom.
[[nodiscard]] std::vector<StageRow> MakeStageRows(const video::VideoContext& context);

// A stage as it is prepared.
struct StageStep {
  // Runs the stage's own code. What it throws is told in the log, and the stage is passed by from
  // then on.
  template <class Call>
  void Run(Call&& call) const {
    const auto whose = [&] { return std::string("The ") + name + " stage"; };
    if (!movra_logging::CallGuarded(whose, std::forward<Call>(call))) *has_thrown = true;
  }

  const char* name;
  std::shared_ptr<const IPreparedStage> prepared;
  // All steps of a row share it. Set where frames are processed, and on the main queue.
  std::shared_ptr<std::atomic<bool>> has_thrown;
};

// The way of a frame: the table as it was prepared, without the stages that have nothing to do.
// Immutable, part of the settings that a frame goes on with.
using FrameWay = std::vector<std::variant<video::InterceptPosition, StageStep>>;

// The stages of a preprocessor. Main queue.
class StageTable {
 public:
  explicit StageTable(std::vector<StageRow> rows);

  // Tells every stage what is set. One that throws is told in the log and asked no more.
  [[nodiscard]] FrameWay Prepare(const StageSettings& settings);

 private:
  struct Row {
    StageRow content;
    std::shared_ptr<std::atomic<bool>> has_thrown = std::make_shared<std::atomic<bool>>(false);
  };

  std::vector<Row> rows_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_STAGE_TABLE_H_

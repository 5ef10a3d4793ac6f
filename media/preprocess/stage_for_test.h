#ifndef MOVRA_MEDIA_PREPROCESS_STAGE_FOR_TEST_H_
#define MOVRA_MEDIA_PREPROCESS_STAGE_FOR_TEST_H_

#include <functional>
#include <memory>

#include "media/effects/frame_stage.h"

namespace movra::media {

// A stage that does what the test says; at first it has something to do and does nothing. Give it
// to a table by a shared pointer.
class TestStage final : public IFrameStage, public std::enable_shared_from_this<TestStage> {
 public:
  explicit TestStage(const char* name) : name_(name) {}

  // IFrameStage
  [[nodiscard]] const char* name() const override { return name_; }
  [[nodiscard]] std::shared_ptr<const IPreparedStage> Prepare(
      const StageSettings& settings) override {
    ++preparations;
    if (!is_on(settings)) return nullptr;
    return std::make_shared<Prepared>(shared_from_this(), settings);
  }

  std::function<bool(const StageSettings&)> is_on = [](const StageSettings&) { return true; };
  std::function<bool()> is_needed = [] { return true; };
  // With the settings that were prepared.
  std::function<bool(StageFrame&, const StageSettings&)> process =
      [](StageFrame& /*frame*/, const StageSettings& /*settings*/) { return true; };
  int preparations = 0;

 private:
  class Prepared final : public IPreparedStage {
   public:
    Prepared(std::shared_ptr<const TestStage> stage, const StageSettings& settings)
        : stage_(std::move(stage)), settings_(settings) {}

    [[nodiscard]] bool IsNeededFor(const video::PixelFrameInfo& /*frame*/) const override {
      return stage_->is_needed();
    }
    [[nodiscard]] bool Process(StageFrame& frame) const override {
      return stage_->process(frame, settings_);
    }

   private:
    const std::shared_ptr<const TestStage> stage_;
    const StageSettings settings_;
  };

  const char* const name_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_PREPROCESS_STAGE_FOR_TEST_H_

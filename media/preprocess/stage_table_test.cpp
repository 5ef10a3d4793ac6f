// The table itself: its order, and what becomes of it when settings change.

#include "media/preprocess/stage_table.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "logging/recording_sink_for_test.h"
#include "media/preprocess/stage_for_test.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using video::InterceptPosition;

TEST(StageTable, TheRowsStandInTheOrderOfAFramesWay) {
  std::vector<std::string> names;
  for (const StageRow& row : MakeStageRows({InstanceTrace(7), "[main]"})) {
    const auto* const stage = std::get_if<std::shared_ptr<IFrameStage>>(&row);
    names.push_back(stage != nullptr
                        ? (*stage)->name()
                        : video::InterceptPositionToString(std::get<InterceptPosition>(row)));
  }
  EXPECT_THAT(names, ElementsAre("kCaptured", "upright", "cover image", "green screen", "beauty",
                                 "colour filter", "kBeautified", "kCustomProcessing", "kPreview",
                                 "watermark", "kPreviewWithWatermark", "upright", "kEncoder"));
}

TEST(StageTable, AStageThatPreparesNothingIsNotOnTheWay) {
  const auto stage = std::make_shared<TestStage>("test");
  stage->is_on = [](const StageSettings& settings) { return settings.beauty.is_on(); };
  StageTable table({InterceptPosition::kCaptured, stage, InterceptPosition::kEncoder});
  StageSettings settings;
  EXPECT_EQ(table.Prepare(settings).size(), 2U);
  settings.beauty.level = 0.5F;
  const FrameWay way = table.Prepare(settings);
  ASSERT_EQ(way.size(), 3U);
  ASSERT_TRUE(std::holds_alternative<StageStep>(way[1]));
  EXPECT_STREQ(std::get<StageStep>(way[1]).name, "test");
}

TEST(StageTable, AStageThatThrowsWhenItPreparesIsToldOnceAndAskedNoMore) {
  const auto stage = std::make_shared<TestStage>("test");
  stage->is_on = [](const StageSettings&) -> bool { throw std::runtime_error("broken"); };
  const auto other = std::make_shared<TestStage>("other");
  StageTable table({stage, other});
  movra_logging::RecordingSink log;
  EXPECT_EQ(table.Prepare({}).size(), 1U);
  EXPECT_EQ(table.Prepare({}).size(), 1U);
  EXPECT_THAT(log.texts(), ElementsAre("The test stage threw: broken"));
  EXPECT_EQ(stage->preparations, 1);
  EXPECT_EQ(other->preparations, 2);
}

}  // namespace
}  // namespace movra::media

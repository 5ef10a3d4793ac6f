#include "media/preprocess/stage_table.h"

#include "media/effects/orient_stage.h"
#include "media/effects/unavailable_stage.h"

namespace movra::media {

using video::InterceptPosition;

std::vector<StageRow> MakeStageRows(const video::VideoContext& context) {
  const auto unavailable = [&](const char* effect, UnavailableStage::IsWanted is_wanted) {
    return std::make_shared<UnavailableStage>(context, effect, is_wanted);
  };
  using Settings = StageSettings;
  return {
      InterceptPosition::kCaptured,
      std::make_shared<OrientStage>(OrientStage::Purpose::kUpright),
      unavailable("cover image", [](const Settings& s) { return s.cover != nullptr; }),
      unavailable("green screen", [](const Settings& s) { return s.green_screen.enabled; }),
      unavailable("beauty", [](const Settings& s) { return s.beauty.is_on(); }),
      unavailable("colour filter", [](const Settings& s) { return s.color_filter.is_on(); }),
      InterceptPosition::kBeautified,
      InterceptPosition::kCustomProcessing,
      InterceptPosition::kPreview,
      unavailable("watermark", [](const Settings& s) { return s.watermark.is_on(); }),
      InterceptPosition::kPreviewWithWatermark,
      std::make_shared<OrientStage>(OrientStage::Purpose::kForEncoders),
      InterceptPosition::kEncoder,
  };
}

StageTable::StageTable(std::vector<StageRow> rows) {
  rows_.reserve(rows.size());
  for (StageRow& row : rows) rows_.push_back({std::move(row)});
}

FrameWay StageTable::Prepare(const StageSettings& settings) {
  FrameWay way;
  way.reserve(rows_.size());
  for (const Row& row : rows_) {
    if (const auto* const position = std::get_if<InterceptPosition>(&row.content)) {
      way.emplace_back(*position);
      continue;
    }
    IFrameStage& stage = *std::get<std::shared_ptr<IFrameStage>>(row.content);
    StageStep step{stage.name(), nullptr, row.has_thrown};
    if (*step.has_thrown) continue;
    step.Run([&] { step.prepared = stage.Prepare(settings); });
    if (step.prepared != nullptr) way.emplace_back(std::move(step));
  }
  return way;
}

}  // namespace movra::media

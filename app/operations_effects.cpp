// The rows about effects and about what can be shared.

#include <cstdint>
#include <memory>
#include <utility>

#include "app/operation_groups.h"
#include "app/operation_row.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

using I = video::IVideoProducer2;
using PictureObject = std::shared_ptr<OperationObjects::Image>;
using video::GreenScreenParams;
using video::Size;

constexpr float kGreatestLevel = 9;

TypedArgument<float> Level(std::string help) {
  return Number<float>("level", std::move(help), 0, kGreatestLevel);
}

TypedArgument<float> Share(std::string name, std::string help) {
  return Number<float>(std::move(name), std::move(help), 0, 1);
}

// A place or an extent in the picture.
TypedArgument<double> Part(std::string name, std::string help) {
  return Number<double>(std::move(name), std::move(help), 0, 1);
}

TypedArgument<GreenScreenParams> GreenScreenRecord() {
  using P = GreenScreenParams;
  return RecordOf<P>(
      "params", "What is replaced, and by what.",
      {FieldOf(&P::enabled, Bool("enabled", "Whether anything is.").OrElse(false)),
       FieldOf(&P::key_color,
               Color<std::uint32_t>("key_color", "What is replaced.", false).OrElse("#00ff00")),
       FieldOf(&P::similarity,
               Share("similarity", "0: only the key colour itself; 1: every colour.").OrElse(0.4)),
       FieldOf(&P::smoothness, Share("smoothness", "Width of the soft edge.").OrElse(0.1)),
       FieldOf(&P::background, Image("background", "By what; null: black.").OrElse(nullptr))});
}

TypedArgument<Size> SizeRecord(std::string name, std::string help) {
  const auto side = [](std::string side_name) {
    return Integer<std::int32_t>(std::move(side_name), "Pixels; 0 in both: no picture.", 0,
                                 kGreatestSide)
        .OrElse(0);
  };
  return RecordOf<Size>(
             std::move(name), std::move(help),
             {FieldOf(&Size::width, side("width")), FieldOf(&Size::height, side("height"))})
      .OrElse(Json::object());
}

Json ImageOrNull(OperationObjects& objects, const PictureObject& image) {
  return image ? objects.DescribeImage(*image) : Json();
}

AnswersLater Snapshot(OperationCall& call, video::SnapshotSourceType source) {
  call.producer.Snapshot(
      source,
      movra_base::BindOnce([](const std::shared_ptr<OperationAnswer>& answer,
                              const std::shared_ptr<OperationObjects>& objects,
                              PictureObject image) { answer->Give(ImageOrNull(*objects, image)); },
                           call.answer, call.uses.objects()));
  return {};
}

Json ListSources(OperationCall& call, const Size& thumbnail_size, const Size& icon_size) {
  OperationObjects& objects = *call.uses.objects();
  Json list = Json::array();
  for (const auto& source : call.producer.GetScreenShareSourceList(thumbnail_size, icon_size)) {
    list.push_back({{"id", source->id},
                    {"kind", source->kind},
                    {"title", source->title},
                    {"size", {{"width", source->size.width}, {"height", source->size.height}}},
                    {"minimised", source->minimised},
                    {"thumbnail", ImageOrNull(objects, source->thumbnail)},
                    {"icon", ImageOrNull(objects, source->icon)}});
  }
  return list;
}

Operation WindowRow(std::string name, std::string help, void (I::*operation)(long)) {
  return AtAnyTime(
      Row(std::move(name), std::move(help), operation, Integer<long>("window", "Its number.")));
}

std::vector<Operation> BeautyOperations() {
  return {Row("set_beauty_style", "How skin is smoothed.", &I::SetBeautyStyle,
              NameOf<video::BeautyStyle>("style", "Which way.")),
          Row("set_beauty_level", "How much skin is smoothed.", &I::SetBeautyLevel,
              Level("0: not at all.")),
          Row("set_whiteness_level", "How much skin is brightened.", &I::SetWhitenessLevel,
              Level("0: not at all.")),
          Row("set_ruddy_level", "How much skin is reddened.", &I::SetRuddyLevel,
              Level("0: not at all."))};
}

std::vector<Operation> FilterOperations() {
  const auto one = static_cast<void (I::*)(PictureObject)>(&I::SetLUTColorFilter);
  const auto two = static_cast<void (I::*)(PictureObject, float, PictureObject, float, float)>(
      &I::SetLUTColorFilter);
  return {Row("set_lut_color_filter", "Changes colours by a look-up image.", one,
              Image("filter", "Null: no filter.")),
          Row("set_lut_color_filter_strength", "How much of the filter is seen.",
              &I::SetLUTColorFilterStrength, Share("strength", "0: nothing.")),
          Row("set_lut_color_filter_two_images", "Changes colours by two look-up images.", two,
              Image("first", "The look-up image on the left."),
              Share("first_strength", "How much of it is seen."),
              Image("second", "The look-up image on the right."),
              Share("second_strength", "How much of it is seen."),
              Share("ratio", "The part of the width that the first one covers.")),
          Row("set_green_screen_params", "Replaces a colour by a picture.",
              &I::SetGreenScreenParams, GreenScreenRecord())};
}

}  // namespace

std::vector<Operation> EffectOperations() {
  std::vector<Operation> rows = {
      Row("set_watermark", "Draws a picture into the frames.", &I::SetWatermark,
          Image("image", "Null: no watermark."),
          Part("x", "Of its left edge, as a part of the width.").OrElse(0),
          Part("y", "Of its upper edge, as a part of the height.").OrElse(0),
          Part("width", "Its width, as a part of the picture's.").OrElse(0.2),
          Bool("in_preview", "Whether the preview shows it too.").OrElse(false)),
      Answering(
          "`{\"width\": 1280, \"height\": 720}` when there is a picture; null if there is none",
          Row("snapshot", "Takes a picture.", &Snapshot,
              NameOf<video::SnapshotSourceType>("source", "Of the frames or the preview.")))};
  for (Operation& row : BeautyOperations()) rows.push_back(std::move(row));
  for (Operation& row : FilterOperations()) rows.push_back(std::move(row));
  return rows;
}

std::vector<Operation> SharingOperations() {
  return {Answering("a list: `[{\"id\": 1, \"kind\": 0, \"title\": \"...\", ...}]`",
                    Row("get_screen_share_source_list", "What can be shared.", &ListSources,
                        SizeRecord("thumbnail_size", "Of the pictures of the sources."),
                        SizeRecord("icon_size", "Of the pictures of their programs."))),
          WindowRow("add_excluded_share_window", "Leaves a window out of a shared screen.",
                    &I::AddExcludedShareWindow),
          WindowRow("remove_excluded_share_window", "Leaves it out no longer.",
                    &I::RemoveExcludedShareWindow),
          AtAnyTime(Row("remove_all_excluded_share_window", "Leaves no window out.",
                        &I::RemoveAllExcludedShareWindow)),
          WindowRow("add_included_share_window", "Shows a window of a shared screen.",
                    &I::AddIncludedShareWindow),
          WindowRow("remove_included_share_window", "Shows it no longer.",
                    &I::RemoveIncludedShareWindow),
          AtAnyTime(Row("remove_all_included_share_window", "Shows none of those any more.",
                        &I::RemoveAllIncludedShareWindow))};
}

}  // namespace movra::app

#include "model/play_table.h"
#include "testing/describe.h"

namespace movra::video::model {
namespace {

const PixelFormat kFormats[] = {PixelFormat::kNone, PixelFormat::kI420, PixelFormat::kBGRA};
const InterceptPosition kPositions[] = {InterceptPosition::kCaptured, InterceptPosition::kPreview,
                                        InterceptPosition::kEncoder};

void SetView(Table& table) {
  const char* const kViews[] = {"", "left", "right"};
  const std::string view = table.choices.One(kViews);
  table.model.SetView(view);
  table.producer->SetRenderView(view.empty() ? nullptr : testing::MakeView(view));
}

void SetFillMode(Table& table) {
  const auto mode = static_cast<FillMode>(table.choices.Index(4));
  table.model.SetFillMode(mode);
  table.producer->SetFillMode(mode);
}

void SetBackground(Table& table) {
  const auto color = static_cast<std::uint32_t>(table.choices.Index(3));
  table.model.SetBackground(color);
  table.producer->SetRenderBackgroundColor(color);
}

void SetAdaptiveMode(Table& table) {
  const auto mode = static_cast<FrameAdaptiveMode>(table.choices.Index(4));
  const bool flag = table.choices.Bool();
  table.model.SetAdaptiveMode(mode, flag);
  table.producer->SetOutputFrameAdaptiveMode(mode, flag);
}

void SetMirror(Table& table) {
  const auto mode = static_cast<MirrorMode>(table.choices.Index(4));
  table.model.SetMirror(mode);
  table.producer->SetRenderMirror(mode);
}

void SetWatermark(Table& table) {
  const bool in_preview = table.choices.Bool();
  table.model.SetWatermark(in_preview);
  table.producer->SetWatermark(testing::MakeImage("logo"), 0.1, 0.2, 0.3, in_preview);
}

void EnableCustomRender(Table& table) {
  const bool enable = table.choices.Bool();
  const PixelFormat format = table.choices.One(kFormats);
  const auto& writer = table.writers[table.choices.Index(table.writers.size())];
  table.model.EnableCustomRender(enable, format, writer->name());
  table.producer->EnableCustomRendering(enable, format, BufferType::kMemory, writer);
}

void Snapshot(Table& table) {
  const auto source = static_cast<SnapshotSourceType>(table.choices.Index(3));
  table.producer->Snapshot(source,
                           table.MakeCallback<void(std::shared_ptr<ObjcWrapper<NSImage>>)>(true));
}

void SetBeauty(Table& table) {
  const auto level = static_cast<float>(table.choices.Index(12));
  table.model.SetBeauty(level);
  table.producer->SetBeautyLevel(level);
}

void AddShuntTrack(Table& table) {
  const InterceptPosition position = table.choices.One(kPositions);
  const PixelFormat format = table.choices.One(kFormats);
  const auto& writer = table.writers[table.choices.Index(table.writers.size())];
  table.model.AddTap(position, format, writer->name());
  table.producer->AddVideoShuntTrack(position, format, BufferType::kMemory, writer);
}

void RemoveShuntTrack(Table& table) {
  const auto& writer = table.writers[table.choices.Index(table.writers.size())];
  table.model.RemoveTap(writer->name());
  table.producer->RemoveVideoShuntTrack(writer);
}

void EnableCustomProcessing(Table& table) {
  const bool enable = table.choices.Bool();
  const PixelFormat format = table.choices.One(kFormats);
  const auto& listener = table.listeners[table.choices.Index(table.listeners.size())];
  CustomProcessParams params;
  params.pixel_format = format;
  if (enable && format != PixelFormat::kNone) {
    table.model.AddListener(InterceptPosition::kCustomProcessing, params, listener->name());
  } else {
    table.model.RemoveListener(listener->name());
  }
  table.producer->EnableCustomProcessing(enable, format, BufferType::kMemory, listener);
}

void AddInterceptor(Table& table) {
  const InterceptPosition position = table.choices.One(kPositions);
  const auto& listener = table.listeners[table.choices.Index(table.listeners.size())];
  CustomProcessParams params;
  params.width = static_cast<std::int32_t>(table.choices.Index(3));
  table.model.AddListener(position, params, listener->name());
  table.producer->AddInterceptor(position, params, listener);
}

void RemoveInterceptor(Table& table) {
  const auto& listener = table.listeners[table.choices.Index(table.listeners.size())];
  table.model.RemoveListener(listener->name());
  table.producer->RemoveInterceptor(listener);
}

void ReportRenderEvent(Table& table) {
  IVideoRendererController::Client& producer = *table.producer;
  switch (table.choices.Index(6)) {
    case 0:
      return producer.OnFocusAtPoint(1, 2, 3, 4);
    case 1:
      return producer.OnZoom(2);
    case 2:
      table.ExpectEvent("OnRenderFirstFrame", 6U, 4U, MakeRenderFirstFrameEventMsg(6, 4));
      return producer.OnRenderFirstFrame(RenderEventReason::kFirstFrame, 6, 4);
    case 3:
      table.ExpectEvent("OnRenderFirstFrame", 6U, 4U, MakeRenderFirstFrameInViewEventMsg(6, 4));
      return producer.OnRenderFirstFrame(RenderEventReason::kFirstFrameInView, 6, 4);
    case 4:
      table.ExpectEvent("OnRenderError", VideoRenderError::kViewLost);
      return producer.OnRenderError(VideoRenderError::kViewLost);
    default:
      producer.OnClassicRenderFreeze(1);
      return producer.OnFeelingRenderFreeze(1);
  }
}

// Settings that the producer keeps nothing of and the doubles only note in the journal.
void ForwardOthers(Table& table) {
  VideoProducer2Impl& producer = *table.producer;
  producer.SetRenderRotation(VideoRotation::k90);
  producer.SetGSensorMode(GSensorMode::kDisabled);
  producer.SetBeautyStyle(BeautyStyle::kClear);
  producer.SetWhitenessLevel(1);
  producer.SetRuddyLevel(1);
  producer.SetLUTColorFilter(nullptr);
  producer.SetLUTColorFilterStrength(1);
  producer.SetLUTColorFilter(nullptr, 1, nullptr, 1, 1);
  producer.SetGreenScreenParams({});
  producer.SetCameraFocusPosition(1, 2);
  producer.AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420, BufferType::kMemory,
                              nullptr);
  producer.RemoveVideoShuntTrack(nullptr);
  static_cast<void>(producer.GetScreenShareSourceList({}, {}));
  static_cast<void>(producer.GetProducerType());
  static_cast<void>(IVideoProducer2::GetEncodeAbility());
}

}  // namespace

void AddPreviewSteps(std::vector<Step>& steps) {
  steps.insert(steps.end(), {{"SetView", SetView},
                             {"SetFillMode", SetFillMode},
                             {"SetBackground", SetBackground},
                             {"SetAdaptiveMode", SetAdaptiveMode},
                             {"SetMirror", SetMirror},
                             {"SetWatermark", SetWatermark},
                             {"EnableCustomRender", EnableCustomRender},
                             {"Snapshot", Snapshot},
                             {"SetBeauty", SetBeauty},
                             {"AddShuntTrack", AddShuntTrack},
                             {"RemoveShuntTrack", RemoveShuntTrack},
                             {"EnableCustomProcessing", EnableCustomProcessing},
                             {"AddInterceptor", AddInterceptor},
                             {"RemoveInterceptor", RemoveInterceptor},
                             {"ReportRenderEvent", ReportRenderEvent},
                             {"ForwardOthers", ForwardOthers}});
}

}  // namespace movra::video::model

#include "model/play_table.h"
#include "testing/describe.h"
#include "testing/encoder_double.h"

namespace movra::video::model {
namespace {

// Every value but kSmall means the big stream.
VideoStreamType AnyStream(Choices& choices) {
  return static_cast<VideoStreamType>(choices.Index(3));
}

EncodeParams AnyParams(Choices& choices) {
  const Size kSizes[] = {{1280, 720}, {720, 1280}, {320, 180}, {0, 0}, {640, 640}};
  const std::int32_t kRates[] = {15, 30, 60};
  const Size size = choices.One(kSizes);
  EncodeParams params;
  if (choices.Index(4) != 1) params.width = size.width;
  if (choices.Index(4) != 1) params.height = size.height;
  if (choices.Bool()) params.frame_rate = choices.One(kRates);
  if (choices.Index(4) == 1) {
    params.frame_rate_numerator = 25;
    params.frame_rate_denominator = 2;
  }
  return params;
}

void StartEncoder(Table& table) {
  const VideoStreamType type = AnyStream(table.choices);
  const EncodeParams params = AnyParams(table.choices);
  const std::size_t index = table.choices.Index(table.encoded_writers.size() + 1);
  const auto writer = index == 0 ? nullptr : table.encoded_writers[index - 1];
  table.model.StartEncoder(type, params, writer ? writer->name() : "null");
  table.producer->StartEncoder(type, params, writer);
}

void StopEncoder(Table& table) {
  const VideoStreamType type = AnyStream(table.choices);
  table.model.StopEncoder(type);
  table.producer->StopEncoder(type, table.choices.Index(3));
}

void SetEncoderParams(Table& table) {
  const VideoStreamType type = AnyStream(table.choices);
  const EncodeParams params = AnyParams(table.choices);
  table.model.SetEncodeParams(type, params);
  table.producer->SetEncoderParams(type, params);
}

void ControlEncoder(Table& table) {
  const VideoStreamType type = AnyStream(table.choices);
  table.model.TouchEncoder(type);
  switch (table.choices.Index(4)) {
    case 0:
      return table.producer->RequestKeyFrame(type);
    case 1:
      return table.producer->SetRoiConfig(type, {RoiConfigInfo{}});
    case 2:
      return table.producer->SetRpsNearestRefSize(type, 2);
    default:
      return table.producer->DeliverRpsAck(type, {1, 2, 3});
  }
}

void SetEncoderMirror(Table& table) {
  const bool mirror = table.choices.Bool();
  table.model.SetEncoderMirror(mirror);
  table.producer->SetEncoderMirror(mirror);
  table.producer->SetEncoderRotation(VideoRotation::k180);
}

void EncoderStopsByItself(Table& table) {
  const VideoStreamType type = AnyStream(table.choices);
  if (!table.model.encoder_exists(type)) return;
  testing::World& world = table.environment.world();
  auto& encoders = type == VideoStreamType::kSmall ? world.small_encoders : world.big_encoders;
  encoders.Last().set_started(false);
  table.model.EncoderStoppedByItself(type);
}

void ReportEncoderEvent(Table& table) {
  IVideoEncoderController::Client& producer = *table.producer;
  const VideoStreamType type = AnyStream(table.choices);
  const EncoderProperty from{1, 2, "old"};
  const EncoderProperty to{3, 4, "new"};
  switch (table.choices.Index(4)) {
    case 0: {
      const PixelFormat kFormats[] = {PixelFormat::kNone, PixelFormat::kI420, PixelFormat::kNV12};
      const PixelFormat format = table.choices.One(kFormats);
      table.model.EncoderWantsFormat(type, format, BufferType::kTexture);
      return producer.OnEncoderNeededFormatChanged(type, format, BufferType::kTexture);
    }
    case 1:
      table.ExpectEvent("OnEncoderPropertyChanged", type, from, to,
                        EventMsg(GetEncodePropertyChangedBaseMsg(type, from)));
      return producer.OnEncoderPropertyChanged(type, from, to);
    case 2:
      table.ExpectEvent("OnEncodeAbilityChanged", EncodeAbility{1, 0, 1, 0});
      return producer.OnEncodeAbilityChanged(type, {1, 0, 1, 0});
    default:
      table.ExpectEvent("OnEncoderError", type, VideoEncoderError::kOpenFailed,
                        movra_base::Value());
      return producer.OnEncoderError(type, VideoEncoderError::kOpenFailed, {});
  }
}

}  // namespace

void AddEncodingSteps(std::vector<Step>& steps) {
  steps.insert(steps.end(), {{"StartEncoder", StartEncoder},
                             {"StopEncoder", StopEncoder},
                             {"SetEncoderParams", SetEncoderParams},
                             {"ControlEncoder", ControlEncoder},
                             {"SetEncoderMirror", SetEncoderMirror},
                             {"EncoderStopsByItself", EncoderStopsByItself},
                             {"ReportEncoderEvent", ReportEncoderEvent}});
}

}  // namespace movra::video::model

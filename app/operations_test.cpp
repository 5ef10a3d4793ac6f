#include "app/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "app/operation_doubles_for_test.h"
#include "app/operation_reader.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::app {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Json Data(const std::string& text) { return Json::parse(text); }

// Refusals: nothing happens, and the text says what would be right.

class OperationRefusals : public OperationsTest {};

TEST_F(OperationRefusals, AnOperationThatThereIsNotNamesTheNearest) {
  EXPECT_EQ(FailureOfCall("set_fil_mode"),
            "there is no operation \"set_fil_mode\"; the nearest is \"set_fill_mode\"");
  EXPECT_EQ(FailureOfCall("StartEncoder"),
            "there is no operation \"StartEncoder\"; the nearest is \"start_encoder\"");
  EXPECT_THAT(FailureOfCall(std::string(100'000, 'x')),
              ::testing::StartsWith("there is no operation \"xxxxx"));
}

TEST_F(OperationRefusals, ArgumentsThatAreNoObject) {
  EXPECT_EQ(FailureOfCall("set_fill_mode", "fit"),
            "set_fill_mode: the arguments are \"fit\"; write an object with an entry for each");
  EXPECT_EQ(FailureOfCall("set_fill_mode", Data("[1]")),
            "set_fill_mode: the arguments are [1]; write an object with an entry for each");
}

TEST_F(OperationRefusals, ArgumentsAndFieldsThatThereAreNot) {
  EXPECT_EQ(FailureOfCall("stop_encoder", Data(R"({"type": "big", "wait": 1})")),
            "stop_encoder: there is no argument \"wait\"; the arguments are type, max_wait_ms");
  EXPECT_EQ(FailureOfCall("set_fill_mode", Data(R"({"mod": "fit"})")),
            "set_fill_mode: there is no argument \"mod\"; the argument is mode");
  EXPECT_EQ(FailureOfCall("initialize", Data(R"({"now": true})")),
            "initialize: there is no argument \"now\"; there are no arguments");
  EXPECT_EQ(FailureOfCall("start_capture_mobile_screen", Data(R"({"params": {"lying": true}})")),
            "start_capture_mobile_screen: params has no field \"lying\"; the fields are "
            "frame_rate, landscape, region");
  EXPECT_EQ(FailureOfCall("start_capture_mobile_screen",
                          Data(R"({"params": {"region": {"w": 1, "height": 1}}})")),
            "start_capture_mobile_screen: params.region has no field \"w\"; the fields are x, y, "
            "width, height");
}

TEST_F(OperationRefusals, WhatIsMissing) {
  EXPECT_EQ(FailureOfCall("set_fill_mode"),
            "set_fill_mode: mode is missing; write \"fill\", \"fit\" or \"stretch\"");
  EXPECT_EQ(FailureOfCall("start_capture_camera", Data(R"({"params": {}})")),
            "start_capture_camera: params.camera_id is missing; write a text");
  EXPECT_EQ(FailureOfCall("set_roi_config", Data(R"({"type": "big", "configs": [
                              {"x": 0, "y": 0, "width": 1, "height": 1, "qp_delta": 0},
                              {"x": 0, "y": 0, "width": 1, "qp_delta": 0}]})")),
            "set_roi_config: configs[1].height is missing; write a whole number from 1 to "
            "2147483647");
  EXPECT_EQ(FailureOfCall("set_client"),
            "set_client: client is missing; write \"recorder\", or null");
}

// An argument of each kind, given what it is not.
TEST_F(OperationRefusals, WhatIsOfAnotherKind) {
  EXPECT_EQ(FailureOfCall("set_encoder_mirror", Data(R"({"mirror": 1})")),
            "set_encoder_mirror: mirror is 1; write true or false");
  EXPECT_EQ(FailureOfCall("add_excluded_share_window", Data(R"({"window": 1.0})")),
            "add_excluded_share_window: window is 1.0; write a whole number from "
            "-9223372036854775808 to 9223372036854775807");
  EXPECT_EQ(FailureOfCall("set_beauty_level", Data(R"({"level": "9"})")),
            "set_beauty_level: level is \"9\"; write a number from 0 to 9");
  EXPECT_EQ(FailureOfCall("start_capture_camera", Data(R"({"params": {"camera_id": 7}})")),
            "start_capture_camera: params.camera_id is 7; write a text");
  EXPECT_EQ(FailureOfCall("request_key_frame", Data(R"({"type": 0})")),
            "request_key_frame: type is 0; write \"big\" or \"small\"");
  EXPECT_EQ(FailureOfCall("set_render_background_color", Data(R"({"color": 255})")),
            "set_render_background_color: color is 255; write a colour as \"#rrggbb\" or "
            "\"#aarrggbb\"");
  EXPECT_EQ(FailureOfCall("set_green_screen_params", Data(R"({"params": [1]})")),
            "set_green_screen_params: params is [1]; write an object");
  EXPECT_EQ(FailureOfCall("set_cover_image_params", Data(R"({"params": true})")),
            "set_cover_image_params: params is true; write an object, or null");
  EXPECT_EQ(FailureOfCall("set_roi_config", Data(R"({"type": "big", "configs": {}})")),
            "set_roi_config: configs is {}; write a list of objects");
  EXPECT_EQ(FailureOfCall("set_roi_config", Data(R"({"type": "big", "configs": [1]})")),
            "set_roi_config: configs[0] is 1; write an object");
  EXPECT_EQ(FailureOfCall("set_client", Data(R"({"client": "me"})")),
            "set_client: client is \"me\"; write \"recorder\", or null");
}

TEST_F(OperationRefusals, ObjectsThatAreNoText) {
  EXPECT_EQ(FailureOfCall("start_encoder", Data(R"({"type": "big", "params": {}, "writer": 1})")),
            "start_encoder: writer is 1; write a file as in \"talk.mp4\", \"-\" or \"-.ts\" for "
            "standard output, or an address");
  EXPECT_EQ(FailureOfCall("set_custom_capture_input_track", Data(R"({"reader": 1})")),
            "set_custom_capture_input_track: reader is 1; write a source as in \"test:\", "
            "\"file:PATH\" or \"/dev/video0\", or null");
  EXPECT_EQ(FailureOfCall("set_render_view", Data(R"({"view": 1})")),
            "set_render_view: view is 1; write \"window\" or \"x11:ID\", or null");
  EXPECT_EQ(FailureOfCall("set_lut_color_filter", Data(R"({"filter": {}})")),
            "set_lut_color_filter: filter is {}; write a picture file or \"#rrggbb\", or null");
  EXPECT_EQ(FailureOfCall("add_interceptor", Data(R"({"position": "encoder", "listener": null})")),
            "add_interceptor: listener is null; write \"invert\", \"drop:N\" or \"sleep:MS\"");
  EXPECT_EQ(
      FailureOfCall("add_video_shunt_track", Data(R"({"position": "encoder", "writer": null})")),
      "add_video_shunt_track: writer is null; write a file as in \"frames.y4m\"");
}

TEST_F(OperationRefusals, ObjectsThatCannotBeMade) {
  for (const auto& [name, arguments, place] :
       std::vector<std::tuple<std::string, std::string, std::string>>{
           {"start_encoder", R"({"type": "big", "params": {}, "writer": "nothing"})", "writer"},
           {"set_custom_capture_input_track", R"({"reader": "nothing"})", "reader"},
           {"set_render_view", R"({"view": "nothing"})", "view"},
           {"set_green_screen_params", R"({"params": {"background": "nothing"}})",
            "params.background"},
           {"set_cover_image_params", R"({"params": {"image": "nothing"}})", "params.image"},
           {"add_interceptor", R"({"position": "encoder", "listener": "nothing"})", "listener"},
           {"enable_custom_rendering", R"({"enable": true, "writer": "nothing"})", "writer"}}) {
    EXPECT_EQ(FailureOfCall(name, Data(arguments)), name + ": " + place + ": there is none");
  }
}

TEST_F(OperationRefusals, WhatIsOutOfRange) {
  for (const char* size : {"-1", "4294967296", "9223372036854775807", "18446744073709551615"}) {
    EXPECT_EQ(FailureOfCall("set_rps_nearest_ref_size",
                            Data(R"({"type": "big", "size": )" + std::string(size) + "}")),
              "set_rps_nearest_ref_size: size is " + std::string(size) +
                  "; write a whole number from 0 to 2147483647");
  }
  EXPECT_EQ(FailureOfCall("stop_encoder", Data(R"({"type": "big", "max_wait_ms": -1})")),
            "stop_encoder: max_wait_ms is -1; write a whole number from 0 to "
            "18446744073709551615");
  EXPECT_EQ(FailureOfCall("add_excluded_share_window", Data(R"({"window": 9223372036854775808})")),
            "add_excluded_share_window: window is 9223372036854775808; write a whole number from "
            "-9223372036854775808 to 9223372036854775807");
  EXPECT_EQ(FailureOfCall("set_beauty_level", Data(R"({"level": 9.001})")),
            "set_beauty_level: level is 9.001; write a number from 0 to 9");
  EXPECT_EQ(FailureOfCall("set_beauty_level", Data(R"({"level": -1})")),
            "set_beauty_level: level is -1; write a number from 0 to 9");
  EXPECT_EQ(
      FailureOfCall("set_beauty_level", {{"level", std::numeric_limits<double>::quiet_NaN()}}),
      "set_beauty_level: level is null; write a number from 0 to 9");
  EXPECT_EQ(FailureOfCall("start_encoder",
                          Data(R"({"type": "big", "params": {"width": 8}, "writer": ""})")),
            "start_encoder: params.width is 8; write a whole number from 16 to 8192");
}

TEST_F(OperationRefusals, ColoursThatAreNone) {
  for (const char* color : {"", "#", "102030", "#10203", "#1020304", "#10203g", "#-12345"}) {
    EXPECT_EQ(FailureOfCall("set_render_background_color", {{"color", color}}),
              "set_render_background_color: color is \"" + std::string(color) +
                  "\"; write a colour as \"#rrggbb\" or \"#aarrggbb\"");
  }
  EXPECT_EQ(
      FailureOfCall("set_green_screen_params", Data(R"({"params": {"key_color": "#ff102030"}})")),
      "set_green_screen_params: params.key_color is \"#ff102030\"; write a colour as "
      "\"#rrggbb\"");
}

TEST_F(OperationRefusals, ATextThatIsLongOrNoTextIsCut) {
  EXPECT_EQ(
      FailureOfCall("request_key_frame", {{"type", std::string(1000, 'x')}}),
      "request_key_frame: type is \"" + std::string(59, 'x') + "...; write \"big\" or \"small\"");
  EXPECT_THAT(FailureOfCall("request_key_frame", {{"type", "\xff"}}),
              ::testing::StartsWith("request_key_frame: type is \"\\ufffd\"; write"));
}

TEST_F(OperationRefusals, RemovingWhatIsNotThere) {
  EXPECT_EQ(FailureOfCall("remove_interceptor", {{"listener", "invert"}}),
            "remove_interceptor: listener: \"invert\" is not in use; nothing is");
  Call("add_video_shunt_track", {{"position", "captured"}, {"writer", "a.y4m"}});
  static_cast<void>(Answers());
  EXPECT_EQ(FailureOfCall("remove_video_shunt_track", {{"writer", "b.y4m"}}),
            "remove_video_shunt_track: writer: \"b.y4m\" is not in use; in use: \"a.y4m\"");
}

// The lifecycle.

class OperationLifecycle : public OperationsTest {};

TEST_F(OperationLifecycle, NothingIsRefusedBeforeInitialize) {
  EXPECT_THAT(EntriesOf("set_fill_mode", {{"mode", "fit"}}),
              ElementsAre("producer.SetFillMode(kFit)"));
}

TEST_F(OperationLifecycle, AfterUninitializeTheTableRefusesWhatNeedsCollaborators) {
  Call("uninitialize");
  static_cast<void>(Answers());
  std::vector<std::string> allowed;
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& row : group.operations) {
      if (row.after_uninitialize) {
        allowed.push_back(row.name);
        continue;
      }
      EXPECT_EQ(FailureOfCall(row.name),
                row.name +
                    ": the producer is uninitialised; what may still be called is "
                    "get_encode_ability, set_client, get_stats, get_producer_type, "
                    "is_capturing, get_current_source_type, add_excluded_share_window, "
                    "remove_excluded_share_window, remove_all_excluded_share_window, "
                    "add_included_share_window, remove_included_share_window, "
                    "remove_all_included_share_window");
    }
  }
  EXPECT_EQ(allowed.size(), 12u);
  EXPECT_THAT(EntriesOf("add_included_share_window", {{"window", 3}}),
              ElementsAre("producer.AddIncludedShareWindow(3)"));
}

TEST_F(OperationLifecycle, ARefusedUninitializeIsNone) {
  static_cast<void>(FailureOfCall("uninitialize", {{"now", true}}));
  EXPECT_THAT(EntriesOf("initialize"), ElementsAre("producer.Initialize()"));
}

TEST_F(OperationLifecycle, UninitializeLetsGoOfWhatWasInUse) {
  Call("start_encoder", Data(R"({"type": "big", "params": {}, "writer": "big.mp4"})"));
  Call("add_interceptor", Data(R"({"position": "encoder", "listener": "invert"})"));
  static_cast<void>(Answers());
  EXPECT_THAT(EntriesOf("uninitialize"),
              ElementsAre("producer.Uninitialize()", "~invert", "~big.mp4"));
}

// What a text means while it is in use.

class OperationObjectsInUse : public OperationsTest {};

TEST_F(OperationObjectsInUse, AreTheSameForTheSameText) {
  static_cast<void>(EntriesOf("add_interceptor", Data(R"({"position": "encoder",
                                                         "listener": "invert"})")));
  EXPECT_THAT(EntriesOf("enable_custom_processing",
                        Data(R"({"enable": true, "format": "i420", "listener": "invert"})")),
              ElementsAre("producer.EnableCustomProcessing(true, kI420, kMemory, invert)"));
  EXPECT_THAT(
      EntriesOf("enable_custom_processing", Data(R"({"enable": false, "listener": "invert"})")),
      ElementsAre("producer.EnableCustomProcessing(false, kNone, kMemory, invert)", "~invert"));
}

TEST_F(OperationObjectsInUse, AListenerIsGoneWhenItIsEnabledWithoutAFormat) {
  static_cast<void>(EntriesOf("enable_custom_processing",
                              Data(R"({"enable": true, "format": "i420", "listener": "invert"})")));
  EXPECT_THAT(
      EntriesOf("enable_custom_processing", Data(R"({"enable": true, "listener": "invert"})")),
      ElementsAre("producer.EnableCustomProcessing(true, kNone, kMemory, invert)", "~invert"));
}

TEST_F(OperationObjectsInUse, TwoStreamsMayShareAWriter) {
  static_cast<void>(
      EntriesOf("start_encoder", Data(R"({"type": "big", "params": {}, "writer": "a.ts"})")));
  EXPECT_THAT(
      EntriesOf("start_encoder", Data(R"({"type": "small", "params": {}, "writer": "a.ts"})")),
      ElementsAre("producer.StartEncoder(kSmall, {}, a.ts)"));
  EXPECT_THAT(EntriesOf("stop_encoder", {{"type", "big"}}),
              ElementsAre("producer.StopEncoder(kBig, 1000)"));
  EXPECT_THAT(EntriesOf("stop_encoder", {{"type", "small"}}),
              ElementsAre("producer.StopEncoder(kSmall, 1000)", "~a.ts"));
}

// A producer whose encoder runs already stays with its first writer.
TEST_F(OperationObjectsInUse, ASecondStartLeavesTheFirstWriterAlone) {
  static_cast<void>(
      EntriesOf("start_encoder", Data(R"({"type": "big", "params": {}, "writer": "a.ts"})")));
  EXPECT_THAT(
      EntriesOf("start_encoder", Data(R"({"type": "big", "params": {}, "writer": "b.ts"})")),
      ElementsAre("objects.Make(b.ts)", "producer.StartEncoder(kBig, {}, b.ts)"));
}

TEST_F(OperationObjectsInUse, AReaderIsKeptWhenItIsSetAgain) {
  static_cast<void>(EntriesOf("set_custom_capture_input_track", {{"reader", "test:"}}));
  EXPECT_THAT(EntriesOf("set_custom_capture_input_track", {{"reader", "test:"}}),
              ElementsAre("producer.SetCustomCaptureInputTrack(test:)"));
  EXPECT_THAT(
      EntriesOf("set_custom_capture_input_track", {{"reader", "file:a"}}),
      ElementsAre("objects.Make(file:a)", "producer.SetCustomCaptureInputTrack(file:a)", "~test:"));
}

TEST_F(OperationObjectsInUse, WhatIsGoneIsMadeAnew) {
  static_cast<void>(
      EntriesOf("add_video_shunt_track", Data(R"({"position": "captured", "writer": "a"})")));
  static_cast<void>(EntriesOf("remove_video_shunt_track", {{"writer", "a"}}));
  EXPECT_THAT(
      EntriesOf("add_video_shunt_track", Data(R"({"position": "captured", "writer": "a"})")),
      ElementsAre("objects.Make(a)", "producer.AddVideoShuntTrack(kCaptured, kNone, kMemory, a)"));
}

TEST_F(OperationObjectsInUse, GoWithTheTable) {
  static_cast<void>(
      EntriesOf("add_video_shunt_track", Data(R"({"position": "captured", "writer": "a"})")));
  ReleaseOperations();
  EXPECT_THAT(Journal(), ElementsAre("~a", "~recorder"));
}

// Answers.

class OperationAnswers : public OperationsTest {};

TEST_F(OperationAnswers, ACameraStartAnswersWhenItsCallbackRuns) {
  Call("start_capture_camera", Data(R"({"params": {"camera_id": "test:"}})"));
  EXPECT_THAT(Answers(), IsEmpty());
  std::move(producer().on_started).Run(-3, 120);
  EXPECT_THAT(Answers(), ElementsAre(R"({"error_code":-3,"elapsed_ms":120})"));
}

TEST_F(OperationAnswers, AStopAnswersWhenItsCallbackRuns) {
  Call("stop_capture");
  EXPECT_THAT(Answers(), IsEmpty());
  std::move(producer().on_stopped).Run();
  EXPECT_THAT(Answers(), ElementsAre("null"));
}

TEST_F(OperationAnswers, ASnapshotTellsOfItsPicture) {
  Call("snapshot", {{"source", "preprocessor"}});
  std::move(producer().on_picture).Run(testing::MakeImage("sunset"));
  Call("snapshot", {{"source", "preprocessor"}});
  std::move(producer().on_picture).Run(nullptr);
  EXPECT_THAT(Answers(), ElementsAre(R"({"picture":"sunset"})", "null"));
}

TEST_F(OperationAnswers, ADroppedCallbackSaysSo) {
  Call("start_capture_camera", Data(R"({"params": {"camera_id": "test:"}})"));
  Call("stop_capture");
  Call("snapshot", {{"source", "preprocessor"}});
  EXPECT_THAT(Answers(), IsEmpty());
  producer().on_started = {};
  producer().on_stopped = {};
  producer().on_picture = {};
  EXPECT_THAT(Answers(),
              ElementsAre(R"({"dropped":true})", R"({"dropped":true})", R"({"dropped":true})"));
}

TEST_F(OperationAnswers, OutliveTheTable) {
  Call("stop_capture");
  ReleaseOperations();
  std::move(producer().on_stopped).Run();
  EXPECT_THAT(Answers(), ElementsAre("null"));
}

TEST_F(OperationAnswers, FromAnotherThreadComeOnTheMainQueue) {
  Call("snapshot", {{"source", "preprocessor"}});
  Call("stop_capture");
  std::thread([this] {
    std::move(producer().on_picture).Run(nullptr);
    producer().on_stopped = {};
  }).join();
  EXPECT_THAT(Answers(), IsEmpty());
  env().main_queue().RunAll();
  EXPECT_THAT(Answers(), ElementsAre("null", R"({"dropped":true})"));
}

TEST_F(OperationAnswers, TellTheFigures) {
  producer().stats.capture_stat = 1;
  producer().stats.preprocess_stat = 2;
  producer().stats.encoder_stats = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
  producer().stats.render_stat = 18;
  Call("get_stats", {{"type", "big"}});
  EXPECT_THAT(
      Answers(),
      ElementsAre(R"({"capture_stat":1,"preprocess_stat":2,"encoder_stats":{"frames_in":3,)"
                  R"("frames_encoded":4,"frames_dropped_rate":5,"frames_dropped_late":6,)"
                  R"("frames_failed":7,"key_frames":8,"width":9,"height":10,)"
                  R"("target_bitrate_bps":11,"encode_time_mean_us":12,"encode_time_max_us":13,)"
                  R"("latency_mean_us":14,"latency_max_us":15,"bytes":73014444048},)"
                  R"("render_stat":18})"));
}

TEST_F(OperationAnswers, TellTheState) {
  producer().is_capturing = true;
  producer().source_type = video::VideoSourceType::kVirtualCamera;
  Call("is_capturing");
  Call("get_current_source_type");
  producer().source_type = video::VideoSourceType{77};
  Call("get_current_source_type");
  env().world().answers.roi = 1;
  Call("get_encode_ability");
  EXPECT_THAT(Answers(),
              ElementsAre("true", "\"virtual_camera\"", "77",
                          R"({"roi":true,"reference_selection":false,"software_encoder":true,)"
                          R"("hardware_encoder":false})"));
}

TEST_F(OperationAnswers, TellWhatCanBeShared) {
  const auto source = std::make_shared<video::ScreenSource>();
  source->id = 9007199254740993;
  source->kind = 1;
  source->title = "A window";
  source->size = {640, 360};
  source->minimised = true;
  source->thumbnail = testing::MakeImage("small");
  producer().sources = {source};
  Call("get_screen_share_source_list");
  EXPECT_THAT(Answers(), ElementsAre(R"([{"id":9007199254740993,"kind":1,"title":"A window",)"
                                     R"("size":{"width":640,"height":360},"minimised":true,)"
                                     R"("thumbnail":{"picture":"small"},"icon":null}])"));
}

// On the real producer, whose collaborators are doubles.
TEST_F(OperationAnswers, TheProducerDropsTheCallbackOfAStopThatHasNothingToStop) {
  const auto real = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(movra::InstanceTrace(7), "[call]"), nullptr,
      video::VideoStreamType::kBig);
  Operations operations(real, std::make_shared<ObjectDoubles>(env()));
  std::vector<std::string> answers;
  const auto note = [&](const Result<Json>& answer) {
    answers.push_back(FailureOf(answer) ? FailureOf(answer)->text : ValueOf(answer).dump());
  };
  operations.Call("initialize", {}, note);
  operations.Call("stop_capture", {}, note);
  operations.Call("snapshot", {{"source", "local_renderer"}}, note);
  operations.Call("uninitialize", {}, note);
  operations.Call("set_beauty_level", {{"level", 1}}, note);
  ASSERT_EQ(answers.size(), 5u);
  EXPECT_EQ(answers[0], "null");
  EXPECT_EQ(answers[1], R"({"dropped":true})");
  EXPECT_EQ(answers[2], "null");
  EXPECT_EQ(answers[3], "null");
  EXPECT_THAT(answers[4], ::testing::StartsWith("set_beauty_level: the producer is uninitialised"));
}

// Enumerations.

template <class Enum>
class EnumerationNames : public OperationsTest {};

using Enumerations =
    ::testing::Types<video::VideoStreamType, video::VideoProducerType, video::VideoSourceType,
                     video::ProducerMode, video::InterceptPosition, video::SnapshotSourceType,
                     video::PixelFormat, video::BufferType, video::MirrorMode, video::VideoRotation,
                     video::FillMode, video::GSensorMode, video::FrameAdaptiveMode,
                     video::BeautyStyle, video::VideoCodec>;
TYPED_TEST_SUITE(EnumerationNames, Enumerations);

TYPED_TEST(EnumerationNames, GoBothWays) {
  OperationUses uses(nullptr);
  const auto argument = NameOf<TypeParam>("value", "");
  ASSERT_EQ(argument.description.names.size(), video::NamedValues<TypeParam>().size());
  std::size_t i = 0;
  for (const auto& named : video::NamedValues<TypeParam>()) {
    const Json data = ToData(named.value);
    EXPECT_EQ(data, Json(argument.description.names[i++]));
    const Result<TypeParam> read = argument.read(data, "value", uses);
    ASSERT_EQ(FailureOf(read), nullptr);
    EXPECT_EQ(ValueOf(read), named.value);
  }
  EXPECT_NE(FailureOf(argument.read(Json("nonsense"), "value", uses)), nullptr);
  EXPECT_NE(FailureOf(argument.read(Json(), "value", uses)), nullptr);
}

TEST(DataName, IsSnakeCaseWithoutTheK) {
  EXPECT_EQ(DataName("kPreviewWithWatermark"), "preview_with_watermark");
  EXPECT_EQ(DataName("kBGRA"), "bgra");
  EXPECT_EQ(DataName("kNV12"), "nv12");
  EXPECT_EQ(DataName("k90"), "90");
  EXPECT_EQ(DataName("kI420"), "i420");
  EXPECT_EQ(DataName("SetGSensorMode"), "set_g_sensor_mode");
  EXPECT_EQ(DataName("SetLUTColorFilter"), "set_lut_color_filter");
  EXPECT_EQ(DataName("key"), "key");
  EXPECT_EQ(DataName(""), "");
}

}  // namespace
}  // namespace movra::app

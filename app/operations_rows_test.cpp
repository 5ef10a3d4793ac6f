// Every row of the table once with all that can be given and once with the least, and what reaches
// the producer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "app/operation_doubles_for_test.h"
#include "testing/slot_order.h"

namespace movra::app {
namespace {

// One call. Texts are JSON, as in a script.
struct Case {
  std::string name;
  std::string arguments;
  std::vector<std::string> entries;  // Of the journal.
  std::string answer = "null";
};

using Cases = std::vector<Case>;

Cases LifecycleCases() {
  return {
      {"get_encode_ability",
       "{}",
       {"codec_manager.IsHardwareEncoderSupported(1)",
        "codec_manager.IsSoftwareEncoderSupported(1)", "codec_manager.IsRoiSupported()",
        "codec_manager.IsReferenceSelectionSupported()"},
       ""},
      {"set_client", R"({"client": "recorder"})", {"producer.SetClient(recorder)"}},
      {"set_client", R"({"client": null})", {"producer.SetClient(null)"}},
      {"get_stats", R"({"type": "small"})", {"producer.GetStats(kSmall)"}, ""},
      {"initialize", "{}", {"producer.Initialize()"}},
      {"uninitialize", "{}", {"producer.Uninitialize()"}},
      {"get_producer_type", "{}", {"producer.GetProducerType()"}, "\"default\""},
  };
}

Cases CameraCases() {
  return {
      {"start_capture_camera",
       R"({"params": {"camera_id": "test:", "facing": 255, "orientation": -90, "frame_rate": 25,
                      "width": 640, "height": 0, "cover_image": "holiday"}})",
       {"producer.StartCapture({test: 640x0@25 facing=255 orientation=-90 cover=holiday}, "
        "callback)"},
       ""},
      {"start_capture_camera",
       R"({"params": {"camera_id": "test:"}})",
       {"producer.StartCapture({test:}, callback)"},
       ""},
      {"stop_capture", "{}", {"producer.StopCapture(callback)"}, ""},
      {"pause_capture", "{}", {"producer.PauseCapture()"}},
      {"resume_capture", "{}", {"producer.ResumeCapture()"}},
      {"set_producer_mode", R"({"mode": "own_size"})", {"producer.SetProducerMode(kOwnSize)"}},
      {"is_capturing", "{}", {"producer.IsCapturing()"}, "false"},
      {"get_current_source_type", "{}", {"producer.GetCurrentSourceType()"}, "\"none\""},
      {"set_camera_focus_position",
       R"({"x": 0.25, "y": 1})",
       {"producer.SetCameraFocusPosition(0.25, 1)"}},
  };
}

Cases ScreenCases() {
  return {
      {"start_capture_desktop_screen",
       R"({"params": {"frame_rate": 15, "source_id": 9007199254740993,
           "region": {"x": 1, "y": -2, "width": 640, "height": 360}, "source_kind": 1,
           "capture_cursor": true, "capture_children": false, "show_border": true,
           "border_color": "#80ff0000", "border_width": 3, "exclude_own_windows": true,
           "capture_covered": false, "activate_window": true, "high_dpi": false}})",
       {"producer.StartCapture({@15 source_id=9007199254740993 region=640x360+1+-2 kind=1 "
        "cursor=true children=false border=true border_color=-2130771968 border_width=3 "
        "exclude_own=true covered=false activate=true high_dpi=false})"}},
      {"start_capture_desktop_screen", R"({"params": {}})", {"producer.StartCapture({})"}},
      {"start_capture_mobile_screen",
       R"({"params": {"frame_rate": 15, "landscape": true,
           "region": {"x": 3, "y": 4, "width": 640, "height": 360}}})",
       {"producer.StartCapture({@15 landscape=true region=640x360+3+4})"}},
      {"start_capture_mobile_screen",
       R"({"params": {"region": {"width": 640, "height": 360}}})",
       {"producer.StartCapture({region=640x360+0+0})"}},
      {"start_capture_mobile_screen", R"({"params": {}})", {"producer.StartCapture({})"}},
      {"get_screen_share_source_list",
       R"({"thumbnail_size": {"width": 320, "height": 180},
           "icon_size": {"width": 32, "height": 33}})",
       {"producer.GetScreenShareSourceList(320x180, 32x33)"},
       "[]"},
      {"get_screen_share_source_list", "{}", {"producer.GetScreenShareSourceList(0x0, 0x0)"}, "[]"},
      {"add_excluded_share_window",
       R"({"window": -9223372036854775808})",
       {"producer.AddExcludedShareWindow(-9223372036854775808)"}},
      {"remove_excluded_share_window",
       R"({"window": 9223372036854775807})",
       {"producer.RemoveExcludedShareWindow(9223372036854775807)"}},
      {"remove_all_excluded_share_window", "{}", {"producer.RemoveAllExcludedShareWindow()"}},
      {"add_included_share_window", R"({"window": 7})", {"producer.AddIncludedShareWindow(7)"}},
      {"remove_included_share_window",
       R"({"window": 8})",
       {"producer.RemoveIncludedShareWindow(8)"}},
      {"remove_all_included_share_window", "{}", {"producer.RemoveAllIncludedShareWindow()"}},
  };
}

Cases PreviewCases() {
  return {
      {"set_render_view", R"({"view": "x11:7"})", {"producer.SetRenderView(x11:7)"}},
      {"set_render_view", R"({"view": null})", {"producer.SetRenderView(null)"}},
      {"set_render_mirror", R"({"mode": "enabled"})", {"producer.SetRenderMirror(kEnabled)"}},
      {"set_render_rotation", R"({"rotation": "270"})", {"producer.SetRenderRotation(k270)"}},
      {"set_render_background_color",
       R"({"color": "#102030"})",
       {"producer.SetRenderBackgroundColor(4279246896)"}},
      {"set_fill_mode", R"({"mode": "stretch"})", {"producer.SetFillMode(kStretch)"}},
      {"set_g_sensor_mode",
       R"({"mode": "rotate_to_device"})",
       {"producer.SetGSensorMode(kRotateToDevice)"}},
      {"set_output_frame_adaptive_mode",
       R"({"mode": "fit", "flag": false})",
       {"producer.SetOutputFrameAdaptiveMode(kFit, false)"}},
      {"set_output_frame_adaptive_mode",
       R"({"mode": "crop"})",
       {"producer.SetOutputFrameAdaptiveMode(kCrop, true)"}},
      {"set_cover_image_params",
       R"({"params": {"image": "holiday", "image_option": -3}})",
       {"producer.SetCoverImageParams({holiday -3})"}},
      {"set_cover_image_params",
       R"({"params": {"image": "holiday"}})",
       {"producer.SetCoverImageParams({holiday 0})"}},
      {"set_cover_image_params", R"({"params": null})", {"producer.SetCoverImageParams(null)"}},
  };
}

Cases EncodingCases() {
  constexpr char kFull[] = R"("params": {"width": 1280, "height": 720, "frame_rate": 30,
      "codec": "h264", "bitrate_bps": 1500000, "max_bitrate_bps": 2000000,
      "key_frame_interval_ms": 2000, "threads": 0, "preset": "veryfast",
      "frame_rate_numerator": 30000, "frame_rate_denominator": 1001})";
  constexpr char kFullText[] =
      "{1280x720@30 codec=1 bitrate_bps=1500000 max_bitrate_bps=2000000 "
      "key_frame_interval_ms=2000 threads=0 preset=veryfast frame_rate_numerator=30000 "
      "frame_rate_denominator=1001}";
  return {
      {"start_encoder",
       R"({"type": "small", "writer": "small.mp4", )" + std::string(kFull) + "}",
       {"objects.Make(small.mp4)",
        "producer.StartEncoder(kSmall, " + std::string(kFullText) + ", small.mp4)"}},
      {"start_encoder",
       R"({"type": "big", "params": {}, "writer": "big.mp4"})",
       {"objects.Make(big.mp4)", "producer.StartEncoder(kBig, {}, big.mp4)"}},
      {"stop_encoder",
       R"({"type": "small", "max_wait_ms": 18446744073709551615})",
       {"producer.StopEncoder(kSmall, 18446744073709551615)", "~small.mp4"}},
      {"stop_encoder", R"({"type": "big"})", {"producer.StopEncoder(kBig, 1000)", "~big.mp4"}},
      {"set_encoder_params",
       R"({"type": "big", )" + std::string(kFull) + "}",
       {"producer.SetEncoderParams(kBig, " + std::string(kFullText) + ")"}},
      {"set_encoder_params",
       R"({"type": "small", "params": {}})",
       {"producer.SetEncoderParams(kSmall, {})"}},
      {"set_encoder_mirror", R"({"mirror": true})", {"producer.SetEncoderMirror(true)"}},
      {"set_encoder_rotation", R"({"rotation": "90"})", {"producer.SetEncoderRotation(k90)"}},
      {"set_rps_nearest_ref_size",
       R"({"type": "big", "size": 4})",
       {"producer.SetRpsNearestRefSize(kBig, 4)"}},
      {"deliver_rps_ack",
       R"({"type": "small", "ack": {"receive_time_ms": 12, "ack_value": -5, "ack_flag": 65535}})",
       {"producer.DeliverRpsAck(kSmall, 12, -5, 65535)"}},
      {"deliver_rps_ack",
       R"({"type": "small", "ack": {"ack_value": -5, "ack_flag": 0}})",
       {"producer.DeliverRpsAck(kSmall, 0, -5, 0)"}},
      {"request_key_frame", R"({"type": "big"})", {"producer.RequestKeyFrame(kBig)"}},
      {"set_roi_config",
       R"({"type": "big", "configs": [
           {"x": 1, "y": 2, "width": 3, "height": 4, "qp_delta": -51},
           {"x": 5, "y": 6, "width": 7, "height": 8, "qp_delta": 51}]})",
       {"producer.SetRoiConfig(kBig, [{3x4+1+2 qp-51}, {7x8+5+6 qp51}])"}},
      {"set_roi_config",
       R"({"type": "small", "configs": []})",
       {"producer.SetRoiConfig(kSmall, [])"}},
  };
}

Cases ProcessingCases() {
  return {
      {"enable_custom_processing",
       R"({"enable": true, "format": "i420", "buffer_type": "texture", "listener": "invert"})",
       {"objects.Make(invert)", "producer.EnableCustomProcessing(true, kI420, kTexture, invert)"}},
      {"enable_custom_processing",
       R"({"enable": false, "listener": "invert"})",
       {"producer.EnableCustomProcessing(false, kNone, kMemory, invert)", "~invert"}},
      {"enable_custom_processing",
       R"({"enable": false})",
       {"producer.EnableCustomProcessing(false, kNone, kMemory, null)"}},
      {"enable_custom_rendering",
       R"({"enable": true, "format": "bgra", "buffer_type": "memory", "writer": "shown.y4m"})",
       {"objects.Make(shown.y4m)",
        "producer.EnableCustomRendering(true, kBGRA, kMemory, shown.y4m)"}},
      {"enable_custom_rendering",
       R"({"enable": false})",
       {"producer.EnableCustomRendering(false, kNone, kMemory, null)", "~shown.y4m"}},
      {"enable_custom_capturing", R"({"enable": true})", {"producer.EnableCustomCapturing(true)"}},
      {"set_custom_capture_input_track",
       R"({"reader": "test:"})",
       {"objects.Make(test:)", "producer.SetCustomCaptureInputTrack(test:)"}},
      {"set_custom_capture_input_track",
       R"({"reader": null})",
       {"producer.SetCustomCaptureInputTrack(null)", "~test:"}},
      {"add_video_shunt_track",
       R"({"position": "preview_with_watermark", "format": "nv12", "buffer_type": "memory",
           "writer": "a.y4m"})",
       {"objects.Make(a.y4m)",
        "producer.AddVideoShuntTrack(kPreviewWithWatermark, kNV12, kMemory, a.y4m)"}},
      {"add_video_shunt_track",
       R"({"position": "captured", "writer": "a.y4m"})",
       {"producer.AddVideoShuntTrack(kCaptured, kNone, kMemory, a.y4m)"}},
      {"remove_video_shunt_track",
       R"({"writer": "a.y4m"})",
       {"producer.RemoveVideoShuntTrack(a.y4m)", "~a.y4m"}},
      {"add_interceptor",
       R"({"position": "encoder", "listener": "drop:2", "params": {"width": 640, "height": 360,
           "enabled": true, "buffer_type": "texture", "pixel_format": "nv12",
           "stream_type": "small"}})",
       {"objects.Make(drop:2)",
        "producer.AddInterceptor(kEncoder, {640x360 enabled kTexture kNV12 kSmall}, drop:2)"}},
      {"add_interceptor",
       R"({"position": "beautified", "listener": "drop:2"})",
       {"producer.AddInterceptor(kBeautified, {0x0 disabled kMemory kNone kBig}, drop:2)"}},
      {"remove_interceptor",
       R"({"listener": "drop:2"})",
       {"producer.RemoveInterceptor(drop:2)", "~drop:2"}},
  };
}

Cases EffectCases() {
  return {
      {"set_watermark",
       R"({"image": "logo", "x": 0.125, "y": 0.25, "width": 0.5, "in_preview": true})",
       {"producer.SetWatermark(logo, 0.125, 0.25, 0.5, true)"}},
      {"set_watermark", R"({"image": null})", {"producer.SetWatermark(null, 0, 0, 0.2, false)"}},
      {"snapshot", R"({"source": "local_renderer"})", {"producer.Snapshot(1, callback)"}, ""},
      {"set_beauty_style", R"({"style": "clear"})", {"producer.SetBeautyStyle(2)"}},
      {"set_beauty_level", R"({"level": 9})", {"producer.SetBeautyLevel(9)"}},
      {"set_whiteness_level", R"({"level": 0})", {"producer.SetWhitenessLevel(0)"}},
      {"set_ruddy_level", R"({"level": 4.5})", {"producer.SetRuddyLevel(4.5)"}},
      {"set_lut_color_filter", R"({"filter": "sepia"})", {"producer.SetLUTColorFilter(sepia)"}},
      {"set_lut_color_filter", R"({"filter": null})", {"producer.SetLUTColorFilter(null)"}},
      {"set_lut_color_filter_strength",
       R"({"strength": 0.5})",
       {"producer.SetLUTColorFilterStrength(0.5)"}},
      {"set_lut_color_filter_two_images",
       R"({"first": "sepia", "first_strength": 0.25, "second": null, "second_strength": 0.5,
           "ratio": 0.75})",
       {"producer.SetLUTColorFilter(sepia, 0.25, null, 0.5, 0.75)"}},
      {"set_green_screen_params",
       R"({"params": {"enabled": true, "key_color": "#0102fE", "similarity": 0.5,
           "smoothness": 0.25, "background": "beach"}})",
       {"producer.SetGreenScreenParams({enabled 0102FE 0.5 0.25 beach})"}},
      {"set_green_screen_params",
       R"({"params": {}})",
       {"producer.SetGreenScreenParams({disabled 00FF00 0.4 0.1 null})"}},
  };
}

Cases AllCases() {
  Cases all;
  for (const Cases& cases : {LifecycleCases(), CameraCases(), ScreenCases(), PreviewCases(),
                             EncodingCases(), ProcessingCases(), EffectCases()}) {
    all.insert(all.end(), cases.begin(), cases.end());
  }
  // Behind it no more can be called.
  std::stable_partition(all.begin(), all.end(),
                        [](const Case& c) { return c.name != "uninitialize"; });
  return all;
}

std::size_t RowCount() {
  std::size_t count = 0;
  for (const OperationGroup& group : OperationTable()) count += group.operations.size();
  return count;
}

class OperationRows : public OperationsTest {};

TEST_F(OperationRows, HandTheirArgumentsToTheProducerExactly) {
  for (const Case& c : AllCases()) {
    static_cast<void>(Journal());
    Call(c.name, Json::parse(c.arguments));
    EXPECT_EQ(Journal(), c.entries) << c.name << " " << c.arguments;
    const std::vector<std::string> answers = Answers();
    if (c.answer.empty()) continue;  // It comes later, or another test looks at it.
    EXPECT_EQ(answers, std::vector<std::string>{c.answer}) << c.name;
  }
}

// The static operation has no slot.
TEST_F(OperationRows, ThereIsOneForEveryOperationOfTheInterface) {
  for (const Case& c : AllCases()) Call(c.name, Json::parse(c.arguments));
  std::set<std::size_t> slots;
  const std::size_t destructor = 2;
  for (std::size_t i = destructor; i < testing::CountSlots<video::IVideoProducer2>(); ++i) {
    slots.insert(i);
  }
  EXPECT_EQ(producer().slots_called(), slots);
  EXPECT_EQ(RowCount(), slots.size() + 1);
}

// Whether the data gives every argument and field, or as few as may be.
bool GivesAll(const std::vector<Argument>& arguments, const Json& given) {
  for (const Argument& argument : arguments) {
    if (!given.contains(argument.name)) return false;
    const Json& value = given[argument.name];
    if (argument.kind == ArgumentKind::kRecord && !value.is_null() &&
        !GivesAll(argument.fields, value)) {
      return false;
    }
    if (argument.kind == ArgumentKind::kRecordList) {
      for (const Json& item : value) {
        if (!GivesAll(argument.fields, item)) return false;
      }
    }
  }
  return true;
}

bool GivesTheLeast(const std::vector<Argument>& arguments, const Json& given) {
  for (const Argument& argument : arguments) {
    if (given.contains(argument.name) != argument.required) return false;
    if (argument.kind != ArgumentKind::kRecord || !argument.required) continue;
    if (given[argument.name].is_object() && !GivesTheLeast(argument.fields, given[argument.name])) {
      return false;
    }
  }
  return true;
}

TEST_F(OperationRows, AreTriedWithAllArgumentsAndWithTheLeast) {
  const Cases cases = AllCases();
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& row : group.operations) {
      const auto tried = [&](auto gives) {
        return std::any_of(cases.begin(), cases.end(), [&](const Case& c) {
          return c.name == row.name && gives(row.arguments, Json::parse(c.arguments));
        });
      };
      EXPECT_TRUE(tried(GivesAll)) << row.name;
      EXPECT_TRUE(tried(GivesTheLeast)) << row.name;
    }
  }
}

// "StartCapture(...)" is start_capture or begins so, with what it takes behind it.
TEST_F(OperationRows, AreNamedAsTheOperationsAre) {
  for (const Case& c : AllCases()) {
    static_cast<void>(Journal());
    Call(c.name, Json::parse(c.arguments));
    for (const std::string& entry : Journal()) {
      constexpr std::string_view kProducer = "producer.";
      if (!entry.starts_with(kProducer)) continue;
      const std::string called = entry.substr(kProducer.size(), entry.find('(') - kProducer.size());
      const std::string name = DataName(called);
      const bool has_more_words = called == "StartCapture" || called == "SetLUTColorFilter";
      EXPECT_TRUE(has_more_words ? c.name.starts_with(name) : c.name == name) << c.name;
    }
  }
}

TEST_F(OperationRows, HaveNamesThatDiffer) {
  std::set<std::string> names;
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& row : group.operations) {
      names.insert(row.name);
      EXPECT_EQ(FindOperation(row.name), &row);
    }
  }
  EXPECT_EQ(names.size(), RowCount());
}

}  // namespace
}  // namespace movra::app

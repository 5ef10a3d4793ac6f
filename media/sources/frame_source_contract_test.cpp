#include <linux/videodev2.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "media/camera/simulated_v4l2_for_test.h"
#include "media/camera/test_camera.h"
#include "media/camera/v4l2_camera.h"
#include "media/capture/camera_error.h"
#include "media/capture/capture_for_test.h"
#include "media/capture/frame_source_contract_for_test.h"
#include "media/capture/refused_source.h"
#include "media/file/y4m_reader.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

// -- The double.

SourceCase Scripted() {
  SourceCase source;
  source.name = "Scripted";
  source.frames = 12;
  source.make = [] {
    auto script = MakeScript(12);
    script->info.natural_size = {64, 36};
    script->info.traits.has_end = true;
    return std::make_unique<ScriptedSource>(script);
  };
  return source;
}

WaitingSource ScriptedInOpen() {
  auto script = MakeScript(1);
  script->open_waits = true;
  return {script, std::make_unique<ScriptedSource>(script), 0,
          [script] { script->WaitUntilWaiting(); }};
}

WaitingSource ScriptedInRead() {
  auto script = MakeScript(3);
  script->items.pop_back();  // The end.
  script->last_item = std::monostate();
  return {script, std::make_unique<ScriptedSource>(script), 3,
          [script] { script->WaitUntilWaiting(); }};
}

std::unique_ptr<FrameSource> ScriptedRefused() {
  auto script = MakeScript(0);
  script->info.error_code = static_cast<std::int32_t>(CameraError::kBusy);
  script->info.error_text = "the script says so";
  return std::make_unique<ScriptedSource>(script);
}

// -- The camera that is always there.

SourceCase Test(const std::string& name, const std::string& id) {
  SourceCase source;
  source.name = name;
  source.make = [id] { return std::make_unique<TestCamera>(id); };
  return source;
}

std::unique_ptr<FrameSource> TestRefused() {
  return std::make_unique<TestCamera>("test:?frames=none");
}

SourceCase TestWithEnd() {
  SourceCase source = Test("TestCameraWithEnd", "test:?frames=12&size=64x36&lossless");
  source.frames = 12;
  return source;
}

// -- A device.

constexpr video::Size kDeviceSize{32, 16};

std::shared_ptr<SimulatedDevice> MakeDevice(std::uint32_t frames) {
  auto device = std::make_shared<SimulatedDevice>();
  device->modes = {{.fourcc = V4L2_PIX_FMT_YUYV,
                    .size = kDeviceSize,
                    .interval_numerator = 1,
                    .interval_denominator = 30}};
  for (std::uint32_t i = 0; i < frames; ++i) {
    device->Push({.error = 0,
                  .bytes = std::string(std::size_t{2} * 32 * 16, static_cast<char>(i)),
                  .sequence = i,
                  .flags = 0,
                  .microseconds = 5'000'000 + std::int64_t{i} * 33'333});
  }
  return device;
}

std::unique_ptr<FrameSource> MakeV4l2(std::shared_ptr<SimulatedDevice> device) {
  return std::make_unique<V4l2Camera>("/dev/video7",
                                      std::make_unique<SimulatedV4l2Io>(std::move(device)));
}

SourceCase V4l2() {
  return {"V4l2Camera", [] { return MakeV4l2(MakeDevice(12)); }, {}};
}

WaitingSource V4l2InRead() {
  const auto device = MakeDevice(3);
  return {device, MakeV4l2(device), 3, [device] { device->WaitUntilWaiting(); }};
}

std::unique_ptr<FrameSource> V4l2Refused() {
  const auto device = MakeDevice(0);
  device->open_error = ENOENT;
  return MakeV4l2(device);
}

// -- Pictures without compression.

std::string Y4mClip() {
  std::string clip = "YUV4MPEG2 W8 H4 F30:1\n";
  for (int i = 0; i < 12; ++i) clip += "FRAME\n" + std::string(8 * 4 * 3 / 2, static_cast<char>(i));
  return clip;
}

SourceCase Y4m(const std::string& name, const Playback& playback) {
  SourceCase source;
  source.name = name;
  if (!playback.loop) source.frames = 12;
  source.make = [playback] {
    static const TemporaryDirectory directory;
    return MakeY4mSource(directory.Write("clip.y4m", Y4mClip()), playback);
  };
  return source;
}

// It was there when the source was made.
std::unique_ptr<FrameSource> Y4mRefused() {
  const TemporaryDirectory directory;
  return MakeY4mSource(directory.Write("clip.y4m", Y4mClip()), {});
}

// -- What cannot be.

std::unique_ptr<FrameSource> Refused() {
  return std::make_unique<RefusedSource>(CameraError::kBadOption, "there is no such thing");
}

INSTANTIATE_TEST_SUITE_P(OnTheDouble, FrameSourceContract, ::testing::Values(Scripted()),
                         NameOf<SourceCase>);
INSTANTIATE_TEST_SUITE_P(On, FrameSourceContract,
                         ::testing::Values(Test("TestCamera", "test:"), TestWithEnd(), V4l2(),
                                           Y4m("Y4m", {}), Y4m("Y4mInRealTime", {.realtime = true}),
                                           Y4m("Y4mInALoop", {.loop = true})),
                         NameOf<SourceCase>);

INSTANTIATE_TEST_SUITE_P(OnTheDouble, WaitingSourceContract,
                         ::testing::Values(WaitingSourceCase{"InOpen", true, &ScriptedInOpen},
                                           WaitingSourceCase{"InRead", false, &ScriptedInRead}),
                         NameOf<WaitingSourceCase>);
INSTANTIATE_TEST_SUITE_P(On, WaitingSourceContract,
                         ::testing::Values(WaitingSourceCase{"V4l2Camera", false, &V4l2InRead}),
                         NameOf<WaitingSourceCase>);

INSTANTIATE_TEST_SUITE_P(OnTheDouble, RefusedSourceContract,
                         ::testing::Values(RefusedSourceCase{"Scripted", &ScriptedRefused}),
                         NameOf<RefusedSourceCase>);
INSTANTIATE_TEST_SUITE_P(On, RefusedSourceContract,
                         ::testing::Values(RefusedSourceCase{"TestCamera", &TestRefused},
                                           RefusedSourceCase{"V4l2Camera", &V4l2Refused},
                                           RefusedSourceCase{"Y4m", &Y4mRefused},
                                           RefusedSourceCase{"RefusedSource", &Refused}),
                         NameOf<RefusedSourceCase>);

}  // namespace
}  // namespace movra::media

#include "media/encode/frame_encoder_contract_for_test.h"

#include <cctype>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "media/encode/encoder_registry.h"
#include "media/encode/scripted_encoder_for_test.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

EncoderSettings SettingsFor(video::VideoCodec codec) {
  video::EncodeParams params;
  params.bitrate_bps = 200'000;
  EncoderSettings settings = ResolveEncoderSettings(params, {}, {64, 48});
  settings.codec = codec;
  settings.threads = 1;  // So that two of them give the same bytes.
  return settings;
}

using WriteScript = std::function<void(Script&)>;

FrameEncoderFactory OpenScripted(const WriteScript& write) {
  return [write](const EncoderSettings& settings, const StreamFormat& format,
                 EncoderFailure& failure) {
    const auto script = std::make_shared<Script>();
    write(*script);
    return ScriptedRegistry(script).Open(settings, format, failure);
  };
}

EncoderCase Scripted(const std::string& name, const WriteScript& write) {
  EncoderCase encoder;
  encoder.name = name;
  encoder.settings = SettingsFor(video::VideoCodec::kH264);
  encoder.open = OpenScripted(write);
  encoder.open_in_vain = OpenScripted([](Script& script) { script.open_fails = true; });
  return encoder;
}

std::vector<EncoderCase> ScriptedEncoders() {
  return {
      Scripted("Scripted", [](Script&) {}),
      Scripted("ScriptedWithDelay", [](Script& script) { script.delay = 3; }),
      Scripted("ScriptedInPairs", [](Script& script) { script.at_once = 2; }),
      Scripted("ScriptedThatEndsAtFlush",
               [](Script& script) {
                 script.delay = 2;
                 script.ends_at_flush = true;
               }),
      Scripted("ScriptedThatTakesNoSettings",
               [](Script& script) {
                 script.delay = 2;
                 script.reconfigure_fails = true;
               }),
  };
}

// The encoders that there are, each with every format that it reads: a new one is tried as well.
std::vector<EncoderCase> EncodersOfThisBuild() {
  std::vector<EncoderCase> cases;
  for (const EncoderEntry& entry : EncoderRegistry::OfThisBuild().encoders()) {
    if (!entry.IsUsable()) continue;
    for (const video::PixelFrameFormat& format : entry.input_formats) {
      EncoderCase encoder;
      encoder.name = entry.library + video::PixelFormatToString(format.pixel_format);
      std::erase_if(encoder.name, [](unsigned char c) { return std::isalnum(c) == 0; });
      encoder.format = format.pixel_format;
      encoder.settings = SettingsFor(entry.codec);
      encoder.open = entry.open;
      encoder.open_in_vain = entry.open;
      cases.push_back(std::move(encoder));
    }
  }
  return cases;
}

std::string NameOf(const ::testing::TestParamInfo<EncoderCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(OnTheDouble, FrameEncoderContract, ::testing::ValuesIn(ScriptedEncoders()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(On, FrameEncoderContract, ::testing::ValuesIn(EncodersOfThisBuild()),
                         NameOf);

}  // namespace
}  // namespace movra::media

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "media/encode/encoder_registry.h"
#include "media/encode/frame_rate_meter.h"
#include "media/encode/region_offsets.h"
#include "media/encode/sequence_timing.h"

// After <cstdarg> and <cstdint>, which it needs and does not include.
#include <x264.h>

namespace movra::media {
namespace {

using video::VideoEncoderError;

// What libx264 says of a failure, collected for the error's text. It calls back during our calls.
class X264Messages {
 public:
  static void Collect(void* self, int /*level*/, const char* format, std::va_list arguments) {
    std::array<char, 256> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    std::string_view text(line.data());
    while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    std::string& collected = static_cast<X264Messages*>(self)->text_;
    if (!collected.empty()) collected += "; ";
    collected += text;
  }

  // With what was collected since the last call.
  [[nodiscard]] std::string Explain(std::string what) {
    if (!text_.empty()) what += ": " + std::exchange(text_, {});
    return what;
  }

 private:
  std::string text_;
};

bool IsPreset(const std::string& name) {
  for (const char* const* preset = x264_preset_names; *preset != nullptr; ++preset) {
    if (name == *preset) return true;
  }
  return false;
}

std::string PresetList() {
  std::string list;
  for (const char* const* preset = x264_preset_names; *preset != nullptr; ++preset) {
    if (!list.empty()) list += ", ";
    list += *preset;
  }
  return list;
}

// Asked before an open, because the library loses memory at each open for a size that it refuses,
// and tells an unknown preset to standard error alone.
std::string WhyRefused(const EncoderSettings& settings, const video::Size& size) {
  constexpr int kLargest = 16'384;
  const auto fits = [](int extent) { return extent > 0 && extent <= kLargest && extent % 2 == 0; };
  if (!fits(size.width) || !fits(size.height)) {
    return "width and height must be even and at most 16384, not " + std::to_string(size.width) +
           "x" + std::to_string(size.height);
  }
  if (IsPreset(settings.preset)) return {};
  return "libx264 has no preset '" + settings.preset + "'; there are " + PresetList();
}

// The library's rate control without its variable-rate mode: it takes every picture for one of the
// nominal rate. So what it is told are the bits of a second at that rate. The mode itself would
// hold back each picture until the next one tells how long it lasts.
struct Rates {
  int bitrate_kbps;
  int max_bitrate_kbps;
  int buffer_kbit;
};

Rates AtNominalRate(const EncoderSettings& settings, double nominal_rate, double real_rate) {
  // Beyond this a slow stream gets no larger pictures, only fewer bits; and one picture must fit
  // into the buffer, which holds a second.
  constexpr double kMostForSlow = 6;
  const double scale = std::min({kMostForSlow, nominal_rate, nominal_rate / real_rate});
  const auto scaled = [scale](int kbps) { return std::max(1, static_cast<int>(kbps * scale)); };
  return {scaled(settings.bitrate_kbps), scaled(settings.max_bitrate_kbps), settings.buffer_kbit};
}

void SetRates(const Rates& rates, x264_param_t& params) {
  params.rc.i_rc_method = X264_RC_ABR;
  params.rc.i_bitrate = rates.bitrate_kbps;
  // Without these at open no later change of the rate would take effect, and all three have to
  // change together.
  params.rc.i_vbv_max_bitrate = rates.max_bitrate_kbps;
  params.rc.i_vbv_buffer_size = rates.buffer_kbit;
}

bool HaveRates(const Rates& rates, const x264_param_t& params) {
  return params.rc.i_bitrate == rates.bitrate_kbps &&
         params.rc.i_vbv_max_bitrate == rates.max_bitrate_kbps &&
         params.rc.i_vbv_buffer_size == rates.buffer_kbit;
}

void SetTiming(const FrameRate& nominal_rate, x264_param_t& params) {
  params.b_vfr_input = 0;
  params.i_fps_num = static_cast<std::uint32_t>(nominal_rate.numerator);
  params.i_fps_den = static_cast<std::uint32_t>(nominal_rate.denominator);
  // The controller asks for key frames by time; the library could only count frames.
  params.i_keyint_max = X264_KEYINT_MAX_INFINITE;
}

void SetColor(const video::ColorDescription& color, x264_param_t& params) {
  params.vui.b_fullrange = color.full_range ? 1 : 0;
  params.vui.i_colorprim = color.primaries;
  params.vui.i_transfer = color.transfer;
  params.vui.i_colmatrix = color.matrix;
  params.vui.i_sar_width = 1;
  params.vui.i_sar_height = 1;
}

class X264Encoder final : public IFrameEncoder {
 public:
  ~X264Encoder() override {
    if (encoder_ != nullptr) x264_encoder_close(encoder_);
  }

  bool Open(const EncoderSettings& settings, const StreamFormat& format, EncoderFailure& failure);

  // IFrameEncoder
  [[nodiscard]] bool Reconfigure(const EncoderSettings& settings) override;
  [[nodiscard]] bool CanGoOn() const override { return has_settings_; }
  [[nodiscard]] bool Submit(const video::PixelFrame& frame, std::int64_t ticks, bool key_frame,
                            EncoderFailure& failure) override;
  [[nodiscard]] std::optional<EncodedPicture> Take(EncoderFailure& failure) override;
  // Without latency nothing is ever inside.
  [[nodiscard]] bool Flush(EncoderFailure& /*failure*/) override { return true; }
  [[nodiscard]] std::string Describe() const override;

 private:
  // Makes the rates of the settings hold at the measured frame rate. The library also reports
  // success when it will do nothing, and what it did can be asked after the next picture.
  bool ApplyRates();
  void CheckChange();
  bool TakeHeaders();
  void AddHeader(std::span<const std::uint8_t> unit);
  // Of the units that the library gave for one picture.
  [[nodiscard]] EncodedPicture PictureOf(std::span<const x264_nal_t> units,
                                         const x264_picture_t& coded);

  x264_t* encoder_ = nullptr;
  X264Messages messages_;
  EncoderSettings settings_;
  video::Size size_;
  int threads_ = 0;
  bool adaptive_quantisation_ = false;
  double nominal_rate_ = 0;  // Frames per second that the library counts with.
  FrameRateMeter meter_{0};
  Rates rates_{};
  bool changing_ = false;
  bool has_settings_ = true;
  std::vector<float> offsets_;  // Empty: no regions.
  // The parameter sets, in front of every key frame. The library would add a text about itself at
  // the start and take all of it out of what the first seconds may spend on pictures.
  std::vector<std::uint8_t> headers_;
  std::vector<std::uint8_t> key_frame_;  // The last one, with them.
  std::optional<EncodedPicture> ready_;
};

bool X264Encoder::Open(const EncoderSettings& settings, const StreamFormat& format,
                       EncoderFailure& failure) {
  const std::string refusal = WhyRefused(settings, format.size);
  x264_param_t params;
  if (!refusal.empty() ||
      x264_param_default_preset(&params, settings.preset.c_str(), "zerolatency") < 0) {
    failure = {VideoEncoderError::kOpenFailed, refusal};
    return false;
  }
  params.pf_log = &X264Messages::Collect;
  params.p_log_private = &messages_;
  params.i_log_level = X264_LOG_ERROR;
  params.i_width = format.size.width;
  params.i_height = format.size.height;
  params.i_csp = X264_CSP_I420;
  params.i_threads = settings.threads;
  params.i_bframe = 0;
  params.b_repeat_headers = 0;  // Key frames get them here: see headers_.
  params.b_annexb = 1;
  const double nominal_rate = settings.nominal_rate.PerSecond();
  SetRates(AtNominalRate(settings, nominal_rate, nominal_rate), params);
  SetTiming(settings.nominal_rate, params);
  SetColor(format.color, params);
  // Regions work through adaptive quantisation, which the fastest preset leaves off.
  if (!settings.regions.empty() && params.rc.i_aq_mode == X264_AQ_NONE) {
    params.rc.i_aq_mode = X264_AQ_VARIANCE;
    params.rc.f_aq_strength = 1.0F;
  }
  encoder_ = x264_encoder_open(&params);
  if (encoder_ == nullptr) {
    failure = {VideoEncoderError::kOpenFailed, messages_.Explain("libx264 cannot be opened")};
    return false;
  }
  if (!TakeHeaders()) {
    failure = {VideoEncoderError::kOpenFailed, messages_.Explain("libx264 gives no headers")};
    return false;
  }
  x264_encoder_parameters(encoder_, &params);
  threads_ = params.i_threads;
  adaptive_quantisation_ = params.rc.i_aq_mode != X264_AQ_NONE;
  nominal_rate_ = nominal_rate;
  meter_ = FrameRateMeter(nominal_rate_);
  settings_ = settings;
  size_ = format.size;
  offsets_ = RegionOffsets(settings.regions, size_);
  return true;
}

bool X264Encoder::TakeHeaders() {
  x264_nal_t* units = nullptr;
  int unit_count = 0;
  if (x264_encoder_headers(encoder_, &units, &unit_count) < 0) return false;
  for (int i = 0; i < unit_count; ++i) {
    const x264_nal_t& unit = units[i];
    const bool is_parameter_set = unit.i_type == NAL_SPS || unit.i_type == NAL_PPS;
    if (is_parameter_set) AddHeader({unit.p_payload, static_cast<std::size_t>(unit.i_payload)});
  }
  return true;
}

void X264Encoder::AddHeader(std::span<const std::uint8_t> unit) {
  // The library would claim that each picture lasts as long as the highest rate says.
  const auto begin = std::find(unit.begin(), unit.end(), std::uint8_t{1}) + 1;
  const std::vector<std::uint8_t> set = WithFrameRate({begin, unit.end()}, FrameRate());
  headers_.insert(headers_.end(), unit.begin(), begin);
  headers_.insert(headers_.end(), set.begin(), set.end());
}

bool X264Encoder::Reconfigure(const EncoderSettings& settings) {
  if (settings.preset != settings_.preset || settings.threads != settings_.threads) return false;
  if (!settings.regions.empty() && !adaptive_quantisation_) return false;
  const EncoderSettings former = std::exchange(settings_, settings);
  const FrameRateMeter former_meter = meter_;
  if (settings.nominal_rate != former.nominal_rate) {
    meter_ = FrameRateMeter(settings.nominal_rate.PerSecond());
  }
  if (!ApplyRates()) {
    settings_ = former;
    meter_ = former_meter;
    return false;
  }
  changing_ = true;
  offsets_ = RegionOffsets(settings.regions, size_);
  return true;
}

bool X264Encoder::ApplyRates() {
  rates_ = AtNominalRate(settings_, nominal_rate_, meter_.rate());
  x264_param_t params;
  x264_encoder_parameters(encoder_, &params);
  SetRates(rates_, params);
  return x264_encoder_reconfig(encoder_, &params) >= 0;
}

void X264Encoder::CheckChange() {
  if (!std::exchange(changing_, false)) return;
  x264_param_t params;
  x264_encoder_parameters(encoder_, &params);
  has_settings_ = HaveRates(rates_, params);
}

bool X264Encoder::Submit(const video::PixelFrame& frame, std::int64_t ticks, bool key_frame,
                         EncoderFailure& failure) {
  if (meter_.Add(ticks)) ApplyRates();
  const video::PixelFrameInfo& info = frame.info();
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.i_pts = ticks;
  picture.i_type = key_frame ? X264_TYPE_IDR : X264_TYPE_AUTO;
  picture.img.i_csp = info.format == video::PixelFormat::kNV12 ? X264_CSP_NV12 : X264_CSP_I420;
  picture.img.i_plane = info.format == video::PixelFormat::kNV12 ? 2 : 3;
  for (std::size_t i = 0; i < static_cast<std::size_t>(picture.img.i_plane); ++i) {
    // Only read: the library takes its own copy of the samples during the call.
    picture.img.plane[i] = const_cast<std::uint8_t*>(info.planes[i].data);
    picture.img.i_stride[i] = info.planes[i].stride;
  }
  if (!offsets_.empty()) picture.prop.quant_offsets = offsets_.data();

  x264_nal_t* units = nullptr;
  int unit_count = 0;
  x264_picture_t coded;
  const int bytes = x264_encoder_encode(encoder_, &units, &unit_count, &picture, &coded);
  if (bytes <= 0 || unit_count <= 0) {
    failure = {VideoEncoderError::kEncodeFailed,
               messages_.Explain("libx264 gave no picture for a frame")};
    return false;
  }
  CheckChange();
  ready_ = PictureOf({units, static_cast<std::size_t>(unit_count)}, coded);
  return true;
}

EncodedPicture X264Encoder::PictureOf(std::span<const x264_nal_t> units,
                                      const x264_picture_t& coded) {
  EncodedPicture picture;
  picture.ticks = coded.i_pts;
  picture.key_frame = coded.b_keyframe != 0;
  picture.referenced = false;
  // The units of a picture stand one behind the other.
  picture.data = units[0].p_payload;
  for (const x264_nal_t& unit : units) {
    picture.size_bytes += static_cast<std::size_t>(unit.i_payload);
    picture.referenced |= unit.i_ref_idc != NAL_PRIORITY_DISPOSABLE;
  }
  if (!picture.key_frame) return picture;
  key_frame_ = headers_;
  key_frame_.insert(key_frame_.end(), picture.data, picture.data + picture.size_bytes);
  picture.data = key_frame_.data();
  picture.size_bytes = key_frame_.size();
  return picture;
}

std::optional<EncodedPicture> X264Encoder::Take(EncoderFailure& /*failure*/) {
  return std::exchange(ready_, std::nullopt);
}

std::string X264Encoder::Describe() const {
  return "libx264 " + std::to_string(X264_BUILD) + ", " + settings_.preset + ", " +
         std::to_string(threads_) + (threads_ == 1 ? " thread" : " threads");
}

std::unique_ptr<IFrameEncoder> OpenX264Encoder(const EncoderSettings& settings,
                                               const StreamFormat& format,
                                               EncoderFailure& failure) {
  auto encoder = std::make_unique<X264Encoder>();
  if (!encoder->Open(settings, format, failure)) return nullptr;
  return encoder;
}

}  // namespace

void AddX264Encoder(EncoderTable& table) {
  EncoderEntry entry;
  entry.codec = video::VideoCodec::kH264;
  entry.library = "libx264";
  entry.open = &OpenX264Encoder;
  entry.input_formats = {{video::BufferType::kMemory, video::PixelFormat::kI420},
                         {video::BufferType::kMemory, video::PixelFormat::kNV12}};
  entry.abilities.regions = true;
  entry.refuses = &WhyRefused;
  table.encoders.push_back(std::move(entry));
}

}  // namespace movra::media

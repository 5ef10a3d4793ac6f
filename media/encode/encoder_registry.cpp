#include "media/encode/encoder_registry.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "media/frame/frame_layout.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

// Whether the planes are there that the format has, which only those in memory can show.
bool IsWhole(const video::PixelFrameInfo& info) {
  if (info.size.width <= 0 || info.size.height <= 0) return false;
  if (info.buffer_type != video::BufferType::kMemory) return true;
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const video::PixelPlane& plane = info.planes[i];
    const std::size_t row_bytes = LayoutOf(info.format, info.size, i).row_bytes();
    if (plane.data == nullptr || plane.stride < static_cast<std::int64_t>(row_bytes)) return false;
  }
  return true;
}

std::string FormatText(const video::PixelFrameFormat& format) {
  return video::PixelFormatToString(format.pixel_format) + " in " +
         video::BufferTypeToString(format.buffer_type);
}

// One row for each library, the preferred ones of a codec first.
EncoderTable TableOfThisBuild() {
  EncoderTable table;
  AddX264Encoder(table);
  return table;
}

}  // namespace

bool EncoderEntry::Reads(const video::PixelFrameInfo& info) const {
  const video::PixelFrameFormat format{info.buffer_type, info.format};
  return std::find(input_formats.begin(), input_formats.end(), format) != input_formats.end() &&
         IsWhole(info);
}

std::string EncoderEntry::WhyNotRead(const video::PixelFrameInfo& info) const {
  std::string text = library + " reads ";
  for (const video::PixelFrameFormat& format : input_formats) {
    if (&format != &input_formats.front()) text += " and ";
    text += FormatText(format);
  }
  return text + ", not " + FormatText({info.buffer_type, info.format});
}

EncoderRegistry::EncoderRegistry(EncoderTable table) : table_(std::move(table)) {}

const EncoderRegistry& EncoderRegistry::OfThisBuild() {
  static const EncoderRegistry registry(TableOfThisBuild());
  return registry;
}

const EncoderEntry* EncoderRegistry::Find(video::VideoCodec codec) const {
  const auto& encoders = table_.encoders;
  const auto found = std::find_if(encoders.begin(), encoders.end(), [&](const EncoderEntry& entry) {
    return entry.codec == codec && entry.IsUsable();
  });
  return found == encoders.end() ? nullptr : &*found;
}

std::string EncoderRegistry::WhyNone(video::VideoCodec codec) const {
  for (const EncoderEntry& entry : table_.encoders) {
    if (entry.codec != codec) continue;
    const std::string reason = entry.WhyUnusable();
    if (!reason.empty()) return entry.library + " cannot be used: " + reason;
  }
  for (const MissingEncoder& missing : table_.missing) {
    if (missing.codec == codec) return missing.reason;
  }
  return "there is no encoder for " + video::VideoCodecToString(codec);
}

video::PixelFrameFormat EncoderRegistry::InputFormat(video::VideoCodec codec) const {
  const EncoderEntry* const entry = Find(codec);
  if (entry != nullptr && !entry->input_formats.empty()) return entry->input_formats.front();
  return {video::BufferType::kMemory, video::PixelFormat::kI420};
}

std::string EncoderRegistry::WhyRefused(const EncoderSettings& settings,
                                        const video::Size& size) const {
  const EncoderEntry* const entry = Find(settings.codec);
  if (entry == nullptr) return WhyNone(settings.codec);
  return entry->refuses ? entry->refuses(settings, size) : std::string();
}

std::unique_ptr<IFrameEncoder> EncoderRegistry::Open(const EncoderSettings& settings,
                                                     const StreamFormat& format,
                                                     EncoderFailure& failure) const {
  const EncoderEntry* const entry = Find(settings.codec);
  if (entry != nullptr) return entry->open(settings, format, failure);
  failure = {video::VideoEncoderError::kUnavailable, WhyNone(settings.codec)};
  return nullptr;
}

}  // namespace movra::media

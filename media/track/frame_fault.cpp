#include "media/track/frame_fault.h"

#include <algorithm>
#include <utility>

#include "media/frame/frame_layout.h"
#include "media/text/warning.h"
#include "video/to_string.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrameInfo;

namespace {

bool IsCustom(const PixelFrameInfo& info) { return info.source_run == 0; }

// Libraries count the strides of 16-bit samples in samples.
bool HasUnevenStride(PixelFormat format, std::int32_t stride) {
  return format == PixelFormat::kI010 && stride % 2 != 0;
}

FrameFault FindPlaneFault(const PixelFrameInfo& info) {
  for (std::size_t i = 0; i < PlaneCount(info.format); ++i) {
    const video::PixelPlane& plane = info.planes[i];
    if (plane.data == nullptr) return {FrameFault::kNoPlane, i};
    const auto row_bytes =
        static_cast<std::int64_t>(LayoutOf(info.format, info.size, i).row_bytes());
    if (plane.stride < row_bytes || HasUnevenStride(info.format, plane.stride)) {
      return {FrameFault::kStride, i};
    }
  }
  return {};
}

// "NV12": what people write.
std::string FormatName(PixelFormat format) {
  std::string name = video::PixelFormatToString(format);
  if (name.starts_with('k')) name.erase(0, 1);
  return name;
}

std::string StrideText(const PixelFrameInfo& info, std::size_t plane) {
  const std::int32_t stride = info.planes[plane].stride;
  const std::size_t row_bytes = LayoutOf(info.format, info.size, plane).row_bytes();
  std::string text =
      "plane " + std::to_string(plane) + " has a stride of " + std::to_string(stride) + " bytes, ";
  const bool is_short = stride < static_cast<std::int64_t>(row_bytes);
  return text +
         (is_short ? "a row has " + std::to_string(row_bytes) : std::string("and samples of 2"));
}

std::string WhatIsWrong(const FrameFault& fault, const PixelFrameInfo& info) {
  switch (fault.kind) {
    case FrameFault::kNoOwner:
      return "nothing owns its samples";
    case FrameFault::kNoFormat:
      return "no such format";
    case FrameFault::kNoSize:
      return "no such size";
    case FrameFault::kTooLarge:
      return "sides end at " + std::to_string(kLongestSide) + " pixels";
    case FrameFault::kNoPlane:
      return "plane " + std::to_string(fault.plane) + " is null";
    case FrameFault::kStride:
      return StrideText(info, fault.plane);
    case FrameFault::kTimeStandsStill:
      return "the time stamp " + std::to_string(info.timestamp.count()) +
             " ns is that of the frame before: encoders leave it out";
    case FrameFault::kNone:
      break;
  }
  return "nothing is wrong";
}

}  // namespace

FrameFault FindFault(const video::PixelFrame& frame) {
  const PixelFrameInfo& info = frame.info();
  if (!frame) return {FrameFault::kNoOwner};
  if (PlaneCount(info.format) == 0) return {FrameFault::kNoFormat};
  if (info.size.width <= 0 || info.size.height <= 0) return {FrameFault::kNoSize};
  if (!IsAllocatable(info.format, info.size)) return {FrameFault::kTooLarge};
  return info.buffer_type == video::BufferType::kMemory ? FindPlaneFault(info) : FrameFault{};
}

std::string FaultText(const FrameFault& fault, const PixelFrameInfo& info) {
  return std::string(IsCustom(info) ? "custom" : "captured") +
         " frame: " + FormatName(info.format) + " " + std::to_string(info.size.width) + "x" +
         std::to_string(info.size.height) + ", " + WhatIsWrong(fault, info);
}

FrameFaultLog::FrameFaultLog(video::VideoContext context) : context_(std::move(context)) {}

void FrameFaultLog::Tell(const FrameFault& fault, const PixelFrameInfo& info) {
  const std::uint32_t bit = 1U << fault.kind;
  if ((told_.fetch_or(bit) & bit) != 0) return;
  Warn(context_, "../../media/track/frame_fault", FaultText(fault, info));
}

void CheckFrames(video::IPixelFrameTrackReader& reader, std::shared_ptr<FrameFaultLog> faults) {
  auto* const end = dynamic_cast<CheckingTrackEnd*>(&reader);
  if (end != nullptr) end->CheckFrames(std::move(faults));
}

}  // namespace movra::media

#ifndef MOVRA_VIDEO_PRODUCER_PRODUCER_SUPPORT_H_
#define MOVRA_VIDEO_PRODUCER_PRODUCER_SUPPORT_H_

#include <memory>

#include "core/dispatch_queue.h"
#include "core/service_center.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "video/camera_service.h"

// What the producer's sources share. Private to this folder.

namespace movra::video::producer_support {

inline constexpr char kSourceFile[] = "../../video/producer/video_producer2_impl";

// Log levels.
inline constexpr int kInfo = 0;
inline constexpr int kWarning = 1;

// Every kind of start says so while a capture runs, and each in its own name.
inline constexpr char kAlreadyStarted[] = "Capture already start for source type:";

// Tells the camera service that a producer asks.
inline constexpr int kRequester = 1;

// Asks the main queue whether it is running the caller and goes on whatever the answer: the
// question is what assertion builds of a queue hook into.
inline void CheckMainQueue() { static_cast<void>(core::GetMainQueue()->IsCurrent()); }

// The camera service is looked up for each use and never kept; null if there is none.
[[nodiscard]] inline std::shared_ptr<ICameraService> FindCameraService() {
  std::shared_ptr<ICameraService> service;
  static_cast<void>(
      core::ServiceCenter::Instance().GetService<ICameraService>(kCameraServiceId, service));
  return service;
}

}  // namespace movra::video::producer_support

// One log line of the producer that stands in the member function it is used in. Nothing of the
// message is evaluated when the level is off.
#define MOVRA_PRODUCER_LOG(level)                                                                \
  if (!::movra_logging::ShouldCreateLogMessage(level)) {                                         \
  } else                                                                                         \
    ::movra::LogStream(::movra::video::producer_support::kSourceFile, __LINE__, __func__, level, \
                       nullptr)                                                                  \
        << ::movra::LogTraceId(GetTraceId()) << ::movra::LogTag(GetLogTag()) << " "

#endif  // MOVRA_VIDEO_PRODUCER_PRODUCER_SUPPORT_H_

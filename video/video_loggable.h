#ifndef MOVRA_VIDEO_VIDEO_LOGGABLE_H_
#define MOVRA_VIDEO_VIDEO_LOGGABLE_H_

#include <string>
#include <utility>

#include "logging/log_identity.h"
#include "video/video_context.h"

namespace movra::video {

// Base of objects that write log lines: holds their own copy of the context and names them.
class VideoLoggable {
 public:
  explicit VideoLoggable(VideoContext context) : context_(std::move(context)) {}

  virtual ~VideoLoggable() = default;
  [[nodiscard]] virtual const InstanceTrace& GetTraceId() const { return context_.trace(); }
  [[nodiscard]] virtual const std::string& GetLogTag() const { return context_.log_tag(); }

 protected:
  [[nodiscard]] VideoContext& context() { return context_; }
  [[nodiscard]] const VideoContext& context() const { return context_; }

 private:
  VideoContext context_;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_LOGGABLE_H_

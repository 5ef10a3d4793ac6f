#ifndef MOVRA_VIDEO_VIDEO_CONTEXT_H_
#define MOVRA_VIDEO_VIDEO_CONTEXT_H_

#include <string>
#include <utility>

#include "logging/log_identity.h"

namespace movra::video {

// Who a log line is about: the trace identity of an instance and a tag for people. Copied into
// every collaborator that the instance creates; appending acts on that copy alone.
class VideoContext {
 public:
  VideoContext(InstanceTrace trace, std::string log_tag)
      : trace_(trace), log_tag_(std::move(log_tag)) {}

  void AppendLogTagToBack(const std::string& tag) { log_tag_ += tag; }

  [[nodiscard]] const InstanceTrace& trace() const { return trace_; }
  [[nodiscard]] const std::string& log_tag() const { return log_tag_; }

 private:
  InstanceTrace trace_;
  std::string log_tag_;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_VIDEO_CONTEXT_H_

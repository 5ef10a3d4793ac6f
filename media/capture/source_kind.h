#ifndef MOVRA_MEDIA_CAPTURE_SOURCE_KIND_H_
#define MOVRA_MEDIA_CAPTURE_SOURCE_KIND_H_

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "media/capture/frame_source.h"

namespace movra::media {

// An option that the ids of a kind take (media/capture/source_id.h).
struct SourceOptionKind {
  std::string_view name{};   // "start"
  std::string_view value{};  // What its value is called, "T"; empty for one without.
  std::string_view help{};

  // "start=T"
  [[nodiscard]] std::string Form() const {
    std::string form(name);
    return value.empty() ? form : form + "=" + std::string(value);
  }
};

// The operation of the producer that starts a source.
enum class SourceOperation {
  kCamera,   // StartCapture(CameraParams), with the id.
  kDesktop,  // StartCapture(DesktopScreenParams), media/screen/screen_source.h.
};

// A kind of source: all that anybody has to know of it who takes ids, makes sources or tells people
// what there is.
struct SourceKind {
  std::string_view prefix{};  // What its ids begin with: "file:".
  std::string_view form{};    // How an id is written: "file:PATH".
  std::string_view help{};    // What it is: "a video file or a named pipe".
  std::span<const SourceOptionKind> options{};
  // Whether a text that begins like an id is one; null: always.
  bool (*is_id)(std::string_view id) = nullptr;
  // Never null; what is wrong with the id is the source's to tell. On any thread.
  std::unique_ptr<FrameSource> (*make)(const std::string& id) = nullptr;
  SourceOperation operation = SourceOperation::kCamera;

  [[nodiscard]] bool Has(std::string_view id) const {
    return id.starts_with(prefix) && (is_id == nullptr || is_id(id));
  }
  [[nodiscard]] bool Takes(std::string_view option) const {
    return std::any_of(options.begin(), options.end(),
                       [option](const SourceOptionKind& kind) { return kind.name == option; });
  }
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_SOURCE_KIND_H_

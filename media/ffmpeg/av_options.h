#ifndef MOVRA_MEDIA_FFMPEG_AV_OPTIONS_H_
#define MOVRA_MEDIA_FFMPEG_AV_OPTIONS_H_

#include <cstdint>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {

// Options for one call of FFmpeg's, which takes out those that it knows. Frees the rest at its end.
class AvOptions {
 public:
  AvOptions() = default;
  ~AvOptions() { av_dict_free(&dictionary_); }
  AvOptions(const AvOptions&) = delete;
  AvOptions& operator=(const AvOptions&) = delete;

  void Set(const char* name, const char* value) { av_dict_set(&dictionary_, name, value, 0); }
  void SetNumber(const char* name, std::int64_t value) {
    av_dict_set_int(&dictionary_, name, value, 0);
  }
  [[nodiscard]] AVDictionary** get() { return &dictionary_; }

 private:
  AVDictionary* dictionary_ = nullptr;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_AV_OPTIONS_H_

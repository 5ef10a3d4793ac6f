#ifndef MOVRA_MEDIA_FFMPEG_CODE_OF_H_
#define MOVRA_MEDIA_FFMPEG_CODE_OF_H_

#include <cstring>

namespace movra::media {

// The number that a file states in the place of an enumeration of FFmpeg's, where any may stand and
// is not to be read as one; those from `end` on have no meaning yet.
template <class Code>
int CodeOf(const Code& stated, Code end, Code unspecified) {
  int code = 0;
  static_assert(sizeof code == sizeof stated);
  std::memcpy(&code, &stated, sizeof code);
  return code >= 0 && code < end ? code : unspecified;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_CODE_OF_H_

// For a build without FFmpeg's libraries, which writes no files that could be read.

#include "media/output/still_reader.h"

namespace movra::media {

std::vector<Still> ReadStills(const std::string& /*path*/, std::uint64_t /*frames*/, int /*count*/,
                              std::string* error) {
  *error = "this build cannot decode";
  return {};
}

}  // namespace movra::media

// For a build without FFmpeg's libraries, which writes no files that could be read.

#include "media/output/still_reader.h"

namespace movra::media {
namespace {

std::vector<Still> None(std::string* error) {
  *error = "this build cannot decode";
  return {};
}

}  // namespace

std::vector<Still> ReadStills(const StillSource& /*source*/, int /*count*/, std::string* error) {
  return None(error);
}

std::vector<Still> ReadStillsAt(const StillSource& /*source*/,
                                const std::vector<std::chrono::nanoseconds>& /*times*/,
                                std::string* error) {
  return None(error);
}

}  // namespace movra::media

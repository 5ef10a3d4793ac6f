#include "media/file/file_end.h"

#include <array>
#include <cstdio>

#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"

namespace movra::media {
namespace {

std::string Seconds(std::chrono::nanoseconds duration) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.2f s",
                std::chrono::duration<double>(duration).count());
  return text.data();
}

}  // namespace

video::CameraInfo StartsBehindItsEnd(const std::string& path, std::chrono::nanoseconds length) {
  return CameraFailure(CameraError::kBadOption, "'" + path + "' is over after " + Seconds(length) +
                                                    "; give it an earlier start than that");
}

video::StreamEnd EndOfFile(const std::string& path, const FileReading& reading) {
  video::StreamEnd end;
  end.damaged_frames = reading.damaged_frames;
  if (reading.delivered_frames > 0) end.end_time = reading.duration;
  if (reading.delivered_frames == 0) {
    end.error_code = static_cast<std::int32_t>(CameraError::kNothingDecoded);
    end.reason = "not one frame of '" + path + "' could be decoded";
  } else if (reading.broken_off) {
    end.error_code = static_cast<std::int32_t>(CameraError::kBrokenOff);
    const std::chrono::nanoseconds there = reading.start + reading.duration;
    end.reason = "'" + path + "' breaks off after " + Seconds(there);
    if (reading.stated_duration > there) {
      end.reason += " of " + Seconds(reading.stated_duration);
    }
  }
  return end;
}

}  // namespace movra::media

// A source whose frames are pushed.

#ifndef MOVRA_APP_SOURCE_READER_H_
#define MOVRA_APP_SOURCE_READER_H_

#include <functional>
#include <memory>
#include <string>

#include "app/result.h"
#include "video/pixel_frame_track.h"

namespace movra::app {

// Opens the source that an id names ("test:", "file:PATH", "/dev/video0") and runs it, in its
// natural size and as fast as its frames are read, until the reader goes. That the id names a kind
// of source is said at once; what turns out to be wrong with the source is told `on_failure`, on
// the source's thread, and the reader reads nothing then.
[[nodiscard]] Result<std::shared_ptr<video::IPixelFrameTrackReader>> OpenSourceReader(
    const std::string& id, std::function<void(const std::string& why)> on_failure);

}  // namespace movra::app

#endif  // MOVRA_APP_SOURCE_READER_H_

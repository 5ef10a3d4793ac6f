// Pictures out of files.

#ifndef MOVRA_APP_PICTURE_FILE_H_
#define MOVRA_APP_PICTURE_FILE_H_

#include <string>

#include "app/result.h"
#include "video/pixel_frame.h"

namespace movra::app {

// The picture in a file, or the first one of a video, as BGRA, upright and with square pixels. One
// with transparent parts is refused, because what reads pictures here would show them black. Waits
// for the disk.
[[nodiscard]] Result<video::PixelFrame> ReadPictureFile(const std::string& path);

}  // namespace movra::app

#endif  // MOVRA_APP_PICTURE_FILE_H_

#ifndef MOVRA_MEDIA_SCREEN_FIND_SCREEN_H_
#define MOVRA_MEDIA_SCREEN_FIND_SCREEN_H_

#include <memory>
#include <string>

#include "media/capture/camera_error.h"
#include "media/result/result.h"
#include "media/screen/screen_source.h"
#include "media/screen/screen_target.h"
#include "media/screen/x11_connection.h"
#include "video/capture_params.h"

namespace movra::media {

// As FindScreen of media/screen/screen_source.h, on a connection that there is.
[[nodiscard]] Result<video::DesktopScreenParams, CameraError> FindScreen(X11Connection& connection,
                                                                         const std::string& id);

// What captures the source that the parameters name. Whether it is there, its Open says.
[[nodiscard]] Result<std::unique_ptr<ScreenTarget>, CameraError> MakeScreenTarget(
    X11Connection& connection, const video::DesktopScreenParams& params);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_FIND_SCREEN_H_

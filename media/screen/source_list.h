#ifndef MOVRA_MEDIA_SCREEN_SOURCE_LIST_H_
#define MOVRA_MEDIA_SCREEN_SOURCE_LIST_H_

#include <vector>

#include "media/screen/x11_connection.h"
#include "video/screen_source_info.h"
#include "video/size.h"

namespace movra::media {

// Every monitor, the main one first, and every window of an application, the topmost first. A
// window's thumbnail shows all of it, whatever covers it; one that is minimised has none.
[[nodiscard]] std::vector<video::ScreenSourceInfo> ListSources(X11Connection& connection,
                                                               const video::Size& thumbnail,
                                                               const video::Size& icon);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SOURCE_LIST_H_

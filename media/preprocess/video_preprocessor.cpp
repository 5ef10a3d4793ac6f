#include "video/video_preprocessor.h"

#include <memory>
#include <utility>

#include "media/preprocess/preprocessor.h"
#include "media/preprocess/stage_table.h"

namespace movra::video {

std::shared_ptr<IVideoPreprocessor2> IVideoPreprocessor2::Create(
    const VideoContext& context, std::shared_ptr<core::DispatchQueue> queue) {
  return std::make_shared<media::Preprocessor>(context, std::move(queue),
                                               media::MakeStageRows(context));
}

}  // namespace movra::video

#ifndef MOVRA_MEDIA_ENCODE_REFUSED_CHANGE_H_
#define MOVRA_MEDIA_ENCODE_REFUSED_CHANGE_H_

#include <string>

#include "media/encode/encoder_events.h"
#include "video/encode_params.h"
#include "video/video_context.h"
#include "video/video_types.h"

namespace movra::media {

// What no encoder could take of a change while a stream runs, for people; an empty text if every
// value has a sense. At a start the same values count as absent instead: there is nothing yet that
// could go on. A side of 0 means the picture's own, 0 threads the encoder's choice.
[[nodiscard]] std::string WhySenseless(const video::EncodeParams& change);

// Tells the client, and the log once, that a change was refused and the stream goes on as it was.
void TellRefused(const video::VideoContext& context, video::VideoStreamType type,
                 const EncoderEvents& events, const std::string& why);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_REFUSED_CHANGE_H_

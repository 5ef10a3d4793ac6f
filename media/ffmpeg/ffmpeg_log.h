#ifndef MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_
#define MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_

namespace movra::media {

// Makes FFmpeg's libraries write into this process's log instead of standard error: their errors
// as warnings, because whoever called them reports the error itself, and their warnings as ordinary
// lines. LoadFfmpeg does so. Decoders that take part in
// media/ffmpeg/decoder_complaints.h are told apart by it, so an application that wants FFmpeg's log
// elsewhere installs, after that, a callback that hands on to this one.
void RouteFfmpegLog();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_

#ifndef MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_
#define MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_

namespace movra::media {

// Makes FFmpeg's libraries write into this process's log instead of standard error: their errors
// as warnings, because whoever called them reports the error itself, and their warnings as ordinary
// lines. LoadFfmpeg does so. An application that wants FFmpeg's log elsewhere installs its callback
// after that.
void RouteFfmpegLog();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_FFMPEG_LOG_H_

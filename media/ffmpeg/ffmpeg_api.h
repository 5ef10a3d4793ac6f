#ifndef MOVRA_MEDIA_FFMPEG_FFMPEG_API_H_
#define MOVRA_MEDIA_FFMPEG_FFMPEG_API_H_

#include <string>

#include "media/dynamic/imported_function.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/display.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
#include <libavutil/parseutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

// FFmpeg's functions as this folder's sources call them: by their own names, bound when LoadFfmpeg
// has loaded the libraries. These pull in more than a hundred others, which takes some 25 ms and as
// many MiB, and a run that reads raw video and writes raw H.264 has no use for them.
//
// Sources in media/ include this in place of FFmpeg's headers. A function that is not listed here
// does not link; add it to its library's list. FFmpeg's inline functions that call others in turn,
// such as av_make_error_string, cannot be used.

#define MOVRA_AVUTIL_FUNCTIONS(X) \
  X(av_dict_free)                 \
  X(av_dict_get)                  \
  X(av_dict_set)                  \
  X(av_dict_set_int)              \
  X(av_frame_alloc)               \
  X(av_frame_free)                \
  X(av_frame_get_side_data)       \
  X(av_freep)                     \
  X(av_log_format_line2)          \
  X(av_log_set_callback)          \
  X(av_malloc)                    \
  X(av_mallocz)                   \
  X(av_opt_set)                   \
  X(av_parse_time)                \
  X(av_pix_fmt_desc_get)          \
  X(av_rescale_q)                 \
  X(av_strerror)

#define MOVRA_AVCODEC_FUNCTIONS(X) \
  X(av_packet_alloc)               \
  X(av_packet_clone)               \
  X(av_packet_free)                \
  X(av_packet_unref)               \
  X(avcodec_alloc_context3)        \
  X(avcodec_descriptor_get)        \
  X(avcodec_find_decoder)          \
  X(avcodec_flush_buffers)         \
  X(avcodec_free_context)          \
  X(avcodec_get_class)             \
  X(avcodec_get_name)              \
  X(avcodec_open2)                 \
  X(avcodec_parameters_to_context) \
  X(avcodec_receive_frame)         \
  X(avcodec_send_packet)

#define MOVRA_AVFORMAT_FUNCTIONS(X)   \
  X(av_find_best_stream)              \
  X(av_guess_frame_rate)              \
  X(av_guess_sample_aspect_ratio)     \
  X(av_probe_input_buffer2)           \
  X(av_read_frame)                    \
  X(av_seek_frame)                    \
  X(av_stream_get_side_data)          \
  X(av_write_frame)                   \
  X(av_write_trailer)                 \
  X(avformat_alloc_context)           \
  X(avformat_alloc_output_context2)   \
  X(avformat_close_input)             \
  X(avformat_find_stream_info)        \
  X(avformat_free_context)            \
  X(avformat_new_stream)              \
  X(avformat_open_input)              \
  X(avformat_write_header)            \
  X(av_index_search_timestamp)        \
  X(avformat_index_get_entries_count) \
  X(avformat_index_get_entry)         \
  X(avio_alloc_context)               \
  X(avio_close)                       \
  X(avio_context_free)                \
  X(avio_flush)                       \
  X(avio_open2)                       \
  X(avio_read)                        \
  X(avio_seek)                        \
  X(avio_size)

#define MOVRA_SWSCALE_FUNCTIONS(X) \
  X(sws_freeContext)               \
  X(sws_getCachedContext)          \
  X(sws_getCoefficients)           \
  X(sws_scale)                     \
  X(sws_setColorspaceDetails)

namespace movra::media {

// Some carry hints for the compiler that a template's argument cannot.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared stands in none.
#define MOVRA_IMPORT(name) inline ImportedFunction<decltype(::name)> name;
MOVRA_AVUTIL_FUNCTIONS(MOVRA_IMPORT)
MOVRA_AVCODEC_FUNCTIONS(MOVRA_IMPORT)
MOVRA_AVFORMAT_FUNCTIONS(MOVRA_IMPORT)
MOVRA_SWSCALE_FUNCTIONS(MOVRA_IMPORT)
#undef MOVRA_IMPORT
#pragma GCC diagnostic pop

// Loads FFmpeg's libraries, those that this was compiled against, and routes their log into this
// process's. To be called before any of the functions above; all calls but the process's first only
// repeat its answer: why that failed, for people, or empty. Any thread.
[[nodiscard]] std::string LoadFfmpeg();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FFMPEG_FFMPEG_API_H_

#include "app/cli_text.h"

#include "app/exit_codes.h"
#include "app/version.h"
#include "media/bitstream/codec_bitstream.h"
#include "media/encode/encoder_registry.h"
#include "media/sources/source_kinds.h"
#include "video/to_string.h"

namespace movra::app {

std::string SourceText() {
  std::string text;
  for (const media::SourceKind& kind : media::SourceKinds()) {
    if (!text.empty()) text += "\n";
    text += std::string(kind.form) + "  " + std::string(kind.help);
    if (kind.prefix == "test:") text += " (default)";
    std::string options;
    for (const media::SourceOptionKind& option : kind.options) {
      options += (options.empty() ? "\n  ?" : "&") + option.Form();
    }
    text += options;
  }
  return text;
}

std::string RunFooter() {
  return "SPEC is [WxH][@RATE][,BITRATE][,FILE], each piece optional, or off; the comma of a "
         "piece\n"
         "that comes first may be left out:\n"
         "  1280x720@30,1500k,talk.mp4    all of it\n"
         "  @12.5,150k                    a rate and a bit rate\n"
         "  talk.mkv                      a file\n"
         "  off                           without this stream\n"
         "RATE is frames per second, as in 30, 12.5 or 30000/1001, which 29.97 stands for too.\n"
         "FILE ends in .mp4, .mkv, .ts or .h264; a relative one lands in DIR. - is standard\n"
         "output as MPEG-TS, -.mp4, -.mkv or -.h264 standard output in that container.\n"
         "file:FILE is a file too, and ./NAME one whose name looks like another kind of output.\n"
         "\n"
         "At the end DIR holds contact-sheet.png, a picture of both streams. Ctrl-C ends a run\n"
         "like its natural end: everything is written and plays. A second one ends it at once.\n"
         "\n"
         "Examples:\n"
         "  movra-producer run talk.mp4\n"
         "  movra-producer run talk.mp4 --big 1920x1080,4M --small off\n"
         "  movra-producer run --duration 10s --out /tmp/trial --force\n"
         "  movra-producer run talk.mp4 --big - --small off | ffplay -\n"
         "  movra-producer run --big - --also big=keep.mp4 --small off | ffplay -\n"
         "  movra-producer run talk.mp4 --quiet --stats - | jq .streams\n"
         "\n"
         "Exit codes:\n" +
         ExitCodeHelp();
}

std::string VersionText() {
  std::string encoders;
  for (const media::EncoderEntry& entry : media::EncoderRegistry::OfThisBuild().encoders()) {
    if (!entry.IsUsable()) continue;
    const media::CodecBitstream* const bitstream = media::FindCodecBitstream(entry.codec);
    if (!encoders.empty()) encoders += ", ";
    encoders += bitstream != nullptr ? bitstream->name : video::VideoCodecToString(entry.codec);
    encoders += " by " + entry.library;
  }
  if (encoders.empty()) encoders = "none";
  return "movra-producer " + std::string(kVersion) + "\nencoder: " + encoders + "\n";
}

}  // namespace movra::app

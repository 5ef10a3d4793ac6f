#include "app/stream_spec.h"

#include <variant>

#include "app/frame_rate.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

constexpr char kRight[] = "write WxH@RATE,BITRATE,FILE as in 1280x720@30,1500k,talk.mp4";

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

// Whether the piece is meant as a size with or without a rate, and not as a file of such a name.
bool LooksLikePicture(std::string_view piece) {
  const std::size_t at = piece.find('@');
  if (at == 0) return true;
  return LooksLikeSize(piece.substr(0, at));
}

std::optional<Failure> ReadPicture(std::string_view piece, StreamSpec& spec) {
  const std::size_t at = piece.find('@');
  if (at != 0) {
    const auto size = ParseSize(piece.substr(0, at));
    if (FailureOf(size)) return *FailureOf(size);
    spec.size = ValueOf(size);
  }
  if (at != std::string_view::npos) {
    const auto rate = ParseFrameRate(piece.substr(at + 1));
    if (FailureOf(rate)) return *FailureOf(rate);
    spec.frame_rate = ValueOf(rate);
  }
  return std::nullopt;
}

std::optional<Failure> ReadBitrate(std::string_view piece, StreamSpec& spec) {
  const auto bitrate = ParseBitrate(piece);
  if (FailureOf(bitrate)) return *FailureOf(bitrate);
  spec.bitrate_bps = ValueOf(bitrate);
  return std::nullopt;
}

std::optional<Failure> ReadTarget(std::string_view file, StreamSpec& spec) {
  if (file == "-") {
    spec.target = StreamTarget{"-", media::ContainerFormat::kMpegTs};
    return std::nullopt;
  }
  const std::string path(file);
  if (const auto format = media::ContainerFormatForPath(path)) {
    spec.target = StreamTarget{path.rfind("-.", 0) == 0 ? "-" : path, *format};
    return std::nullopt;
  }
  // Something without a dot is no misnamed file but a piece that went wrong.
  if (path.find('.') == std::string::npos && path.find('/') == std::string::npos) {
    return Failure{ExitCode::kMalformed,
                   Quoted(file) + " is neither a size, a bit rate nor a file; " + kRight};
  }
  return Failure{ExitCode::kUnknownEnding,
                 Quoted(file) +
                     " has no ending that names a container; use .mp4, .mkv, .ts or "
                     ".h264, or - for standard output"};
}

}  // namespace

Result<StreamSpec> ParseStreamSpec(std::string_view text) {
  StreamSpec spec;
  if (text == "off") {
    spec.off = true;
    return spec;
  }
  // Before a comma that comes first there is no size and no rate.
  bool picture_allowed = !text.starts_with(',');
  bool bitrate_allowed = true;
  std::string_view rest = picture_allowed ? text : text.substr(1);
  for (bool more = true; more;) {
    const std::size_t comma = rest.find(',');
    const std::string_view piece = rest.substr(0, comma);
    if (piece.empty()) {
      return Failure{ExitCode::kMalformed, Quoted(text) + " has an empty piece; " + kRight};
    }
    std::optional<Failure> failure;
    more = comma != std::string_view::npos;
    if (picture_allowed && LooksLikePicture(piece)) {
      failure = ReadPicture(piece, spec);
    } else if (bitrate_allowed && LooksLikeBitrate(piece)) {
      failure = ReadBitrate(piece, spec);
      bitrate_allowed = false;
    } else {
      failure = ReadTarget(rest, spec);
      more = false;
    }
    if (failure) return *failure;
    picture_allowed = false;
    if (more) rest.remove_prefix(comma + 1);
  }
  return spec;
}

}  // namespace movra::app

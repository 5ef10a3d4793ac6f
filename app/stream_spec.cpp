#include "app/stream_spec.h"

#include <utility>
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

Result<StreamTarget> ReadTarget(std::string_view text) {
  std::string error;
  auto read = media::ReadSinkAddress(text, &error);
  if (!read) return Failure{ExitCode::kMalformed, Quoted(text) + ": " + error};
  StreamTarget target{std::move(read->address), media::ContainerFormat::kMpegTs,
                      std::move(read->scheme)};
  if (!target.is_file() || target.is_stdout()) return target;
  const auto format = media::ContainerFormatForPath(target.path);
  if (!format) {
    return Failure{ExitCode::kUnknownEnding,
                   Quoted(text) +
                       " has no ending that names a container; use .mp4, .mkv, .ts or "
                       ".h264, or - for standard output"};
  }
  target.format = *format;
  if (target.path.starts_with("-.")) target.path = "-";
  return target;
}

std::optional<Failure> ReadTarget(std::string_view text, StreamSpec& spec) {
  const auto target = ReadTarget(text);
  const Failure* const failure = FailureOf(target);
  if (failure == nullptr) {
    spec.target = ValueOf(target);
    return std::nullopt;
  }
  // Something without a dot is no misnamed file but a piece that went wrong.
  if (failure->code != ExitCode::kUnknownEnding || text.find_first_of("./") != text.npos) {
    return *failure;
  }
  return Failure{ExitCode::kMalformed,
                 Quoted(text) + " is neither a size, a bit rate nor a file; " + kRight};
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

Result<FurtherTarget> ParseFurtherTarget(std::string_view text) {
  const std::size_t sign = text.find('=');
  const std::string_view stream = text.substr(0, sign);
  if (sign == std::string_view::npos || sign + 1 == text.size() ||
      (stream != "big" && stream != "small")) {
    return Failure{ExitCode::kMalformed, Quoted(text) +
                                             " names no stream and place for it; write "
                                             "big=FILE or small=FILE"};
  }
  const auto target = ReadTarget(text.substr(sign + 1));
  if (const Failure* const failure = FailureOf(target)) return *failure;
  const bool is_small = stream == "small";
  return FurtherTarget{is_small ? video::VideoStreamType::kSmall : video::VideoStreamType::kBig,
                       ValueOf(target)};
}

}  // namespace movra::app

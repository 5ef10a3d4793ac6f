#include "app/exit_codes.h"

#include <array>

namespace movra::app {
namespace {

constexpr std::array kTexts{
    ExitCodeText{ExitCode::kSuccess,
                 "the source or --duration ended, Ctrl-C, SIGTERM, or a reader closed its pipe"},
    ExitCodeText{ExitCode::kInternal, "an error that should not happen; please report it"},
    ExitCodeText{ExitCode::kUsage, "unknown option or command, or an option without its value"},
    ExitCodeText{ExitCode::kContradiction, "options that exclude each other"},
    ExitCodeText{ExitCode::kMalformed, "a SPEC, size, rate, time or level that cannot be read"},
    ExitCodeText{ExitCode::kZero, "a size, rate, bit rate or time of 0"},
    ExitCodeText{ExitCode::kOutOfRange, "an odd or absurd size, or a rate out of range"},
    ExitCodeText{ExitCode::kUnknownEnding, "a FILE whose ending names no container"},
    ExitCodeText{ExitCode::kSameOutput, "two outputs into one file, or one into the source"},
    ExitCodeText{ExitCode::kNoSuchFile, "no such video file"},
    ExitCodeText{ExitCode::kUnreadable, "the video file cannot be read: no rights, or no file"},
    ExitCodeText{ExitCode::kEmptyFile, "the video file is empty"},
    ExitCodeText{ExitCode::kNotAVideo, "the file holds no video that can be decoded"},
    ExitCodeText{ExitCode::kUnknownCamera, "unknown camera"},
    ExitCodeText{ExitCode::kCaptureFailed, "the camera could not be started, or failed"},
    ExitCodeText{ExitCode::kDamagedInput,
                 "the source was damaged or broke off; what could be decoded was kept"},
    ExitCodeText{ExitCode::kOutputExists, "a file is there already; --force replaces it"},
    ExitCodeText{ExitCode::kDirectoryNotWritable, "a directory or file cannot be written"},
    ExitCodeText{ExitCode::kWriteFailed, "writing broke off, for example on a full disk"},
    ExitCodeText{ExitCode::kNoFrames, "a stream received no frame"},
    ExitCodeText{ExitCode::kEncoderFailed, "an encoder failed"},
    ExitCodeText{ExitCode::kNotBuilt, "this build lacks the encoder; --version says what it has"},
    ExitCodeText{ExitCode::kNoResources, "no memory or threads left; what was written plays"},
};

}  // namespace

std::span<const ExitCodeText> ExitCodeTexts() { return kTexts; }

std::string ExitCodeHelp() {
  std::string help;
  for (const ExitCodeText& text : kTexts) {
    const std::string number = std::to_string(static_cast<int>(text.code));
    help += std::string(4 - number.size(), ' ') + number + "  ";
    help += text.meaning;
    help += '\n';
  }
  help += " 130  a second Ctrl-C ended it at once (143 for a second SIGTERM)\n";
  return help;
}

}  // namespace movra::app

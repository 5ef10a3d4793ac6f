// What the program's exit code says about a run, for scripts.
//
// Every way in which a run can fail has a code of its own, and the numbers never change their
// meaning. `movra-producer run --help` prints this table.

#ifndef MOVRA_APP_EXIT_CODES_H_
#define MOVRA_APP_EXIT_CODES_H_

#include <span>
#include <string>
#include <string_view>

namespace movra::app {

enum class ExitCode : int {
  kSuccess = 0,
  kInternal = 1,

  // What was typed. Nothing has been touched.
  kUsage = 2,
  kContradiction = 3,
  kMalformed = 4,
  kZero = 5,
  kOutOfRange = 6,
  kUnknownEnding = 7,
  kSameOutput = 8,

  // The source.
  kNoSuchFile = 10,
  kUnreadable = 11,
  kEmptyFile = 12,
  kNotAVideo = 13,
  kUnknownCamera = 14,
  kCaptureFailed = 15,
  kDamagedInput = 16,

  // Where it goes.
  kOutputExists = 20,
  kDirectoryNotWritable = 21,
  kWriteFailed = 22,

  // What happens to it.
  kNoFrames = 30,
  kEncoderFailed = 31,
  kNotBuilt = 32,
  kNoResources = 33,
};

struct ExitCodeText {
  ExitCode code;
  std::string_view meaning;
};

// Every code with its meaning, in the order of the numbers.
[[nodiscard]] std::span<const ExitCodeText> ExitCodeTexts();

// The table as `--help` prints it: a line per code, ending in a line end.
[[nodiscard]] std::string ExitCodeHelp();

}  // namespace movra::app

#endif  // MOVRA_APP_EXIT_CODES_H_

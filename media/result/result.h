// A value, or why there is none.

#ifndef MOVRA_MEDIA_RESULT_RESULT_H_
#define MOVRA_MEDIA_RESULT_RESULT_H_

#include <string>
#include <utility>
#include <variant>

namespace movra::media {

// Why something did not work: the one shape of every failure here, whatever its codes are
// (`CameraError`, `WriteErrorKind`, `video::VideoEncoderError`, the program's exit codes).
//
// The code is for programs. The text is for people: one line that names the thing and says what
// would be right, without a line end.
template <class Code>
struct Failure {
  Code code{};
  std::string text{};

  friend bool operator==(const Failure&, const Failure&) = default;
};

// Says what a failure is about: "--size 0x0: the width is 0".
template <class Code>
[[nodiscard]] Failure<Code> Prefixed(const std::string& what, Failure<Code> failure) {
  failure.text = what + ": " + failure.text;
  return failure;
}

// What an operation that may fail returns.
//
//   const Result<Playback, CameraError> playback = ParsePlayback(options);
//   if (const auto* const failure = FailureOf(playback)) return *failure;
//   Play(ValueOf(playback));
template <class T, class Code>
using Result = std::variant<T, Failure<Code>>;

// The failure, or null where there is a value.
template <class T, class Code>
[[nodiscard]] const Failure<Code>* FailureOf(const Result<T, Code>& result) {
  return std::get_if<Failure<Code>>(&result);
}

// The value of a result that is known to have one.
template <class T, class Code>
[[nodiscard]] T& ValueOf(Result<T, Code>& result) {
  return std::get<T>(result);
}
template <class T, class Code>
[[nodiscard]] const T& ValueOf(const Result<T, Code>& result) {
  return std::get<T>(result);
}
template <class T, class Code>
[[nodiscard]] T&& ValueOf(Result<T, Code>&& result) {
  return std::get<T>(std::move(result));
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_RESULT_RESULT_H_

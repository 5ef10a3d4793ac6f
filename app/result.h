// A value, or why there is none.

#ifndef MOVRA_APP_RESULT_H_
#define MOVRA_APP_RESULT_H_

#include <string>
#include <variant>

#include "app/exit_codes.h"

namespace movra::app {

// Why a run cannot begin or did not end well. The text is one line for people that names the thing
// and says what would be right; it has neither the program's name nor a line end.
struct Failure {
  ExitCode code = ExitCode::kInternal;
  std::string text;

  friend bool operator==(const Failure&, const Failure&) = default;
};

// Says what a failure is about: "--size 0x0: the width is 0".
[[nodiscard]] inline Failure Prefixed(const std::string& what, Failure failure) {
  failure.text = what + ": " + failure.text;
  return failure;
}

template <class T>
using Result = std::variant<T, Failure>;

// The failure, or null where there is a value.
template <class T>
[[nodiscard]] const Failure* FailureOf(const Result<T>& result) {
  return std::get_if<Failure>(&result);
}

// The value of a result that is known to have one.
template <class T>
[[nodiscard]] T& ValueOf(Result<T>& result) {
  return std::get<T>(result);
}
template <class T>
[[nodiscard]] const T& ValueOf(const Result<T>& result) {
  return std::get<T>(result);
}

}  // namespace movra::app

#endif  // MOVRA_APP_RESULT_H_

// A value, or why a run cannot begin or did not end well.

#ifndef MOVRA_APP_RESULT_H_
#define MOVRA_APP_RESULT_H_

#include "app/exit_codes.h"
#include "media/result/result.h"

namespace movra::app {

// The text has neither the program's name nor a line end.
using Failure = media::Failure<ExitCode>;

template <class T>
using Result = media::Result<T, ExitCode>;

using media::FailureOf;
using media::Prefixed;
using media::ValueOf;

}  // namespace movra::app

#endif  // MOVRA_APP_RESULT_H_

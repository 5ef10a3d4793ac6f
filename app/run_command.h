// `movra-producer run`.

#ifndef MOVRA_APP_RUN_COMMAND_H_
#define MOVRA_APP_RUN_COMMAND_H_

#include <chrono>
#include <memory>

#include "app/console.h"
#include "app/exit_codes.h"
#include "app/run_options.h"
#include "core/run_loop.h"

namespace movra::app {

// Looks at the source, settles what will be written, runs the session and tells how it went. The
// loop is the installed main queue; it is run here, on the calling thread. Signals must be held
// back already.
[[nodiscard]] ExitCode RunCommand(const RunOptions& options,
                                  std::chrono::steady_clock::time_point program_start,
                                  const std::shared_ptr<core::RunLoop>& loop, Console& console);

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_COMMAND_H_

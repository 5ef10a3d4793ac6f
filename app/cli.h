// The command line.

#ifndef MOVRA_APP_CLI_H_
#define MOVRA_APP_CLI_H_

#include <string>
#include <variant>
#include <vector>

#include "app/result.h"
#include "app/run_options.h"

namespace movra::app {

// A text that was asked for, such as the help, and nothing else to do.
struct PrintText {
  std::string text;
};

using Command = std::variant<PrintText, RunOptions, DevicesOptions>;

// Reads the words after the program's name. Checks what can be told from the words alone; nothing
// is opened or made.
[[nodiscard]] Result<Command> ParseCommandLine(const std::vector<std::string>& words);

}  // namespace movra::app

#endif  // MOVRA_APP_CLI_H_

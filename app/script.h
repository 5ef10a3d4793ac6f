// A timeline of operations, read from a file.

#ifndef MOVRA_APP_SCRIPT_H_
#define MOVRA_APP_SCRIPT_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "app/operation_argument.h"
#include "app/result.h"

namespace movra::app {

struct ScriptLine {
  std::size_t number = 0;          // In the file, from 1.
  std::chrono::nanoseconds at{0};  // From the start of the run's source.
  std::string operation;           // As the table of operations has it.
  Json arguments;

  friend bool operator==(const ScriptLine&, const ScriptLine&) = default;
};

// Reads lines of JSON, each an object; empty lines are passed by:
//
//   {"at": "2s", "do": "pause_capture"}
//   {"at": "5s", "do": "start_capture_camera", "with": {"params": {"camera_id": "test:"}}}
//
// Operations and their arguments are those of docs/operations.md; PauseCapture will do for
// pause_capture. The lines come back in the order of their times, and those of one time in that of
// the file. What can be told before anything runs is checked: a failure names the line, what was
// wrong and what would be right.
[[nodiscard]] Result<std::vector<ScriptLine>> ParseScript(std::string_view text);

// That of a file, whose name stands in front of what is wrong.
[[nodiscard]] Result<std::vector<ScriptLine>> ReadScript(const std::string& path);

}  // namespace movra::app

#endif  // MOVRA_APP_SCRIPT_H_

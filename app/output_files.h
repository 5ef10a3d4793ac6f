// Which files a run writes, settled before the first is opened.

#ifndef MOVRA_APP_OUTPUT_FILES_H_
#define MOVRA_APP_OUTPUT_FILES_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "app/output_directory.h"
#include "app/result.h"
#include "app/run_options.h"
#include "app/stream_plan.h"

namespace movra::app {

struct OutputFiles {
  std::optional<OutputDirectory> directory;     // Absent if nothing lands in one.
  std::vector<StreamTarget> streams;            // One for each planned stream, in their order.
  std::vector<std::vector<StreamTarget>> also;  // The further ones of each; none of those behind.
  std::string contact_sheet;                    // Empty: none is made.
  std::string stats;                            // Empty for none; "-" is standard output.
  std::string events;                           // The same.

  // All of the stream, the one in `streams` first.
  [[nodiscard]] std::vector<StreamTarget> targets_of(std::size_t index) const;
};

// Makes the directories, puts relative names into DIR and refuses what would do harm: a file that
// is there already (without --force), two outputs into one file under whatever names, an output
// over the source, a place that cannot be written. Opens no file.
[[nodiscard]] Result<OutputFiles> PlanOutputFiles(const RunOptions& options,
                                                  const std::vector<StreamPlan>& streams,
                                                  std::chrono::system_clock::time_point now);

}  // namespace movra::app

#endif  // MOVRA_APP_OUTPUT_FILES_H_

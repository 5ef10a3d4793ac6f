// What a person types for the source of a run, and the id that it makes.

#ifndef MOVRA_APP_SOURCE_WORDS_H_
#define MOVRA_APP_SOURCE_WORDS_H_

#include <string>

#include "app/result.h"

namespace movra::app {

// The file that "-" stands for.
inline constexpr char kStandardInput[] = "/dev/stdin";

struct SourceWords {
  std::string id;     // --source
  std::string place;  // A path, an id, or "-"; stands without an option.
  std::string start;
  bool has_id = false;
  bool has_place = false;
  bool has_start = false;
  bool once = false;
  bool loop = false;
  bool realtime = false;
  bool fast = false;
};

// The id, with what is asked of the source among its options. The test picture where nothing was
// typed.
[[nodiscard]] Result<std::string> ReadSource(const SourceWords& words);

}  // namespace movra::app

#endif  // MOVRA_APP_SOURCE_WORDS_H_

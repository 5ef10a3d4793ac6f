// The options of `movra-producer run`, each in one place.

#ifndef MOVRA_APP_RUN_OPTION_ROWS_H_
#define MOVRA_APP_RUN_OPTION_ROWS_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/result.h"
#include "app/run_options.h"
#include "app/source_words.h"

namespace movra::app {

class RunInput;

// What help says of an option, and how a word that was typed for it is read. A new option is a row,
// its field in RunOptions, and its paragraph in the manual page.
struct RunOptionRow {
  enum class Takes { kNothing, kWord, kWords };

  const char* names;  // "--source,--camera"; without dashes it stands alone.
  Takes takes;
  const char* type;  // What its word is called.
  const char* group;
  const char* text;  // For help, where that does not depend on what there is.
  std::optional<Failure> (*read)(const std::string& word, RunInput& input);
  std::string (*make_text)() = nullptr;  // Instead of `text`.

  // The first of the names.
  [[nodiscard]] std::string Name() const {
    const std::string_view all = names;
    return std::string(all.substr(0, all.find(',')));
  }
  [[nodiscard]] std::string Text() const { return make_text != nullptr ? make_text() : text; }
};

// In the order of help.
[[nodiscard]] std::span<const RunOptionRow> RunOptionRows();

// What was typed, as far as it was read.
class RunInput {
 public:
  // In the order of the rows.
  void Read(const RunOptionRow& row, const std::string& word);

  // The options, or the first thing that was wrong: with the source, with a word, with what they
  // are together.
  [[nodiscard]] Result<RunOptions> Conclude() &&;

  // For the rows.
  RunOptions options;
  SourceWords source;
  std::string mode_word;

 private:
  std::optional<Failure> failure_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_OPTION_ROWS_H_

#include "app/run_option_rows.h"

#include <array>
#include <cstdint>
#include <utility>

#include "app/cli_text.h"
#include "app/duration_text.h"
#include "app/frame_rate.h"
#include "app/picture_text.h"
#include "app/stream_spec.h"
#include "media/text/number_text.h"

namespace movra::app {
namespace {

using Takes = RunOptionRow::Takes;
using Word = const std::string&;

Result<video::ProducerMode> ParseMode(std::string_view text) {
  const std::optional<std::int64_t> number = media::ParseWhole(text);
  if (!number || *number > 3) {
    return Failure{ExitCode::kMalformed, "'" + std::string(text) + "' is not a mode; use 0 to 3"};
  }
  return static_cast<video::ProducerMode>(*number);
}

Result<std::int32_t> ParseThreads(std::string_view text) {
  constexpr std::int64_t kMost = 64;
  const std::optional<std::int64_t> number = media::ParseWhole(text);
  if (!number || *number > kMost) {
    return Failure{ExitCode::kMalformed,
                   "'" + std::string(text) + "' is not a number of threads; use 0 to 64"};
  }
  return static_cast<std::int32_t>(*number);
}

Result<int> ParseLogLevel(std::string_view text) {
  struct Level {
    std::string_view name;
    int level;
  };
  constexpr std::array kLevels{Level{"off", movra_logging::kLogLevelOff},
                               Level{"error", movra_logging::kLogLevelError},
                               Level{"warning", movra_logging::kLogLevelWarning},
                               Level{"info", movra_logging::kLogLevelInfo}};
  for (const Level& level : kLevels) {
    if (level.name == text) return level.level;
  }
  return Failure{ExitCode::kMalformed,
                 "'" + std::string(text) + "' is not a level; use off, error, warning or info"};
}

Result<std::string> ParsePath(std::string_view text) {
  if (text.empty()) return Failure{ExitCode::kMalformed, "the name is empty"};
  return std::string(text);
}

// Reads a word into its field.
template <class Parse, class Field>
std::optional<Failure> Into(Parse parse, Word word, Field& field) {
  auto result = parse(word);
  if (const Failure* const failure = FailureOf(result)) return *failure;
  field = ValueOf(result);
  return std::nullopt;
}

std::optional<Failure> Set(bool& field, bool value = true) {
  field = value;
  return std::nullopt;
}

std::optional<Failure> Take(std::string& field, bool& is_there, Word word) {
  field = word;
  return Set(is_there);
}

std::optional<Failure> ReadMode(Word word, RunInput& input) {
  input.mode_word = word;
  return Into(ParseMode, word, input.options.mode);
}

std::optional<Failure> ReadAlso(Word word, RunInput& input) {
  FurtherTarget further;
  if (auto failure = Into(ParseFurtherTarget, word, further)) return failure;
  const bool is_small = further.stream == video::VideoStreamType::kSmall;
  (is_small ? input.options.small : input.options.big).also.push_back(std::move(further.target));
  return std::nullopt;
}

const std::array kRows{
    RunOptionRow{"FILE", Takes::kWord, "", kSourceGroup, kPlaceText,
                 [](Word word, RunInput& input) {
                   return Take(input.source.place, input.source.has_place, word);
                 }},
    RunOptionRow{
        "--source,--camera", Takes::kWord, "ID", kSourceGroup, "",
        [](Word word, RunInput& input) { return Take(input.source.id, input.source.has_id, word); },
        &SourceText},
    RunOptionRow{"--start", Takes::kWord, "T", kSourceGroup, kStartText,
                 [](Word word, RunInput& input) {
                   return Take(input.source.start, input.source.has_start, word);
                 }},
    RunOptionRow{"--mode", Takes::kWord, "0..3", kSourceGroup, kModeText, &ReadMode},
    RunOptionRow{
        "--size", Takes::kWord, "WxH", kSourceGroup, kSizeText,
        [](Word word, RunInput& input) { return Into(ParseSize, word, input.options.size); }},
    RunOptionRow{"--fps", Takes::kWord, "RATE", kSourceGroup, kFrameRateText,
                 [](Word word, RunInput& input) {
                   return Into(ParseFrameRate, word, input.options.frame_rate);
                 }},
    RunOptionRow{"--once", Takes::kNothing, "", kSourceGroup, kOnceText,
                 [](Word /*word*/, RunInput& input) { return Set(input.source.once); }},
    RunOptionRow{"--loop", Takes::kNothing, "", kSourceGroup, kLoopText,
                 [](Word /*word*/, RunInput& input) { return Set(input.source.loop); }},
    RunOptionRow{"--realtime", Takes::kNothing, "", kSourceGroup, kRealtimeText,
                 [](Word /*word*/, RunInput& input) { return Set(input.source.realtime); }},
    RunOptionRow{"--fast", Takes::kNothing, "", kSourceGroup, kFastText,
                 [](Word /*word*/, RunInput& input) { return Set(input.source.fast); }},
    RunOptionRow{"--duration", Takes::kWord, "T", kSourceGroup, kDurationText,
                 [](Word word, RunInput& input) {
                   return Into(ParseDuration, word, input.options.duration);
                 }},
    RunOptionRow{
        "--script", Takes::kWord, "FILE", kSourceGroup, kScriptText,
        [](Word word, RunInput& input) { return Into(ParsePath, word, input.options.script); }},
    RunOptionRow{
        "--big", Takes::kWord, "SPEC", kStreamGroup, kBigText,
        [](Word word, RunInput& input) { return Into(ParseStreamSpec, word, input.options.big); }},
    RunOptionRow{"--small", Takes::kWord, "SPEC", kStreamGroup, kSmallText,
                 [](Word word, RunInput& input) {
                   return Into(ParseStreamSpec, word, input.options.small);
                 }},
    RunOptionRow{"--also", Takes::kWords, "STREAM=FILE", kStreamGroup, kAlsoText, &ReadAlso},
    RunOptionRow{"--out", Takes::kWord, "DIR", kStreamGroup, kOutText,
                 [](Word word, RunInput& input) {
                   return Into(ParsePath, word, input.options.out_directory);
                 }},
    RunOptionRow{"--threads", Takes::kWord, "N", kStreamGroup, kThreadsText,
                 [](Word word, RunInput& input) {
                   return Into(ParseThreads, word, input.options.encoder_threads);
                 }},
    RunOptionRow{
        "--no-contact-sheet", Takes::kNothing, "", kStreamGroup, kNoContactSheetText,
        [](Word /*word*/, RunInput& input) { return Set(input.options.contact_sheet, false); }},
    RunOptionRow{"--force", Takes::kNothing, "", kStreamGroup, kForceText,
                 [](Word /*word*/, RunInput& input) { return Set(input.options.force); }},
    RunOptionRow{"--quiet", Takes::kNothing, "", kReportGroup, kQuietText,
                 [](Word /*word*/, RunInput& input) { return Set(input.options.quiet); }},
    RunOptionRow{
        "--stats", Takes::kWord, "FILE|-", kReportGroup, kStatsText,
        [](Word word, RunInput& input) { return Into(ParsePath, word, input.options.stats); }},
    RunOptionRow{
        "--events", Takes::kWord, "FILE|-", kReportGroup, kEventsText,
        [](Word word, RunInput& input) { return Into(ParsePath, word, input.options.events); }},
    RunOptionRow{"--log-level", Takes::kWord, "LEVEL", kReportGroup, kLogLevelText,
                 [](Word word, RunInput& input) {
                   return Into(ParseLogLevel, word, input.options.log_level);
                 }},
    RunOptionRow{"--log-filter", Takes::kNothing, "", kReportGroup, kLogFilterText,
                 [](Word /*word*/, RunInput& input) { return Set(input.options.log_filter); }},
};

std::optional<Failure> Contradiction(std::string text) {
  return Failure{ExitCode::kContradiction, std::move(text)};
}

std::optional<Failure> FindContradiction(const RunInput& input) {
  const RunOptions& options = input.options;
  if (options.size && !input.mode_word.empty() && options.mode != video::ProducerMode::kOwnSize) {
    return Contradiction("--size is the size asked of the camera and means --mode 3; in mode " +
                         input.mode_word + " that size follows from the big stream. Leave one out");
  }
  if (options.big.off && options.small.off) {
    return Contradiction("--big off and --small off leave nothing to do");
  }
  const bool big_is_missing = options.big.off && !options.big.also.empty();
  if (big_is_missing || (options.small.off && !options.small.also.empty())) {
    const std::string name = big_is_missing ? "big" : "small";
    return Contradiction("--" + name + " off leaves nothing for --also " + name + "=FILE");
  }
  return std::nullopt;
}

}  // namespace

std::span<const RunOptionRow> RunOptionRows() { return kRows; }

void RunInput::Read(const RunOptionRow& row, const std::string& word) {
  if (failure_) return;
  failure_ = row.read(word, *this);
  if (failure_) failure_ = Prefixed(row.Name(), *failure_);
}

Result<RunOptions> RunInput::Conclude() && {
  const auto id = ReadSource(source);
  if (const Failure* const wrong = FailureOf(id)) return *wrong;
  if (!failure_) failure_ = FindContradiction(*this);
  if (failure_) return *failure_;
  options.source = ValueOf(id);
  if (options.size) options.mode = video::ProducerMode::kOwnSize;
  return std::move(options);
}

}  // namespace movra::app

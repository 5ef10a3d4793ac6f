#include "app/cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "app/cli_text.h"
#include "app/duration_text.h"
#include "app/exit_codes.h"
#include "app/frame_rate.h"
#include "app/picture_text.h"
#include "app/source_words.h"
#include "media/text/number_text.h"

namespace movra::app {
namespace {

// The words as they were typed, before anything is read into them.
struct RunWords {
  SourceWords source;
  std::string mode;
  std::string size;
  std::string frame_rate;
  std::string big;
  std::string small;
  std::vector<std::string> also;
  std::string duration;
  std::string out_directory;
  std::string threads;
  std::string log_level = "error";
  std::string stats;
  bool no_contact_sheet = false;
  bool force = false;
  bool quiet = false;
  bool log_filter = false;
};

void AddRun(CLI::App& app, RunWords& words) {
  CLI::App* const run = app.add_subcommand("run", kRunDescription);
  run->footer(RunFooter);
  const auto option = [&](const char* name, std::string& word, const char* type,
                          const std::string& text, const char* group) {
    run->add_option(name, word, text)->type_name(type)->group(group);
  };
  const auto flag = [&](const char* name, bool& word, const char* text, const char* group) {
    run->add_flag(name, word, text)->group(group);
  };
  SourceWords& source = words.source;
  run->add_option("FILE", source.place, kPlaceText)->type_name("");
  option("--source,--camera", source.id, "ID", SourceText(), kSourceGroup);
  option("--start", source.start, "T", kStartText, kSourceGroup);
  option("--mode", words.mode, "0..3", kModeText, kSourceGroup);
  option("--size", words.size, "WxH", kSizeText, kSourceGroup);
  option("--fps", words.frame_rate, "RATE", kFrameRateText, kSourceGroup);
  flag("--once", source.once, kOnceText, kSourceGroup);
  flag("--loop", source.loop, kLoopText, kSourceGroup);
  flag("--realtime", source.realtime, kRealtimeText, kSourceGroup);
  flag("--fast", source.fast, kFastText, kSourceGroup);
  option("--duration", words.duration, "T", kDurationText, kSourceGroup);
  option("--big", words.big, "SPEC", kBigText, kStreamGroup);
  option("--small", words.small, "SPEC", kSmallText, kStreamGroup);
  run->add_option("--also", words.also, kAlsoText)
      ->type_name("STREAM=FILE")
      ->group(kStreamGroup)
      ->allow_extra_args(false);
  option("--out", words.out_directory, "DIR", kOutText, kStreamGroup);
  option("--threads", words.threads, "N", kThreadsText, kStreamGroup);
  flag("--no-contact-sheet", words.no_contact_sheet, kNoContactSheetText, kStreamGroup);
  flag("--force", words.force, kForceText, kStreamGroup);
  flag("--quiet", words.quiet, kQuietText, kReportGroup);
  option("--stats", words.stats, "FILE|-", kStatsText, kReportGroup);
  option("--log-level", words.log_level, "LEVEL", kLogLevelText, kReportGroup);
  flag("--log-filter", words.log_filter, kLogFilterText, kReportGroup);
}

// Reads a word that was typed into its field; the failure names the option.
template <class Field, class Parse>
std::optional<Failure> Read(const char* option, const std::string& word, Parse parse,
                            Field& field) {
  const auto result = parse(word);
  if (const Failure* const failure = FailureOf(result)) return Prefixed(option, *failure);
  field = ValueOf(result);
  return std::nullopt;
}

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

std::optional<Failure> ReadAlso(const std::string& word, RunOptions& options) {
  FurtherTarget further;
  if (auto failure = Read("--also", word, ParseFurtherTarget, further)) return failure;
  const bool is_small = further.stream == video::VideoStreamType::kSmall;
  (is_small ? options.small : options.big).also.push_back(std::move(further.target));
  return std::nullopt;
}

std::optional<Failure> Contradiction(std::string text) {
  return Failure{ExitCode::kContradiction, std::move(text)};
}

std::optional<Failure> FindContradiction(const RunWords& words, const RunOptions& options) {
  if (options.size && !words.mode.empty() && options.mode != video::ProducerMode::kOwnSize) {
    return Contradiction("--size is the size asked of the camera and means --mode 3; in mode " +
                         words.mode + " that size follows from the big stream. Leave one out");
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

Result<Command> ReadRun(const RunWords& words, const CLI::App& run) {
  RunOptions options;
  const auto given = [&](const char* option) { return run.count(option) > 0; };
  SourceWords source_words = words.source;
  source_words.has_id = given("--source");
  source_words.has_place = given("FILE");
  source_words.has_start = given("--start");
  const auto source = ReadSource(source_words);
  if (const Failure* const wrong = FailureOf(source)) return *wrong;
  options.source = ValueOf(source);
  std::optional<Failure> failure;
  const auto read = [&](const char* option, const std::string& word, auto parse, auto& field) {
    if (!failure && given(option)) failure = Read(option, word, parse, field);
  };
  read("--mode", words.mode, ParseMode, options.mode);
  read("--size", words.size, ParseSize, options.size);
  read("--fps", words.frame_rate, ParseFrameRate, options.frame_rate);
  read("--big", words.big, ParseStreamSpec, options.big);
  read("--small", words.small, ParseStreamSpec, options.small);
  for (const std::string& word : words.also) {
    if (!failure) failure = ReadAlso(word, options);
  }
  read("--duration", words.duration, ParseDuration, options.duration);
  read("--threads", words.threads, ParseThreads, options.encoder_threads);
  read("--out", words.out_directory, ParsePath, options.out_directory);
  read("--stats", words.stats, ParsePath, options.stats);
  read("--log-level", words.log_level, ParseLogLevel, options.log_level);
  if (!failure) failure = FindContradiction(words, options);
  if (failure) return *failure;

  if (options.size) options.mode = video::ProducerMode::kOwnSize;
  options.contact_sheet = !words.no_contact_sheet;
  options.force = words.force;
  options.quiet = words.quiet;
  options.log_filter = words.log_filter;
  return Command{options};
}

// One line for what the parser does not understand.
Failure UsageFailure(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> extra = app.remaining(true);
  const auto subcommands = app.get_subcommands();
  const std::string help = subcommands.empty()
                               ? "movra-producer --help"
                               : "movra-producer " + subcommands.front()->get_name() + " --help";
  std::string text = error.what();
  if (!extra.empty() && extra.front().rfind('-', 0) == 0) {
    text = "unknown option '" + extra.front() + "'";
  } else if (!extra.empty() && subcommands.empty()) {
    text = "unknown command '" + extra.front() + "'; use run or devices";
  } else if (!extra.empty()) {
    text = "unexpected '" + extra.front() + "'";
    if (subcommands.front()->get_name() == "run") text += "; a run has one source";
  } else if (subcommands.empty()) {
    text = "a command is missing; use run or devices";
  }
  std::replace(text.begin(), text.end(), '\n', ' ');
  return {ExitCode::kUsage, text + "; see " + help};
}

}  // namespace

Result<Command> ParseCommandLine(const std::vector<std::string>& words) {
  CLI::App app(kProgramDescription, "movra-producer");
  app.require_subcommand(1);
  app.get_formatter()->column_width(24);
  app.set_version_flag("--version", VersionText);
  RunWords run_words;
  AddRun(app, run_words);
  DevicesOptions devices_options;
  CLI::App* const devices = app.add_subcommand("devices", kDevicesDescription);
  devices->add_flag("--json", devices_options.json, kDevicesJsonText);
  app.footer(kProgramFooter);  // Last, because commands take over the footer that they find.
  try {
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::CallForHelp&) {
    return Command{PrintText{app.help()}};
  } catch (const CLI::CallForVersion&) {
    return Command{PrintText{VersionText()}};
  } catch (const CLI::ParseError& error) {
    return UsageFailure(app, error);
  }
  if (app.got_subcommand(devices)) return Command{devices_options};
  return ReadRun(run_words, *app.get_subcommand("run"));
}

}  // namespace movra::app

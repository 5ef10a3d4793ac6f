#include "app/cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "app/cli_text.h"
#include "app/exit_codes.h"
#include "app/run_option_rows.h"

namespace movra::app {
namespace {

// What was typed for one option.
struct TypedWords {
  std::string word;
  std::vector<std::string> words;  // Of one that repeats.
  bool flag = false;
};

// The words of each row, in their order.
void AddRun(CLI::App& app, std::vector<TypedWords>& typed) {
  CLI::App* const run = app.add_subcommand("run", kRunDescription);
  run->footer(RunFooter);
  typed.resize(RunOptionRows().size());
  for (std::size_t i = 0; i < typed.size(); ++i) {
    const RunOptionRow& row = RunOptionRows()[i];
    if (row.takes == RunOptionRow::Takes::kNothing) {
      run->add_flag(row.names, typed[i].flag, row.Text())->group(row.group);
      continue;
    }
    CLI::Option* const option =
        row.takes == RunOptionRow::Takes::kWords
            ? run->add_option(row.names, typed[i].words, row.Text())->allow_extra_args(false)
            : run->add_option(row.names, typed[i].word, row.Text());
    option->type_name(row.type);
    if (row.names[0] == '-') option->group(row.group);
  }
}

Result<Command> ReadRun(const std::vector<TypedWords>& typed, const CLI::App& run) {
  RunInput input;
  for (std::size_t i = 0; i < typed.size(); ++i) {
    const RunOptionRow& row = RunOptionRows()[i];
    if (run.count(row.Name()) == 0) continue;
    if (row.takes == RunOptionRow::Takes::kWords) {
      for (const std::string& word : typed[i].words) input.Read(row, word);
    } else {
      input.Read(row, typed[i].word);
    }
  }
  auto options = std::move(input).Conclude();
  if (const Failure* const failure = FailureOf(options)) return *failure;
  return Command{ValueOf(options)};
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
  std::vector<TypedWords> run_words;
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

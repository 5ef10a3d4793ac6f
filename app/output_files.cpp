#include "app/output_files.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace movra::app {
namespace {

namespace fs = std::filesystem;

constexpr char kStdout[] = "-";

// One thing that a run writes.
struct Output {
  std::string option;  // What a person typed or could type for it.
  std::string path;
};

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

bool LandsInDirectory(const std::string& path) {
  return path != kStdout && fs::path(path).is_relative();
}

bool LandsInDirectory(const StreamTarget& target) {
  return target.is_file() && LandsInDirectory(target.path);
}

// Whether a picture can be made of what the stream leaves.
bool IsReadBack(const StreamTarget& target) { return target.is_file() && !target.is_stdout(); }

// Whether both names mean one file, through links too.
bool IsSameFile(const std::string& a, const std::string& b) {
  if (a == kStdout || b == kStdout) return a == b;
  std::error_code error;
  if (fs::equivalent(a, b, error)) return true;
  const fs::path whole = fs::weakly_canonical(a, error);
  // A name that leads nowhere, because it is too long or its links go in a circle, has none.
  return whole.empty() ? a == b : whole == fs::weakly_canonical(b, error);
}

std::optional<Failure> FindClash(const std::vector<Output>& outputs,
                                 const std::optional<std::string>& source) {
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (!IsSameFile(outputs[i].path, outputs[j].path)) continue;
      const std::string where =
          outputs[i].path == kStdout ? "standard output" : Quoted(outputs[i].path);
      return Failure{ExitCode::kSameOutput, outputs[j].option + " and " + outputs[i].option +
                                                " both go to " + where +
                                                "; give each a place of its own"};
    }
    if (source && outputs[i].path != kStdout && IsSameFile(outputs[i].path, *source)) {
      return Failure{ExitCode::kSameOutput, outputs[i].option + " would overwrite the source " +
                                                Quoted(*source) + "; give it another FILE"};
    }
  }
  return std::nullopt;
}

std::optional<Failure> WhyNotWritableFile(const Output& output, bool force) {
  if (output.path == kStdout) return std::nullopt;
  std::error_code error;
  const fs::file_status status = fs::status(output.path, error);
  if (!fs::status_known(status)) {
    return Failure{ExitCode::kDirectoryNotWritable, output.option + ": " + Quoted(output.path) +
                                                        " cannot be written: " + error.message()};
  }
  if (fs::is_directory(status)) {
    return Failure{ExitCode::kDirectoryNotWritable, output.option + ": " + Quoted(output.path) +
                                                        " is a directory; name a file in it"};
  }
  if (fs::exists(status)) {
    // Writing into a pipe or a device replaces nothing.
    if (!force && fs::is_regular_file(status)) {
      return Failure{
          ExitCode::kOutputExists,
          Quoted(output.path) + " is there already; add --force to replace it, or write elsewhere"};
    }
    if (access(output.path.c_str(), W_OK) != 0) {
      return Failure{ExitCode::kDirectoryNotWritable,
                     output.option + ": " + Quoted(output.path) +
                         " cannot be written: " + std::strerror(errno)};
    }
    return std::nullopt;
  }
  const fs::path parent = fs::path(output.path).parent_path();
  const auto failure = WhyNotWritable(parent.empty() ? fs::path(".") : parent);
  return failure ? std::optional(Prefixed(output.option, *failure)) : std::nullopt;
}

std::string DefaultName(const StreamPlan& plan) {
  return std::string(StreamName(plan.type)) + ".mp4";
}

// Fills in the names as they were typed; relative ones are not yet in the directory.
OutputFiles NamesAsTyped(const RunOptions& options, const std::vector<StreamPlan>& streams) {
  OutputFiles files;
  for (const StreamPlan& plan : streams) {
    files.streams.push_back(
        plan.target.value_or(StreamTarget{DefaultName(plan), media::ContainerFormat::kMp4}));
    files.also.push_back(plan.also);
    if (IsReadBack(files.streams.back()) && options.contact_sheet) {
      files.contact_sheet = "contact-sheet.png";
    }
  }
  files.stats = options.stats.value_or("");
  files.events = options.events.value_or("");
  return files;
}

std::optional<Failure> PutIntoDirectory(OutputDirectory& directory, std::string& path) {
  if (path.empty() || !LandsInDirectory(path)) return std::nullopt;
  auto failure = directory.MakeParentOf(path);
  path = (directory.path() / path).string();
  return failure;
}

// Every target of the streams.
std::vector<StreamTarget*> AllTargets(OutputFiles& files) {
  std::vector<StreamTarget*> targets;
  for (StreamTarget& target : files.streams) targets.push_back(&target);
  for (std::vector<StreamTarget>& also : files.also) {
    for (StreamTarget& target : also) targets.push_back(&target);
  }
  return targets;
}

// What goes into files and pipes, with what a person typed for it.
std::vector<Output> OutputsOf(const OutputFiles& files, const std::vector<StreamPlan>& streams) {
  std::vector<Output> outputs;
  for (std::size_t i = 0; i < streams.size(); ++i) {
    const std::string name = StreamName(streams[i].type);
    std::string option = "--" + name;
    for (const StreamTarget& target : files.targets_of(i)) {
      if (target.is_file()) outputs.push_back({option, target.path});
      option = "--also " + name;
    }
  }
  if (!files.stats.empty()) outputs.push_back({"--stats", files.stats});
  if (!files.events.empty()) outputs.push_back({"--events", files.events});
  if (!files.contact_sheet.empty()) outputs.push_back({"contact sheet", files.contact_sheet});
  return outputs;
}

}  // namespace

std::vector<StreamTarget> OutputFiles::targets_of(std::size_t index) const {
  std::vector<StreamTarget> targets{streams[index]};
  if (index < also.size()) {
    targets.insert(targets.end(), also[index].begin(), also[index].end());
  }
  return targets;
}

Result<OutputFiles> PlanOutputFiles(const RunOptions& options,
                                    const std::vector<StreamPlan>& streams,
                                    std::chrono::system_clock::time_point now) {
  OutputFiles files = NamesAsTyped(options, streams);
  const std::vector<StreamTarget*> targets = AllTargets(files);
  const bool any_stream_lands =
      std::any_of(targets.begin(), targets.end(),
                  [](const StreamTarget* target) { return LandsInDirectory(*target); });
  const std::array reports{&files.contact_sheet, &files.stats, &files.events};
  const bool any_report_lands = std::any_of(
      reports.begin(), reports.end(),
      [](const std::string* path) { return !path->empty() && LandsInDirectory(*path); });
  if (any_stream_lands || any_report_lands) {
    auto directory = OutputDirectory::Make(options.out_directory, now);
    if (const Failure* const failure = FailureOf(directory)) return *failure;
    files.directory.emplace(std::move(ValueOf(directory)));
    for (StreamTarget* const target : targets) {
      if (!target->is_file()) continue;
      if (const auto failure = PutIntoDirectory(*files.directory, target->path)) return *failure;
    }
    for (std::string* const path : reports) {
      if (const auto failure = PutIntoDirectory(*files.directory, *path)) return *failure;
    }
  }

  const std::vector<Output> outputs = OutputsOf(files, streams);
  const auto source = options.source_file();
  const auto source_path = source ? std::optional(source->path) : std::nullopt;
  if (const auto failure = FindClash(outputs, source_path)) return *failure;
  for (const Output& output : outputs) {
    if (const auto failure = WhyNotWritableFile(output, options.force)) return *failure;
  }
  return files;
}

}  // namespace movra::app

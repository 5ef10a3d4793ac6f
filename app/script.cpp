#include "app/script.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "app/operations.h"
#include "media/text/time_text.h"

namespace movra::app {
namespace {

constexpr std::uintmax_t kLargestFile = 16 << 20;
// Far more than any argument has. What writes a value down goes down its levels on the stack.
constexpr int kDeepest = 16;

constexpr char kForm[] = R"(write a line as in {"at": "2s", "do": "pause_capture"})";

Failure Malformed(std::string text) { return {ExitCode::kMalformed, std::move(text)}; }

Result<Json> ParseObject(std::string_view text) {
  bool too_deep = false;
  const auto limit_depth = [&too_deep](int depth, nlohmann::detail::parse_event_t, const Json&) {
    too_deep = too_deep || depth > kDeepest;
    return !too_deep;
  };
  Json object = Json::parse(text, limit_depth, false);
  if (too_deep) return Malformed(std::string("there are too many levels; ") + kForm);
  if (object.is_discarded()) return Malformed(std::string("this is no JSON; ") + kForm);
  if (!object.is_object()) return Malformed("this is " + ShortText(object) + "; " + kForm);
  return object;
}

std::optional<Failure> CheckNames(const Json& object) {
  for (const auto& entry : object.items()) {
    if (entry.key() == "at" || entry.key() == "do" || entry.key() == "with") continue;
    return Failure{ExitCode::kUsage, "there is no entry " + ShortText(Json(entry.key())) +
                                         "; there are at, do, with"};
  }
  return std::nullopt;
}

Result<std::chrono::nanoseconds> ParseAt(const Json& object) {
  constexpr char kTimes[] = R"(write a time as in "2s", "1m30s" or "0s")";
  const auto at = object.find("at");
  if (at == object.end()) return Malformed(std::string("at is missing; ") + kTimes);
  const auto time =
      at->is_string() ? media::ParseTime(at->get_ref<const std::string&>()) : std::nullopt;
  if (!time || *time > media::kLongestTime) {
    return Malformed("at is " + ShortText(*at) + "; " + kTimes);
  }
  return *time;
}

Result<ScriptLine> ParseLine(std::string_view text) {
  const auto object = ParseObject(text);
  if (const Failure* const failure = FailureOf(object)) return *failure;
  const Json& entries = ValueOf(object);
  if (auto failure = CheckNames(entries)) return *failure;
  const auto at = ParseAt(entries);
  if (const Failure* const failure = FailureOf(at)) return *failure;
  const auto name = entries.find("do");
  if (name == entries.end() || !name->is_string()) {
    return Malformed(name == entries.end() ? std::string("do is missing; ") + kForm
                                           : "do is " + ShortText(*name) + "; " + kForm);
  }
  ScriptLine line;
  line.at = ValueOf(at);
  line.operation = DataName(name->get_ref<const std::string&>());
  line.arguments = entries.contains("with") ? entries["with"] : Json::object();
  if (auto failure = CheckCall(line.operation, line.arguments)) return *failure;
  return line;
}

}  // namespace

Result<std::vector<ScriptLine>> ParseScript(std::string_view text) {
  std::vector<ScriptLine> lines;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    auto parsed = ParseLine(line);
    if (const Failure* const failure = FailureOf(parsed)) {
      return Prefixed("line " + std::to_string(number), *failure);
    }
    ValueOf(parsed).number = number;
    lines.push_back(std::move(ValueOf(parsed)));
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [](const ScriptLine& a, const ScriptLine& b) { return a.at < b.at; });
  return lines;
}

Result<std::vector<ScriptLine>> ReadScript(const std::string& path) {
  const std::string name = "'" + path + "'";
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) {
    return Failure{ExitCode::kNoSuchFile, "there is no file " + name};
  }
  // A pipe may have nobody who writes into it, and waiting comes before there is anything to end.
  if (!std::filesystem::is_regular_file(status)) {
    return Failure{ExitCode::kUnreadable, name + " is no file; give one with a line for each time"};
  }
  if (std::filesystem::file_size(path, error) > kLargestFile) {
    return Failure{ExitCode::kUnreadable, name + " is too large for a script"};
  }
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) return Failure{ExitCode::kUnreadable, name + " cannot be read"};
  auto lines = ParseScript(text);
  if (const Failure* const failure = FailureOf(lines)) return Prefixed(name, *failure);
  return lines;
}

}  // namespace movra::app

#include "app/source_words.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "app/duration_text.h"
#include "media/capture/source_id.h"
#include "media/sources/source_kinds.h"
#include "media/text/time_text.h"

namespace movra::app {
namespace {

Failure Contradiction(std::string text) { return {ExitCode::kContradiction, std::move(text)}; }

// An id where it begins like one, which "./" in front of a name prevents; a file otherwise.
std::string IdOfPlace(const std::string& place) {
  if (place == "-") return media::FileSourceId(kStandardInput);
  return media::FindSourceKind(place) != nullptr ? place : media::FileSourceId(place);
}

bool IdSays(const std::string& id, std::string_view option) {
  const auto options = media::ParseSourceId(id).options;
  return std::any_of(options.begin(), options.end(),
                     [option](const media::SourceOption& o) { return o.name == option; });
}

// Words that the kind of source has no use for.
std::optional<Failure> FindMisfit(const SourceWords& words, const std::string& id) {
  const media::SourceKind* const kind = media::FindSourceKind(id);
  if (kind == nullptr) return std::nullopt;  // Which will be told where it is looked for.
  const char* misfit = nullptr;
  if (words.has_start && !kind->Takes("start")) misfit = "--start";
  if (words.fast && !kind->Takes("realtime")) misfit = "--fast";
  if (words.loop && !kind->Takes("loop")) misfit = "--loop";
  if (misfit == nullptr) return std::nullopt;
  return Contradiction(std::string(misfit) + " is for video files; '" + id +
                       "' is live. Give the file as movra-producer run FILE");
}

// Words against words, and against what the id says.
std::optional<Failure> FindContradiction(const SourceWords& words, const std::string& id) {
  if (words.has_id && words.has_place) {
    return Contradiction("--source " + words.id + " and '" + words.place +
                         "' are two sources; leave one out");
  }
  if (words.once && words.loop) return Contradiction("--once and --loop exclude each other");
  if (words.realtime && words.fast) {
    return Contradiction("--realtime and --fast exclude each other");
  }
  struct Pair {
    bool typed;
    const char* word;
    const char* option;
  };
  for (const Pair& pair :
       {Pair{words.once, "--once", "loop"}, Pair{words.fast, "--fast", "realtime"},
        Pair{words.has_start, "--start", "start"}}) {
    if (!pair.typed || !IdSays(id, pair.option)) continue;
    return Contradiction(std::string(pair.word) + " and the " + pair.option + " of '" + id +
                         "' exclude each other");
  }
  return FindMisfit(words, id);
}

Result<std::string> ReadStart(const std::string& word) {
  const auto time = media::ParseTime(word);
  if (time && time->count() == 0) return media::TimeText(*time);
  const auto start = ParseDuration(word);
  if (const Failure* const failure = FailureOf(start)) return Prefixed("--start", *failure);
  return media::TimeText(ValueOf(start));
}

}  // namespace

Result<std::string> ReadSource(const SourceWords& words) {
  if ((words.has_id && words.id.empty()) || (words.has_place && words.place.empty())) {
    return Failure{ExitCode::kUnknownCamera,
                   "--source: the name is empty; use a video file, " + media::SourceForms()};
  }
  std::string id = "test:";
  if (words.has_id) id = words.id;
  if (words.has_place) id = IdOfPlace(words.place);
  if (const auto failure = FindContradiction(words, id)) return *failure;
  const media::SourceKind* const kind = media::FindSourceKind(id);
  if (kind == nullptr) return id;
  if (words.loop) id = media::WithSourceOption(id, "loop");
  // What is live is in real time anyway.
  if (words.realtime && kind->Takes("realtime")) id = media::WithSourceOption(id, "realtime");
  if (!words.has_start) return id;
  const auto start = ReadStart(words.start);
  if (const Failure* const failure = FailureOf(start)) return *failure;
  return media::WithSourceOption(id, "start", ValueOf(start));
}

}  // namespace movra::app

#include "app/operation_argument.h"

#include <cstdio>
#include <string_view>

namespace movra::app {
namespace {

constexpr std::size_t kLongestText = 60;

// A number without the fraction that JSON puts behind a whole one.
std::string NumberText(const Json& number) {
  if (!number.is_number_float()) return number.dump();
  char text[32];
  std::snprintf(text, sizeof text, "%g", number.get<double>());
  return text;
}

// "a", "a or b", "a, b or c"
std::string Alternatives(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 < names.size() ? ", " : " or ";
    text += '"' + names[i] + '"';
  }
  return text;
}

std::string KindText(const Argument& argument) {
  switch (argument.kind) {
    case ArgumentKind::kBool:
      return "true or false";
    case ArgumentKind::kInteger:
    case ArgumentKind::kNumber:
      return std::string(argument.kind == ArgumentKind::kInteger ? "a whole number" : "a number") +
             " from " + NumberText(argument.least) + " to " + NumberText(argument.greatest);
    case ArgumentKind::kText:
      return "a text";
    case ArgumentKind::kName:
      return Alternatives(argument.names);
    case ArgumentKind::kColor:
      return argument.transparent ? "a colour as \"#rrggbb\" or \"#aarrggbb\""
                                  : "a colour as \"#rrggbb\"";
    case ArgumentKind::kRecord:
      return "an object";
    case ArgumentKind::kRecordList:
      return "a list of objects";
    case ArgumentKind::kWriter:
      return "a file as in \"talk.mp4\", \"-\" or \"-.ts\" for standard output, or an address";
    case ArgumentKind::kReader:
      return "a source as in \"test:\", \"file:PATH\" or \"/dev/video0\"";
    case ArgumentKind::kView:
      return "\"window\" or \"x11:ID\"";
    case ArgumentKind::kImage:
      return "a picture file or \"#rrggbb\"";
    case ArgumentKind::kListener:
      return "\"invert\", \"drop:N\" or \"sleep:MS\"";
    case ArgumentKind::kShuntWriter:
      return "a file as in \"frames.y4m\"";
    case ArgumentKind::kClient:
      return "\"recorder\"";
  }
  return "";
}

std::string EntryNames(std::span<const Argument> arguments) {
  std::string text;
  for (const Argument& argument : arguments) text += (text.empty() ? "" : ", ") + argument.name;
  return text;
}

Failure UnknownEntry(const std::string& entry, const std::string& place,
                     std::span<const Argument> arguments) {
  const std::string kind = place.empty() ? "argument" : "field";
  std::string text = (place.empty() ? "there is no " : place + " has no ") + kind + " " +
                     ShortText(Json(entry)) + "; ";
  if (arguments.empty()) return {ExitCode::kUsage, text + "there are no " + kind + "s"};
  text += arguments.size() == 1 ? "the " + kind + " is " : "the " + kind + "s are ";
  return {ExitCode::kUsage, text + EntryNames(arguments)};
}

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLower(char c) { return c >= 'a' && c <= 'z'; }

}  // namespace

std::string ValueText(const Argument& argument) {
  return KindText(argument) + (argument.nullable ? ", or null" : "");
}

Failure WrongType(const Argument& argument, const std::string& place, const Json& value) {
  return {ExitCode::kMalformed,
          place + " is " + ShortText(value) + "; write " + ValueText(argument)};
}

Failure OutOfRange(const Argument& argument, const std::string& place, const Json& value) {
  Failure failure = WrongType(argument, place, value);
  failure.code = ExitCode::kOutOfRange;
  return failure;
}

std::optional<Failure> CheckEntries(const Json& object, const std::string& place,
                                    std::span<const Argument> arguments) {
  for (const auto& entry : object.items()) {
    bool known = false;
    for (const Argument& argument : arguments) known = known || argument.name == entry.key();
    if (!known) return UnknownEntry(entry.key(), place, arguments);
  }
  for (const Argument& argument : arguments) {
    if (!argument.required || object.contains(argument.name)) continue;
    return Failure{ExitCode::kUsage,
                   PlaceIn(place, argument.name) + " is missing; write " + ValueText(argument)};
  }
  return std::nullopt;
}

std::string PlaceIn(const std::string& place, const std::string& entry) {
  return place.empty() ? entry : place + "." + entry;
}

std::string ShortText(const Json& value) {
  // What is not UTF-8 becomes a replacement character.
  std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  if (text.size() > kLongestText) text = text.substr(0, kLongestText) + "...";
  return text;
}

std::string DataName(std::string_view name) {
  if (name.size() > 1 && name[0] == 'k' && !IsLower(name[1])) name.remove_prefix(1);
  std::string text;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool begins_word =
        i > 0 && IsUpper(c) &&
        (IsLower(name[i - 1]) ||
         (IsUpper(name[i - 1]) && i + 1 < name.size() && IsLower(name[i + 1])));
    if (begins_word) text += '_';
    text += IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return text;
}

}  // namespace movra::app

// What the arguments of an operation look like as data: a description that scripts, pages and
// documentation read, and that every given argument is held against.

#ifndef MOVRA_APP_OPERATION_ARGUMENT_H_
#define MOVRA_APP_OPERATION_ARGUMENT_H_

#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/result.h"

namespace movra::app {

// Data as it comes and goes. Objects keep the order of their entries.
using Json = nlohmann::ordered_json;

enum class ArgumentKind {
  kBool,
  kInteger,
  kNumber,
  kText,
  kName,         // One of an enumeration's names.
  kColor,        // "#rrggbb"; "#aarrggbb" too where a colour may be transparent.
  kRecord,       // An object with fields.
  kRecordList,   // Any number of these.
  kWriter,       // Where an encoded stream goes.
  kReader,       // Where pushed frames come from.
  kView,         // What a preview is drawn into.
  kImage,        // A picture.
  kListener,     // What frames pass through.
  kShuntWriter,  // Where tapped frames go.
  kClient,       // Who hears of events.
};

// Moving one throws nothing: what the JSON asserts of itself holds.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct Argument {
  std::string name;
  ArgumentKind kind = ArgumentKind::kBool;
  std::string help;

  // Whether it may be left out, and what holds then; without a default it stays absent.
  bool required = true;
  std::optional<Json> default_value;
  bool nullable = false;  // Whether null may be written.

  // Of kInteger and kNumber.
  Json least;
  Json greatest;

  std::vector<std::string> names;  // Of kName.
  bool transparent = false;        // Of kColor: whether it may be.
  std::vector<Argument> fields;    // Of kRecord and kRecordList.
};

// What may be written: "a whole number from 0 to 9", "\"fill\", \"fit\" or \"stretch\"".
[[nodiscard]] std::string ValueText(const Argument& argument);

// Why a value is none for the argument: "params.width is \"wide\"; write a whole number from ...".
// `place` says which value, as in "params.width" or "regions[2].x".
[[nodiscard]] Failure WrongType(const Argument& argument, const std::string& place,
                                const Json& value);
[[nodiscard]] Failure OutOfRange(const Argument& argument, const std::string& place,
                                 const Json& value);

// Whether an object has these entries and no others, and all that are required. `place` is the
// object's own, empty for the arguments of an operation.
[[nodiscard]] std::optional<Failure> CheckEntries(const Json& object, const std::string& place,
                                                  std::span<const Argument> arguments);

// The place of an entry of the object at `place`.
[[nodiscard]] std::string PlaceIn(const std::string& place, const std::string& entry);

// A value in a text for people, cut where it is long.
[[nodiscard]] std::string ShortText(const Json& value);

// The text of a name of the sources as data: "kPreviewWithWatermark" is "preview_with_watermark",
// "SetLUTColorFilter" is "set_lut_color_filter", "kNV12" is "nv12".
[[nodiscard]] std::string DataName(std::string_view name);

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_ARGUMENT_H_

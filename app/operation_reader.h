// Arguments with the type that an operation takes: each makes a value of the data that was given,
// or says what is wrong with it. The description of an argument and its reading stand together, so
// that what is documented is what is read.
//
//   const auto mode = NameOf<video::FillMode>("mode", "How a picture is fitted into the view.");
//   const Result<video::FillMode> value = ReadEntry(given, "", mode, uses);

#ifndef MOVRA_APP_OPERATION_READER_H_
#define MOVRA_APP_OPERATION_READER_H_

#include <concepts>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/operation_argument.h"
#include "app/operation_objects.h"
#include "app/operation_uses.h"
#include "base/optional.h"
#include "video/to_string.h"

namespace movra::app {

// Moving one throws as little as moving its description.
template <class T>
// NOLINTNEXTLINE(bugprone-exception-escape)
struct TypedArgument {
  Argument description;
  std::function<Result<T>(const Json& value, const std::string& place, OperationUses& uses)> read;

  // May be left out, and is this then.
  TypedArgument OrElse(Json value) && {
    description.required = false;
    description.default_value = std::move(value);
    return std::move(*this);
  }
};

// The value of an entry, or of its default. The entries have been checked (CheckEntries).
template <class T>
[[nodiscard]] Result<T> ReadEntry(const Json& object, const std::string& place,
                                  const TypedArgument<T>& argument, OperationUses& uses) {
  const std::string& name = argument.description.name;
  const auto given = object.find(name);
  const Json& value = given != object.end() ? *given : *argument.description.default_value;
  return argument.read(value, PlaceIn(place, name), uses);
}

[[nodiscard]] TypedArgument<bool> Bool(std::string name, std::string help);
[[nodiscard]] TypedArgument<std::string> Text(std::string name, std::string help);

namespace reader_internal {

[[nodiscard]] Argument Described(std::string name, ArgumentKind kind, std::string help);
[[nodiscard]] bool IsWithin(const Json& value, const Argument& argument);
[[nodiscard]] std::optional<std::uint32_t> ParseColor(const Json& value, bool transparent);

}  // namespace reader_internal

// Whole numbers of a type, between the limits.
template <std::integral T>
[[nodiscard]] TypedArgument<T> Integer(std::string name, std::string help,
                                       T least = std::numeric_limits<T>::min(),
                                       T greatest = std::numeric_limits<T>::max()) {
  Argument argument = reader_internal::Described(std::move(name), ArgumentKind::kInteger, help);
  argument.least = least;
  argument.greatest = greatest;
  return {argument,
          [argument](const Json& value, const std::string& place, OperationUses&) -> Result<T> {
            if (!value.is_number_integer()) return WrongType(argument, place, value);
            if (!reader_internal::IsWithin(value, argument)) {
              return OutOfRange(argument, place, value);
            }
            return value.get<T>();
          }};
}

template <std::floating_point T>
[[nodiscard]] TypedArgument<T> Number(std::string name, std::string help, T least, T greatest) {
  Argument argument = reader_internal::Described(std::move(name), ArgumentKind::kNumber, help);
  argument.least = static_cast<double>(least);
  argument.greatest = static_cast<double>(greatest);
  return {argument,
          [argument](const Json& value, const std::string& place, OperationUses&) -> Result<T> {
            if (!value.is_number()) return WrongType(argument, place, value);
            if (!reader_internal::IsWithin(value, argument)) {
              return OutOfRange(argument, place, value);
            }
            return value.get<T>();
          }};
}

// A value of an enumeration by its name.
template <class Enum>
[[nodiscard]] TypedArgument<Enum> NameOf(std::string name, std::string help) {
  Argument argument = reader_internal::Described(std::move(name), ArgumentKind::kName, help);
  for (const auto& named : video::NamedValues<Enum>()) {
    argument.names.push_back(DataName(named.name));
  }
  return {argument,
          [argument](const Json& value, const std::string& place, OperationUses&) -> Result<Enum> {
            for (const auto& named : video::NamedValues<Enum>()) {
              if (value == Json(DataName(named.name))) return named.value;
            }
            return WrongType(argument, place, value);
          }};
}

// 0xAARRGGBB where it may be transparent, otherwise 0x00RRGGBB.
template <std::integral T>
[[nodiscard]] TypedArgument<T> Color(std::string name, std::string help, bool transparent) {
  Argument argument = reader_internal::Described(std::move(name), ArgumentKind::kColor, help);
  argument.transparent = transparent;
  return {argument,
          [argument](const Json& value, const std::string& place, OperationUses&) -> Result<T> {
            const auto color = reader_internal::ParseColor(value, argument.transparent);
            if (!color) return WrongType(argument, place, value);
            return static_cast<T>(*color);
          }};
}

// A field of a record: where it is put.
template <class Record>
struct Field {
  Argument description;
  std::function<std::optional<Failure>(const Json& object, const std::string& place,
                                       OperationUses& uses, Record& record)>
      read;
};

namespace reader_internal {

template <class T>
inline constexpr bool kMayBeAbsent = false;
template <class T>
inline constexpr bool kMayBeAbsent<movra_base::Optional<T>> = true;

}  // namespace reader_internal

// An optional field that is left out stays absent.
template <class Record, class Member, class T>
[[nodiscard]] Field<Record> FieldOf(Member Record::*member, TypedArgument<T> argument) {
  if constexpr (reader_internal::kMayBeAbsent<Member>) argument.description.required = false;
  Argument description = argument.description;
  return {std::move(description),
          [member, argument = std::move(argument)](const Json& object, const std::string& place,
                                                   OperationUses& uses,
                                                   Record& record) -> std::optional<Failure> {
            const Argument& field = argument.description;
            if (!object.contains(field.name) && !field.default_value) return std::nullopt;
            Result<T> value = ReadEntry(object, place, argument, uses);
            if (const Failure* failure = FailureOf(value)) return *failure;
            record.*member = std::move(ValueOf(value));
            return std::nullopt;
          }};
}

template <class Record>
[[nodiscard]] TypedArgument<Record> RecordOf(std::string name, std::string help,
                                             std::vector<Field<Record>> fields) {
  Argument argument = reader_internal::Described(std::move(name), ArgumentKind::kRecord, help);
  for (const auto& field : fields) argument.fields.push_back(field.description);
  return {argument,
          [argument, fields = std::move(fields)](const Json& value, const std::string& place,
                                                 OperationUses& uses) -> Result<Record> {
            if (!value.is_object()) return WrongType(argument, place, value);
            if (auto failure = CheckEntries(value, place, argument.fields)) return *failure;
            Record record;
            for (const auto& field : fields) {
              if (auto failure = field.read(value, place, uses, record)) return *failure;
            }
            return record;
          }};
}

// A record behind a pointer, which null leaves empty.
template <class Record>
[[nodiscard]] TypedArgument<std::shared_ptr<Record>> SharedOrNull(TypedArgument<Record> record) {
  Argument argument = record.description;
  argument.nullable = true;
  return {argument,
          [argument, record = std::move(record)](
              const Json& value, const std::string& place,
              OperationUses& uses) -> Result<std::shared_ptr<Record>> {
            if (value.is_null()) return std::shared_ptr<Record>();
            if (!value.is_object()) return WrongType(argument, place, value);
            Result<Record> read = record.read(value, place, uses);
            if (const Failure* failure = FailureOf(read)) return *failure;
            return std::make_shared<Record>(std::move(ValueOf(read)));
          }};
}

template <class Record>
[[nodiscard]] TypedArgument<std::vector<Record>> ListOf(TypedArgument<Record> record) {
  Argument argument = record.description;
  argument.kind = ArgumentKind::kRecordList;
  return {
      argument,
      [argument, record = std::move(record)](const Json& value, const std::string& place,
                                             OperationUses& uses) -> Result<std::vector<Record>> {
        if (!value.is_array()) return WrongType(argument, place, value);
        std::vector<Record> records;
        for (const Json& item : value) {
          const std::string item_place = place + "[" + std::to_string(records.size()) + "]";
          Result<Record> read = record.read(item, item_place, uses);
          if (const Failure* failure = FailureOf(read)) return *failure;
          records.push_back(std::move(ValueOf(read)));
        }
        return records;
      }};
}

// Objects that stand for a text. Where null may be written it is no object.
enum class Null { kRefused, kAllowed };

[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Writer>> Writer(std::string name,
                                                                              std::string help);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Reader>> Reader(std::string name,
                                                                              std::string help);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::View>> View(std::string name,
                                                                          std::string help);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Image>> Image(
    std::string name, std::string help, Null null = Null::kAllowed);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Listener>> Listener(
    std::string name, std::string help, Null null = Null::kRefused);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::ShuntWriter>> ShuntWriter(
    std::string name, std::string help, Null null = Null::kRefused);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Client>> Client(std::string name,
                                                                              std::string help);

// Those that are in use already.
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::Listener>> UsedListener(
    std::string name, std::string help);
[[nodiscard]] TypedArgument<std::shared_ptr<OperationObjects::ShuntWriter>> UsedShuntWriter(
    std::string name, std::string help);

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_READER_H_

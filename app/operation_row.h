// How a row of the table is made: of an operation of the producer, or of what is to be called, and
// the arguments that it takes. That they fit each other the compiler checks.

#ifndef MOVRA_APP_OPERATION_ROW_H_
#define MOVRA_APP_OPERATION_ROW_H_

#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "app/operation_reader.h"
#include "app/operations.h"

namespace movra::app {

// What a row's function returns that has passed the answer on to a callback.
struct AnswersLater {};

namespace row_internal {

template <class Invoked>
void AnswerWith(OperationCall& call, Invoked&& invoked) {
  using Returned = decltype(invoked());
  if constexpr (std::is_void_v<Returned>) {
    invoked();
    call.answer->Give(Json());
  } else if constexpr (std::is_same_v<Returned, AnswersLater>) {
    invoked();
  } else if constexpr (std::is_same_v<Returned, Json>) {
    call.answer->Give(invoked());
  } else {
    call.answer->Give(ToData(invoked()));
  }
}

// `target` is an operation of the producer, or a function that takes the call first.
template <class Target, class... T>
auto Invoke(const Target& target, OperationCall& call, T&&... values) {
  if constexpr (std::is_member_function_pointer_v<Target>) {
    return std::invoke(target, call.producer, std::forward<T>(values)...);
  } else {
    return target(call, std::forward<T>(values)...);
  }
}

template <class T>
bool ReadInto(std::optional<T>& value, const TypedArgument<T>& argument, const Json& given,
              OperationUses& uses, std::optional<Failure>& failure) {
  Result<T> read = ReadEntry(given, "", argument, uses);
  if (const Failure* why = FailureOf(read)) {
    failure = *why;
    return false;
  }
  value = std::move(ValueOf(read));
  return true;
}

}  // namespace row_internal

template <class Target, class... T>
[[nodiscard]] Operation Row(std::string name, std::string help, Target target,
                            TypedArgument<T>... arguments) {
  Operation operation;
  operation.name = std::move(name);
  operation.help = std::move(help);
  operation.arguments = {arguments.description...};
  operation.call = [target, readers = std::tuple(std::move(arguments)...)](
                       OperationCall& call, const Json& given) -> std::optional<Failure> {
    std::tuple<std::optional<T>...> values;
    std::optional<Failure> failure;
    const auto read = [&]<std::size_t... I>(std::index_sequence<I...>) {
      return (row_internal::ReadInto(std::get<I>(values), std::get<I>(readers), given, call.uses,
                                     failure) &&
              ...);
    };
    if (!read(std::index_sequence_for<T...>())) return failure;
    std::apply(
        [&](std::optional<T>&... value) {
          row_internal::AnswerWith(
              call, [&] { return row_internal::Invoke(target, call, std::move(*value)...); });
        },
        values);
    return std::nullopt;
  };
  return operation;
}

// For a row that answers more than null.
[[nodiscard]] inline Operation Answering(std::string answer, Operation operation) {
  operation.answer = std::move(answer);
  return operation;
}

// For a row that needs no collaborator of the producer.
[[nodiscard]] inline Operation AtAnyTime(Operation operation) {
  operation.after_uninitialize = true;
  return operation;
}

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_ROW_H_

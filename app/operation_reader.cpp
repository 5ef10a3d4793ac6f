#include "app/operation_reader.h"

#include "app/color_text.h"

namespace movra::app {
namespace {

using reader_internal::Described;

template <class T>
using Find = Result<std::shared_ptr<T>> (*)(OperationUses& uses, const std::string& text);

template <class T>
TypedArgument<std::shared_ptr<T>> ObjectOf(ArgumentKind kind, std::string name, std::string help,
                                           Null null, Find<T> find) {
  Argument argument = Described(std::move(name), kind, std::move(help));
  argument.nullable = null == Null::kAllowed;
  return {argument,
          [argument, find](const Json& value, const std::string& place,
                           OperationUses& uses) -> Result<std::shared_ptr<T>> {
            if (value.is_null() && argument.nullable) return std::shared_ptr<T>();
            if (!value.is_string()) return WrongType(argument, place, value);
            Result<std::shared_ptr<T>> found = find(uses, value.get<std::string>());
            if (const Failure* failure = FailureOf(found)) return Prefixed(place, *failure);
            return found;
          }};
}

template <class Use>
bool WithInteger(const Json& number, Use&& use) {
  return number.is_number_unsigned() ? use(number.get<std::uint64_t>())
                                     : use(number.get<std::int64_t>());
}

// Whatever the signs of the numbers' types are. Not a number is at most nothing.
bool IsAtMost(const Json& a, const Json& b) {
  if (a.is_number_float() || b.is_number_float()) return a.get<double>() <= b.get<double>();
  return WithInteger(a, [&b](auto small) {
    return WithInteger(b, [small](auto great) { return std::cmp_less_equal(small, great); });
  });
}

}  // namespace

namespace reader_internal {

Argument Described(std::string name, ArgumentKind kind, std::string help) {
  Argument argument;
  argument.name = std::move(name);
  argument.kind = kind;
  argument.help = std::move(help);
  return argument;
}

bool IsWithin(const Json& value, const Argument& argument) {
  return IsAtMost(argument.least, value) && IsAtMost(value, argument.greatest);
}

std::optional<std::uint32_t> ParseColor(const Json& value, bool transparent) {
  if (!value.is_string()) return std::nullopt;
  const auto color = app::ParseColor(value.get<std::string>());
  if (!color || (color->alpha && !transparent)) return std::nullopt;
  if (!transparent) return color->rgb;
  return color->rgb | std::uint32_t{color->alpha.value_or(0xFF)} << 24;
}

}  // namespace reader_internal

TypedArgument<bool> Bool(std::string name, std::string help) {
  Argument argument = Described(std::move(name), ArgumentKind::kBool, std::move(help));
  return {argument,
          [argument](const Json& value, const std::string& place, OperationUses&) -> Result<bool> {
            if (!value.is_boolean()) return WrongType(argument, place, value);
            return value.get<bool>();
          }};
}

TypedArgument<std::string> Text(std::string name, std::string help) {
  Argument argument = Described(std::move(name), ArgumentKind::kText, std::move(help));
  return {argument,
          [argument](const Json& value, const std::string& place,
                     OperationUses&) -> Result<std::string> {
            if (!value.is_string()) return WrongType(argument, place, value);
            return value.get<std::string>();
          }};
}

TypedArgument<std::shared_ptr<OperationObjects::Writer>> Writer(std::string name,
                                                                std::string help) {
  return ObjectOf<OperationObjects::Writer>(
      ArgumentKind::kWriter, std::move(name), std::move(help), Null::kRefused,
      [](OperationUses& uses, const std::string& text) { return uses.Writer(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::Reader>> Reader(std::string name,
                                                                std::string help) {
  return ObjectOf<OperationObjects::Reader>(
      ArgumentKind::kReader, std::move(name), std::move(help), Null::kAllowed,
      [](OperationUses& uses, const std::string& text) { return uses.Reader(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::View>> View(std::string name, std::string help) {
  return ObjectOf<OperationObjects::View>(
      ArgumentKind::kView, std::move(name), std::move(help), Null::kAllowed,
      [](OperationUses& uses, const std::string& text) { return uses.View(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::Image>> Image(std::string name, std::string help,
                                                              Null null) {
  return ObjectOf<OperationObjects::Image>(
      ArgumentKind::kImage, std::move(name), std::move(help), null,
      [](OperationUses& uses, const std::string& text) { return uses.objects()->MakeImage(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::Listener>> Listener(std::string name,
                                                                    std::string help, Null null) {
  return ObjectOf<OperationObjects::Listener>(
      ArgumentKind::kListener, std::move(name), std::move(help), null,
      [](OperationUses& uses, const std::string& text) { return uses.Listener(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::ShuntWriter>> ShuntWriter(std::string name,
                                                                          std::string help,
                                                                          Null null) {
  return ObjectOf<OperationObjects::ShuntWriter>(
      ArgumentKind::kShuntWriter, std::move(name), std::move(help), null,
      [](OperationUses& uses, const std::string& text) { return uses.ShuntWriter(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::Client>> Client(std::string name,
                                                                std::string help) {
  TypedArgument<std::shared_ptr<OperationObjects::Client>> client;
  client.description = Described(std::move(name), ArgumentKind::kClient, std::move(help));
  client.description.nullable = true;
  client.read = [argument = client.description](
                    const Json& value, const std::string& place,
                    OperationUses& uses) -> Result<std::shared_ptr<OperationObjects::Client>> {
    if (value.is_null()) return std::shared_ptr<OperationObjects::Client>();
    if (value != "recorder") return WrongType(argument, place, value);
    return uses.objects()->Recorder();
  };
  return client;
}

TypedArgument<std::shared_ptr<OperationObjects::Listener>> UsedListener(std::string name,
                                                                        std::string help) {
  return ObjectOf<OperationObjects::Listener>(
      ArgumentKind::kListener, std::move(name), std::move(help), Null::kRefused,
      [](OperationUses& uses, const std::string& text) { return uses.UsedListener(text); });
}

TypedArgument<std::shared_ptr<OperationObjects::ShuntWriter>> UsedShuntWriter(std::string name,
                                                                              std::string help) {
  return ObjectOf<OperationObjects::ShuntWriter>(
      ArgumentKind::kShuntWriter, std::move(name), std::move(help), Null::kRefused,
      [](OperationUses& uses, const std::string& text) { return uses.UsedShuntWriter(text); });
}

}  // namespace movra::app

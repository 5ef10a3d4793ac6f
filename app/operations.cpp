#include "app/operations.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "app/operation_groups.h"

namespace movra::app {
namespace {

// How many letters have to be put in, taken out or changed to make one text of the other.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
    }
  }
  return row[b.size()];
}

std::string NearestName(std::string_view name) {
  name = name.substr(0, 64);
  const Operation* nearest = nullptr;
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& operation : group.operations) {
      if (nearest == nullptr || Distance(name, operation.name) < Distance(name, nearest->name)) {
        nearest = &operation;
      }
    }
  }
  return nearest->name;
}

Failure AfterUninitialize(const Operation& operation) {
  std::string names;
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& other : group.operations) {
      if (other.after_uninitialize) names += (names.empty() ? "" : ", ") + other.name;
    }
  }
  return {ExitCode::kContradiction,
          operation.name + ": the producer is uninitialised; what may still be called is " + names};
}

}  // namespace

const std::vector<OperationGroup>& OperationTable() {
  static const std::vector<OperationGroup> table = {
      {"Lifecycle", LifecycleOperations()},     {"Capture", CaptureOperations()},
      {"Preview", PreviewOperations()},         {"Encoding", EncodingOperations()},
      {"Code of your own", CustomOperations()}, {"Effects", EffectOperations()},
      {"Shared screens", SharingOperations()}};
  return table;
}

const Operation* FindOperation(std::string_view name) {
  for (const OperationGroup& group : OperationTable()) {
    for (const Operation& operation : group.operations) {
      if (operation.name == name) return &operation;
    }
  }
  return nullptr;
}

std::optional<Failure> CheckCall(std::string_view name, const Json& arguments) {
  const Operation* const operation = FindOperation(name);
  if (operation == nullptr) {
    return Failure{ExitCode::kUsage, "there is no operation " + ShortText(Json(name)) +
                                         "; the nearest is \"" + NearestName(name) + '"'};
  }
  if (!arguments.is_object() && !arguments.is_null()) {
    return Failure{ExitCode::kMalformed, operation->name + ": the arguments are " +
                                             ShortText(arguments) +
                                             "; write an object with an entry for each"};
  }
  const auto failure = CheckEntries(arguments, "", operation->arguments);
  if (failure) return Prefixed(operation->name, *failure);
  return std::nullopt;
}

Operations::Operations(std::shared_ptr<video::IVideoProducer2> producer,
                       std::shared_ptr<OperationObjects> objects)
    : uses_(std::move(objects)), producer_(std::move(producer)) {}

void Operations::Call(std::string_view name, const Json& arguments, OnAnswer on_answer) {
  const auto answer = std::make_shared<OperationAnswer>(std::move(on_answer));
  if (const auto failure = TryCall(name, arguments, answer)) answer->Give(*failure);
}

std::optional<Failure> Operations::TryCall(std::string_view name, const Json& arguments,
                                           const std::shared_ptr<OperationAnswer>& answer) {
  const Operation* const operation = FindOperation(name);
  if (uninitialized_ && operation != nullptr && !operation->after_uninitialize) {
    return AfterUninitialize(*operation);
  }
  if (auto failure = CheckCall(name, arguments)) return failure;
  OperationCall call{*producer_, uses_, answer, uninitialized_};
  const auto failure = operation->call(call, arguments.is_null() ? Json::object() : arguments);
  if (failure) return Prefixed(operation->name, *failure);
  return std::nullopt;
}

}  // namespace movra::app

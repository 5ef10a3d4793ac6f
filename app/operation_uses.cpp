#include "app/operation_uses.h"

namespace movra::app {

template <class T>
Result<std::shared_ptr<T>> OperationUses::Used(const ByText<T>& by_text, const std::string& text) {
  const auto found = by_text.find(text);
  if (found != by_text.end()) {
    if (auto object = found->second.lock()) return object;
  }
  std::string in_use;
  for (const auto& [name, object] : by_text) {
    if (!object.expired()) in_use += (in_use.empty() ? "" : ", ") + ShortText(Json(name));
  }
  return Failure{ExitCode::kUsage, ShortText(Json(text)) + " is not in use; " +
                                       (in_use.empty() ? "nothing is" : "in use: " + in_use)};
}

template <class T, class Make>
Result<std::shared_ptr<T>> OperationUses::UsedOrMade(ByText<T>& by_text, const std::string& text,
                                                     Make&& make) {
  // What is let go of may still be in hand on another thread, so it may go at any moment.
  std::erase_if(by_text, [](const auto& entry) { return entry.second.expired(); });
  if (const auto found = by_text.find(text); found != by_text.end()) {
    if (auto object = found->second.lock()) return object;
  }
  Result<std::shared_ptr<T>> made = make(text);
  if (!FailureOf(made)) by_text[text] = ValueOf(made);
  return made;
}

Result<std::shared_ptr<OperationObjects::Writer>> OperationUses::Writer(const std::string& spec) {
  return UsedOrMade(writers_, spec, [this](const auto& t) { return objects_->MakeWriter(t); });
}

Result<std::shared_ptr<OperationObjects::Reader>> OperationUses::Reader(const std::string& id) {
  return UsedOrMade(readers_, id, [this](const auto& t) { return objects_->MakeReader(t); });
}

Result<std::shared_ptr<OperationObjects::View>> OperationUses::View(const std::string& text) {
  return UsedOrMade(views_, text, [this](const auto& t) { return objects_->MakeView(t); });
}

Result<std::shared_ptr<OperationObjects::Listener>> OperationUses::Listener(
    const std::string& text) {
  return UsedOrMade(listeners_, text, [this](const auto& t) { return objects_->MakeListener(t); });
}

Result<std::shared_ptr<OperationObjects::ShuntWriter>> OperationUses::ShuntWriter(
    const std::string& path) {
  return UsedOrMade(shunt_writers_, path,
                    [this](const auto& t) { return objects_->MakeShuntWriter(t); });
}

Result<std::shared_ptr<OperationObjects::Listener>> OperationUses::UsedListener(
    const std::string& text) const {
  return Used(listeners_, text);
}

Result<std::shared_ptr<OperationObjects::ShuntWriter>> OperationUses::UsedShuntWriter(
    const std::string& path) const {
  return Used(shunt_writers_, path);
}

void OperationUses::Keep(const std::string& use, std::shared_ptr<const void> object) {
  if (object) uses_[use].push_back(std::move(object));
}

void OperationUses::Release(const std::string& use) { uses_.erase(use); }

void OperationUses::Release(const std::shared_ptr<const void>& object) {
  for (auto& [use, objects] : uses_) std::erase(objects, object);
}

void OperationUses::ReleaseAll() { uses_.clear(); }

}  // namespace movra::app

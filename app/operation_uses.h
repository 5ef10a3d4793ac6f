// The objects that operations have given to a producer, which holds most of them weakly.

#ifndef MOVRA_APP_OPERATION_USES_H_
#define MOVRA_APP_OPERATION_USES_H_

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/operation_objects.h"

namespace movra::app {

// Finds objects by the text they were made of, and keeps those alive that are in use.
//
// A use has a name, such as a stream whose encoder writes somewhere. For as long as anything is
// kept, its text means that very object: a tap that is removed is the one that was added, and two
// streams may share a writer. What nothing uses any more is gone, and its text makes a new one.
//
// Main queue.
class OperationUses {
 public:
  explicit OperationUses(std::shared_ptr<OperationObjects> objects)
      : objects_(std::move(objects)) {}

  [[nodiscard]] const std::shared_ptr<OperationObjects>& objects() const { return objects_; }

  [[nodiscard]] Result<std::shared_ptr<OperationObjects::Writer>> Writer(const std::string& spec);
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::Reader>> Reader(const std::string& id);
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::View>> View(const std::string& text);
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::Listener>> Listener(
      const std::string& text);
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::ShuntWriter>> ShuntWriter(
      const std::string& path);

  // As above, but of those that are there already.
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::Listener>> UsedListener(
      const std::string& text) const;
  [[nodiscard]] Result<std::shared_ptr<OperationObjects::ShuntWriter>> UsedShuntWriter(
      const std::string& path) const;

  // A use may have several objects, for a producer that is given another one may stay with the
  // first. Null is no object.
  void Keep(const std::string& use, std::shared_ptr<const void> object);
  void Release(const std::string& use);
  // The object in whatever use it is.
  void Release(const std::shared_ptr<const void>& object);
  void ReleaseAll();

 private:
  template <class T>
  using ByText = std::map<std::string, std::weak_ptr<T>>;

  template <class T>
  static Result<std::shared_ptr<T>> Used(const ByText<T>& by_text, const std::string& text);
  template <class T, class Make>
  static Result<std::shared_ptr<T>> UsedOrMade(ByText<T>& by_text, const std::string& text,
                                               Make&& make);

  const std::shared_ptr<OperationObjects> objects_;
  ByText<OperationObjects::Writer> writers_;
  ByText<OperationObjects::Reader> readers_;
  ByText<OperationObjects::View> views_;
  ByText<OperationObjects::Listener> listeners_;
  ByText<OperationObjects::ShuntWriter> shunt_writers_;
  std::map<std::string, std::vector<std::shared_ptr<const void>>> uses_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_USES_H_

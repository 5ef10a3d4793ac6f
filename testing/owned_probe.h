// Makes the life of a callback visible: bound into it, the probe tells when it is destroyed.

#ifndef MOVRA_TESTING_OWNED_PROBE_H_
#define MOVRA_TESTING_OWNED_PROBE_H_

#include <memory>
#include <string>
#include <utility>

#include "base/once_callback.h"
#include "testing/journal.h"

namespace movra::testing {

// Adds "~name" when it ends. Moving hands the duty on; the one moved from stays silent.
class OwnedProbe {
 public:
  OwnedProbe(std::string name, std::shared_ptr<Journal> journal)
      : name_(std::move(name)), journal_(std::move(journal)) {}
  OwnedProbe(OwnedProbe&&) = default;
  OwnedProbe& operator=(OwnedProbe&&) = delete;
  ~OwnedProbe() {
    if (journal_ != nullptr) journal_->Add(Journal::kDestruction, "~" + name_);
  }

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] Journal& journal() const { return *journal_; }

 private:
  std::string name_;
  std::shared_ptr<Journal> journal_;
};

// A callback that adds "name(first, second)" when it is run and "~name" when it is destroyed, run
// or not. The signature is the argument: MakeCallback<void(int, int)>("on_started", journal).
template <class Signature>
struct CallbackMaker;
template <class... Args>
struct CallbackMaker<void(Args...)> {
  static movra_base::OnceCallback<void(Args...)> Make(OwnedProbe probe) {
    return movra_base::BindOnce([probe = std::move(probe)](Args... args) {
      probe.journal().Call("", probe.name(), args...);
    });
  }
};

template <class Signature>
[[nodiscard]] movra_base::OnceCallback<Signature> MakeCallback(std::string name,
                                                               std::shared_ptr<Journal> journal) {
  return CallbackMaker<Signature>::Make(OwnedProbe(std::move(name), std::move(journal)));
}

}  // namespace movra::testing

#endif  // MOVRA_TESTING_OWNED_PROBE_H_

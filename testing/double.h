// What all doubles have in common: a name, and a journal that they tell of every call.

#ifndef MOVRA_TESTING_DOUBLE_H_
#define MOVRA_TESTING_DOUBLE_H_

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "testing/journal.h"
#include "testing/named.h"

namespace movra::testing {

// Shares the journal, because an object under test may outlive the environment of its doubles.
class Recorded : public Named {
 public:
  Recorded(std::string name, std::shared_ptr<Journal> journal)
      : Named(std::move(name)), journal_(std::move(journal)) {}

 protected:
  template <class... Args>
  void Called(std::string_view operation, const Args&... args) const {
    journal_->Call(name(), operation, args...);
  }
  template <class... Args>
  void CalledAs(Journal::Kind kind, std::string_view operation, const Args&... args) const {
    journal_->Add(kind, DescribeCall(name(), operation, args...));
  }

  [[nodiscard]] const std::shared_ptr<Journal>& journal() const { return journal_; }

 private:
  const std::shared_ptr<Journal> journal_;
};

// Also tells of its own end, after what it kept (callbacks above all) was destroyed.
class Double : public Recorded {
 public:
  using Recorded::Recorded;
  ~Double() override { journal()->Add(Journal::kDestruction, "~" + name()); }

  Double(const Double&) = delete;
  Double& operator=(const Double&) = delete;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_DOUBLE_H_

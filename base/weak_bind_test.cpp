#include "base/weak_bind.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace movra {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Target {
 public:
  explicit Target(std::vector<std::string>& events) : events_(events) {}
  virtual ~Target() { events_.push_back("~Target"); }

  virtual void OnText(const std::string& text, bool flag) {
    events_.push_back(text + (flag ? "+" : "-"));
  }
  int OnNumber(int number) {
    events_.push_back(std::to_string(number));
    return number;
  }
  void OnOwned(std::unique_ptr<int> number) { events_.push_back(std::to_string(*number)); }
  void ReleaseItself(std::shared_ptr<Target>& last) {
    last.reset();
    events_.push_back("still here");
  }

 protected:
  std::vector<std::string>& events_;
};

class Derived : public Target {
 public:
  using Target::Target;
  void OnText(const std::string& text, bool /*flag*/) override {
    events_.push_back("derived " + text);
  }
};

using TextBind = WeakBind<void, Target, const std::string&, bool>;
static_assert(std::is_copy_constructible_v<TextBind> && std::is_copy_assignable_v<TextBind>);
static_assert(sizeof(TextBind) == sizeof(std::weak_ptr<Target>) + sizeof(TextBind::Method));
static_assert(std::is_void_v<std::invoke_result_t<WeakBind<int, Target, int>, int>>);

class WeakBindTest : public ::testing::Test {
 protected:
  std::vector<std::string> events_;
  std::shared_ptr<Target> target_ = std::make_shared<Target>(events_);
};

TEST_F(WeakBindTest, CallsTheMemberWhileTheTargetLives) {
  const std::function<void(const std::string&, bool)> handler = TextBind(target_, &Target::OnText);
  handler("a", true);
  handler("b", false);
  EXPECT_THAT(events_, ElementsAre("a+", "b-"));
}

TEST_F(WeakBindTest, DoesNotKeepTheTargetAliveAndCallsNothingAfterItsEnd) {
  const std::function<void(const std::string&, bool)> handler = TextBind(target_, &Target::OnText);
  EXPECT_EQ(target_.use_count(), 1);
  target_.reset();
  EXPECT_THAT(events_, ElementsAre("~Target"));
  handler("a", true);
  EXPECT_THAT(events_, ElementsAre("~Target"));
}

TEST_F(WeakBindTest, WithAReferenceThatWasNeverSetCallsNothing) {
  TextBind({}, &Target::OnText)("a", true);
  EXPECT_THAT(events_, IsEmpty());
}

TEST_F(WeakBindTest, WithAReferenceToNoObjectCallsNothing) {
  const auto owner = std::make_shared<int>(1);
  const std::shared_ptr<Target> null_of_owner(owner, nullptr);
  TextBind(null_of_owner, &Target::OnText)("a", true);
  EXPECT_THAT(events_, IsEmpty());
}

TEST_F(WeakBindTest, WithANullMethodCallsNothing) {
  TextBind(target_, nullptr)("a", true);
  EXPECT_THAT(events_, IsEmpty());
}

TEST_F(WeakBindTest, CallsAVirtualMemberOfTheWholeObject) {
  const std::shared_ptr<Target> derived = std::make_shared<Derived>(events_);
  TextBind(derived, &Target::OnText)("a", true);
  EXPECT_THAT(events_, ElementsAre("derived a"));
}

TEST_F(WeakBindTest, HoldsTheTargetForTheLengthOfTheCall) {
  const auto handler = MakeWeakBind(std::weak_ptr<Target>(target_), &Target::ReleaseItself);
  handler(target_);
  EXPECT_THAT(events_, ElementsAre("still here", "~Target"));
}

TEST_F(WeakBindTest, ReleasesTheTargetAfterTheCall) {
  MakeWeakBind(std::weak_ptr<Target>(target_), &Target::OnNumber)(5);
  EXPECT_EQ(target_.use_count(), 1);
  EXPECT_THAT(events_, ElementsAre("5"));
}

TEST_F(WeakBindTest, CopiesShareTheTarget) {
  const auto handler = MakeWeakBind(std::weak_ptr<Target>(target_), &Target::OnNumber);
  auto copy = handler;
  copy(1);
  handler(2);
  EXPECT_THAT(events_, ElementsAre("1", "2"));
}

TEST_F(WeakBindTest, ForwardsMoveOnlyArguments) {
  MakeWeakBind(std::weak_ptr<Target>(target_), &Target::OnOwned)(std::make_unique<int>(3));
  EXPECT_THAT(events_, ElementsAre("3"));
}

}  // namespace
}  // namespace movra

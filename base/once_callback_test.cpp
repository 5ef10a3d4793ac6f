#include "base/once_callback.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/bind_internal.h"

namespace movra_base {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Target {
 public:
  explicit Target(std::vector<std::string>& events) : events_(events) {}
  virtual ~Target() { events_.push_back("~Target"); }

  void Done(int code, int time) {
    events_.push_back("Done(" + std::to_string(code) + "," + std::to_string(time) + ")");
  }
  virtual void Virtual() { events_.push_back("Target"); }
  int Count(std::unique_ptr<int> number) const noexcept { return *number; }
  void Text(const std::string& text) const { events_.push_back(text); }

 private:
  std::vector<std::string>& events_;
};

class Derived : public Target {
 public:
  explicit Derived(std::vector<std::string>& events) : Target(events), derived_events_(events) {}
  void Virtual() override { derived_events_.push_back("Derived"); }

 private:
  std::vector<std::string>& derived_events_;
};

int Add(int a, int b) { return a + b; }

using Callback = OnceCallback<void(int, int)>;
using Lambda = decltype([](int, int) {});

template <class C>
concept RunsAsAnLvalue = requires(C& callback) {
  callback.Run(1, 2);
};
template <class C>
concept RunsAsAnRvalue = requires(C&& callback) {
  std::move(callback).Run(1, 2);
};
static_assert(RunsAsAnRvalue<Callback> && !RunsAsAnLvalue<Callback>);
static_assert(!std::is_copy_constructible_v<Callback> && !std::is_copy_assignable_v<Callback>);
static_assert(std::is_nothrow_move_constructible_v<Callback>);
static_assert(!std::is_constructible_v<Callback, Lambda>);
static_assert(!std::is_constructible_v<Callback, void (*)(int, int)>);
static_assert(!std::is_convertible_v<Callback, bool>);
static_assert(!std::is_constructible_v<OnceClosure, Callback>);
static_assert(std::derived_from<Callback, CallbackBase>);
static_assert(sizeof(Callback) == sizeof(void*));

template <class... T>
concept Bindable = requires(T... values) {
  BindOnce(std::move(values)...);
};
static_assert(Bindable<void (Target::*)(int, int), std::shared_ptr<Target>>);
static_assert(Bindable<void (Target::*)(int, int), std::weak_ptr<Target>, int>);
static_assert(!Bindable<void (Target::*)(int, int), Target*>, "nothing keeps the target alive");
static_assert(!Bindable<void (Target::*)(int, int), std::reference_wrapper<Target>>);
static_assert(!Bindable<void (Target::*)(int, int)>, "a method needs its target");
static_assert(!Bindable<int (Target::*)(int), std::weak_ptr<Target>>, "nobody would answer");
static_assert(!Bindable<int Target::*, std::shared_ptr<Target>>);
static_assert(!Bindable<int (*)(int, int), int, int, int>, "more arguments than parameters");

static_assert(std::same_as<decltype(BindOnce(&Target::Done, std::shared_ptr<Target>())), Callback>);
static_assert(
    std::same_as<decltype(BindOnce(&Target::Done, std::shared_ptr<Target>(), 1, 2)), OnceClosure>);

class OnceCallbackTest : public ::testing::Test {
 protected:
  std::vector<std::string> events_;
  std::shared_ptr<Target> target_ = std::make_shared<Target>(events_);
};

// Tells when it is destroyed, unless it was moved from.
class Bound {
 public:
  explicit Bound(std::vector<std::string>& events) : events_(&events) {}
  Bound(Bound&& other) noexcept : events_(std::exchange(other.events_, nullptr)) {}
  ~Bound() {
    if (events_ != nullptr) events_->push_back("~Bound");
  }

 private:
  std::vector<std::string>* events_;
};

TEST_F(OnceCallbackTest, EmptyIsValidAndRunningItDoesNothing) {
  Callback callback;
  EXPECT_FALSE(callback);
  std::move(callback).Run(1, 2);
  OnceCallback<int()> answering;
  EXPECT_EQ(std::move(answering).Run(), 0);
  OnceCallback<std::string()> telling = {};
  EXPECT_EQ(std::move(telling).Run(), "");
}

TEST_F(OnceCallbackTest, RunsALambdaWithItsArguments) {
  int sum = 0;
  Callback callback = BindOnce([&](int a, int b) { sum = a * 10 + b; });
  EXPECT_TRUE(callback);
  std::move(callback).Run(1, 2);
  EXPECT_EQ(sum, 12);
}

TEST_F(OnceCallbackTest, BindsFirstArgumentsAndReturnsTheResult) {
  EXPECT_EQ(BindOnce(Add).Run(1, 2), 3);
  EXPECT_EQ(BindOnce(&Add, 1).Run(2), 3);
  EXPECT_EQ(BindOnce(Add, 1, 2).Run(), 3);
  EXPECT_EQ(BindOnce(std::function<int(int)>([](int a) { return a + 1; })).Run(2), 3);
}

TEST_F(OnceCallbackTest, TakesAndGivesMoveOnlyValues) {
  auto callback =
      BindOnce([](std::unique_ptr<int> bound,
                  std::unique_ptr<int> given) { return std::make_unique<int>(*bound + *given); },
               std::make_unique<int>(1));
  EXPECT_EQ(*std::move(callback).Run(std::make_unique<int>(2)), 3);
  auto mutable_lambda =
      BindOnce([number = std::make_unique<int>(5)]() mutable { return ++*number; });
  EXPECT_EQ(std::move(mutable_lambda).Run(), 6);
}

TEST_F(OnceCallbackTest, PassesReferencesThrough) {
  int number = 1;
  OnceCallback<int&(int&)> callback = BindOnce([](int& n) -> int& { return ++n; });
  static_assert(std::is_same_v<decltype(std::move(callback).Run(number)), int&>);
}

TEST_F(OnceCallbackTest, BindsAnotherCallbackWithItsArguments) {
  Callback inner = BindOnce(&Target::Done, target_);
  OnceClosure outer = BindOnce(std::move(inner), 3, 40);
  std::move(outer).Run();
  EXPECT_THAT(events_, ElementsAre("Done(3,40)"));
}

TEST_F(OnceCallbackTest, IsEmptyAfterTheRunAndAlreadyDuringIt) {
  OnceClosure callback;
  bool was_empty_during_the_run = false;
  callback = BindOnce([&] { was_empty_during_the_run = !callback; });
  std::move(callback).Run();
  EXPECT_TRUE(was_empty_during_the_run);
  EXPECT_FALSE(callback);
}

TEST_F(OnceCallbackTest, RunsOnceOnly) {
  int runs = 0;
  OnceClosure callback = BindOnce([&] { ++runs; });
  std::move(callback).Run();
  std::move(callback).Run();
  EXPECT_EQ(runs, 1);
}

TEST_F(OnceCallbackTest, DestroysWhatIsBoundWhenTheCallEnds) {
  OnceClosure callback = BindOnce([this, bound = Bound(events_)] { events_.push_back("run"); });
  std::move(callback).Run();
  events_.push_back("after");
  EXPECT_THAT(events_, ElementsAre("run", "~Bound", "after"));
}

TEST_F(OnceCallbackTest, DestroyedUnrunItReleasesWhatIsBoundAndCallsNothing) {
  {
    const OnceClosure callback = BindOnce([bound = Bound(events_)] {});
  }
  EXPECT_THAT(events_, ElementsAre("~Bound"));
}

TEST_F(OnceCallbackTest, AssignmentReleasesWhatWasBoundBefore) {
  OnceClosure callback = BindOnce([bound = Bound(events_)] {});
  callback = OnceClosure();
  EXPECT_THAT(events_, ElementsAre("~Bound"));
  EXPECT_FALSE(callback);
}

TEST_F(OnceCallbackTest, MovingLeavesAnEmptyHandle) {
  OnceClosure from = BindOnce([this] { events_.push_back("run"); });
  OnceClosure to = std::move(from);
  EXPECT_FALSE(from);
  std::move(from).Run();
  EXPECT_THAT(events_, IsEmpty());
  std::move(to).Run();
  EXPECT_THAT(events_, ElementsAre("run"));
}

TEST_F(OnceCallbackTest, MayReplaceItselfWhileItRuns) {
  OnceClosure callback;
  callback = BindOnce([&] { callback = BindOnce([this] { events_.push_back("second"); }); });
  std::move(callback).Run();
  ASSERT_TRUE(callback);
  std::move(callback).Run();
  EXPECT_THAT(events_, ElementsAre("second"));
}

TEST_F(OnceCallbackTest, MayRunOnAnotherThread) {
  OnceClosure callback = BindOnce(&Target::Done, target_, 1, 2);
  std::thread([&] { std::move(callback).Run(); }).join();
  EXPECT_THAT(events_, ElementsAre("Done(1,2)"));
}

TEST_F(OnceCallbackTest, AStrongTargetLivesUntilTheRunHasEnded) {
  Callback callback = BindOnce(&Target::Done, std::move(target_));
  EXPECT_THAT(events_, IsEmpty());
  std::move(callback).Run(0, 15);
  EXPECT_THAT(events_, ElementsAre("Done(0,15)", "~Target"));
}

TEST_F(OnceCallbackTest, AStrongTargetIsReleasedByAnUnrunCallbackThatCallsNothing) {
  {
    const Callback callback = BindOnce(&Target::Done, std::move(target_));
    EXPECT_THAT(events_, IsEmpty());
  }
  EXPECT_THAT(events_, ElementsAre("~Target"));
}

TEST_F(OnceCallbackTest, AWeakTargetIsCalledWhileItLives) {
  Callback callback = BindOnce(&Target::Done, std::weak_ptr<Target>(target_));
  EXPECT_EQ(target_.use_count(), 1);
  std::move(callback).Run(1, 2);
  EXPECT_THAT(events_, ElementsAre("Done(1,2)"));
}

TEST_F(OnceCallbackTest, AWeakTargetThatIsGoneIsNotCalled) {
  Callback callback = BindOnce(&Target::Done, std::weak_ptr<Target>(target_));
  target_.reset();
  events_.clear();
  std::move(callback).Run(1, 2);
  EXPECT_THAT(events_, IsEmpty());
}

TEST_F(OnceCallbackTest, AWeakTargetIsHeldWhileItsMethodRuns) {
  struct Dropper {
    void Drop() {
      self.reset();
      is_alive_after_drop = alive;
    }
    ~Dropper() { alive = false; }
    explicit Dropper(bool& alive_after) : is_alive_after_drop(alive_after) {}
    std::shared_ptr<Dropper> self;
    bool alive = true;
    bool& is_alive_after_drop;
  };
  bool is_alive_after_drop = false;
  auto dropper = std::make_shared<Dropper>(is_alive_after_drop);
  const std::weak_ptr<Dropper> weak = dropper;
  dropper->self = dropper;
  OnceClosure callback = BindOnce(&Dropper::Drop, weak);
  dropper.reset();
  std::move(callback).Run();
  EXPECT_TRUE(is_alive_after_drop);
  EXPECT_TRUE(weak.expired());
}

TEST_F(OnceCallbackTest, AVirtualMethodIsCalledOnTheWholeObject) {
  const std::shared_ptr<Target> derived = std::make_shared<Derived>(events_);
  BindOnce(&Target::Virtual, derived).Run();
  EXPECT_THAT(events_, ElementsAre("Derived"));
}

TEST_F(OnceCallbackTest, AConstMethodTakesBoundAndGivenArguments) {
  EXPECT_EQ(BindOnce(&Target::Count, target_).Run(std::make_unique<int>(4)), 4);
  BindOnce(&Target::Text, std::shared_ptr<const Target>(target_), "bound").Run();
  EXPECT_THAT(events_, ElementsAre("bound"));
}

TEST_F(OnceCallbackTest, AnExceptionPassesAndReleasesWhatIsBound) {
  OnceClosure callback = BindOnce([bound = Bound(events_)] { throw 1; });
  EXPECT_ANY_THROW(std::move(callback).Run());
  EXPECT_THAT(events_, ElementsAre("~Bound"));
}

// The named pieces.
using State = internal::BindState<void (Target::*)(int, int), std::shared_ptr<Target>>;
using Run = internal::Invoker<State, void(int, int)>;
static_assert(std::derived_from<State, internal::BindStateBase>);
static_assert(std::same_as<decltype(&State::Destroy), void (*)(const internal::BindStateBase*)>);
static_assert(std::same_as<decltype(&Run::RunOnce), void (*)(internal::BindStateBase*, int, int)>);

TEST_F(OnceCallbackTest, TheStrongReferenceStaysInTheBindStateUntilItIsDestroyed) {
  auto* const state =
      new State(reinterpret_cast<internal::BindStateBase::InvokeFunction>(&Run::RunOnce),
                &Target::Done, target_);
  EXPECT_EQ(target_.use_count(), 2);
  Run::RunOnce(state, 7, 8);
  EXPECT_EQ(target_.use_count(), 2);
  target_.reset();
  EXPECT_THAT(events_, ElementsAre("Done(7,8)"));
  State::Destroy(state);
  EXPECT_THAT(events_, ElementsAre("Done(7,8)", "~Target"));
}

TEST_F(OnceCallbackTest, DestroyingANullBindStateIsIgnored) { State::Destroy(nullptr); }

}  // namespace
}  // namespace movra_base

// What the small pieces of the support library cost, beside what comparable pieces cost.
//
//   support_benchmark                            all of them, half a minute
//   support_benchmark --benchmark_filter=log     some of them
//
// Yardsticks of the standard library are measured here; those of other libraries were recorded on a
// machine of the same kind (-O2, a second thread alive) and stand as they are.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/once_callback.h"
#include "base/optional.h"
#include "base/weak_bind.h"
#include "benchmarks/comparison.h"
#include "benchmarks/parked_thread.h"
#include "core/notification_center.h"
#include "core/run_loop.h"
#include "core/serial_queue.h"
#include "core/service_center.h"
#include "logging/log_filter.h"
#include "logging/log_message.h"
#include "logging/log_sink.h"
#include "logging/log_stream.h"

namespace movra::benchmarks {
namespace {

using benchmark::State;

// An object whose method is called.
class Counter {
 public:
  void Add(int value) { sum_ += value; }

 private:
  long sum_ = 0;
};

// Callbacks.

void OnceCallbackOfLambda(State& state) {
  long a = 0;
  long b = 0;
  for (auto _ : state) {
    auto callback = movra_base::BindOnce([&a, &b, step = 1L](int value) {
      a += value;
      b += step;
    });
    benchmark::DoNotOptimize(callback);
    std::move(callback).Run(1);
    benchmark::DoNotOptimize(a);
  }
}

void StdFunctionOfLambda(State& state) {
  long a = 0;
  long b = 0;
  for (auto _ : state) {
    std::function<void(int)> callback = [&a, &b, step = 1L](int value) {
      a += value;
      b += step;
    };
    benchmark::DoNotOptimize(callback);
    callback(1);
    benchmark::DoNotOptimize(a);
  }
}

void OnceCallbackOfMethod(State& state) {
  const auto counter = std::make_shared<Counter>();
  for (auto _ : state) {
    auto callback = movra_base::BindOnce(&Counter::Add, std::shared_ptr(counter));
    benchmark::DoNotOptimize(callback);
    std::move(callback).Run(1);
  }
}

void StdFunctionOfMethod(State& state) {
  const auto counter = std::make_shared<Counter>();
  for (auto _ : state) {
    std::function<void(int)> callback = std::bind_front(&Counter::Add, std::shared_ptr(counter));
    benchmark::DoNotOptimize(callback);
    callback(1);
  }
}

// Weak calls.

template <bool kIsAlive>
void WeakCall(State& state) {
  auto counter = std::make_shared<Counter>();
  const auto bound = MakeWeakBind(std::weak_ptr<Counter>(counter), &Counter::Add);
  if (!kIsAlive) counter.reset();
  for (auto _ : state) {
    benchmark::DoNotOptimize(&bound);
    bound(1);
    benchmark::ClobberMemory();
  }
}

template <bool kIsAlive>
void WeakPtrCall(State& state) {
  auto counter = std::make_shared<Counter>();
  const std::weak_ptr<Counter> weak = counter;
  if (!kIsAlive) counter.reset();
  void (Counter::*method)(int) = &Counter::Add;
  for (auto _ : state) {
    benchmark::DoNotOptimize(&weak);
    benchmark::DoNotOptimize(method);
    if (const auto target = weak.lock()) ((*target).*method)(1);
    benchmark::ClobberMemory();
  }
}

// Optional values: one is given, read, copied and taken away again.

template <class OptionalNumber>
void OptionalNumberUse(State& state) {
  OptionalNumber number;
  int sum = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(number);
    number = 30;
    benchmark::DoNotOptimize(number);
    const OptionalNumber copy = number;
    if (copy) sum += *copy;
    number.reset();
    benchmark::DoNotOptimize(sum);
  }
}

template <class OptionalText>
void OptionalTextUse(State& state) {
  const OptionalText text = std::string("a text that is longer than a short string");
  for (auto _ : state) {
    OptionalText copy = text;
    benchmark::DoNotOptimize(copy);
    const OptionalText moved = std::move(copy);
    benchmark::DoNotOptimize(moved);
  }
}

// Registries.

class Service {
 public:
  void Init() {}
  [[nodiscard]] std::shared_ptr<Service> GetSelf() const { return self_; }

  static const std::shared_ptr<Service>& The() {
    static const std::shared_ptr<Service> service = [] {
      auto made = std::make_shared<Service>();
      made->self_ = made;
      return made;
    }();
    return service;
  }

 private:
  std::shared_ptr<Service> self_;  // Itself, for good.
};

constexpr int kServices[] = {1, 4, 9, 16};

void ServiceLookUp(State& state) {
  auto& center = core::ServiceCenter::Instance();
  for (const int id : kServices) center.SetService(core::ServiceId{id}, Service::The());
  core::ServiceId id{9};
  for (auto _ : state) {
    benchmark::DoNotOptimize(id);
    std::shared_ptr<Service> service;
    center.GetService(id, service);
    benchmark::DoNotOptimize(service);
  }
  center.Clear();
}

void MapLookUp(State& state) {
  std::unordered_map<int, std::shared_ptr<Service>> services;
  for (const int id : kServices) services[id] = Service::The();
  int id = 9;
  for (auto _ : state) {
    benchmark::DoNotOptimize(id);
    const std::shared_ptr<Service> service = services.find(id)->second;
    benchmark::DoNotOptimize(service);
  }
}

constexpr core::NotificationId kNotification{3};

void NotificationSent(State& state) {
  auto& center = core::NotificationCenter::GetInstance();
  const auto counter = std::make_shared<Counter>();
  core::SubscribeEvent<std::function<void(int)>>(
      kNotification, "", core::Location(__FILE__, __LINE__), counter, &Counter::Add);
  for (auto _ : state) center.Publish<int>(kNotification, "", 1);
  center.Clear();
}

// The same promises by hand: found by id and name, and called while the subscriber lives, with a
// list that the handlers may change meanwhile.
void NotificationByHand(State& state) {
  struct Observer {
    std::weak_ptr<void> subscriber;
    std::shared_ptr<std::function<void(int)>> callback;
  };
  std::unordered_map<std::string, std::list<Observer>> observers;
  const auto counter = std::make_shared<Counter>();
  const std::weak_ptr<Counter> weak = counter;
  observers["3:"].push_back({counter, std::make_shared<std::function<void(int)>>([weak](int value) {
                               if (const auto target = weak.lock()) target->Add(value);
                             })});
  const std::string event;
  for (auto _ : state) {
    const std::list<Observer> found = observers.find(std::to_string(3) + ":" + event)->second;
    for (const Observer& observer : found) {
      if (const auto subscriber = observer.subscriber.lock()) (*observer.callback)(1);
    }
  }
}

// Queues.

// The queue that one writes first: a mutex, a condition variable and a list of functions.
class PlainQueue {
 public:
  void Post(std::function<void()> task) {
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    wake_.notify_one();
  }

  // Runs one task, waiting for it.
  void RunOne() {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return !tasks_.empty(); });
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
};

// What tells the posting thread that the last task of a burst has run.
class Done {
 public:
  void Set() {
    const std::lock_guard lock(mutex_);
    is_set_ = true;
    wake_.notify_one();
  }
  void Await() {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return is_set_; });
    is_set_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool is_set_ = false;
};

template <class Post>
void RunBursts(State& state, const Post& post) {
  Done done;
  for (auto _ : state) {
    int run = 0;
    for (int i = 0; i < kBurstOperations; ++i) post([&run] { ++run; });
    post([&done] { done.Set(); });
    done.Await();
    benchmark::DoNotOptimize(run);
  }
}

void SerialQueueBurst(State& state) {
  core::SerialQueue queue("burst");
  RunBursts(state, [&queue](auto task) { queue.Post(movra_base::BindOnce(std::move(task))); });
}

void PlainQueueBurst(State& state) {
  PlainQueue queue;
  bool is_ended = false;
  std::thread thread([&] {
    while (!is_ended) queue.RunOne();
  });
  RunBursts(state, [&queue](auto task) { queue.Post(std::move(task)); });
  queue.Post([&is_ended] { is_ended = true; });
  thread.join();
}

void RunLoopUncontended(State& state) {
  core::RunLoop loop;
  int run = 0;
  for (auto _ : state) {
    loop.Post(movra_base::BindOnce([&run] { ++run; }));
    loop.RunUntilIdle();
    benchmark::DoNotOptimize(run);
  }
}

void PlainQueueUncontended(State& state) {
  PlainQueue queue;
  int run = 0;
  for (auto _ : state) {
    queue.Post([&run] { ++run; });
    queue.RunOne();
    benchmark::DoNotOptimize(run);
  }
}

// Log lines.

class NullSink : public movra_logging::LogSink {
 public:
  NullSink() { movra_logging::AddLogSink(this); }
  ~NullSink() override { movra_logging::RemoveLogSink(this); }
  void Send(const movra_logging::LogRecord& record) override {
    benchmark::DoNotOptimize(record.text.data());
  }
};

void WriteLine(int number) {
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelInfo)) return;
  LogStream("benchmarks/support_benchmark", __LINE__, __func__, movra_logging::kLogLevelInfo,
            nullptr)
      << LogTraceId(InstanceTrace(1)) << LogTag("[main]") << " "
      << "Update capture frame rate:" << number;
}

void SuppressedLine(State& state) {
  for (auto _ : state) WriteLine(30);
}

void WrittenLine(State& state) {
  const NullSink sink;
  for (auto _ : state) WriteLine(30);
}

void FilteredLine(State& state) {
  const NullSink sink;
  SetLogValueFiltering(true);
  for (auto _ : state) WriteLine(30);
  SetLogValueFiltering(false);
}

// The table.

std::vector<Row> Rows() {
  using movra_base::Optional;
  return {
      {"once-callback of a lambda, made and run",
       OnceCallbackOfLambda,
       {{"a bound once-callback", 12}, {"std::function of the lambda", 0, StdFunctionOfLambda}}},
      {"once-callback of a method, made and run",
       OnceCallbackOfMethod,
       {{"std::function of the method", 0, StdFunctionOfMethod}}},
      {"weak bound call, live",
       WeakCall<true>,
       {{"weak_ptr lock and call", 12.5}, {"weak_ptr lock and call", 0, WeakPtrCall<true>}}},
      {"weak bound call, expired",
       WeakCall<false>,
       {{"weak_ptr expired", 0.6}, {"weak_ptr lock of an expired one", 0, WeakPtrCall<false>}}},
      {"optional number: set, copied, read, reset",
       OptionalNumberUse<Optional<int>>,
       {{"std::optional", 0, OptionalNumberUse<std::optional<int>>}}},
      {"optional text: copied and moved",
       OptionalTextUse<Optional<std::string>>,
       {{"std::optional", 0, OptionalTextUse<std::optional<std::string>>}}},
      {"service look-up",
       ServiceLookUp,
       {{"unordered_map look-up, shared_ptr copied", 13},
        {"unordered_map look-up, shared_ptr copied", 0, MapLookUp}}},
      {"notification to one observer",
       NotificationSent,
       {{"the same promises by hand", 0, NotificationByHand}}},
      {"queue, task of a burst of 1000 to a thread",
       SerialQueueBurst,
       {{"mutex and condition variable", 118},
        {"asio post", 191},
        {"mutex and condition variable", 0, PlainQueueBurst}},
       true},
      {"queue, task posted and run uncontended",
       RunLoopUncontended,
       {{"mutex and condition variable", 30},
        {"mutex and condition variable", 0, PlainQueueUncontended}}},
      {"log line, suppressed",
       SuppressedLine,
       {{"spdlog, below the level", 5.6}, {"glog, below the level", 2724}}},
      {"log line, filtered duplicate", FilteredLine, {{"spdlog, duplicate filter", 119}}},
      {"log line, written to a null sink", WrittenLine, {{"spdlog, to a null sink", 107}}},
  };
}

}  // namespace
}  // namespace movra::benchmarks

template <>
std::shared_ptr<void> core::ServiceCenter::MakeService<movra::benchmarks::Service>() {
  return nullptr;
}

int main(int argc, char** argv) {
  const movra::benchmarks::ParkedThread parked;
  return movra::benchmarks::CompareAll(movra::benchmarks::Rows(), argc, argv);
}

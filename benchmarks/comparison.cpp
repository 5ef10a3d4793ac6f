#include "benchmarks/comparison.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace movra::benchmarks {
namespace {

// Whether the difference is more than noise.
bool IsSlower(double ns, double other_ns) { return ns > other_ns * 1.03 + 0.1; }

std::string MeasuredName(const Row& row, const Yardstick& yardstick) {
  return row.name + " / " + yardstick.name;
}

// Keeps the best round of each.
class BestRounds : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      double& best = best_.emplace(run.run_name.function_name, 1e9).first->second;
      best = std::min(best, Nanoseconds(run));
    }
  }

  void Print(const std::vector<Row>& rows) const {
    std::printf("%-44s %8s   yardstick\n", "", "ns");
    int behind = 0;
    for (const Row& row : rows) {
      const auto ours = best_.find(row.name);
      if (ours == best_.end()) continue;
      std::printf("%-44s %8.1f", row.name.c_str(), ours->second);
      int indent = 0;
      for (const Yardstick& yardstick : row.yardsticks) {
        const double other = Of(row, yardstick);
        const bool is_behind = IsSlower(ours->second, other);
        std::printf("%*s %8.1f %s: %s%s\n", indent, "", other,
                    yardstick.function != nullptr ? "measured" : "recorded", yardstick.name.c_str(),
                    is_behind ? "   <- ahead of us" : "");
        indent = 53;
        behind += is_behind ? 1 : 0;
      }
    }
    std::printf("\n%d yardsticks are ahead.\n", behind);
  }

 private:
  static double Nanoseconds(const Run& run) {
    const bool is_burst = run.run_name.time_type == "real_time";
    const double seconds = is_burst ? run.real_accumulated_time : run.cpu_accumulated_time;
    return seconds / static_cast<double>(run.iterations) * 1e9 / (is_burst ? kBurstOperations : 1);
  }

  [[nodiscard]] double Of(const Row& row, const Yardstick& yardstick) const {
    if (yardstick.function == nullptr) return yardstick.recorded_ns;
    return best_.at(MeasuredName(row, yardstick));
  }

  std::map<std::string, double> best_;
};

void RegisterAll(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    const auto add = [&row](const std::string& name, void (*function)(benchmark::State&)) {
      auto* const added = benchmark::RegisterBenchmark(name.c_str(), function);
      if (row.is_burst) added->UseRealTime();
    };
    add(row.name, row.function);
    for (const Yardstick& yardstick : row.yardsticks) {
      if (yardstick.function != nullptr) add(MeasuredName(row, yardstick), yardstick.function);
    }
  }
}

}  // namespace

int CompareAll(const std::vector<Row>& rows, int argc, char** argv) {
  // Before what was typed, which may say otherwise. Short rounds, because a long one is disturbed.
  char rounds[] = "--benchmark_repetitions=40";
  char length[] = "--benchmark_min_time=0.005";
  char mixed[] = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> words{argv[0], rounds, length, mixed};
  words.insert(words.end(), argv + 1, argv + argc);
  int count = static_cast<int>(words.size());
  benchmark::Initialize(&count, words.data());
  if (benchmark::ReportUnrecognizedArguments(count, words.data())) return 1;
  RegisterAll(rows);
  BestRounds best;
  benchmark::RunSpecifiedBenchmarks(&best);
  best.Print(rows);
  return 0;
}

}  // namespace movra::benchmarks

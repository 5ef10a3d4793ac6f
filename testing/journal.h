// One list of everything that happened, in the order in which it happened.
//
// Every call of a double, every log line, every question put to the main queue and every
// destruction that matters is one entry, a text. A test lets something happen and compares the
// whole list, so it fails on a call that is missing, one too many, or out of place:
//
//   producer->Initialize();
//   EXPECT_THAT(journal.Take(), ElementsAre("main_queue.IsCurrent()",
//                                           "log(0) [trace:7][call][main] Initialize",
//                                           "preprocessor.StartProcessing()"));
//
// What a test is not about it leaves out by kind; left-out entries are still counted.
//
// Threads: any; entries of several threads come in some order of their adding.

#ifndef MOVRA_TESTING_JOURNAL_H_
#define MOVRA_TESTING_JOURNAL_H_

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "testing/describe.h"

namespace movra::testing {

class Journal {
 public:
  enum Kind : unsigned {
    kCall = 1,          // Operations and factories, events at the client, callbacks that were run.
    kLog = 2,           // Log lines.
    kQueueCheck = 4,    // Whether the main queue is current.
    kTrackEnd = 8,      // A track asked for its reader or writer.
    kLookup = 16,       // The service registry at work.
    kDestruction = 32,  // "~name": a double, or a callback with what it holds.
    kRegistry = 64,     // Subscriptions to notifications, in movra's own tests.
    kEnd = 128,         // "~name": a queue, or an end of a track.
    // A log line that begins, or a text made for one or for a message; in movra's own tests, and
    // never in what Take returns.
    kText = 256
  };
  // What most tests of a producer leave out.
  static constexpr unsigned kDetails = kQueueCheck | kTrackEnd | kRegistry | kEnd;

  void Add(Kind kind, std::string text);

  // "object.Operation(first, second)", of kind kCall unless told.
  template <class... Args>
  void Call(std::string_view object, std::string_view operation, const Args&... args) {
    Add(kCall, DescribeCall(object, operation, args...));
  }

  // From now on tells the observer of every entry, left out or not, right after adding it and
  // without holding a lock. That is in the middle of an operation, so a test can look at what the
  // object under test is like there. Null: tells nobody.
  void SetObserver(std::function<void(const std::string& entry)> observer);

  // Leaves the kinds (any of them, joined by |) out of what Take returns from now on; 0 shows all.
  void LeaveOut(unsigned kinds);

  // The entries since the last Take, without the kinds left out. Forgets all entries.
  [[nodiscard]] std::vector<std::string> Take();

  // Forgets all entries.
  void Clear() { static_cast<void>(Take()); }

  // The number of entries of these kinds since the last Take, left out or not.
  [[nodiscard]] std::size_t Count(unsigned kinds) const;
  [[nodiscard]] std::size_t CountQueueChecks() const { return Count(kQueueCheck); }
  // The number of entries with this very text.
  [[nodiscard]] std::size_t Count(std::string_view text) const;

 private:
  struct Entry {
    Kind kind;
    std::string text;
  };

  mutable std::mutex mutex_;
  // Guarded by mutex_.
  std::vector<Entry> entries_;
  unsigned left_out_ = 0;
  std::function<void(const std::string&)> observer_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_JOURNAL_H_

#include "media/encode/writer_turn.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace movra::media {
namespace {

using video::IVideoFrameTrackWriter;

struct Turns {
  std::mutex mutex;
  std::condition_variable over;
  // Guarded by mutex: the writers that a thread is inside of, each once. A few at most.
  std::vector<const IVideoFrameTrackWriter*> taken;
};

// Never destroyed: a thread that is stuck in a writer may outlive the end of main.
Turns& AllTurns() {
  static auto* const turns = new Turns();
  return *turns;
}

}  // namespace

WriterTurn::WriterTurn(const IVideoFrameTrackWriter& writer) : writer_(&writer) {
  Turns& turns = AllTurns();
  std::unique_lock lock(turns.mutex);
  turns.over.wait(lock, [&] {
    return std::find(turns.taken.begin(), turns.taken.end(), writer_) == turns.taken.end();
  });
  turns.taken.push_back(writer_);
}

WriterTurn::~WriterTurn() {
  Turns& turns = AllTurns();
  {
    const std::lock_guard lock(turns.mutex);
    turns.taken.erase(std::find(turns.taken.begin(), turns.taken.end(), writer_));
  }
  turns.over.notify_all();
}

}  // namespace movra::media

#include "media/encode/writer_turn.h"

#include <algorithm>
#include <vector>

#include "media/threads/mutex.h"

namespace movra::media {
namespace {

using video::IVideoFrameTrackWriter;

struct Turns {
  Mutex mutex;
  Condition over;
  // The writers that a thread is inside of, each once. A few at most.
  std::vector<const IVideoFrameTrackWriter*> taken MOVRA_GUARDED_BY(mutex);
};

// Never destroyed: a thread that is stuck in a writer may outlive the end of main.
Turns& AllTurns() {
  static auto* const turns = new Turns();
  return *turns;
}

}  // namespace

WriterTurn::WriterTurn(const IVideoFrameTrackWriter& writer) : writer_(&writer) {
  Turns& turns = AllTurns();
  const MutexLock lock(turns.mutex);
  while (std::find(turns.taken.begin(), turns.taken.end(), writer_) != turns.taken.end()) {
    turns.over.Wait(turns.mutex);
  }
  turns.taken.push_back(writer_);
}

WriterTurn::~WriterTurn() {
  Turns& turns = AllTurns();
  {
    const MutexLock lock(turns.mutex);
    turns.taken.erase(std::find(turns.taken.begin(), turns.taken.end(), writer_));
  }
  turns.over.NotifyAll();
}

}  // namespace movra::media

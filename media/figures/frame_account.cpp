#include "media/figures/frame_account.h"

#include <map>

#include "media/threads/mutex.h"

namespace movra::media {
namespace {

struct Accounts {
  Mutex mutex;
  std::map<std::uint64_t, std::weak_ptr<FrameAccount>> by_trace MOVRA_GUARDED_BY(mutex);
};

// Never destroyed: threads that outlive main may still ask.
Accounts& AllAccounts() {
  static auto* const accounts = new Accounts;
  return *accounts;
}

}  // namespace

std::shared_ptr<FrameAccount> FrameAccount::Of(InstanceTrace trace) {
  Accounts& accounts = AllAccounts();
  const MutexLock lock(accounts.mutex);
  if (auto found = accounts.by_trace[trace.id()].lock()) return found;
  std::erase_if(accounts.by_trace, [](const auto& entry) { return entry.second.expired(); });
  auto made = std::make_shared<FrameAccount>();
  accounts.by_trace[trace.id()] = made;
  return made;
}

FrameTotals FrameAccount::Totals(video::VideoStreamType type) const {
  FrameTotals totals;
  // What comes is counted first and asked last, so that nothing seems to be one too many.
  totals.stream = streams_[IndexOf(type)].Counts();
  totals.source = source_.Counts();
  return totals;
}

std::shared_ptr<FrameCounters> FrameAccount::Source(const std::shared_ptr<FrameAccount>& account) {
  return {account, &account->source_};
}

std::shared_ptr<FrameCounters> FrameAccount::Stream(const std::shared_ptr<FrameAccount>& account,
                                                    video::VideoStreamType type) {
  return {account, &account->streams_[IndexOf(type)]};
}

}  // namespace movra::media

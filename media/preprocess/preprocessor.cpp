#include "media/preprocess/preprocessor.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "base/weak_bind.h"
#include "logging/guarded_call.h"
#include "media/frame/platform_objects.h"
#include "media/text/warning.h"
#include "video/to_string.h"

namespace movra::media {

using movra_logging::CallGuarded;
using video::InterceptPosition;
using video::PixelFrame;

namespace {

constexpr char kLogFile[] = "../../media/preprocess/preprocessor";

// Longer than it takes to connect what frames come from, on the slowest machine.
constexpr std::chrono::seconds kInputIsDue{1};

constexpr char kReader[] = "The reader of captured frames";
constexpr char kWriter[] = "The frame writer of an encoder";

using Image = video::ObjcWrapper<NSImage>;

// The same object: one share count, and one address where several objects share a count.
template <class T>
bool IsSame(const std::weak_ptr<T>& a, const std::weak_ptr<T>& b) {
  return !a.owner_before(b) && !b.owner_before(a) && a.lock() == b.lock();
}

// Whether one of them was an encoder's.
template <class T>
bool Remove(std::vector<Attachment<T>>& attachments, const std::weak_ptr<T>& target) {
  bool was_for_encoder = false;
  std::erase_if(attachments, [&](const Attachment<T>& a) {
    if (!IsSame(a.target, target)) return false;
    a.flags->is_removed = true;
    was_for_encoder |= a.is_for_encoder;
    return true;
  });
  return was_for_encoder;
}

void Answer(Preprocessor::SnapshotCallback on_done, const std::shared_ptr<Image>& image) {
  static_cast<void>(
      CallGuarded("The callback of a snapshot", [&] { std::move(on_done).Run(image); }));
}

}  // namespace

// Ends a change when the main queue has run it, or drops it unrun.
class Preprocessor::ChangeEnd {
 public:
  ChangeEnd(std::weak_ptr<Preprocessor> preprocessor, std::uint64_t change)
      : preprocessor_(std::move(preprocessor)), change_(change) {}
  ~ChangeEnd() {
    if (const auto preprocessor = preprocessor_.lock()) preprocessor->EndChange(change_);
  }
  ChangeEnd(const ChangeEnd&) = delete;
  ChangeEnd& operator=(const ChangeEnd&) = delete;

 private:
  const std::weak_ptr<Preprocessor> preprocessor_;
  const std::uint64_t change_;
};

bool Preprocessor::Taken::IsLossless() const {
  const auto* const frame = std::get_if<PixelFrame>(&item);
  return frame != nullptr && frame->info().delivery == video::FrameDelivery::kLossless;
}

Preprocessor::Preprocessor(const video::VideoContext& context,
                           std::shared_ptr<core::DispatchQueue> queue, std::vector<StageRow> rows)
    : context_(context),
      queue_(std::move(queue)),
      account_(FrameAccount::Of(context.trace())),
      checker_("a preprocessor", context),
      pipeline_(context, account_),
      stages_(std::move(rows)) {
  ChangeStages([](StageSettings& /*as it is*/) {});
}

// The callbacks stay where they are installed: they find the object gone, and the ends may have new
// owners by the time the last reference goes.
Preprocessor::~Preprocessor() {
  CountStopped(held_);
  DropSnapshots();
}

void Preprocessor::StartProcessing() {
  checker_.Check();
  if (run_ == 0) BeginRun();
  Schedule();
}

void Preprocessor::BeginRun() {
  const auto faults = std::make_shared<FrameFaultLog>(context_);
  std::shared_ptr<video::IPixelFrameTrackReader> reader;
  {
    const std::lock_guard lock(mutex_);
    run_ = ++runs_;
    faults_ = faults;
    reader = reader_.lock();
  }
  if (reader) CheckFrames(*reader, faults);
  // The first start is that of a producer, which needs no source yet.
  if (!has_stopped_) return;
  core::GetMainQueue()->PostDelayed(
      movra_base::BindOnce(&Preprocessor::TellIfWithoutInput, weak_from_this(), runs_),
      kInputIsDue);
}

void Preprocessor::TellIfWithoutInput(std::uint64_t run) {
  bool was_given = false;
  {
    const std::lock_guard lock(mutex_);
    if (run_ != run || is_reader_known_ || !reader_.expired()) return;
    was_given = !IsSameInput({});
  }
  Warn(context_, kLogFile,
       was_given ? "The reader of the input was gone before its first frame: it is held weakly, "
                   "keep it alive"
                 : "No input is connected: SetCustomCaptureInputTrack connects one that is set "
                   "after EnableCustomCapturing(true), not before");
}

void Preprocessor::SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) {
  checker_.Check();
  const auto added = reader.lock();
  const auto faults = std::make_shared<FrameFaultLog>(context_);
  if (added) {
    CountInto(*added, FrameAccount::Source(account_));
    CheckFrames(*added, faults);
  }
  std::weak_ptr<video::IPixelFrameTrackReader> replaced = std::move(reader);
  {
    const std::lock_guard lock(mutex_);
    reader_.swap(replaced);
    faults_ = faults;
    is_reader_known_ = false;
  }
  const auto removed = replaced.lock();
  // Ends may be the application's: one that throws here has no callback, and that is all.
  if (removed && removed != added) {
    CheckFrames(*removed, nullptr);
    static_cast<void>(CallGuarded(kReader, [&] { removed->SetReadableCallback({}); }));
  }
  if (added) {
    static_cast<void>(CallGuarded(kReader, [&] {
      added->SetReadableCallback(MakeWeakBind(weak_from_this(), &Preprocessor::Schedule));
    }));
  }
}

void Preprocessor::AddInterceptor(InterceptPosition position,
                                  const video::CustomProcessParams& params,
                                  std::weak_ptr<video::VideoInterceptorListener> listener) {
  checker_.Check();
  if (!IsPosition(position, "interceptor")) return;
  Change([&](PipelineSettings& settings) {
    Add(settings.interceptors, {position, params, std::move(listener)});
  });
}

void Preprocessor::RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) {
  checker_.Check();
  Change([&](PipelineSettings& settings) { Remove(settings.interceptors, listener); });
}

void Preprocessor::AddOutputTrack(InterceptPosition position,
                                  const video::CustomProcessParams& params,
                                  std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  checker_.Check();
  const auto added = writer.lock();
  if (!IsPosition(position, "frame writer")) return;
  if (added == nullptr) return TellIfNeverUsed(context_, {position, params, std::move(writer)});
  const bool is_for_encoder =
      position == InterceptPosition::kEncoder && IsEncodersWish(params, *added);
  if (is_for_encoder) {
    static_cast<void>(CallGuarded(kWriter, [&] {
      added->SetRoomCallback(MakeWeakBind(weak_from_this(), &Preprocessor::Schedule));
    }));
  }
  const bool returns = is_for_encoder && IsSame(last_removed_, writer);
  Change(
      [&](PipelineSettings& settings) {
        Add(settings.taps, {position, params, std::move(writer), is_for_encoder});
      },
      [&] {
        if (returns) changes_.erase(last_change_);
      });
  if (returns) Schedule();  // Something may have waited for the tap.
}

// Those that drop out are told with no lock held: the settings that change are nobody's yet.
template <class T>
void Preprocessor::Add(std::vector<Attachment<T>>& attachments, Attachment<T> added) {
  std::erase_if(attachments, [this](const Attachment<T>& a) {
    TellIfNeverUsed(context_, a);
    return a.target.expired();
  });
  attachments.push_back(std::move(added));
}

bool Preprocessor::IsPosition(InterceptPosition position, const char* what) {
  const auto positions = video::NamedValues<InterceptPosition>();
  const bool is_one = std::any_of(positions.begin(), positions.end(),
                                  [&](const auto& named) { return named.value == position; });
  if (!is_one) {
    Warn(context_, kLogFile,
         "There is no position " + video::InterceptPositionToString(position) + ": the " + what +
             " is not added");
  }
  return is_one;
}

bool Preprocessor::IsEncodersWish(const video::CustomProcessParams& params,
                                  const video::IPixelFrameTrackWriter& writer) const {
  if (params.width != 0 || params.height != 0) return true;
  return CountsInto(writer, *FrameAccount::Stream(account_, params.stream_type));
}

void Preprocessor::RemoveOutputTrack(std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  checker_.Check();
  bool was_for_encoder = false;
  Change([&](PipelineSettings& settings) { was_for_encoder = Remove(settings.taps, writer); },
         [&] {
           if (was_for_encoder) changes_.insert(++last_change_);
         });
  if (!was_for_encoder) return;
  if (const auto removed = writer.lock()) {
    static_cast<void>(CallGuarded(kWriter, [&] { removed->SetRoomCallback({}); }));
  }
  last_removed_ = std::move(writer);
  core::GetMainQueue()->Post(
      movra_base::BindOnce([](const std::shared_ptr<ChangeEnd>& /*end*/) {},
                           std::make_shared<ChangeEnd>(weak_from_this(), last_change_)));
}

void Preprocessor::EndChange(std::uint64_t change) {
  {
    const std::lock_guard lock(mutex_);
    changes_.erase(change);
  }
  Schedule();  // What is held may have waited for the tap, or for the change.
}

void Preprocessor::StopProcessing() {
  checker_.Check();
  has_stopped_ = true;
  video::TrackItem dropped;  // Released after the lock.
  {
    const std::lock_guard lock(mutex_);
    run_ = 0;
    dropped = std::exchange(held_, {});
  }
  CountStopped(dropped);
  DropSnapshots();
}

void Preprocessor::Snapshot(SnapshotCallback on_done) {
  checker_.Check();
  {
    const std::lock_guard lock(mutex_);
    if (run_ != 0) {
      snapshots_.push_back(std::move(on_done));
      return;
    }
  }
  Answer(std::move(on_done), nullptr);
}

void Preprocessor::Change(const std::function<void(PipelineSettings&)>& change,
                          const std::function<void()>& and_also) {
  auto changed = std::make_shared<PipelineSettings>(*settings_);  // Only this thread replaces it.
  change(*changed);
  std::shared_ptr<const PipelineSettings> replaced = std::move(changed);
  const std::lock_guard lock(mutex_);
  settings_.swap(replaced);
  if (and_also) and_also();
}

void Preprocessor::DropSnapshots() {
  std::vector<SnapshotCallback> dropped;
  {
    const std::lock_guard lock(mutex_);
    dropped.swap(snapshots_);
  }
  for (SnapshotCallback& on_done : dropped) Answer(std::move(on_done), nullptr);
}

void Preprocessor::Schedule() {
  if (queue_ == nullptr || is_scheduled_.exchange(true)) return;
  queue_->Post(movra_base::BindOnce(&Preprocessor::ProcessNext, weak_from_this()));
}

void Preprocessor::ProcessNext() {
  is_scheduled_ = false;  // First: what is written from here on posts a task of its own.
  Taken taken = Take();
  if (std::holds_alternative<std::monostate>(taken.item)) return;
  const Terms terms = Join(taken);
  if (terms.settings == nullptr) {
    CountStopped(taken.item);
  } else if ((terms.is_changing && (taken.IsLossless() || taken.IsEnd())) ||
             (taken.IsLossless() && !EncodersHaveRoom(*terms.settings))) {
    return Hold(std::move(taken));
  } else if (auto* const frame = std::get_if<PixelFrame>(&taken.item)) {
    Process(std::move(*frame), terms, taken.run);
  } else {
    WriteEndToTaps(*terms.settings, std::get<video::StreamEnd>(taken.item),
                   [this, run = taken.run] { return run_ != run; });
  }
  Schedule();  // For what the input holds besides.
}

// What is held comes first. Nothing is read while processing is stopped.
Preprocessor::Taken Preprocessor::Take() {
  Taken taken;
  std::shared_ptr<video::IPixelFrameTrackReader> reader;
  {
    const std::lock_guard lock(mutex_);
    taken.run = run_;
    if (taken.run == 0) return taken;
    taken.item = std::exchange(held_, {});
    if (!std::holds_alternative<std::monostate>(taken.item)) return taken;
    taken.reader = reader_;
    reader = reader_.lock();
    is_reader_known_ |= reader != nullptr;
  }
  if (reader == nullptr) return taken;
  const bool has_returned = CallGuarded(kReader, [&] { taken.item = reader->Read(); });
  if (!has_returned) Detach(taken.reader);
  // A reader of the application's own does not count what comes.
  const auto source = FrameAccount::Source(account_);
  const bool is_frame = std::holds_alternative<PixelFrame>(taken.item);
  if (is_frame && !CountsInto(*reader, *source)) source->Come();
  clock_.Place(taken.item);
  return taken;
}

void Preprocessor::Detach(const std::weak_ptr<video::IPixelFrameTrackReader>& reader) {
  const std::lock_guard lock(mutex_);
  if (IsSameInput(reader)) reader_.reset();
}

// By owner alone: comparing the objects would share them, and give the last share back under the
// lock.
bool Preprocessor::IsSameInput(const std::weak_ptr<video::IPixelFrameTrackReader>& reader) const {
  return !reader.owner_before(reader_) && !reader_.owner_before(reader);
}

// Everything may have changed since the item was taken. What was taken before a stop is over with
// it; but an input that lives on across a stop and a start keeps what it holds, and nobody can tell
// whether it was read before the start or after it.
Preprocessor::Terms Preprocessor::Join(Taken& taken) {
  const std::lock_guard lock(mutex_);
  const bool lives_on = !taken.reader.expired() && IsSameInput(taken.reader);
  if (run_ == 0 || (run_ != taken.run && !lives_on)) return {};
  taken.run = run_;
  return {settings_, !changes_.empty(), faults_};
}

// Whatever makes room or ends a change from here on posts a task, and that runs after this one.
void Preprocessor::Hold(Taken taken) {
  {
    const std::lock_guard lock(mutex_);
    if (run_ == taken.run) {
      held_ = std::move(taken.item);
      return;
    }
  }
  CountStopped(taken.item);
}

void Preprocessor::Process(PixelFrame frame, const Terms& terms, std::uint64_t run) {
  // Of a reader of the application's own, or written before its track was the input.
  if (const FrameFault fault = FindFault(frame)) {
    FrameAccount::Source(account_)->Count(FrameFate::kNotMade);
    return terms.faults->Tell(fault, frame.info());
  }
  const PixelFrame upright =
      pipeline_.Process(std::move(frame), *terms.settings, [this, run] { return run_ != run; });
  ++processed_;
  if (!upright) return;
  // Taken in one step with the run: whoever asks from here on is shown a later frame.
  std::vector<SnapshotCallback> asked;
  {
    const std::lock_guard lock(mutex_);
    if (run_ == run) asked.swap(snapshots_);
  }
  if (asked.empty()) return;
  PixelFrame made = pipeline_.ToImage(upright);
  const bool is_shown = made && run_ == run;
  const auto image = is_shown ? std::make_shared<Image>(std::move(made)) : nullptr;
  for (SnapshotCallback& on_done : asked) Answer(std::move(on_done), image);
}

void Preprocessor::CountStopped(const video::TrackItem& item) {
  if (!std::holds_alternative<PixelFrame>(item)) return;
  FrameAccount::Source(account_)->Count(FrameFate::kStopped);
}

}  // namespace movra::media

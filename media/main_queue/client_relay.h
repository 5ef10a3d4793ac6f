// A collaborator's way back to its client: events, posted to the main queue.
//
//   ClientRelay<Client> relay_{"The client of the renderer", client};
//
//   void Start() { thread_ = std::thread([events = relay_.Open()] {
//                    events.Post([](Client& client) { client.OnRenderError(...); }); }); }
//   void Stop() { relay_.Close(); }
//
// The client is held weakly. An event belongs to the start that its sender was given at: once that
// is over, by `Close` or with the relay, the event is dropped on the main queue, even if another
// start has begun by then. It goes to whoever is the client when its turn comes, so a client that
// was replaced hears nothing more.
//
// A client that was gone before its first event is told in one warning line: most likely it was
// given as a temporary.
//
// A client that throws is told in one warning line and hears no more of that start: not before the
// relay is closed and opened again, or given a client anew.

#ifndef MOVRA_MEDIA_MAIN_QUEUE_CLIENT_RELAY_H_
#define MOVRA_MEDIA_MAIN_QUEUE_CLIENT_RELAY_H_

#include <atomic>
#include <concepts>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "base/once_callback.h"
#include "logging/guarded_call.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/main_queue/weak_main_queue.h"

namespace movra::media {

template <class Client>
class ClientRelay {
  class Delivery;

 public:
  // Sends the events of one start. Copies belong to the same start and may outlive the relay.
  class Sender {
   public:
    // Has `event` called with the client on the main queue, in the order of the calls. Returns
    // without waiting. The queue is that of the relay's `Open`; if it is gone, so is the event. Any
    // thread.
    template <std::invocable<Client&> Event>
    void Post(Event event) const {
      main_queue_.Post(movra_base::BindOnce(
          [delivery = delivery_, start = start_, event = std::move(event)]() mutable {
            delivery->Run(start, event);
          }));
    }

   private:
    friend class ClientRelay;
    Sender(std::shared_ptr<Delivery> delivery, std::uint64_t start)
        : delivery_(std::move(delivery)), start_(start) {}

    std::shared_ptr<Delivery> delivery_;
    std::uint64_t start_;
    WeakMainQueue main_queue_;
  };

  // `whose` begins the line about what the client threw; it is a constant of the program.
  explicit ClientRelay(std::string_view whose, std::weak_ptr<Client> client = {})
      : delivery_(std::make_shared<Delivery>(whose, std::move(client))) {}
  // Any thread, because the last share of a collaborator may go elsewhere.
  ~ClientRelay() { Close(); }
  ClientRelay(const ClientRelay&) = delete;
  ClientRelay& operator=(const ClientRelay&) = delete;

  // Begins a start, unless one is open already: then its sender is given once more. Main queue.
  [[nodiscard]] Sender Open() {
    if (!delivery_->IsOpen()) delivery_->Begin(++starts_);
    return Sender(delivery_, starts_);
  }

  // Ends the start: no event of it is delivered from now on. One in progress on another thread may
  // end. Any thread.
  void Close() { delivery_->End(); }

  // Replaces the client. Main queue.
  void SetClient(std::weak_ptr<Client> client) { delivery_->SetClient(std::move(client)); }

 private:
  // Outlives the relay with the events on their way. Main queue, but for `End`.
  class Delivery {
   public:
    Delivery(std::string_view whose, std::weak_ptr<Client> client)
        : whose_(whose), client_(std::move(client)) {}

    [[nodiscard]] bool IsOpen() const { return open_ != 0; }
    void Begin(std::uint64_t start) {
      has_thrown_ = false;
      open_ = start;
    }
    void End() { open_ = 0; }
    void SetClient(std::weak_ptr<Client> client) {
      has_thrown_ = false;
      is_known_ = false;
      client_ = std::move(client);
    }

    template <class Event>
    void Run(std::uint64_t start, Event& event) {
      if (open_ != start || has_thrown_) return;
      const std::shared_ptr<Client> client = client_.lock();
      if (!std::exchange(is_known_, true) && client == nullptr) TellThatItIsGone();
      if (client == nullptr) return;
      if (movra_logging::CallGuarded(whose_, [&] { event(*client); })) return;
      // Unless it was replaced, or another start begun, before it threw.
      has_thrown_ = open_ == start && client_.lock() == client;
    }

   private:
    void TellThatItIsGone() const {
      const std::weak_ptr<Client> none;
      if (!client_.owner_before(none) && !none.owner_before(client_)) return;  // None was given.
      constexpr int kWarning = movra_logging::kLogLevelWarning;
      if (!movra_logging::ShouldCreateLogMessage(kWarning)) return;
      LogStream("media/main_queue/client_relay", __LINE__, __func__, kWarning, nullptr)
          << whose_ << " was gone before its first event: it is held weakly, keep it alive";
    }

    const std::string_view whose_;
    std::weak_ptr<Client> client_;
    bool is_known_ = false;  // Was found alive, or looked for.
    bool has_thrown_ = false;
    // The start whose events are delivered, 0 for none. Written on the main queue, and at the end
    // of the relay on any thread.
    std::atomic<std::uint64_t> open_ = 0;
  };

  const std::shared_ptr<Delivery> delivery_;
  std::uint64_t starts_ = 0;  // The main queue's.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_MAIN_QUEUE_CLIENT_RELAY_H_

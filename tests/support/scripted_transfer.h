// The transfer control of tests: every Execute plays the next scripted answer through the event loop. It keeps the
// port's contract (one delivery at a time, an abandoned transfer tells nothing more), which the contract suite shows.
// Belongs to the test; an Execute that nobody scripted fails it.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "ports/event_loop.h"
#include "ports/transfer.h"

namespace tsly {

// What one Execute leads to: a fault at once, or the states, one after another. The body can be read once a 7 or 12 has
// been delivered, until an 11 or a Cancel; `code` and `info` are the last error from the delivery of the 11 on, or of
// the last state without one. When the states are through, silence.
struct Answer {
  Fault fault{};
  std::vector<std::int16_t> states{};
  std::chrono::milliseconds step{0};  // before each state; 0: as fast as the loop turns
  std::string body{};
  std::int32_t code = 0;
  std::string info{};
};

Answer Received(std::string body);
// Told by the number as the real control tells it: name unknown, refused, or else cut off. A `body` is what had
// arrived.
Answer Failed(std::int32_t code, std::string info, std::string body = "");
Answer FaultAtOnce(std::int32_t number, std::string description);
Answer Silent(auto... states) { return {.states = {static_cast<std::int16_t>(states)...}}; }

class ScriptedTransfer : public TransferControl {
 public:
  explicit ScriptedTransfer(EventLoop& loop) : loop_(loop) {}
  ~ScriptedTransfer() override;

  std::deque<Answer> answers;         // taken from the front, one by each Execute
  std::vector<std::string> requests;  // the addresses, as given
  std::int32_t request_timeout = 0;
  std::int16_t protocol = 0;
  std::string spool_folder;
  int cancelled = 0;                             // calls of Cancel
  std::optional<std::size_t> chunk_fault_after;  // so many chunks of a response can be read, then comes a fault
  std::function<void()> before_chunk;            // called at the beginning of each GetChunk

  // Its states follow those of the transfer at hand that are not yet delivered; body and error are replaced.
  void Continue(const Answer& answer);
  // Calls the handler at once, for what the event loop can't bring about.
  void Deliver(std::int16_t state);

  void SetStateChanged(std::function<void(std::int16_t state)> handler) override { handler_ = std::move(handler); }
  void SetRequestTimeout(std::int32_t seconds) override { request_timeout = seconds; }
  void SetProtocol(std::int16_t number) override { protocol = number; }
  void SetSpoolFolder(const std::string& folder) override { spool_folder = folder; }
  Fault Execute(const std::string& url, const std::string& operation) override;
  void Cancel() override;
  Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) override;
  std::int32_t ResponseCode() override { return code_; }
  std::string ResponseInfo() override { return info_; }

 private:
  struct Run {
    Answer answer;
    std::size_t delivered = 0;
    bool busy = false;  // a state is on its way, or the handler has not come back
    bool abandoned = false;
    TimerId timer = 0;
  };

  void Abandon();
  void Schedule(const std::shared_ptr<Run>& run);
  void DeliverNext(const std::shared_ptr<Run>& run);

  EventLoop& loop_;
  std::function<void(std::int16_t)> handler_;
  std::shared_ptr<Run> run_;  // the transfer at hand, if any; a delivery in progress holds its own for longer
  std::string body_;
  std::size_t read_ = 0, chunks_ = 0;
  std::int32_t code_ = 0;
  std::string info_;
};

}  // namespace tsly

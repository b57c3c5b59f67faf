// The transfer control of tests: every Execute plays the next scripted answer through the event loop. Tested by the
// port's contract suite (one delivery at a time, none of an abandoned transfer). Owned by the test; an unscripted
// Execute fails it.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "ports/event_loop.h"
#include "ports/transfer.h"

namespace tsly {

// The result of one Execute: a fault at once, or a sequence of states. The body is readable after a 7 or 12 until an 11
// or a Cancel; `code` and `info` are the last error after the 11, or after the last state if there is none. After the
// last state nothing more happens.
struct Answer {
  Fault fault{};
  std::vector<std::int16_t> states{};
  std::chrono::milliseconds step{0};  // before each state; 0: as fast as the loop runs
  std::string body{};
  std::int32_t code = 0;
  std::string info{};
};

Answer Received(std::string body);
// The states depend on the number, as in the real control: unknown name, refused, otherwise cut off. `body` is the part
// that arrived.
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
  std::optional<std::size_t> chunk_fault_after;  // the number of readable chunks before a fault
  std::function<void()> before_chunk;            // called at the beginning of each GetChunk

  // Appends the states to the undelivered ones of the current transfer; replaces body and error.
  void Continue(const Answer& answer);
  // Calls the handler at once, for cases that the event loop can't produce.
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
    bool busy = false;  // a state is posted, or the handler is running
    bool abandoned = false;
    TimerId timer = 0;
  };

  void Abandon();
  void Schedule(const std::shared_ptr<Run>& run);
  void DeliverNext(const std::shared_ptr<Run>& run);

  EventLoop& loop_;
  std::function<void(std::int16_t)> handler_;
  std::shared_ptr<Run> run_;  // the current transfer, if any; a delivery in progress keeps its own alive
  std::string body_;
  std::size_t read_ = 0, chunks_ = 0;
  std::int32_t code_ = 0;
  std::string info_;
};

}  // namespace tsly

// Shared by the transfer controls of all editions: handles one request at a time, spools the response to disk and
// delivers states through the event loop. Owned by the program, on its only thread. Tests of the core use
// ScriptedTransfer instead; one contract suite tests both.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "common/response_spool.h"
#include "common/transfer_states.h"
#include "ports/event_loop.h"
#include "ports/transfer.h"

namespace tsly {

inline constexpr int kMostRedirects = 10;
inline constexpr std::chrono::milliseconds kBetweenProgress{50};  // the minimum between two calls of ReceiveMore
std::string UserAgent();

// One GET, until its end or its destruction. Adds to the states and to the spool, and clears the spool before it adds a
// failure.
class TransferRequest {
 public:
  virtual ~TransferRequest() = default;
  // Why it failed; no fault while it runs and after success.
  virtual const Fault& Error() const = 0;
  virtual bool HasEnded() const = 0;
};

class QueuedTransfer : public TransferControl {
 public:
  QueuedTransfer(EventLoop& loop, std::unique_ptr<ResponseSpool> spool) : loop_(loop), spool_(std::move(spool)) {}
  // Allowed during a transfer, even inside its handler.
  ~QueuedTransfer() override { QueuedTransfer::Cancel(); }

  void SetStateChanged(std::function<void(std::int16_t state)> handler) override { handler_ = std::move(handler); }
  void SetRequestTimeout(std::int32_t seconds) override { idle_time_out_ = std::chrono::seconds(seconds); }
  void SetProtocol(std::int16_t) override {}  // the address has it
  void SetSpoolFolder(const std::string& folder) override { spool_->SetFolder(folder); }
  Fault Execute(const std::string& url, const std::string& operation) override;
  void Cancel() override;
  // Also returns parts of a response that is still arriving.
  Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) override;
  std::int32_t ResponseCode() override { return error_.number; }
  std::string ResponseInfo() override { return error_.description; }

 protected:
  struct Start {
    std::string address;                 // as returned by UsableAddress
    std::chrono::seconds idle_time_out;  // without a byte; 0: none
    ResponseSpool& spool;
    TransferStates& states;
    std::function<void()> changed;  // called from the loop when there are new states; must not destroy the request
  };

 private:
  struct Delivery;

  // Sets `address` to the form for a request; a fault for an invalid one (12005, 12006).
  virtual Fault UsableAddress(const std::string& given, std::string& address) = 0;
  virtual std::unique_ptr<TransferRequest> Begin(const Start& start) = 0;

  void Schedule(const std::shared_ptr<Delivery>& delivery);
  void DeliverNext(const std::shared_ptr<Delivery>& delivery);

  EventLoop& loop_;
  std::unique_ptr<ResponseSpool> spool_;
  std::function<void(std::int16_t)> handler_;
  std::chrono::seconds idle_time_out_{60};
  std::shared_ptr<Delivery> delivery_;        // of the current transfer; a posted event keeps it alive
  std::unique_ptr<TransferRequest> request_;  // writes into the delivery's states
  Fault error_;
};

}  // namespace tsly

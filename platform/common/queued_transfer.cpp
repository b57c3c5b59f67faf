#include "common/queued_transfer.h"

#include <algorithm>

#include "base/text.h"
#include "base/version.h"
#include "common/transfer_errors.h"

namespace tsly {

std::string UserAgent() {
  return "tslyCheckNew/" + std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
         std::to_string(kVersionRevision);
}

// The undelivered states of one transfer. Each transfer has its own, so that a handler can start the next transfer and
// wait for its states.
struct QueuedTransfer::Delivery {
  TransferStates states;
  bool posted = false;      // an event is posted
  bool delivering = false;  // the handler is running
  bool abandoned = false;   // the control may be destroyed
};

Fault QueuedTransfer::Execute(const std::string& url, const std::string& operation) {
  Cancel();
  error_ = {};
  std::string address;
  if (Fault fault = UsableAddress(url, address)) return fault;
  if (!EqualIgnoringCase(operation, "GET")) return InternetError(kInternetInvalidOperation);
  delivery_ = std::make_shared<Delivery>();
  const auto changed = [this] {
    error_ = request_->Error();
    Schedule(delivery_);
  };
  request_ = Begin({address, idle_time_out_, *spool_, delivery_->states, changed});
  Schedule(delivery_);
  return {};
}

void QueuedTransfer::Cancel() {
  request_.reset();
  if (delivery_) delivery_->abandoned = true;
  delivery_.reset();
  spool_->Clear();
}

void QueuedTransfer::Schedule(const std::shared_ptr<Delivery>& delivery) {
  if (delivery->posted || delivery->delivering || delivery->states.IsEmpty()) return;
  delivery->posted = true;
  loop_.Post([this, delivery] {
    if (!delivery->abandoned) DeliverNext(delivery);
  });
}

void QueuedTransfer::DeliverNext(const std::shared_ptr<Delivery>& delivery) {
  delivery->posted = false;
  const std::int16_t state = delivery->states.Take();
  const auto handler = handler_;  // the handler may set another one
  delivery->delivering = true;
  if (handler) handler(state);
  delivery->delivering = false;
  if (!delivery->abandoned) Schedule(delivery);
}

Fault QueuedTransfer::GetChunk(std::int32_t size, ChunkType, std::string& chunk) {
  const int code = spool_->Read(static_cast<std::size_t>(std::max(size, 0)), chunk);
  // Frees the disk space after a complete read, because a pack is unpacked next, and after a failed one.
  const bool at_end = code == 0 && size > 0 && chunk.empty() && request_ && request_->HasEnded();
  if (at_end || code != 0) spool_->Clear();
  return code == 0 ? Fault{} : InternetError(code);
}

}  // namespace tsly

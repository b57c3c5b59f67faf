#include "posix/curl_transfer.h"

#include <algorithm>

#include "base/text.h"
#include "common/transfer_states.h"
#include "posix/curl_errors.h"
#include "posix/curl_request.h"
#include "posix/transfer_address.h"

namespace tsly {

// The undelivered states of one transfer. Each transfer has its own, so that a handler can start the next transfer and
// wait for its states.
struct CurlTransfer::Delivery {
  TransferStates states;
  bool posted = false;      // an event is posted
  bool delivering = false;  // the handler is running
  bool abandoned = false;   // the control may be destroyed
};

CurlTransfer::CurlTransfer(DescriptorWatch& watch, EventLoop& loop, std::function<std::filesystem::path()> spool_folder,
                           std::string authorities)
    : watch_(watch), loop_(loop), spool_(std::move(spool_folder)), authorities_(std::move(authorities)) {}

CurlTransfer::~CurlTransfer() { Cancel(); }

Fault CurlTransfer::Execute(const std::string& url, const std::string& operation) {
  Cancel();
  error_ = {};
  std::string address;
  if (Fault fault = UsableAddress(url, address)) return fault;
  if (!EqualIgnoringCase(operation, "GET")) return InternetError(kInternetInvalidOperation);
  delivery_ = std::make_shared<Delivery>();
  const CurlRequest::Setup setup{.url = address, .idle_time_out = idle_time_out_, .authorities = authorities_};
  request_ = std::make_unique<CurlRequest>(watch_, spool_, delivery_->states, setup, [this] {
    error_ = request_->Error();
    Schedule(delivery_);
  });
  Schedule(delivery_);
  return {};
}

void CurlTransfer::Cancel() {
  request_.reset();
  if (delivery_) delivery_->abandoned = true;
  delivery_.reset();
  spool_.Clear();
}

void CurlTransfer::Schedule(const std::shared_ptr<Delivery>& delivery) {
  if (delivery->posted || delivery->delivering || delivery->states.IsEmpty()) return;
  delivery->posted = true;
  loop_.Post([this, delivery] {
    if (!delivery->abandoned) DeliverNext(delivery);
  });
}

void CurlTransfer::DeliverNext(const std::shared_ptr<Delivery>& delivery) {
  delivery->posted = false;
  const std::int16_t state = delivery->states.Take();
  const auto handler = handler_;  // the handler may set another one
  delivery->delivering = true;
  if (handler) handler(state);
  delivery->delivering = false;
  if (!delivery->abandoned) Schedule(delivery);
}

Fault CurlTransfer::GetChunk(std::int32_t size, ChunkType, std::string& chunk) {
  const int code = spool_.Read(static_cast<std::size_t>(std::max(size, 0)), chunk);
  // Frees the disk space after a complete read, because a pack is unpacked next, and after a failed one.
  const bool at_end = code == 0 && size > 0 && chunk.empty() && request_ && request_->HasEnded();
  if (at_end || code != 0) spool_.Clear();
  return code == 0 ? Fault{} : InternetError(code);
}

}  // namespace tsly

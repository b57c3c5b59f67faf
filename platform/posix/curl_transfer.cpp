#include "posix/curl_transfer.h"

#include "posix/curl_address.h"
#include "posix/curl_request.h"
#include "posix/spool_file.h"

namespace tsly {

CurlTransfer::CurlTransfer(DescriptorWatch& watch, EventLoop& loop, std::string authorities)
    : QueuedTransfer(loop, std::make_unique<SpoolFile>()), watch_(watch), authorities_(std::move(authorities)) {}

Fault CurlTransfer::UsableAddress(const std::string& given, std::string& address) {
  return tsly::UsableAddress(given, address);
}

std::unique_ptr<TransferRequest> CurlTransfer::Begin(const Start& start) {
  const CurlRequest::Setup setup{
      .url = start.address, .idle_time_out = start.idle_time_out, .authorities = authorities_};
  return std::make_unique<CurlRequest>(watch_, start.spool, start.states, setup, start.changed);
}

}  // namespace tsly

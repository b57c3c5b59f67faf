// The transfer control of the Linux edition, on libcurl.
#pragma once

#include <string>

#include "common/queued_transfer.h"
#include "posix/descriptor_watch.h"

namespace tsly {

class CurlTransfer : public QueuedTransfer {
 public:
  // `authorities` is a file of trusted certificates, for tests; "": the system's.
  CurlTransfer(DescriptorWatch& watch, EventLoop& loop, std::string authorities = "");

 private:
  Fault UsableAddress(const std::string& given, std::string& address) override;
  std::unique_ptr<TransferRequest> Begin(const Start& start) override;

  DescriptorWatch& watch_;
  std::string authorities_;
};

}  // namespace tsly

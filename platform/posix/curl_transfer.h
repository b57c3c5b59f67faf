// The transfer control of the Linux edition: one request at a time with libcurl; spools the response to disk and
// delivers states through the event loop. Owned by the program, on its only thread. Tests of the core use
// ScriptedTransfer instead; one contract suite tests both.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "ports/event_loop.h"
#include "ports/transfer.h"
#include "posix/descriptor_watch.h"
#include "posix/spool_file.h"

namespace tsly {

class CurlRequest;

class CurlTransfer : public TransferControl {
 public:
  // Calls `spool_folder` when the first byte of a response arrives; the folder must exist by then. `authorities` is a
  // file of trusted certificates, for tests; "": the system's.
  CurlTransfer(DescriptorWatch& watch, EventLoop& loop, std::function<std::filesystem::path()> spool_folder,
               std::string authorities = "");
  // Allowed during a transfer, even inside its handler.
  ~CurlTransfer() override;

  void SetStateChanged(std::function<void(std::int16_t state)> handler) override { handler_ = std::move(handler); }
  void SetRequestTimeout(std::int32_t seconds) override { idle_time_out_ = std::chrono::seconds(seconds); }
  void SetProtocol(std::int16_t) override {}  // the address has it
  Fault Execute(const std::string& url, const std::string& operation) override;
  void Cancel() override;
  // Also returns parts of a response that is still arriving.
  Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) override;
  std::int32_t ResponseCode() override { return error_.number; }
  std::string ResponseInfo() override { return error_.description; }

 private:
  struct Delivery;

  void Schedule(const std::shared_ptr<Delivery>& delivery);
  void DeliverNext(const std::shared_ptr<Delivery>& delivery);

  DescriptorWatch& watch_;
  EventLoop& loop_;
  SpoolFile spool_;
  std::string authorities_;
  std::function<void(std::int16_t)> handler_;
  std::chrono::seconds idle_time_out_{60};
  std::shared_ptr<Delivery> delivery_;    // of the current transfer; a posted event keeps it alive
  std::unique_ptr<CurlRequest> request_;  // writes into the delivery's states
  Fault error_;
};

}  // namespace tsly

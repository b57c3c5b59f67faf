// The Internet transfer control: one HTTP request at a time. Reports its states as events and keeps the response until
// it has been read in chunks.
//
// One thread, the program's. The event loop delivers the states in order, one at a time, never inside a call of this
// interface; a handler may call anything here and may process events. The response is spooled to disk as it arrives, so
// memory doesn't grow with it. The disk space is freed when the response has been read completely, and at once if the
// transfer fails or is cancelled. Addresses and error texts are UTF-8; the response is bytes, never converted.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ports/fault.h"

namespace tsly {

enum TransferState : std::int16_t {
  icNone = 0,
  icResolvingHost = 1,
  icHostResolved = 2,
  icConnecting = 3,
  icConnected = 4,
  icRequesting = 5,
  icRequestSent = 6,
  icReceivingResponse = 7,  // repeatedly while the body arrives
  icResponseReceived = 8,
  icDisconnecting = 9,
  icDisconnected = 10,
  icError = 11,
  icResponseCompleted = 12,
};

enum class ChunkType : std::int16_t { icString = 0, icByteArray = 1 };

inline constexpr std::int16_t icHTTP = 4;

// The numbers of the Internet functions (wininet.h) that the core uses.
inline constexpr std::int32_t kNameNotResolved = 12007;

class TransferControl {
 public:
  virtual ~TransferControl() = default;

  virtual void SetStateChanged(std::function<void(std::int16_t state)> handler) = 0;

  // The transfer fails (12002) after so many seconds without a byte; no limit on its total time.
  virtual void SetRequestTimeout(std::int32_t seconds) = 0;
  virtual void SetProtocol(std::int16_t protocol) = 0;
  // The folder (folders.h) for spooled responses. Must be set before the first Execute and exist when a response
  // begins.
  virtual void SetSpoolFolder(const std::string& folder) = 0;

  // Starts a request. Cancels an older one first, so that none of its states is delivered any more. Clears the last
  // error. Fails at once for an invalid address (12005, 12006); then no state follows.
  virtual Fault Execute(const std::string& url, const std::string& operation) = 0;

  // Cancels a running request, its undelivered states and its response. Keeps the last error.
  virtual void Cancel() = 0;

  // The next part of the response, at most `size` bytes; empty at the end and after a failed transfer. A fault if it
  // can't be read.
  virtual Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) = 0;

  // Number and text of the last error; 0 and "" if there is none.
  virtual std::int32_t ResponseCode() = 0;
  virtual std::string ResponseInfo() = 0;
};

}  // namespace tsly

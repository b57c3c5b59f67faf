// The Internet transfer control: one HTTP request at a time, its states told as events, its response kept until it has
// been read chunk by chunk.
//
// Belongs to the program's one thread. States are queued and delivered by the event loop, in order, one delivery at a
// time, never inside a call of this interface; a handler may call anything here and may let events run. The response is
// spooled to disk as it arrives; memory doesn't grow with it. The room on the disk is given back as soon as the
// response has been read to its end, and at once when the transfer fails or is abandoned. Addresses and error texts are
// UTF-8; the response is bytes, never converted.
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
  icReceivingResponse = 7,  // again and again while the body arrives
  icResponseReceived = 8,
  icDisconnecting = 9,
  icDisconnected = 10,
  icError = 11,
  icResponseCompleted = 12,
};

enum class ChunkType : std::int16_t { icString = 0, icByteArray = 1 };

inline constexpr std::int16_t icHTTP = 4;

// Numbers of the Internet functions (wininet.h) that this program knows by name.
inline constexpr std::int32_t kNameNotResolved = 12007;

class TransferControl {
 public:
  virtual ~TransferControl() = default;

  virtual void SetStateChanged(std::function<void(std::int16_t state)> handler) = 0;

  // Seconds without a byte after which the transfer fails (12002); not a limit on the whole.
  virtual void SetRequestTimeout(std::int32_t seconds) = 0;
  virtual void SetProtocol(std::int16_t protocol) = 0;
  // The folder (folders.h) on whose disk responses are kept while they are read; set before the first Execute, and
  // there when a response begins.
  virtual void SetSpoolFolder(const std::string& folder) = 0;

  // Starts a request. An older one is abandoned first: none of its states is delivered any more. Clears the last error.
  // Fails at once for an address that can't be used (12005, 12006); no state follows then.
  virtual Fault Execute(const std::string& url, const std::string& operation) = 0;

  // Abandons the request, if one is on its way, with the states not yet delivered, and drops what there is of a
  // response. The last error stays.
  virtual void Cancel() = 0;

  // The next part of the response, at most `size` bytes; empty when all is read, and after a failure. A fault when it
  // can't be read.
  virtual Fault GetChunk(std::int32_t size, ChunkType type, std::string& chunk) = 0;

  // Number and text of the last error; 0 and "" without one.
  virtual std::int32_t ResponseCode() = 0;
  virtual std::string ResponseInfo() = 0;
};

}  // namespace tsly

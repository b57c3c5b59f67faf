// The pending states of a transfer, in the order that the port guarantees: 1 to 6 and 8 to 12 at most once, none
// skipped, 7 repeatedly while the body arrives. A value without clock and network; one thread.
#pragma once

#include <cstdint>
#include <deque>

#include "ports/transfer.h"

namespace tsly {

class TransferStates {
 public:
  // Adds the states up to `state` (1 to 7), including skipped ones. States that were reached before, with an earlier
  // address or before a redirect, aren't repeated.
  void Reach(TransferState state);

  // More of the body has arrived. A pending 7 covers it too.
  void ReceiveMore();

  // The end. If the request was sent, adds the states of the response and the end of the connection first.
  void Complete();
  void Fail();

  bool IsEmpty() const { return waiting_.empty(); }
  // Takes the oldest pending state; there must be one.
  std::int16_t Take();

 private:
  std::deque<std::int16_t> waiting_;
  std::int16_t reached_ = icNone;
};

}  // namespace tsly

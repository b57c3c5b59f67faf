// The states that a transfer owes its listener, in the order that the port promises: 1 to 6 and 8 to 12 at most once,
// none left out before a later one, 7 again while the body arrives. No clock and no network: a value for one thread.
#pragma once

#include <cstdint>
#include <deque>

#include "ports/transfer.h"

namespace tsly {

class TransferStates {
 public:
  // The transfer has come as far as `state` (1 to 7); what was skipped is told as well. One that is reached already, by
  // an earlier address or before a redirect, is not told again.
  void Reach(TransferState state);

  // More of the body has arrived. Told at once with a 7 that nobody has taken yet.
  void ReceiveMore();

  // The end. A transfer whose request went out tells of the response and of the end of the connection first.
  void Complete();
  void Fail();

  bool IsEmpty() const { return waiting_.empty(); }
  // The oldest state not yet taken; there must be one.
  std::int16_t Take();

 private:
  std::deque<std::int16_t> waiting_;
  std::int16_t reached_ = icNone;
};

}  // namespace tsly

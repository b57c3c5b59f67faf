#include "common/transfer_states.h"

namespace tsly {

void TransferStates::Reach(TransferState state) {
  while (reached_ < state) waiting_.push_back(++reached_);
}

void TransferStates::ReceiveMore() {
  if (reached_ < icReceivingResponse) {
    Reach(icReceivingResponse);
  } else if (waiting_.empty() || waiting_.back() != icReceivingResponse) {
    waiting_.push_back(icReceivingResponse);
  }
}

void TransferStates::Complete() {
  Reach(icReceivingResponse);
  for (const auto state : {icResponseReceived, icDisconnecting, icDisconnected, icResponseCompleted}) {
    waiting_.push_back(state);
  }
}

void TransferStates::Fail() {
  // After the request the transfer waits for the response, even if no byte of it arrives.
  if (reached_ >= icRequesting) Reach(icReceivingResponse);
  if (reached_ >= icConnected) {
    waiting_.push_back(icDisconnecting);
    waiting_.push_back(icDisconnected);
  }
  waiting_.push_back(icError);
}

std::int16_t TransferStates::Take() {
  const std::int16_t state = waiting_.front();
  waiting_.pop_front();
  return state;
}

}  // namespace tsly

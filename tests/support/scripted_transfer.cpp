#include "support/scripted_transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace tsly {

Answer Received(std::string body) {
  Answer answer = Silent(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12);
  answer.body = std::move(body);
  return answer;
}

Answer Failed(std::int32_t code, std::string info, std::string body) {
  Answer answer = Received(std::move(body));
  answer.states = {1, 2, 3, 4, 5, 6, 7, 9, 10, 11};
  if (code == kNameNotResolved) answer.states = {1, 11};
  if (code == 12029) answer.states = {1, 2, 3, 11};
  answer.code = code;
  answer.info = std::move(info);
  return answer;
}

Answer FaultAtOnce(std::int32_t number, std::string description) {
  Answer answer;
  answer.fault = {number, "ScriptedTransfer", std::move(description)};
  return answer;
}

ScriptedTransfer::~ScriptedTransfer() { Abandon(); }

Fault ScriptedTransfer::Execute(const std::string& url, const std::string&) {
  Abandon();
  requests.push_back(url);
  body_.clear();
  read_ = chunks_ = 0;
  code_ = 0;
  info_.clear();
  EXPECT_FALSE(answers.empty()) << "no scripted answer for " << url;
  if (answers.empty()) return {31, "ScriptedTransfer", "no answer is scripted"};
  Answer answer = std::move(answers.front());
  answers.pop_front();
  if (answer.fault) return answer.fault;
  run_ = std::make_shared<Run>();
  Continue(answer);
  return {};
}

void ScriptedTransfer::Cancel() {
  ++cancelled;
  Abandon();
  body_.clear();
}

void ScriptedTransfer::Abandon() {
  if (!run_) return;
  loop_.StopTimer(run_->timer);
  run_->abandoned = true;  // checked by posted deliveries and by those further up the stack
  run_.reset();
}

void ScriptedTransfer::Continue(const Answer& answer) {
  ASSERT_TRUE(run_) << "no transfer is running";
  std::vector<std::int16_t> states = run_->answer.states;
  states.insert(states.end(), answer.states.begin(), answer.states.end());
  run_->answer = answer;
  run_->answer.states = std::move(states);
  Schedule(run_);
}

void ScriptedTransfer::Schedule(const std::shared_ptr<Run>& run) {
  if (run->busy || run->delivered == run->answer.states.size()) return;
  run->busy = true;
  const auto next = [this, run] {
    if (!run->abandoned) DeliverNext(run);
  };
  if (run->answer.step.count() == 0) return loop_.Post(next);
  run->timer = loop_.StartTimer(run->answer.step, next);
}

void ScriptedTransfer::DeliverNext(const std::shared_ptr<Run>& run) {
  loop_.StopTimer(std::exchange(run->timer, 0));
  const std::int16_t state = run->answer.states[run->delivered++];
  if (state == icReceivingResponse || state == icResponseCompleted) body_ = run->answer.body;
  if (state == icError) body_.clear();
  if (state == icError || run->delivered == run->answer.states.size()) {
    code_ = run->answer.code;
    info_ = run->answer.info;
  }
  Deliver(state);
  run->busy = false;
  if (!run->abandoned) Schedule(run);
}

void ScriptedTransfer::Deliver(std::int16_t state) {
  const auto handler = handler_;  // the handler may set another one
  if (handler) handler(state);
}

Fault ScriptedTransfer::GetChunk(std::int32_t size, ChunkType, std::string& chunk) {
  if (before_chunk) before_chunk();
  chunk.clear();
  if (chunk_fault_after && chunks_ >= *chunk_fault_after) return {30, "ScriptedTransfer", "the chunk can't be read"};
  chunk = body_.substr(std::min(read_, body_.size()), static_cast<std::size_t>(std::max(size, 0)));
  read_ += chunk.size();
  ++chunks_;
  return {};
}

}  // namespace tsly

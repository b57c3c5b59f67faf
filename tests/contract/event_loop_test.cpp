#include "contract/event_loop_suite.h"
#include "support/virtual_loop.h"

namespace tsly {
namespace {

class VirtualLoopFixture final : public LoopFixture {
 public:
  EventLoop& Loop() override { return loop; }
  SteadyTime Now() override { return clock.Steady(); }
  void LetTimePass(std::chrono::milliseconds span) override { clock.Advance(span); }

  ManualClock clock;
  VirtualLoop loop{clock};
};

std::unique_ptr<LoopFixture> MakeVirtualLoop() { return std::make_unique<VirtualLoopFixture>(); }
INSTANTIATE_TEST_SUITE_P(Virtual, EventLoopSuite, testing::Values(&MakeVirtualLoop));

}  // namespace
}  // namespace tsly

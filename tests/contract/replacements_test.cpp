// The contracts of ports that the tests replace, on those replacements.
#include "contract/event_loop_suite.h"
#include "contract/text_measure_suite.h"
#include "support/headless_toolkit.h"
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

std::shared_ptr<TextMeasure> MakeHeadless() { return std::make_shared<HeadlessToolkit>(); }
INSTANTIATE_TEST_SUITE_P(Headless, TextMeasureSuite, testing::Values(&MakeHeadless));

}  // namespace
}  // namespace tsly

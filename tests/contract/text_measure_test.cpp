#include "contract/text_measure_suite.h"
#include "support/headless_toolkit.h"

namespace tsly {
namespace {

std::shared_ptr<TextMeasure> MakeHeadless() { return std::make_shared<HeadlessToolkit>(); }
INSTANTIATE_TEST_SUITE_P(Headless, TextMeasureSuite, testing::Values(&MakeHeadless));

}  // namespace
}  // namespace tsly

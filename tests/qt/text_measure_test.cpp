#include "contract/text_measure_suite.h"
#include "qt/application_environment.h"
#include "qt/qt_toolkit.h"

namespace tsly {
namespace {

struct MeasuringToolkit : RunningLoop {
  QtToolkit toolkit{loop};
};

std::shared_ptr<TextMeasure> MakeQt() {
  const auto owner = std::make_shared<MeasuringToolkit>();
  return {owner, &owner->toolkit};
}
INSTANTIATE_TEST_SUITE_P(Qt, TextMeasureSuite, testing::Values(&MakeQt));

}  // namespace
}  // namespace tsly

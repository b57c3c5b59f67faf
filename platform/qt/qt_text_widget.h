// The transcript: read-only multi-line text that can be selected and copied while it grows.
#pragma once

class QWidget;

namespace tsly {

class ControlWidget;

// Owner: the parent.
ControlWidget* MakeTextWidget(QWidget* parent);

}  // namespace tsly

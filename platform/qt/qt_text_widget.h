// The transcript: text of several lines to be read, selected and copied, which grows while it is read.
#pragma once

class QWidget;

namespace tsly {

class ControlWidget;

// Owner: the parent.
ControlWidget* MakeTextWidget(QWidget* parent);

}  // namespace tsly

// What assistive technology learns of the dialog: roles and names of the controls, links that can be pressed, and
// nothing of the pictures and lines that only decorate.
#pragma once

namespace tsly {

// For all windows of the process, from now on. Call it once the application object is there.
void DescribeControls();

}  // namespace tsly

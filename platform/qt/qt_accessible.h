// The dialog for assistive technology: roles and names of the controls, links that can be pressed, and no decorative
// pictures and lines.
#pragma once

namespace tsly {

// For all windows of the process, from now on. Call it after the application object is created.
void DescribeControls();

}  // namespace tsly

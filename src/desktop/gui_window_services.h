#pragma once

class QWidget;

namespace tlm {

// Keeping a window above the others, through window flags.
class clsAlwaysOnTop {
  public:
    static void MakeTopMost(QWidget* window);
    static void MakeNormal(QWidget* window);
};

// Walks the top-level windows from the last towards the first, but leaves the loop as soon as the
// count of windows still equals the running index: as a rule only the last one is treated.
void MakeAllFormsNormal();
// The active window loses its always-on-top state (before an error dialog).
void MakeActiveWindowNormal();

}  // namespace tlm

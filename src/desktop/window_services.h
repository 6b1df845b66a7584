#pragma once

#include <functional>

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

// Runs a screen modal. A test installs a driver instead: it acts on the shown screen, and what it
// leaves open is closed through the screen's own Exit, as the user's Exit would.
template <class Form>
void RunScreen(Form& form, const std::function<void(Form&)>& driver) {
    if (!driver) {
        form.exec();
        return;
    }
    form.show();
    driver(form);
    if (form.isVisible())
        form.Exit();
}

}  // namespace tlm

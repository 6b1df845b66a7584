#include "desktop/window_services.h"

#include <QApplication>
#include <QWidget>

namespace tlm {

namespace {
void SetTopMost(QWidget* window, bool on) {
    if (!window || window->testAttribute(Qt::WA_WState_Created) == false) {
        if (window)
            window->setWindowFlag(Qt::WindowStaysOnTopHint, on);
        return;
    }
    const bool visible = window->isVisible();
    window->setWindowFlag(Qt::WindowStaysOnTopHint, on);
    if (visible)
        window->show();  // changing flags re-creates the native window hidden
}
}  // namespace

void clsAlwaysOnTop::MakeTopMost(QWidget* window) {
    SetTopMost(window, true);
}
void clsAlwaysOnTop::MakeNormal(QWidget* window) {
    SetTopMost(window, false);
}

void MakeAllFormsNormal() {
    const QWidgetList forms = QApplication::topLevelWidgets();
    for (int i = int(forms.size()) - 1; i >= 0; --i) {
        clsAlwaysOnTop::MakeNormal(forms[i]);
        if (QApplication::topLevelWidgets().size() == i + 1)
            break;
    }
}

void MakeActiveWindowNormal() {
    if (QWidget* w = QApplication::activeWindow()) {
        if (w->windowFlags() & Qt::WindowStaysOnTopHint)
            clsAlwaysOnTop::MakeNormal(w);
    }
}

}  // namespace tlm

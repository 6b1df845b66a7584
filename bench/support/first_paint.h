#pragma once
// The end of a start-up run: the first paint of the chosen window, then the event loop about to wait
// for input (nothing left to do). The process ends there with code 0, so the wall time of the
// process is the time to a painted, idle window.
#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace tlm::bench {

class ExitAtFirstPaint : public QObject {
  public:
    // Whether a painted widget belongs to the window the run waits for.
    explicit ExitAtFirstPaint(std::function<bool(QWidget* window)> wanted) : wanted_(std::move(wanted)) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (!painted_ && event->type() == QEvent::Paint && watched->isWidgetType() &&
            wanted_(static_cast<QWidget*>(watched)->window())) {
            painted_ = true;
            QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                             [] {
                                 std::fflush(stdout);
                                 std::_Exit(0);
                             });
        }
        return false;
    }

  private:
    std::function<bool(QWidget*)> wanted_;
    bool painted_ = false;
};

}  // namespace tlm::bench

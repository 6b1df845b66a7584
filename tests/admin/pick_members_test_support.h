#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QTreeWidget>
#include <functional>

#include "admin/pick_members_form.h"

namespace tlm::test {

// Runs the event loop until `done` holds, at most `ms`: the picker's searches end on its timer.
inline bool WaitUntil(const std::function<bool()>& done, int ms = 30000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

// The directory search of the picker runs in the background; this waits for its answer.
inline bool WaitForSearch(PickMembersDialog& d) {
    return WaitUntil([&] { return !d.isSearching(); });
}

// The names of the result rows, in order.
inline QStringList ResultNames(const PickMembersDialog& d) {
    QStringList out;
    for (int i = 0; i < d.results()->topLevelItemCount(); ++i)
        out.append(d.results()->topLevelItem(i)->text(0));
    return out;
}

}  // namespace tlm::test

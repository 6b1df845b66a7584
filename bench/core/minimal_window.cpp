// The yardstick of the start-up figure: the smallest Qt widget program, ended like bench_startup at
// the first paint of its window with the event loop idle.
#include <QApplication>
#include <QLabel>

#include "support/first_paint.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.installEventFilter(new tlm::bench::ExitAtFirstPaint([](QWidget* w) { return w->isWindow(); }));
    // Any real first window shows text, so the yardstick does too (fonts load either way).
    QLabel w(QStringLiteral("Hello"));
    w.show();
    return app.exec();
}

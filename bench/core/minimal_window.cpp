#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QWidget>
#include <cstdlib>

// Shows one window with a line of text and ends the moment it is shown, like tlm-manager under
// TLM_EXIT_AT_FIRST_WINDOW.
class ExitAtShow : public QObject {
  public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->isWindow())
            std::_Exit(0);
        return false;
    }
};

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.installEventFilter(new ExitAtShow);
    // Any real first window shows text, so the yardstick does too (fonts load either way).
    QLabel w(QStringLiteral("Hello"));
    w.show();
    return app.exec();
}

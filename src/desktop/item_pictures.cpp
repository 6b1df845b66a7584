#include "desktop/item_pictures.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <algorithm>
#include <initializer_list>
#include <utility>

namespace tlm {

namespace {

enum class Picture { Task, Appointment };

// Drawn on a 16-unit square scaled to the rectangle, so every size stays sharp.
class ItemPictureEngine : public QIconEngine {
  public:
    explicit ItemPictureEngine(Picture picture) : picture_(picture) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        // Read now, not when the icon was made: a palette changed later still shows.
        const QPalette palette = QGuiApplication::palette();
        const QPalette::ColorGroup group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QColor ink = palette.color(group, QPalette::Text);
        const QColor paper = palette.color(group, QPalette::Base);
        const QColor accent = palette.color(group, QPalette::Highlight);
        const int side = std::min(rect.width(), rect.height());
        if (side <= 0)
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0);
        painter->scale(side / 16.0, side / 16.0);
        QPen outline(ink, 1.0);
        outline.setJoinStyle(Qt::MiterJoin);
        if (picture_ == Picture::Task)
            DrawClipboard(painter, outline, paper, accent);
        else
            DrawCalendarPage(painter, outline, paper, accent);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pm(size);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        paint(&p, QRect(QPoint(0, 0), size), mode, state);
        return pm;
    }

    QIconEngine* clone() const override { return new ItemPictureEngine(picture_); }
    QString key() const override { return QStringLiteral("tlm-item-picture"); }

  private:
    // A board with a clip at the top and three lines of writing.
    static void DrawClipboard(QPainter* p, const QPen& outline, const QColor& paper, const QColor& accent) {
        p->setPen(outline);
        p->setBrush(paper);
        p->drawRoundedRect(QRectF(2.5, 2.5, 11, 13), 1, 1);
        p->setBrush(accent);
        p->drawRoundedRect(QRectF(5.5, 1, 5, 3), 1, 1);
        QPen writing = outline;
        writing.setCapStyle(Qt::FlatCap);
        p->setPen(writing);
        const std::pair<double, double> lines[] = {{7, 11}, {9.5, 11}, {12, 9}};  // height, end
        for (const auto& [y, end] : lines)
            p->drawLine(QPointF(5, y), QPointF(end, y));
    }

    // A page with a coloured band and two rings above and days below.
    static void DrawCalendarPage(QPainter* p, const QPen& outline, const QColor& paper,
                                 const QColor& accent) {
        p->setPen(outline);
        p->setBrush(paper);
        p->drawRect(QRectF(1.5, 2.5, 13, 12));
        p->setBrush(accent);
        p->drawRect(QRectF(1.5, 2.5, 13, 3.5));
        QPen ring = outline;
        ring.setWidthF(1.5);
        ring.setCapStyle(Qt::RoundCap);
        p->setPen(ring);
        p->drawLine(QPointF(4.75, 1), QPointF(4.75, 4));
        p->drawLine(QPointF(11.25, 1), QPointF(11.25, 4));
        p->setPen(Qt::NoPen);
        p->setBrush(outline.color());
        for (int row = 0; row < 3; ++row)
            for (int col = 0; col < 4; ++col)
                p->drawRect(QRectF(3 + col * 2.75, 7.5 + row * 2.25, 1.5, 1.25));
    }

    Picture picture_;
};

QIcon FromTheme(std::initializer_list<const char*> names, const QIcon& drawn) {
    for (const char* name : names) {
        const QString n = QString::fromLatin1(name);
        if (QIcon::hasThemeIcon(n))
            return QIcon::fromTheme(n);
    }
    return drawn;
}

}  // namespace

QIcon DrawnTaskPicture() {
    return QIcon(new ItemPictureEngine(Picture::Task));
}

QIcon DrawnAppointmentPicture() {
    return QIcon(new ItemPictureEngine(Picture::Appointment));
}

// Freedesktop icon names the common themes carry; "task-due" is left out since its pictures
// warn of a deadline, which a reported task does not have.
QIcon TaskPicture() {
    return FromTheme({"view-task"}, DrawnTaskPicture());
}

QIcon AppointmentPicture() {
    return FromTheme({"x-office-calendar", "view-calendar"}, DrawnAppointmentPicture());
}

}  // namespace tlm

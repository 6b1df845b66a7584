#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>

#include "desktop/item_pictures.h"

using namespace tlm;

namespace {

// Luma on 0..255, as a viewer tells light from dark.
int Luma(QColor c) {
    return (c.red() * 299 + c.green() * 587 + c.blue() * 114) / 1000;
}

// The picture painted on a row's background, and the share of its pixels that stand out of it.
struct Shown {
    QImage image;
    double legible = 0;
};

Shown ShowOn(const QIcon& icon, int side, const QColor& background) {
    Shown out{QImage(side, side, QImage::Format_ARGB32), 0};
    out.image.fill(background);
    {
        QPainter p(&out.image);
        icon.paint(&p, QRect(0, 0, side, side));
    }
    int standing = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            if (std::abs(Luma(out.image.pixelColor(x, y)) - Luma(background)) >= 80)
                ++standing;
    out.legible = double(standing) / (side * side);
    return out;
}

QPalette Palette(QColor base, QColor text, QColor highlight) {
    QPalette p;
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::Window, base);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Highlight, highlight);
    return p;
}

class ItemPictures : public ::testing::Test {
  protected:
    void SetUp() override { before = QApplication::palette(); }
    void TearDown() override { QApplication::setPalette(before); }
    QPalette before;
};

// The drawn pictures take the palette's colours when painted, so a task and an appointment stand out
// of a light row and of a dark row alike, and never look the same.
TEST_F(ItemPictures, DrawnPicturesReadOnLightAndDarkRows) {
    struct Case {
        const char* name;
        QPalette palette;
    };
    const Case cases[] = {
        {"light", Palette(QColor(255, 255, 255), QColor(0, 0, 0), QColor(48, 140, 198))},
        {"dark", Palette(QColor(30, 30, 30), QColor(235, 235, 235), QColor(42, 130, 218))},
        // Black text on a mid grey: a picture in fixed dark ink would still show; one in the
        // palette's must too.
        {"grey", Palette(QColor(150, 150, 150), QColor(0, 0, 0), QColor(250, 230, 60))},
    };
    QMap<QString, QImage> seen;
    for (const Case& c : cases) {
        QApplication::setPalette(c.palette);
        const QColor row = c.palette.color(QPalette::Base);
        for (const int side : {16, 32}) {
            const Shown task = ShowOn(DrawnTaskPicture(), side, row);
            const Shown appointment = ShowOn(DrawnAppointmentPicture(), side, row);
            SCOPED_TRACE(std::string(c.name) + " " + std::to_string(side));
            EXPECT_GE(task.legible, 0.12);
            EXPECT_GE(appointment.legible, 0.12);
            EXPECT_NE(task.image, appointment.image);
            if (side == 32) {
                seen.insert(QString::fromLatin1(c.name) + u'T', task.image);
                seen.insert(QString::fromLatin1(c.name) + u'A', appointment.image);
            }
        }
    }
    // Painted from the palette, not in colours of their own.
    EXPECT_NE(seen.value(QStringLiteral("lightT")), seen.value(QStringLiteral("darkT")));
    EXPECT_NE(seen.value(QStringLiteral("lightA")), seen.value(QStringLiteral("darkA")));
}

// The pictures every list uses are one pair: asked twice they show the same, and a pixmap asked of
// them is transparent where they do not draw.
TEST_F(ItemPictures, OnePairForEveryList) {
    for (const auto& [make, drawn] : {std::pair{&TaskPicture, &DrawnTaskPicture},
                                      std::pair{&AppointmentPicture, &DrawnAppointmentPicture}}) {
        const QImage once = make().pixmap(24).toImage();
        EXPECT_FALSE(make().isNull());
        EXPECT_EQ(once, make().pixmap(24).toImage());
        const QImage plain = drawn().pixmap(24).toImage();
        ASSERT_EQ(plain.size(), QSize(24, 24));
        EXPECT_EQ(plain.pixelColor(0, 23).alpha(), 0) << "the corner is left clear";
    }
}

}  // namespace

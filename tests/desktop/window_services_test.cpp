#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>
#include <memory>

#include "desktop/gui_window_services.h"

using namespace tlm;

TEST(WindowServices, TopMostIsAWindowFlagAndSurvivesVisibility) {
    QWidget w;
    w.show();
    clsAlwaysOnTop::MakeTopMost(&w);
    EXPECT_TRUE(w.windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(w.isVisible());  // changing flags must not leave the window hidden
    clsAlwaysOnTop::MakeNormal(&w);
    EXPECT_FALSE(w.windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(w.isVisible());
    clsAlwaysOnTop::MakeNormal(nullptr);  // no window: nothing to do, no crash
}

TEST(WindowServices, MakeAllFormsNormalTreatsOnlyTheLastWindow) {
    std::vector<std::unique_ptr<QWidget>> windows;
    for (int i = 0; i < 3; ++i) {
        windows.push_back(std::make_unique<QWidget>());
        clsAlwaysOnTop::MakeTopMost(windows.back().get());
    }
    const QWidgetList all = QApplication::topLevelWidgets();
    ASSERT_EQ(all.size(), 3);
    MakeAllFormsNormal();
    int normal = 0;
    for (QWidget* w : all)
        normal += (w->windowFlags() & Qt::WindowStaysOnTopHint) ? 0 : 1;
    EXPECT_EQ(normal, 1);
    EXPECT_FALSE(all.last()->windowFlags() & Qt::WindowStaysOnTopHint);
}

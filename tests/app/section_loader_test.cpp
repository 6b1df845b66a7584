#include <gtest/gtest.h>

#include <QSet>

#include "app/section_loader.h"

using namespace tlm;

// Every number the command line accepts lands on a window that has a screen: a missing row in the
// loader's table would end the process on a null opener, and a copied row would open one window's
// screen for another.
TEST(SectionLoader, EverySectionNumberOpensAScreenOfItsOwn) {
    for (qint32 s = -3; s <= 40; ++s)
        EXPECT_NE(OpenerFor(WindowForSection(s)), nullptr) << "section " << s;
    QSet<ScreenOpener> openers;
    for (SectionWindow w :
         {SectionWindow::ManagerList, SectionWindow::Templates, SectionWindow::ManagerSettings,
          SectionWindow::Search, SectionWindow::Reports, SectionWindow::ReviewReports})
        openers.insert(OpenerFor(w));
    EXPECT_EQ(openers.size(), 6);
}

#include <gtest/gtest.h>

#include "app/section_loader.h"

using namespace tlm;

// Every number the command line accepts lands on a window that has a screen: a missing row in the
// loader's table would end the process on a null opener.
TEST(SectionLoader, EverySectionNumberOpensAScreen) {
    for (qint32 s = -3; s <= 40; ++s)
        EXPECT_NE(OpenerFor(WindowForSection(s)), nullptr) << "section " << s;
}

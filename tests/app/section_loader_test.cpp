#include <gtest/gtest.h>

#include "app/section_loader.h"
#include "core/process_state.h"
#include "desktop/gui_dialogs.h"

using namespace tlm;

// Sections whose screens this build does not have say so by name and open nothing.
TEST(SectionLoader, UnbuiltScreensShowANamedMessage) {
    ResetProcessStateForTests();
    DesktopPrompter prompter;
    SetPrompter(&prompter);
    DialogScript::clear();
    for (int s : {3, 5, 14, 22}) {
        if (OpenerFor(WindowForSection(s)))
            continue;  // built screens are tested with their subsystem
        DialogScript::queueAnswer(PromptAnswer::Ok);
        subLoadSection(s);
        EXPECT_EQ(Process().lngCurrentSection, s);
        ASSERT_FALSE(DialogScript::shownMessages().isEmpty());
        EXPECT_EQ(DialogScript::shownMessages().last(), NotAvailableText(s));
        EXPECT_TRUE(DialogScript::shownMessages().last().contains(QStringLiteral("Section %1 ").arg(s)));
    }
    EXPECT_TRUE(Process().blnDatabaseSetup || OpenerFor(SectionWindow::ManagerSettings));
    SetPrompter(nullptr);
    DialogScript::clear();
}

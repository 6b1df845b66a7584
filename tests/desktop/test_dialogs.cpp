#include <gtest/gtest.h>

#include "core/prompt.h"
#include "desktop/dialogs.h"

using namespace tlm;

class Dialogs : public ::testing::Test {
  protected:
    void SetUp() override {
        DialogScript::clear();
        SetPrompter(&prompter);
    }
    void TearDown() override {
        SetPrompter(nullptr);
        DialogScript::clear();
    }
    DesktopPrompter prompter;
};

TEST_F(Dialogs, ScriptedAnswersAreTakenInOrderAndMessagesRecorded) {
    DialogScript::queueAnswer(PromptAnswer::Yes);
    DialogScript::queueAnswer(PromptAnswer::No);
    EXPECT_EQ(MsgBox(QStringLiteral("Continue?"), PromptIcon::Question, PromptButtons::YesNo),
              PromptAnswer::Yes);
    EXPECT_EQ(MsgBox(QStringLiteral("Really? Password=x"), PromptIcon::Question, PromptButtons::YesNo),
              PromptAnswer::No);
    EXPECT_EQ(DialogScript::shownMessages(), (QStringList{"Continue?", "Really? Password=****"}));
}

TEST(FileFilter, BarSeparatedPairsBecomeQtFilters) {
    EXPECT_EQ(ConvertFileFilter(QStringLiteral("Excel Workbook (*.xlsx)|*.xlsx|All Files|*.*")),
              QStringLiteral("Excel Workbook (*.xlsx);;All Files (*.*)"));
    EXPECT_EQ(ConvertFileFilter(QStringLiteral("Text|*.txt;*.csv")), QStringLiteral("Text (*.txt *.csv)"));
    EXPECT_EQ(ConvertFileFilter(QString()), QString());
}

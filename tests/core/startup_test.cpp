#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QRegularExpression>

#include "core/error_report.h"
#include "core/process_state.h"
#include "core/sections.h"
#include "core/startup.h"
#include "support/test_env.h"

using namespace tlm;

namespace {

class Hooks : public StartupHooks {
  public:
    bool firstRun = false, loadOk = true;
    QStringList calls;
    QList<qint32> sections;
    bool ReadLocalSettings() override {
        calls << "read";
        return firstRun;
    }
    bool LoadGlobalSettings() override {
        calls << "load";
        return loadOk;
    }
    void LoadSection(qint32 s) override {
        calls << "section";
        sections << s;
    }
    void DestroyAllObjects() override { calls << "destroy"; }
};

CommandLine Parse(std::initializer_list<const char*> args) {
    QStringList l;
    for (const char* a : args)
        l << QString::fromUtf8(a);
    return ParseCommandLine(l);
}

}  // namespace

TEST(CommandLineParse, WholeLineIsTheNumber) {
    EXPECT_EQ(Parse({}).kind, CommandLine::Silent);
    EXPECT_EQ(Parse({"projects"}).kind, CommandLine::Silent);
    EXPECT_EQ(Parse({"1", "2"}).kind, CommandLine::Silent);  // "1 2" is no number
    EXPECT_EQ(Parse({"-h"}).kind, CommandLine::Silent);
    EXPECT_EQ(Parse({"--help"}).kind, CommandLine::Help);
    EXPECT_EQ(Parse({"--version"}).kind, CommandLine::Version);
    EXPECT_EQ(Parse({"--help", "1"}).kind, CommandLine::Silent);
    const CommandLine c = Parse({"14"});
    EXPECT_EQ(c.kind, CommandLine::Section);
    EXPECT_EQ(c.section, 14);
    EXPECT_EQ(Parse({" 3 "}).section, 3);
    EXPECT_EQ(Parse({"-32768"}).section, -32768);
    EXPECT_EQ(Parse({"99999"}).kind, CommandLine::Overflow);
    EXPECT_EQ(Parse({"32768"}).kind, CommandLine::Overflow);
}

// Seeded random lines: a line that is no number runs none of Main's steps and ends with code 2.
TEST(CommandLineParse, RandomLinesOpenNothingUnlessTheWholeLineIsANumber) {
    static const QString alphabet =
        QStringLiteral("abcXYZ019-+. ,;:'\"\\/$&*?!#%@=_\t") + QChar(0x00E9) + QChar(0x4E2D);
    QRandomGenerator rng(20261123);
    int silent = 0;
    for (int n = 0; n < 20000; ++n) {
        QStringList args;
        for (int a = rng.bounded(0, 4); a > 0; --a) {
            QString arg;
            for (int len = rng.bounded(0, 12); len > 0; --len)
                arg += alphabet[rng.bounded(int(alphabet.size()))];
            args << arg;
        }
        const CommandLine c = ParseCommandLine(args);
        if (c.kind == CommandLine::Section || c.kind == CommandLine::Overflow) {
            EXPECT_TRUE(c.text.contains(QRegularExpression(QStringLiteral("[0-9]")))) << c.text.toStdString();
            continue;
        }
        ASSERT_EQ(c.kind, CommandLine::Silent) << args.join('|').toStdString();
        Hooks h;
        ASSERT_EQ(RunMain(c, h), kExitRefusedArgument) << args.join('|').toStdString();
        ASSERT_EQ(h.calls, QStringList{QStringLiteral("destroy")}) << args.join('|').toStdString();
        ++silent;
    }
    EXPECT_GT(silent, 15000);
}

TEST(MainFlow, RunsTheStepsInOrderAndEndsThroughDestroy) {
    ResetProcessStateForTests();
    Hooks h;
    EXPECT_EQ(RunMain(Parse({"3"}), h), kExitNormal);
    EXPECT_EQ(h.calls, (QStringList{"read", "load", "section", "destroy"}));
    EXPECT_EQ(h.sections, QList<qint32>{3});
    EXPECT_TRUE(Process().blnManagerProcess);
}

TEST(MainFlow, FailedLoadOpensNoSection) {
    Hooks h;
    h.loadOk = false;
    EXPECT_EQ(RunMain(Parse({"1"}), h), kExitStartFailed);
    EXPECT_EQ(h.calls, (QStringList{"read", "load", "destroy"}));
}

TEST(MainFlow, FirstRunWithSection14ShowsNoSecondPanel) {
    Hooks h;
    h.firstRun = true;
    RunMain(Parse({"14"}), h);
    EXPECT_TRUE(h.sections.isEmpty());
    Hooks h1;
    h1.firstRun = true;
    RunMain(Parse({"1"}), h1);
    EXPECT_EQ(h1.sections, QList<qint32>{1});
    Hooks h2;  // configured machine: 14 opens normally
    RunMain(Parse({"14"}), h2);
    EXPECT_EQ(h2.sections, QList<qint32>{14});
}

TEST(MainFlow, OutOfRangeNumberTakesTheFailurePathWithLabelMain) {
    ResetErrorReportingForTests();
    test::RecordingPresenter r;
    SetErrorPresenter(&r);
    Hooks h;
    EXPECT_EQ(RunMain(Parse({"99999"}), h), kExitBadSection);
    SetErrorPresenter(nullptr);
    ResetErrorReportingForTests();
    ASSERT_EQ(r.reports.size(), 1);
    EXPECT_TRUE(r.reports[0].contains(QStringLiteral("In Function: Main\r\n")));
    EXPECT_TRUE(r.reports[0].contains(QStringLiteral("Exception Number: 6\r\n")));
    EXPECT_EQ(h.calls, QStringList{"destroy"});
}

TEST(SectionTable, WindowsAndPanels) {
    for (int s : {1, 2, 3, 10, 11, 12, 13})
        EXPECT_EQ(WindowForSection(s), SectionWindow::ManagerList) << s;
    EXPECT_EQ(WindowForSection(4), SectionWindow::Templates);
    EXPECT_EQ(WindowForSection(20), SectionWindow::Search);
    EXPECT_EQ(WindowForSection(21), SectionWindow::Reports);
    EXPECT_EQ(WindowForSection(22), SectionWindow::ReviewReports);
    for (int s : {0, 5, 6, 8, 9, 14, 15, 18, 19, 24, 25, 99, -1})
        EXPECT_EQ(WindowForSection(s), SectionWindow::ManagerSettings) << s;
    EXPECT_EQ(SettingsPanelForSection(14).title, QStringLiteral("Database Settings"));
    EXPECT_EQ(SettingsPanelForSection(19).title, QStringLiteral("Upgrade Options"));
    EXPECT_EQ(SettingsPanelForSection(6).panel, QStringLiteral("ucMyProjects"));
    EXPECT_TRUE(SettingsPanelForSection(5).panel.isEmpty());
    EXPECT_TRUE(UsageText().contains(QStringLiteral("22  Review of reported items")));
}

#include <gtest/gtest.h>

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
    EXPECT_EQ(Parse({"-h"}).kind, CommandLine::Silent);
    // Only a whole line that is a number opens a section.
    for (const QStringList& odd : {QStringList{"12abc"}, {"0x10"}, {"--helpx"}, {"3;x"}, {"3", "x"}})
        EXPECT_EQ(ParseCommandLine(odd).kind, CommandLine::Silent) << odd.join(u' ').toStdString();
    EXPECT_EQ(Parse({"--help"}).kind, CommandLine::Help);
    EXPECT_EQ(Parse({"--version"}).kind, CommandLine::Version);
    const CommandLine c = Parse({"14"});
    EXPECT_EQ(c.kind, CommandLine::Section);
    EXPECT_EQ(c.section, 14);
    EXPECT_EQ(Parse({" 3 "}).section, 3);
    EXPECT_EQ(Parse({"-32768"}).section, -32768);
    EXPECT_EQ(Parse({"32768"}).kind, CommandLine::Overflow);
}

struct MainCase {
    QStringList args;
    bool firstRun, loadOk;
    int code;
    QStringList calls;
    QList<qint32> sections;
};

// Main's steps run in order and always end through destroy; a line that is no number runs none of
// them, a failed load opens no section, and a first run with 14 shows no second settings panel.
TEST(MainFlow, StepsPerLineAndState) {
    const QStringList all{"read", "load", "section", "destroy"};
    const MainCase cases[] = {
        {{"3"}, false, true, kExitNormal, all, {3}},
        {{"14"}, false, true, kExitNormal, all, {14}},
        {{"14"}, true, true, kExitNormal, {"read", "load", "destroy"}, {}},
        {{"1"}, false, false, kExitStartFailed, {"read", "load", "destroy"}, {}},
        {{"projects"}, false, true, kExitRefusedArgument, {"destroy"}, {}},
        {{"1", "2"}, false, true, kExitRefusedArgument, {"destroy"}, {}},
        {{"--help", "1"}, false, true, kExitRefusedArgument, {"destroy"}, {}},
    };
    for (const MainCase& c : cases) {
        ResetProcessStateForTests();
        Hooks h;
        h.firstRun = c.firstRun;
        h.loadOk = c.loadOk;
        SCOPED_TRACE(c.args.join('|').toStdString() + (c.firstRun ? " first run" : ""));
        EXPECT_EQ(RunMain(ParseCommandLine(c.args), h), c.code);
        EXPECT_EQ(h.calls, c.calls);
        EXPECT_EQ(h.sections, c.sections);
        EXPECT_TRUE(Process().blnManagerProcess);
    }
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

TEST(SectionTable, WindowsPerSectionAndTheUsageText) {
    // Spot checks at the edges of each range; everything unknown opens the settings window.
    for (int s : {1, 3, 10, 13})
        EXPECT_EQ(WindowForSection(s), SectionWindow::ManagerList) << s;
    EXPECT_EQ(WindowForSection(4), SectionWindow::Templates);
    EXPECT_EQ(WindowForSection(20), SectionWindow::Search);
    EXPECT_EQ(WindowForSection(21), SectionWindow::Reports);
    EXPECT_EQ(WindowForSection(22), SectionWindow::ReviewReports);
    for (int s : {0, 5, 9, 14, 19, 23, -1})
        EXPECT_EQ(WindowForSection(s), SectionWindow::ManagerSettings) << s;
    EXPECT_TRUE(UsageText().contains(QStringLiteral("22  Review of reported items")));
}

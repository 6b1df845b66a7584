#include "core/startup.h"

#include <cstdlib>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/process_state.h"
#include "core/sections.h"
#include "core/version.h"

namespace tlm {

namespace {
ExitHandler g_exitHandler = nullptr;
}

void SetExitHandler(ExitHandler handler) {
    g_exitHandler = handler;
}

void subExitProgram(int code) {
    if (g_exitHandler) {
        g_exitHandler(code);
        return;
    }
    std::exit(code);
}

bool IsToolName(const QString& word) {
    return word == u"report" || word == u"review" || word == u"demo" || word == u"outbox" ||
           word == u"remind";
}

CommandLine ParseCommandLine(const QStringList& arguments) {
    CommandLine cl;
    cl.text = arguments.join(QLatin1Char(' '));
    if (!arguments.isEmpty() && IsToolName(arguments.first())) {
        cl.kind = CommandLine::Tool;
        cl.arguments = arguments;
        return cl;
    }
    if (cl.text == QLatin1String("--help")) {
        cl.kind = CommandLine::Help;
        return cl;
    }
    if (cl.text == QLatin1String("--version")) {
        cl.kind = CommandLine::Version;
        return cl;
    }
    if (!IsNumericText(cl.text)) {
        cl.kind = CommandLine::Silent;
        return cl;
    }
    bool ok = false, overflow = false;
    cl.section = ToInt16(cl.text, &ok, &overflow);
    cl.kind = ok ? CommandLine::Section : CommandLine::Overflow;
    return cl;
}

QString UsageText() {
    return QStringLiteral(
               "Usage: tlm-manager SECTION\n"
               "       tlm-manager report|review|demo|outbox|remind [OPTIONS]   (tlm-manager report --help)\n"
               "Opens one administration screen of Tally Loom Manager and ends when it closes.\n\n"
               "Sections:\n") +
           SectionTableText() +
           QStringLiteral(
               "\n\nAny other number opens the settings window without a panel.\n"
               "Without an argument, or with one that is no number, the program ends silently.\n\n"
               "Exit codes: 0 normal, 2 no or non-numeric argument, 3 section number out of range,\n"
               "4 the settings or the database could not be loaded.\n"
               "The tools (report, review, remind, outbox, demo) also end with: 5 bad arguments,\n"
               "6 database not configured or not reachable, 7 nothing to export or approve, 8 the file\n"
               "could not be written (no file is left behind), 9 the database refused the query or the\n"
               "update, 10 a report was written but its mail could not be kept.\n");
}

QString VersionText() {
    return QStringLiteral("tlm-manager ") + QString::fromLatin1(kVersionText) + QLatin1Char('\n');
}

int RunMain(const CommandLine& commandLine, StartupHooks& hooks) {
    Process().blnManagerProcess = true;
    if (commandLine.kind == CommandLine::Overflow) {
        subReportError(Failure{errnum::kOverflow, QStringLiteral("Overflow"), 0, QStringLiteral("Main")});
        hooks.DestroyAllObjects();
        return kExitBadSection;
    }
    if (commandLine.kind != CommandLine::Section) {
        hooks.DestroyAllObjects();
        return kExitRefusedArgument;
    }
    const qint32 section = commandLine.section;
    const bool firstRun = hooks.ReadLocalSettings();
    if (!hooks.LoadGlobalSettings()) {
        hooks.DestroyAllObjects();
        return kExitStartFailed;
    }
    // Right after the first-run panel, section 14 would show the same panel a second time.
    if (!(firstRun && section == 14))
        hooks.LoadSection(section);
    hooks.DestroyAllObjects();
    return kExitNormal;
}

}  // namespace tlm

#include <QApplication>
#include <cstdio>

#include "app/command_tools.h"
#include "app/program.h"
#include "core/codecs.h"
#include "core/startup.h"
#include "core/version.h"
#include "desktop/look.h"

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const tlm::CommandLine commandLine = tlm::ParseCommandLine(arguments);

    // A refused argument ends before anything is created: no window, no file touched.
    switch (commandLine.kind) {
        case tlm::CommandLine::Help:
            std::fputs(qPrintable(tlm::UsageText()), stdout);
            return tlm::kExitNormal;
        case tlm::CommandLine::Version:
            std::fputs(qPrintable(tlm::VersionText()), stdout);
            return tlm::kExitNormal;
        case tlm::CommandLine::Silent:
            return tlm::kExitRefusedArgument;
        case tlm::CommandLine::Tool:
            // report, review and demo: no window, no display needed.
            return tlm::RunTool(commandLine.arguments, argc, argv);
        default:
            break;
    }

    tlm::PinLocalTimeZone();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("TLM"));
    QApplication::setOrganizationName(QStringLiteral("Orrinwell"));
    QApplication::setApplicationVersion(QString::fromLatin1(tlm::kVersionText));
    // The desktop's palette unless TLM_PALETTE asks for light or dark (the screenshots take both).
    tlm::SetUpApplicationLook(tlm::PaletteChoiceFrom(qEnvironmentVariable("TLM_PALETTE")));
    tlm::Program program;
    return tlm::RunMain(commandLine, program);
}

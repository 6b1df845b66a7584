// `tlm-manager 3` as main.cpp runs it (the same objects, the same Main), ended at the first paint of
// the section's window (the members list) with the event loop idle; see support/first_paint.h. Any
// other end is a failure: the program's own exit (it never painted the list) returns 3, a crash
// ends by its signal. Usage: bench_startup [section] (default 3).
#include <QApplication>
#include <cstdio>

#include "admin/manager_list_form.h"
#include "app/program.h"
#include "core/codecs.h"
#include "core/startup.h"
#include "core/version.h"
#include "support/first_paint.h"

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    if (arguments.isEmpty())
        arguments << QStringLiteral("3");
    const tlm::CommandLine commandLine = tlm::ParseCommandLine(arguments);
    tlm::PinLocalTimeZone();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("TLM"));
    QApplication::setOrganizationName(QStringLiteral("Orrinwell"));
    QApplication::setApplicationVersion(QString::fromLatin1(tlm::kVersionText));
    app.installEventFilter(new tlm::bench::ExitAtFirstPaint(
        [](QWidget* w) { return qobject_cast<tlm::frmManagerList*>(w) != nullptr; }));
    int code = 0;
    {
        tlm::Program program;
        code = tlm::RunMain(commandLine, program);
    }
    std::fprintf(stderr, "bench_startup: the program ended (code %d) before the members list painted\n",
                 code);
    return 3;
}

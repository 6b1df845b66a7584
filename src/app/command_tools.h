#pragma once

#include <QString>
#include <QStringList>

#include "reports/report_request.h"

namespace tlm {

// The options of `tlm-manager report`, as parsed; nothing is checked against the database yet.
struct ReportOptions {
    ReportRequest request;  // unset parts: the stored choices
    QString format;         // xlsx, txt, html, xml, pdf
    QString out;            // a path, or "-" for standard output
    bool append = false;
    bool chart = true;
    bool help = false;
    QString preset;  // a preset saved in the reports screen; the other options override its parts
    QString mailTo;  // "ADDR[;ADDR]": the written file goes to them through the outbox
};
// Reads the options after the word "report". Answers false with the reason in error.
bool ParseReportOptions(const QStringList& args, ReportOptions* options, QString* error);

struct ReviewOptionsLine {
    bool list = false;
    QStringList approveIds;  // digits only, in the order given
    QString declineId;       // digits only
    QString reason;          // the decline's, may be empty
    QString type;            // task or appointment (approve, decline), tasks, appointments or both (list)
    bool help = false;
};
bool ParseReviewOptions(const QStringList& args, ReviewOptionsLine* options, QString* error);

QString ReportUsageText();
QString ReviewUsageText();
QString DemoUsageText();

// Runs a tool: arguments[0] is its name. Builds its own application object (no display needed;
// a PDF report uses the offscreen platform). Answers the exit code.
int RunTool(const QStringList& arguments, int& argc, char** argv);

}  // namespace tlm

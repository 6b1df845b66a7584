#include "core/error_report.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QRegularExpression>
#include <QTextStream>
#include <cstdio>

#include "core/file_services.h"
#include "core/prompt.h"
#include "core/version.h"

namespace tlm {

namespace {

// Without a GUI the report goes to stderr, so a headless run still says what went wrong.
class StderrPresenter : public ErrorPresenter {
  public:
    void showReport(const QString& reportText, bool) override {
        std::fprintf(stderr, "%s\n", qPrintable(reportText));
    }
    void showFriendly(const QString& friendlyText, const QString& reportText) override {
        std::fprintf(stderr, "%s\n%s\n", qPrintable(friendlyText), qPrintable(reportText));
    }
};

StderrPresenter g_stderrPresenter;
ErrorPresenter* g_presenter = nullptr;
ErrorReportMailer* g_mailer = nullptr;
bool g_reportShown = false;
bool g_logEnabled = false;
QString g_currentAction;
// The outbox's threads trace too.
QMutex g_actionMutex;

ErrorPresenter& presenter() {
    return g_presenter ? *g_presenter : g_stderrPresenter;
}

}  // namespace

void SetErrorPresenter(ErrorPresenter* p) {
    g_presenter = p;
}
void SetErrorReportMailer(ErrorReportMailer* mailer) {
    g_mailer = mailer;
}

QString BuildReportText(const Failure& f) {
    const QString crlf = QStringLiteral("\r\n");
    QString t;
    t += QStringLiteral("At Line: ") + QString::number(f.line) + crlf;
    t += QStringLiteral("In Function: ") + f.label + crlf;
    t += QStringLiteral("Source: ") + f.source + crlf;
    t += QStringLiteral("Exception Number: ") + QString::number(f.number) + crlf;
    t += QStringLiteral("Exception Description: ") + f.description + crlf;
    return MaskSecrets(t);
}

QString BuildFriendlyReportText(const Failure& f) {
    const QString crlf = QStringLiteral("\r\n");
    QString t;
    t += QStringLiteral("Version: ") + fncGetAppVersion() + crlf;
    t += QStringLiteral("Exception Number: ") + QString::number(f.number) + crlf;
    t += QStringLiteral("Exception Description: ") + f.description + crlf;
    t += QStringLiteral("Line: ") + QString::number(f.line) + crlf;
    t += QStringLiteral("Function: ") + f.label + crlf;
    return MaskSecrets(t);
}

void subReportError(const Failure& failure, bool blnAllowDirect) {
    if (g_reportShown)
        return;
    const QString report = BuildReportText(failure);
    g_reportShown = true;
    subTraceAction(QStringLiteral("Error in ") + failure.label + QStringLiteral(": ") + failure.description);
    presenter().showReport(report, blnAllowDirect);
}

void subShowFriendlyError(const QString& friendlyText, const Failure& failure) {
    presenter().showFriendly(MaskSecrets(friendlyText), BuildFriendlyReportText(failure));
}

void subTraceAction(const QString& action) {
    {
        QMutexLocker lock(&g_actionMutex);
        g_currentAction = action;
    }
    if (g_logEnabled)
        subAppendLog(action);
}

QString CurrentAction() {
    QMutexLocker lock(&g_actionMutex);
    return g_currentAction;
}
bool ReportShown() {
    return g_reportShown;
}

void ResetErrorReportingForTests() {
    g_reportShown = false;
    {
        QMutexLocker lock(&g_actionMutex);
        g_currentAction.clear();
    }
    g_logEnabled = false;
}

void SetLogEnabledForTests(bool enabled) {
    g_logEnabled = enabled;
}

QString ErrorReportSubject() {
    return QStringLiteral("Exception (") + fncGetAppVersion() + QStringLiteral(") : ") + kMessageTitle;
}

void subSendErrorReport(const QString& reportText, bool blnSendDirectly) {
    if (!g_mailer || !g_mailer->available())
        return;
    if (!g_mailer->send(ErrorReportSubject(), MaskSecrets(reportText), blnSendDirectly))
        MsgBox(QStringLiteral("Failed to send error email!"), PromptIcon::Critical);
    else if (g_mailer->lastKeptForLater())
        MsgBox(QStringLiteral("The error email could not be sent now. It was kept in the outbox and will be "
                              "sent later."),
               PromptIcon::Information);
}

QString fncGetAppVersion() {
    return QString::fromLatin1(kVersionText);
}

QString fncGetLogFolder() {
    const QString docs = fncGetSpecialFolder(5);
    if (docs.isEmpty())
        return QString();
    const QString folder = docs + QStringLiteral("/Quorbase Data/");
    QDir().mkpath(folder);
    return QDir(folder).exists() ? folder : QString();
}

QString fncGetLogFile() {
    const QString folder = fncGetLogFolder();
    if (folder.isEmpty())
        return QString();
    return folder + kMessageTitle + QStringLiteral(".log.txt");
}

void subAppendLog(const QString& line) {
    if (line.isEmpty())
        return;
    const QString file = fncGetLogFile();
    if (file.isEmpty())
        return;
    QFile f(file);
    if (!f.open(QIODevice::Append | QIODevice::Text))
        return;
    QTextStream out(&f);
    out << QDateTime::currentDateTime().toString(Qt::ISODate) << '\t' << MaskSecrets(line) << '\n';
}

}  // namespace tlm

#pragma once

#include <QString>
#include <QStringList>

#include "core/failure.h"
#include "core/prompt.h"
#include "core/secrets.h"

namespace tlm {

// Shows the report dialogs. The GUI installs the real screens; without one, reports go to stderr.
class ErrorPresenter {
  public:
    virtual ~ErrorPresenter() = default;
    virtual void showReport(const QString& reportText, bool allowDirect) = 0;
    virtual void showFriendly(const QString& friendlyText, const QString& reportText) = 0;
};

// Sends the error report by mail; filled by the mail bridge. Returns false when sending failed.
class ErrorReportMailer {
  public:
    virtual ~ErrorReportMailer() = default;
    virtual bool available() const = 0;
    virtual bool send(const QString& subject, const QString& body, bool sendDirectly) = 0;
    // After a send that answered true: the mail waits to be sent later.
    virtual bool lastKeptForLater() const { return false; }
};

void SetErrorPresenter(ErrorPresenter* presenter);  // nullptr restores the stderr presenter
void SetErrorReportMailer(ErrorReportMailer* mailer);

// The one failure path: the first report of a process is shown, later ones stay silent.
void subReportError(const Failure& failure, bool blnAllowDirect = false);
// For failures the user can act on; shown every time, does not touch the report-shown flag.
void subShowFriendlyError(const QString& friendlyText, const Failure& failure);
void subTraceAction(const QString& action);

QString CurrentAction();
bool ReportShown();
void ResetErrorReportingForTests();

QString BuildReportText(const Failure& failure);
QString BuildFriendlyReportText(const Failure& failure);
QString ErrorReportSubject();
// Composes and hands the report to the mailer; on failure shows the stop box.
void subSendErrorReport(const QString& reportText, bool blnSendDirectly);

QString fncGetAppVersion();
QString fncGetLogFolder();
QString fncGetLogFile();
void subAppendLog(const QString& line);
void SetLogEnabledForTests(bool enabled);

}  // namespace tlm

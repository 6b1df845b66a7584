#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include "core/dictionary.h"
#include "mail/mail_message.h"

namespace tlm {

class MailTransport;
class cTaskData;
class cAppointmentData;
class Recordset;

// Tag to value, substituted in the order of adding. A value is text, a QDateTime or Money; the
// last two are converted as the program shows them when substituted.
using NotificationTags = Dictionary<QVariant>;

// A reported record of either kind, or none; what the record route of the engine reads.
class ReportedItemRef {
  public:
    ReportedItemRef() = default;
    // Implicit on purpose: a sender hands either record as it is.
    ReportedItemRef(const cTaskData& task) : task_(&task) {}
    ReportedItemRef(const cAppointmentData& appointment) : appt_(&appointment) {}
    // An open recordset of the row: present, but it answers to no member name, so its reporter
    // reads as empty and its text is left as it is.
    explicit ReportedItemRef(const Recordset& rs) : rs_(&rs) {}

    bool isNull() const { return !task_ && !appt_ && !rs_; }
    QString SubstituePlaceHolders(const QString& sContent) const;
    QString ReportedBy() const;

  private:
    const cTaskData* task_ = nullptr;
    const cAppointmentData* appt_ = nullptr;
    const Recordset* rs_ = nullptr;
};

// What became of one notification. The caller's work goes on whatever it says.
struct NotificationOutcome {
    enum class Status { Sent, Displayed, KeptInOutbox, Refused, Lost };
    Status status = Status::Lost;
    QString reason;
    QString outboxFile;
    MailMessage message;  // as handed on, after cleaning the recipients

    bool delivered() const { return status == Status::Sent || status == Status::Displayed; }
};

// Where a mail goes that the user is to see, edit and send personally. The GUI installs the
// compose window; without one the mail is kept in the outbox for later.
class NotificationDisplay {
  public:
    virtual ~NotificationDisplay() = default;
    // Displayed when the user has the mail; Sent or KeptInOutbox when it was dealt with at once.
    virtual NotificationOutcome Display(const MailMessage& message) = 0;
};

// The mails that could not be kept since the last call (a full disk, an outbox that cannot be
// written), as one line for the user naming how many and why; empty when there were none.
QString TakeUnkeptMailNotice();
// Shows that line once, at the end of a save; nothing when every mail was kept.
void TellUnkeptMails();

// nullptr restores the defaults: the stored mail profile, and the outbox for shown mails.
void SetNotificationTransport(MailTransport* transport);
void SetNotificationDisplay(NotificationDisplay* display);
MailTransport& notificationTransport();
NotificationDisplay& notificationDisplay();

// Fills the kind's body and subject, addresses the mail (first recipient To, the rest BCC) and
// sends it or hands it to the display. A mail that cannot go out is traced and kept in the
// outbox; no failure is shown and none interrupts the caller.
NotificationOutcome EmailNotificationManager(qint32 kind, const QString& sRecipients,
                                             const ReportedItemRef& oReportedItem,
                                             const NotificationTags* dicTags, const QString& sUnusedTag,
                                             bool bSendDirectly);

QString GetToEmailPortion(const QString& sRecipients);
QString GetBCCEmailsPortion(const QString& sRecipients);
// The kind's texts from the process's store; empty for a kind without a template.
QString GetEmailTemplate(qint32 kind);
QString GetEmailNotificationSubject(qint32 kind);
// Record kinds go to the record and then to the tags, if any; dictionary kinds to the tags; any
// other kind says "NOT TRAPPED" and gives an empty text.
QString ReplacePlaceHolderVariables(qint32 kind, const QString& sContent,
                                    const ReportedItemRef& oReportedItem, const NotificationTags* dicTags,
                                    const QString& sUnusedTag);
QString ProcessReportedItem(const QString& sContent, const ReportedItemRef& oReportedItem,
                            const QString& sUnusedTag);
// One full, case-sensitive pass per tag, in the order of adding; each pass works on the last.
QString ReplaceContentWithDictionary(const QString& sContent, const NotificationTags* dicTags);
// A tag value as text: dates as the program shows them, money in its shortest form.
QString TagValueText(const QVariant& value);

// The addresses of a ";"-list that can be sent to: trimmed, blanks dropped, invalid ones left
// out (each named in skipped); "Name <address>" is kept as written. False when an entry holds a
// line break: that list is refused.
bool CleanRecipientList(const QString& list, QString* cleaned, QStringList* skipped);

}  // namespace tlm

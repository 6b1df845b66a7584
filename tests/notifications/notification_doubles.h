#pragma once

#include <QList>
#include <QStringList>
#include <ostream>

#include "mail/mail_transport.h"
#include "notifications/notification_engine.h"

// Readable texts in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace tlm::test {

// Keeps every mail it is handed; passes it on to an inner transport when given one.
class RecordingTransport : public MailTransport {
  public:
    explicit RecordingTransport(MailTransport* inner = nullptr) : inner_(inner) {}
    MailSendResult send(const MailMessage& message) override {
        mails.append(message);
        MailSendResult r;
        if (inner_) {
            r = inner_->send(message);
        } else {
            r.status = MailSendResult::Status::Sent;
            r.messageId = QStringLiteral("id-%1@test").arg(mails.size());
        }
        results.append(r);
        return r;
    }
    QList<MailMessage> mails;
    QList<MailSendResult> results;

  private:
    MailTransport* inner_;
};

class RecordingDisplay : public NotificationDisplay {
  public:
    NotificationOutcome Display(const MailMessage& message) override {
        shown.append(message);
        NotificationOutcome out;
        out.status = NotificationOutcome::Status::Displayed;
        return out;
    }
    QList<MailMessage> shown;
};

}  // namespace tlm::test

#pragma once

#include <QStringList>
#include <memory>

#include "domain/domain_test_fixture.h"
#include "mail/mail_transport.h"
#include "notifications/notification_doubles.h"

namespace tlm::test {

// A fresh database of the engine filled with generated lists and reported items, a loaded global
// store, notifications switched on and mail going to a recording transport (in front of the SMTP
// sink when `make test` runs one).
class ReviewDbTest : public DomainDbTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Values of one column of a statement's rows, as text.
    QStringList Texts(const QString& sql) { return Column(sql); }
    int CountWhere(const QString& table, const QString& where);
    // The first unapproved row of a table (ID, as text).
    QString FirstUnapprovedId(const QString& table);
    // An ID that has an unapproved row in both tables.
    QString SharedUnapprovedId();
    bool HasSink() const { return bool(smtp); }

    RecordingTransport* transport = nullptr;  // what the senders handed on
    QString outbox;

  private:
    std::unique_ptr<SmtpTransport> smtp;
    std::unique_ptr<RecordingTransport> recorder;
};

}  // namespace tlm::test

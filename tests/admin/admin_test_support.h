#pragma once

#include <QDate>
#include <QStringList>
#include <QVariant>

#include "admin/manager_list.h"
#include "core/money.h"
#include "domain/domain_test_fixture.h"
#include "support/test_env.h"

namespace tlm::test {

// Records the row buttons' requests to report, in order.
class RecordingRequests : public ReportRequests {
  public:
    void OnProject(const cProject& p, const QString& recipients) override {
        calls.append(QStringLiteral("Project|") + p.ProjectName + u'|' + recipients);
    }
    void OnTask(const cTask& t, const QString& recipients) override {
        calls.append(QStringLiteral("Task|") + t.Key() + u'|' + recipients);
    }
    void OnMember(const QString& name) override { calls.append(QStringLiteral("Member|") + name); }
    QStringList calls;
};

// A list save test with the request recorder installed.
class AdminDbTest : public DomainDbTest {
  protected:
    void SetUp() override {
        DomainDbTest::SetUp();
        SetReportRequests(&requests);
    }
    void TearDown() override {
        SetReportRequests(nullptr);
        DomainDbTest::TearDown();
    }
    // Rows of a table as "a|b|c" texts, in the order given.
    QStringList Table(const QString& sql) {
        QStringList out;
        auto rs = Open(sql, LockMode::ReadOnly);
        while (!rs->Eof()) {
            QStringList cells;
            for (int i = 0; i < rs->FieldCount(); ++i) {
                const QVariant v = rs->Fields(i).Value();
                if (v.metaType() == QMetaType::fromType<Money>())
                    cells.append(v.value<Money>().toString(2));
                else if (v.typeId() == QMetaType::Bool)
                    cells.append(v.toBool() ? QStringLiteral("1") : QStringLiteral("0"));
                else if (v.typeId() == QMetaType::QDateTime)
                    cells.append(v.toDateTime().toString(QStringLiteral("yyyy-MM-dd")));
                else
                    cells.append(v.toString());
            }
            out.append(cells.join(u'|'));
            rs->MoveNext();
        }
        return out;
    }
    RecordingRequests requests;
};

}  // namespace tlm::test

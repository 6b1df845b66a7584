#include "app/demo_data.h"

#include "core/process_state.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/cursor.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

// Answers whether the table has a row; -1 when it cannot be read.
int HasRows(const std::shared_ptr<Connection>& db, const QString& table, Failure* failure) {
    Cursor cursor(db);
    if (!cursor.Open(QStringLiteral("SELECT ID FROM ") + table)) {
        *failure = cursor.LastError();
        return -1;
    }
    return cursor.Next() ? 1 : 0;
}

}  // namespace

SampleSpec DemoSpec(const QDate& today) {
    SampleSpec plan;
    plan.firstDay = today.addDays(-364);
    plan.days = 365;
    plan.reportedItems = 2400;
    return plan;
}

DemoOutcome FillDemoData(Connection& db, const SampleSpec& plan,
                         const std::function<bool(qint64 done, qint64 total)>& progress) {
    DemoOutcome out;
    // The cursor shares the connection; the caller keeps owning it.
    const std::shared_ptr<Connection> shared(&db, [](Connection*) {});
    for (const QString& table : {QStringLiteral("tProjects"), QStringLiteral("tReportedTasks"),
                                 QStringLiteral("tReportedAppointments")}) {
        const int has = HasRows(shared, table, &out.failure);
        if (has < 0)
            return out;
        if (has > 0) {
            out.ok = true;
            out.alreadyFilled = true;
            return out;
        }
    }
    out.ok = FillSampleData(db, plan, &out.counts, &out.failure, progress);
    return out;
}

void OfferDemoData(cDBSettings& global) {
    if (!qEnvironmentVariableIsSet("TLM_OFFER_DEMO") || !Process().blnNewDatabase)
        return;
    const std::shared_ptr<Connection> db = CurrentConnection();
    if (!db)
        return;
    if (MsgBox(
            QStringLiteral("The new database is empty.\nFill it with demo data (12 projects, 30 members and "
                           "a year of reported tasks and appointments)?"),
            PromptIcon::Question, PromptButtons::YesNo) != PromptAnswer::Yes)
        return;
    const DemoOutcome out = FillDemoData(*db, DemoSpec(QDate::currentDate()));
    if (!out.ok) {
        MsgBox(QStringLiteral("The demo data could not be written:\n") + out.failure.description,
               PromptIcon::Exclamation);
        return;
    }
    // The lists were loaded before the fill.
    bool ok = false;
    global.LoadGlobalSettings(true, ok);
}

}  // namespace tlm

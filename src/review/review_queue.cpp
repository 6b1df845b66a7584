#include "review/review_queue.h"

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/prompt.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "notifications/senders.h"
#include "reported/appointment_data.h"
#include "reported/task_data.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

const QString kTableToken = QStringLiteral("TABLENAME");

// The server compares whole days; the file form stops at 23:59:00, so the last minute of a day
// falls out there. The two stay as they are: the client composes the same texts.
void AddDateClause(SqlText& sql, const ReviewFilter& f, qint32 dbChoice) {
    if (dbChoice == 0) {
        sql.Words(u" and (ReportedDate between #")
            .Date(f.start)
            .Words(u" 00:00:00# and  #")
            .Date(f.between ? f.end : f.start)
            .Words(u" 23:59:00#)");
        return;
    }
    const QString day = QStringLiteral("cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime)");
    if (!f.between) {
        sql.Words(QStringLiteral(" and ") + day + QStringLiteral(" = '")).Date(f.start).Words(u"'");
        return;
    }
    sql.Words(QStringLiteral(" and (") + day + QStringLiteral(" >= '"))
        .Date(f.start)
        .Words(QStringLiteral("' and ") + day + QStringLiteral(" <= '"))
        .Date(f.end)
        .Words(u"')");
}

Failure NoObject(const QString& label) {
    return Failure{91, QStringLiteral("Object variable or With block variable not set"), 0, label};
}

}  // namespace

SqlText GetSQL(const ReviewFilter& f, qint32 dbChoice) {
    SqlText sql(u"Select * from TABLENAME where ");
    switch (f.filterIndex) {
        case 1:
            sql.Words(u"ProjectValue = ").Text(f.value).Words(u" and ");
            break;
        case 2:
            sql.Words(u"ProjectValue in (Select ProjectName from tProjects where ProjectManager=")
                .Text(f.value)
                .Words(u") and ");
            break;
        case 3:
            sql.Words(u"ReportedBy = ").Text(f.value).Words(u" and ");
            break;
        default:
            break;
    }
    sql.Words(u"Approved = 0");
    if (f.queryByDate)
        AddDateClause(sql, f, dbChoice);
    return sql;
}

SqlText ReviewQueryFor(const ReviewFilter& filter, qint32 dbChoice, const QString& table) {
    return GetSQL(filter, dbChoice).Replace(kTableToken, table);
}

bool WantsTasks(int typesIndex) {
    return typesIndex == 0 || typesIndex == 2;
}

bool WantsAppointments(int typesIndex) {
    return typesIndex == 1 || typesIndex == 2;
}

QStringList ReviewFilterEntries(const QString& projectTitle) {
    return {QStringLiteral("All unapproved timesheets"),
            QStringLiteral("Unapproved timesheets by ") + projectTitle,
            QStringLiteral("Unapproved timesheets by Manager"),
            QStringLiteral("Unapproved timesheets by Member")};
}

QStringList ReviewTypeEntries() {
    return {QStringLiteral("Task"), QStringLiteral("Appointment"), QStringLiteral("Both")};
}

QStringList ReviewBetweenOnEntries() {
    return {QStringLiteral("On"), QStringLiteral("Between")};
}

QString DateFrameCaption(const QString& betweenOnText) {
    return QStringLiteral("Reported ") + betweenOnText.toLower();
}

QStringList ReviewValueEntries(const cDBSettings& global, int filterIndex) {
    if (filterIndex == 1)
        return global.Projects.Items.Keys();
    QStringList names;
    // The members' keys are their names in lower case, which the client's databases match without
    // regard to case; SQLite's and PostgreSQL's "=" do not, so the list takes the names as stored.
    if (filterIndex == 2 || filterIndex == 3)
        for (const auto& e : global.Members.Items)
            names.append(e.item.Name);
    return names;
}

QString ReviewItem::TypeText() const {
    return appointment ? QStringLiteral("appointment") : QStringLiteral("task");
}

QString ReviewItem::Key() const {
    return ID + (appointment ? u'A' : u'T');
}

ReviewItem ReviewItemFrom(const cReportedRecord& r, bool appointment) {
    ReviewItem item;
    item.appointment = appointment;
    item.ID = r.ID;
    item.Subject = r.Subject;
    item.ProjectValue = r.ProjectValue;
    item.ActivityValue = r.ActivityValue;
    item.TotalCost = r.TotalCost;
    item.ReportedDate = r.ReportedDate;
    item.ReportedBy = r.ReportedBy;
    return item;
}

bool LoadRecordsetToCollection(Recordset* rs, bool bAppointment, QVector<ReviewItem>& items,
                               const std::function<void(int done)>& onChunk) {
    if (!rs) {
        subReportError(NoObject(QStringLiteral("Search.LoadRecordsetToCollection")));
        return false;
    }
    items.reserve(items.size() + rs->RecordCount());
    int done = 0;
    // One record at a time: the grid needs only a few of its values, and nothing reads the
    // records after the filling, so none is kept.
    while (!rs->Eof()) {
        if (bAppointment) {
            cAppointmentData a;
            a.FromRecordset(*rs);
            items.append(ReviewItemFrom(a, true));
        } else {
            cTaskData t;
            t.FromRecordset(*rs);
            items.append(ReviewItemFrom(t, false));
        }
        if (!rs->MoveNext()) {
            Failure f = rs->LastError();
            f.label = QStringLiteral("Search.LoadRecordsetToCollection");
            subReportError(f);
            return false;
        }
        if (onChunk && ++done % kReviewChunkRows == 0)
            onChunk(done);
    }
    return true;
}

ReviewOptions ReadReviewOptions(const cDBSettings& global) {
    ReviewOptions o;
    o.bEditProjectActivity =
        global.GeneralSettings
            .GetValue(QStringLiteral("tpoAuditEnableProjectActivityEdit"), cGeneralSettings::kBoolean)
            .toBool();
    o.bEditCost =
        global.GeneralSettings.GetValue(QStringLiteral("tpoAuditEnableCostEdit"), cGeneralSettings::kBoolean)
            .toBool();
    return o;
}

bool DeclineRemovesRows(const cDBSettings& global) {
    return global.GeneralSettings
               .GetValue(QStringLiteral("tpoAuditRemoveDeclinedDataFromDB"), cGeneralSettings::kInteger)
               .toInt() != 0;
}

QString ReviewTableFor(const QString& sType) {
    return sType == u"task" ? QStringLiteral("tReportedTasks") : QStringLiteral("tReportedAppointments");
}

QString ApproveQuestion(const QString& sID, const QString& subject) {
    return QStringLiteral("Continue approval for timesheet #") + sID + QStringLiteral(" '") +
           subject.trimmed() + QStringLiteral("'?");
}

QString DeclineQuestion(const QString& sID, const QString& subject) {
    return QStringLiteral("Continue decline of timesheet #") + sID + QStringLiteral(" '") +
           subject.trimmed() + QStringLiteral("'?") + u'\n' +
           QStringLiteral("NOTE: If yes, this timesheet will be deleted from the database");
}

SqlText ApproveStatement(const QString& table, const QString& sID, const ApproveCells& cells,
                         const ReviewOptions& options) {
    SqlText sql(QStringLiteral("UPDATE ") + table + QStringLiteral(" SET Approved = "));
    sql.Integer(1);
    if (options.bEditProjectActivity)
        sql.Words(u", ProjectValue = ").Text(cells.project).Words(u", ActivityValue = ").Text(cells.activity);
    if (options.bEditCost)
        sql.Words(u", TotalCost = ").Number(cells.cost);
    return sql.Words(u" WHERE ID = ").Integer(sID);
}

SqlText ReviewRowQuery(const QString& table, const QString& sID) {
    return SqlText(QStringLiteral("Select * from ") + table + QStringLiteral(" where ID = ")).Integer(sID);
}

void ApproveDBItem(const QString& sID, const QString& sType, const ApproveCells& cells,
                   const ReviewOptions& options, bool& bOK) {
    bOK = false;
    const QString label = QStringLiteral("AuditManager.ApproveDBItem");
    const QString table = ReviewTableFor(sType);
    const SqlText sql = ApproveStatement(table, sID, cells, options);
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd) {
        MsgBox(QStringLiteral("Connection can't be established!"));
        return;
    }
    cmd->SetStatement(sql);
    if (cmd->Execute() < 0) {
        Failure f = cmd->LastError();
        f.label = label;
        subReportError(f);
        return;
    }
    cmd.reset();
    bOK = true;
    std::unique_ptr<Recordset> rs = GetDBRecordset(ReviewRowQuery(table, sID));
    if (rs && rs->RecordCount() > 0)
        // The sender is handed the open recordset, which answers to no member name, so it ends at
        // the empty reporter and no mail goes out; the client's approval notice is the same.
        SendEmailNotificationToMemberWhenApproved(ReportedItemRef(*rs), sType);
}

void DeleteDBItem(const QString& sID, const QString& sType, bool& bOK) {
    bOK = false;
    const QString table = ReviewTableFor(sType);
    const SqlText remove =
        SqlText(QStringLiteral("DELETE FROM ") + table + QStringLiteral(" WHERE ID = ")).Integer(sID);
    if (!remove.ok()) {
        // Told once, before the notice: nothing is read, sent or deleted for an ID that is no number.
        Failure f = *remove.refusal();
        f.label = QStringLiteral("AuditManager.DeleteDBItem");
        subReportError(f);
        return;
    }
    {
        // The row must still be there for the notice, hence before the delete.
        std::unique_ptr<Recordset> rs = GetDBRecordset(ReviewRowQuery(table, sID));
        if (rs && rs->RecordCount() > 0)
            SendEmailNotificationToMemberWhenDeclined(ReportedItemRef(*rs), sType);
    }
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd) {
        MsgBox(QStringLiteral("Connection can't be established!"));
        return;
    }
    cmd->SetStatement(remove);
    if (cmd->Execute() < 0) {
        Failure f = cmd->LastError();
        f.label = QStringLiteral("AuditManager.DeleteDBItem");
        subReportError(f);
        return;
    }
    bOK = true;
}

bool ReviewButtonClicked(ReviewButton button, const ReviewRowTexts& row, const ReviewOptions& options) {
    if (row.id.isEmpty())
        return false;
    bool bOK = false;
    if (button == ReviewButton::Approve) {
        if (MsgBox(ApproveQuestion(row.id, row.subject), PromptIcon::Question, PromptButtons::YesNo) !=
            PromptAnswer::Yes)
            return false;
        ApproveDBItem(row.id, row.type, row.cells, options, bOK);
        return bOK;
    }
    const cDBSettings* global = DBSettings();
    if (!global || !DeclineRemovesRows(*global))
        return false;
    if (MsgBox(DeclineQuestion(row.id, row.subject), PromptIcon::Question, PromptButtons::YesNo) !=
        PromptAnswer::Yes)
        return false;
    DeleteDBItem(row.id, row.type, bOK);
    return bOK;
}

bool ActivityListForProject(const cDBSettings& global, const QString& project, QString* tabList) {
    const cSingleList* list = global.AllTasksProjects.Find(project);
    if (!list)
        return false;
    *tabList = list->ToStringTab();
    return true;
}

}  // namespace tlm

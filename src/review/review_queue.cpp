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
QString DateClause(const ReviewFilter& f, qint32 dbChoice) {
    const QString s = ToTallyloomDateFormat(f.start);
    const QString e = ToTallyloomDateFormat(f.end);
    if (dbChoice == 0) {
        return QStringLiteral(" and (ReportedDate between #") + s + QStringLiteral(" 00:00:00# and  #") +
               (f.between ? e : s) + QStringLiteral(" 23:59:00#)");
    }
    const QString day = QStringLiteral("cast(CONVERT(varchar(8), ReportedDate, 112) AS datetime)");
    if (!f.between)
        return QStringLiteral(" and ") + day + QStringLiteral(" = '") + s + u'\'';
    return QStringLiteral(" and (") + day + QStringLiteral(" >= '") + s + QStringLiteral("' and ") + day +
           QStringLiteral(" <= '") + e + QStringLiteral("')");
}

Failure NoObject(const QString& label) {
    return Failure{91, QStringLiteral("Object variable or With block variable not set"), 0, label};
}

}  // namespace

QString GetSQL(const ReviewFilter& f, qint32 dbChoice) {
    QString sql = QStringLiteral("Select * from TABLENAME where ");
    switch (f.filterIndex) {
        case 1:
            sql += QStringLiteral("ProjectValue = '") + f.value + QStringLiteral("' and ");
            break;
        case 2:
            sql +=
                QStringLiteral("ProjectValue in (Select ProjectName from tProjects where ProjectManager='") +
                f.value + QStringLiteral("') and ");
            break;
        case 3:
            sql += QStringLiteral("ReportedBy = '") + f.value + QStringLiteral("' and ");
            break;
        default:
            break;
    }
    sql += QStringLiteral("Approved = 0");
    if (f.queryByDate)
        sql += DateClause(f, dbChoice);
    return sql;
}

QString ReviewQueryFor(const ReviewFilter& filter, qint32 dbChoice, const QString& table) {
    return GetSQL(filter, dbChoice).replace(kTableToken, table);
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

QString ApproveStatement(const QString& table, const QString& sID, const ApproveCells& cells,
                         const ReviewOptions& options) {
    QString projectPart;
    QString costPart;
    if (options.bEditProjectActivity)
        projectPart = QStringLiteral(", ProjectValue = '") + cells.project +
                      QStringLiteral("', ActivityValue = '") + cells.activity + u'\'';
    if (options.bEditCost)
        costPart = QStringLiteral(", TotalCost = ") + cells.cost;
    return QStringLiteral("UPDATE ") + table + QStringLiteral(" SET Approved = ") + QString::number(1) +
           projectPart + costPart + QStringLiteral(" WHERE ID = ") + sID;
}

void ApproveDBItem(const QString& sID, const QString& sType, const ApproveCells& cells,
                   const ReviewOptions& options, bool& bOK) {
    bOK = false;
    const QString label = QStringLiteral("AuditManager.ApproveDBItem");
    const QString table = ReviewTableFor(sType);
    const QString sql = ApproveStatement(table, sID, cells, options);
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd) {
        MsgBox(QStringLiteral("Connection can't be established!"));
        return;
    }
    cmd->CommandText = sql;
    if (cmd->Execute() < 0) {
        Failure f = cmd->LastError();
        f.label = label;
        subReportError(f);
        return;
    }
    cmd.reset();
    bOK = true;
    std::unique_ptr<Recordset> rs =
        GetDBRecordset(QStringLiteral("Select * from ") + table + QStringLiteral(" where ID = ") + sID);
    if (rs && rs->RecordCount() > 0)
        // The sender is handed the open recordset, which answers to no member name, so it ends at
        // the empty reporter and no mail goes out; the client's approval notice is the same.
        SendEmailNotificationToMemberWhenApproved(ReportedItemRef(*rs), sType);
}

void DeleteDBItem(const QString& sID, const QString& sType, bool& bOK) {
    bOK = false;
    const QString table = ReviewTableFor(sType);
    {
        // The row must still be there for the notice, hence before the delete.
        std::unique_ptr<Recordset> rs =
            GetDBRecordset(QStringLiteral("Select * from ") + table + QStringLiteral(" where ID = ") + sID);
        if (rs && rs->RecordCount() > 0)
            SendEmailNotificationToMemberWhenDeclined(ReportedItemRef(*rs), sType);
    }
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd) {
        MsgBox(QStringLiteral("Connection can't be established!"));
        return;
    }
    cmd->CommandText = QStringLiteral("DELETE FROM ") + table + QStringLiteral(" WHERE ID = ") + sID;
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

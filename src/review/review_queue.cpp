#include "review/review_queue.h"

#include <QByteArray>
#include <QHash>
#include <QSet>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/connection.h"
#include "database/cursor.h"
#include "database/link.h"
#include "database/recordset.h"
#include "domain/option_keys.h"
#include "notifications/senders.h"
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

ReviewOutcome Outcome(ReviewOutcome::Kind kind, const Failure& failure = Failure()) {
    ReviewOutcome out;
    out.kind = kind;
    out.failure = failure;
    return out;
}

ReviewOutcome Refusal(Failure failure, const QString& label) {
    failure.label = label;
    return Outcome(ReviewOutcome::Kind::Refused, failure);
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

namespace {

// What the grid shows of a row; a database of an older build without one of them still runs, as
// "SELECT *", and the missing cell stays empty.
const QStringList& ReviewReadColumns() {
    static const QStringList columns{QStringLiteral("ID"),           QStringLiteral("Subject"),
                                     QStringLiteral("ProjectValue"), QStringLiteral("ActivityValue"),
                                     QStringLiteral("TotalCost"),    QStringLiteral("ReportedDate"),
                                     QStringLiteral("ReportedBy")};
    return columns;
}

// Projects, activities and reporters repeat over many rows: one copy of each text is kept, found
// by its bytes where the cursor hands them over so, without making a QString first.
class TextPool {
  public:
    QString FromUtf8(const char* text, qsizetype size) {
        const auto known = byUtf8_.constFind(QByteArray::fromRawData(text, size));
        if (known != byUtf8_.cend())
            return *known;
        const QString shared = Shared(QString::fromUtf8(text, size));
        byUtf8_.insert(QByteArray(text, size), shared);
        return shared;
    }
    QString Shared(const QString& text) { return *texts_.insert(text); }

  private:
    QHash<QByteArray, QString> byUtf8_;
    QSet<QString> texts_;
};

// Each cell converted as the record's reader converts it (reported_record.cpp: RowReader); the
// forms the cursor hands over without a QVariant are taken as they are.
class ReviewRowReader {
  public:
    explicit ReviewRowReader(const Cursor& cursor) : cursor_(cursor), zeroDate_(ZeroDate()) {
        id_ = cursor.FieldIndex(QStringLiteral("ID"));
        subject_ = cursor.FieldIndex(QStringLiteral("Subject"));
        project_ = cursor.FieldIndex(QStringLiteral("ProjectValue"));
        activity_ = cursor.FieldIndex(QStringLiteral("ActivityValue"));
        cost_ = cursor.FieldIndex(QStringLiteral("TotalCost"));
        reported_ = cursor.FieldIndex(QStringLiteral("ReportedDate"));
        reportedBy_ = cursor.FieldIndex(QStringLiteral("ReportedBy"));
    }

    void Read(ReviewItem& item) {
        item.ID = RawText(id_);
        item.Subject = Text(subject_, nullptr);
        item.ProjectValue = Text(project_, &pool_);
        item.ActivityValue = Text(activity_, &pool_);
        item.TotalCost = Cost(cost_);
        item.ReportedDate = Date(reported_);
        item.ReportedBy = Text(reportedBy_, &pool_);
    }

  private:
    QVariant Value(const StoredCell& cell, int index) const {
        return cell.form == StoredCell::Form::Variant ? cell.variant : cursor_.Value(index);
    }
    // The ID as it stands: a NULL is no text.
    QString RawText(int index) const {
        if (index < 0)
            return QString();
        const StoredCell cell = cursor_.Cell(index);
        if (cell.form == StoredCell::Form::Int)
            return QString::number(cell.number);
        const QVariant v = Value(cell, index);
        return v.isNull() ? QString() : v.toString();
    }
    // A text cell: a NULL is empty text.
    QString Text(int index, TextPool* pool) {
        if (index < 0)
            return QString();
        const StoredCell cell = cursor_.Cell(index);
        if (cell.form == StoredCell::Form::Utf8)
            return pool ? pool->FromUtf8(cell.utf8, cell.size) : QString::fromUtf8(cell.utf8, cell.size);
        const QString text = DB::NullSafeValue(Value(cell, index), adotype::adVarChar).toString();
        return pool ? pool->Shared(text) : text;
    }
    Money Cost(int index) const {
        if (index < 0)
            return Money{};
        const StoredCell cell = cursor_.Cell(index);
        if (cell.form == StoredCell::Form::Money)
            return Money::fromUnits(cell.number);
        return Money::fromVariant(DB::NullSafeValue(Value(cell, index), adotype::adDouble)).value_or(Money{});
    }
    // No date, or none that reads as one, is day zero.
    QDateTime Date(int index) {
        if (index < 0)
            return QDateTime();
        const StoredCell cell = cursor_.Cell(index);
        if (cell.form == StoredCell::Form::DateTime) {
            // A local date and time costs a time-zone lookup to make; rows share their days and often
            // their times.
            auto known = dates_.constFind(cell.number);
            if (known != dates_.cend())
                return *known;
            if (dates_.size() >= 8192)
                dates_.clear();
            return *dates_.insert(cell.number, UnpackDateTime(cell.number));
        }
        if (cell.form == StoredCell::Form::Null)
            return zeroDate_;
        return DB::NullSafeValue(Value(cell, index), adotype::adDate).toDateTime();
    }

    const Cursor& cursor_;
    const QDateTime zeroDate_;
    QHash<qint64, QDateTime> dates_;
    TextPool pool_;
    int id_, subject_, project_, activity_, cost_, reported_, reportedBy_;
};

}  // namespace

ReviewReadEnd ReadReviewRows(const SqlText& query, bool bAppointment, QVector<ReviewItem>& items,
                             Failure* failure, const std::function<void(int done)>& onChunk) {
    const auto end = [failure](ReviewReadEnd how, Failure f, const QString& label) {
        f.label = label;
        if (failure)
            *failure = f;
        return how;
    };
    const QString readLabel = QStringLiteral("Search.LoadRecordsetToCollection");
    std::shared_ptr<Connection> connection = CurrentConnection();
    if (!connection || !connection->IsOpen())
        return end(ReviewReadEnd::NotOpened, NoObject(readLabel), readLabel);
    // As a recordset's opening is traced, so an error report names the statement.
    if (query.ok())
        subTraceAction(QStringLiteral("Attempting to open a recordset from ") + query.sql());
    Cursor cursor(std::move(connection));
    if (!cursor.Open(query, ReviewReadColumns()))
        return end(ReviewReadEnd::NotOpened, cursor.LastError(), QStringLiteral("DB.GetRecordset"));
    ReviewRowReader reader(cursor);
    int done = 0;
    while (cursor.Next()) {
        ReviewItem& added = items.emplace_back();
        added.appointment = bAppointment;
        reader.Read(added);
        if (onChunk && ++done % kReviewChunkRows == 0)
            onChunk(done);
    }
    if (cursor.LastError().isSet())
        return end(ReviewReadEnd::BrokeOff, cursor.LastError(), readLabel);
    return ReviewReadEnd::Done;
}

ReviewOptions ReadReviewOptions(const cDBSettings& global) {
    ReviewOptions o;
    o.bEditProjectActivity =
        global.GeneralSettings.GetValue(tpo::kAuditEnableProjectActivityEdit, cGeneralSettings::kBoolean)
            .toBool();
    o.bEditCost =
        global.GeneralSettings.GetValue(tpo::kAuditEnableCostEdit, cGeneralSettings::kBoolean).toBool();
    return o;
}

bool DeclineRemovesRows(const cDBSettings& global) {
    return global.GeneralSettings.GetValue(tpo::kAuditRemoveDeclinedDataFromDB, cGeneralSettings::kInteger)
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

ReviewOutcome ApproveDBItem(const QString& sID, const QString& sType, const ApproveCells& cells,
                            const ReviewOptions& options) {
    const QString table = ReviewTableFor(sType);
    const SqlText sql = ApproveStatement(table, sID, cells, options);
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd)
        return Outcome(ReviewOutcome::Kind::NoConnection);
    cmd->SetStatement(sql);
    if (cmd->Execute() < 0)
        return Refusal(cmd->LastError(), QStringLiteral("AuditManager.ApproveDBItem"));
    cmd.reset();
    std::unique_ptr<Recordset> rs = GetDBRecordset(ReviewRowQuery(table, sID));
    if (rs && rs->RecordCount() > 0)
        // The sender is handed the open recordset, which answers to no member name, so it ends at
        // the empty reporter and no mail goes out; the client's approval notice is the same.
        SendEmailNotificationToMemberWhenApproved(ReportedItemRef(*rs), sType);
    return Outcome(ReviewOutcome::Kind::Done);
}

ReviewOutcome DeleteDBItem(const QString& sID, const QString& sType, const QString& reason) {
    const QString label = QStringLiteral("AuditManager.DeleteDBItem");
    const QString table = ReviewTableFor(sType);
    const SqlText remove =
        SqlText(QStringLiteral("DELETE FROM ") + table + QStringLiteral(" WHERE ID = ")).Integer(sID);
    // Nothing is read, sent or deleted for an ID that is no number.
    if (!remove.ok())
        return Refusal(*remove.refusal(), label);
    {
        // The row must still be there for the notice, hence before the delete.
        std::unique_ptr<Recordset> rs = GetDBRecordset(ReviewRowQuery(table, sID));
        if (rs && rs->RecordCount() > 0)
            SendEmailNotificationToMemberWhenDeclined(ReportedItemRef(*rs), sType, reason);
    }
    std::unique_ptr<Command> cmd = GetCommand();
    if (!cmd)
        return Outcome(ReviewOutcome::Kind::NoConnection);
    cmd->SetStatement(remove);
    if (cmd->Execute() < 0)
        return Refusal(cmd->LastError(), label);
    return Outcome(ReviewOutcome::Kind::Done);
}

namespace {

// Rows of a query read for a caller that tells nobody: a failure only when the rows broke off.
bool ReadQuietly(const SqlText& query, bool appointment, QVector<ReviewItem>& items, ReviewOutcome* outcome) {
    bool showDialog = false;
    DB::Initialize(showDialog);
    Failure failure;
    switch (ReadReviewRows(query, appointment, items, &failure)) {
        case ReviewReadEnd::Done:
            return true;
        case ReviewReadEnd::NotOpened:
            *outcome = Outcome(ReviewOutcome::Kind::ReadFailed);
            return false;
        case ReviewReadEnd::BrokeOff:
            break;
    }
    *outcome = Outcome(ReviewOutcome::Kind::ReadFailed, failure);
    return false;
}

}  // namespace

ReviewQueueRead ReadReviewQueue(const ReviewFilter& filter, qint32 dbChoice) {
    ReviewQueueRead read;
    for (const bool appointments : {false, true}) {
        if (appointments ? !WantsAppointments(filter.typesIndex) : !WantsTasks(filter.typesIndex))
            continue;
        const QString table =
            appointments ? QStringLiteral("tReportedAppointments") : QStringLiteral("tReportedTasks");
        if (!ReadQuietly(ReviewQueryFor(filter, dbChoice, table), appointments, read.items, &read.outcome)) {
            read.items.clear();
            return read;
        }
    }
    read.outcome = Outcome(ReviewOutcome::Kind::Done);
    return read;
}

ApproveCells UneditedCells(const ReviewItem& item) {
    return {item.ProjectValue, item.ActivityValue, item.TotalCost.toPlainString()};
}

namespace {

// The queued row of a kind and ID, as the screen's grid would hold it.
QueuedApproval FindQueued(const QString& sID, const QString& sType, qint32 dbChoice) {
    QueuedApproval found;
    const bool appointment = sType == u"appointment";
    SqlText query = ReviewQueryFor(ReviewFilter(), dbChoice, ReviewTableFor(sType));
    QVector<ReviewItem> items;
    if (!ReadQuietly(query.Words(u" and ID = ").Integer(sID), appointment, items, &found.outcome))
        return found;
    if (items.isEmpty()) {
        found.outcome = Outcome(ReviewOutcome::Kind::NotQueued);
        return found;
    }
    found.item = items.first();
    found.outcome = Outcome(ReviewOutcome::Kind::Done);
    return found;
}

}  // namespace

QueuedApproval ApproveQueuedItem(const QString& sID, const QString& sType, qint32 dbChoice,
                                 const ReviewOptions& options) {
    QueuedApproval approval = FindQueued(sID, sType, dbChoice);
    if (approval.outcome.done())
        approval.outcome = ApproveDBItem(approval.item.ID, sType, UneditedCells(approval.item), options);
    return approval;
}

QueuedApproval DeclineQueuedItem(const QString& sID, const QString& sType, qint32 dbChoice,
                                 const QString& reason) {
    QueuedApproval decline = FindQueued(sID, sType, dbChoice);
    if (decline.outcome.done())
        decline.outcome = DeleteDBItem(decline.item.ID, sType, reason);
    return decline;
}

ReviewBatchOutcome ReviewRows(ReviewAction action, const QVector<ReviewRowTexts>& rows,
                              const ReviewOptions& options, const QString& reason,
                              const ReviewBatchProgress& progress) {
    ReviewBatchOutcome batch;
    const int total = int(rows.size());
    for (const ReviewRowTexts& row : rows) {
        if (progress && !progress(batch.done, total)) {
            batch.kind = ReviewBatchOutcome::Kind::Cancelled;
            return batch;
        }
        const ReviewOutcome out = action == ReviewAction::Approve
                                      ? ApproveDBItem(row.id, row.type, row.cells, options)
                                      : DeleteDBItem(row.id, row.type, reason);
        if (!out.done()) {
            batch.kind = ReviewBatchOutcome::Kind::Refused;
            batch.refusal = out;
            batch.refusedRow = row;
            return batch;
        }
        ++batch.done;
    }
    if (progress)
        progress(batch.done, total);
    return batch;
}

bool ActivityListForProject(const cDBSettings& global, const QString& project, QString* tabList) {
    const cSingleList* list = global.AllTasksProjects.Find(project);
    if (!list)
        return false;
    *tabList = list->ToStringTab();
    return true;
}

}  // namespace tlm

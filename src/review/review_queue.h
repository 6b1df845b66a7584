#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>
#include <functional>

#include "core/failure.h"
#include "core/money.h"
#include "database/sql_compose.h"

namespace tlm {

class cDBSettings;

// The review window's filter as the user left it; the window copies its controls in here.
struct ReviewFilter {
    int filterIndex = 0;  // 0 all, 1 by project, 2 by manager, 3 by member
    QString value;        // the project, manager or member picked for 1 to 3
    int typesIndex = 2;   // 0 tasks, 1 appointments, 2 both
    bool queryByDate = false;
    bool between = false;  // a range of days instead of one day
    QDate start;
    QDate end;
};

// The query of unapproved rows with the token TABLENAME for the table: the file form when dbChoice
// is 0, the server form otherwise. A value with a quote refuses the statement.
SqlText GetSQL(const ReviewFilter& filter, qint32 dbChoice);
// GetSQL with TABLENAME replaced.
SqlText ReviewQueryFor(const ReviewFilter& filter, qint32 dbChoice, const QString& table);
bool WantsTasks(int typesIndex);
bool WantsAppointments(int typesIndex);

// The entries of the filter list; the second names the project title.
QStringList ReviewFilterEntries(const QString& projectTitle);
QStringList ReviewTypeEntries();
QStringList ReviewBetweenOnEntries();
// "Reported on" / "Reported between".
QString DateFrameCaption(const QString& betweenOnText);
// What the value list holds for a filter kind: project names, or member keys, or nothing.
QStringList ReviewValueEntries(const cDBSettings& global, int filterIndex);

// One row of the review grid: the values it shows, read as a loaded record reads them.
struct ReviewItem {
    bool appointment = false;
    QString ID;
    QString Subject;
    QString ProjectValue;
    QString ActivityValue;
    Money TotalCost;
    QDateTime ReportedDate;
    QString ReportedBy;

    // "task" or "appointment": the grid's first column, which the buttons read back.
    QString TypeText() const;
    // The two tables number their rows independently, hence the kind in the key.
    QString Key() const;
};

// How a read of review rows ended.
enum class ReviewReadEnd {
    Done,
    NotOpened,  // no connection, or the statement failed: nothing was read
    BrokeOff,   // the rows broke off midway: those read before are kept in items
};
// Reads the rows of a review query (ReviewQueryFor, or one row of it) one at a time
// through a forward-only cursor on the process's connection and appends their grid values to items:
// only the columns the grid shows are read, each converted as a full record reads it, and no record
// or recordset is kept. onChunk runs after each chunk of rows so the window can repaint. The failure
// is labelled as the user has always seen it: "DB.GetRecordset" when the statement failed,
// "Search.LoadRecordsetToCollection" without a connection or when the rows broke off.
ReviewReadEnd ReadReviewRows(const SqlText& query, bool bAppointment, QVector<ReviewItem>& items,
                             Failure* failure, const std::function<void(int done)>& onChunk = {});
inline constexpr int kReviewChunkRows = 2000;

// The audit switches, read once when the window opens.
struct ReviewOptions {
    bool bEditProjectActivity = false;
    bool bEditCost = false;
};
ReviewOptions ReadReviewOptions(const cDBSettings& global);
// A zero tpoAuditRemoveDeclinedDataFromDB makes Decline do nothing at all.
bool DeclineRemovesRows(const cDBSettings& global);

// "tReportedTasks" for "task", "tReportedAppointments" for anything else.
QString ReviewTableFor(const QString& sType);
QString ApproveQuestion(const QString& sID, const QString& subject);
QString DeclineQuestion(const QString& sID, const QString& subject);

// The texts of a grid row that approving writes back.
struct ApproveCells {
    QString project;
    QString activity;
    QString cost;
};
// The UPDATE as composed from the row: project and activity, then cost, each only when its edit is on.
// The ID must be a whole number, the cost a number, project and activity free of quotes: the cells
// hold what members' clients wrote, so anything else refuses the statement.
SqlText ApproveStatement(const QString& table, const QString& sID, const ApproveCells& cells,
                         const ReviewOptions& options);
// "Select * from <table> where ID = <sID>", the row read again for its notice.
SqlText ReviewRowQuery(const QString& table, const QString& sID);

// A grid row's texts as the screen hands them to the steps: its kind ("task" or "appointment"), ID,
// subject and the cells approving writes back.
struct ReviewRowTexts {
    QString type;
    QString id;
    QString subject;
    ApproveCells cells;
};

// The text the screen shows when no command could be made.
inline const QString kNoConnectionText = QStringLiteral("Connection can't be established!");

// What approving, declining or reading the queue came to. Nothing here asks or tells the user: the
// screen shows the outcome, a tool prints it.
struct ReviewOutcome {
    enum class Kind {
        Done,          // approved, declined (deleted), or the queue read
        NotQueued,     // no unapproved row of that kind and ID: nothing was written
        ReadFailed,    // the queue could not be read; failure when the rows broke off midway
        NoConnection,  // no command could be made: kNoConnectionText
        Refused,       // the statement was refused or failed: failure holds the engine's words, labelled
    };
    Kind kind = Kind::Refused;
    Failure failure;
    bool done() const { return kind == Kind::Done; }
};

// Writes Approved = 1 (with the row's edits), then reads the row again for the approval notice.
// Done once the statement ran; a failure is labelled "AuditManager.ApproveDBItem". The screen's
// button and the command line's approval both end here.
ReviewOutcome ApproveDBItem(const QString& sID, const QString& sType, const ApproveCells& cells,
                            const ReviewOptions& options);
// Gives the decline notice the row first, then deletes it. Done once the statement ran (also when
// the row was gone already); a failure is labelled "AuditManager.DeleteDBItem". reason fills the
// notice's TLM_DECLINE_REASON (empty when none was given).
ReviewOutcome DeleteDBItem(const QString& sID, const QString& sType, const QString& reason = QString());

// The unapproved rows of the filter's kinds, tasks first, each table in the database's order, read
// without telling anybody: Done or ReadFailed.
struct ReviewQueueRead {
    ReviewOutcome outcome;
    QVector<ReviewItem> items;
};
ReviewQueueRead ReadReviewQueue(const ReviewFilter& filter, qint32 dbChoice);

// The cells a grid row holds for an item before any edit.
ApproveCells UneditedCells(const ReviewItem& item);

// Approving by ID: the row must be in the queue, as it would be in the screen's grid, and goes to
// ApproveDBItem with the cells the grid would hold for it. NotQueued or ReadFailed when it is not
// there or cannot be read; otherwise what ApproveDBItem answered. item is the row as read.
struct QueuedApproval {
    ReviewOutcome outcome;
    ReviewItem item;
};
QueuedApproval ApproveQueuedItem(const QString& sID, const QString& sType, qint32 dbChoice,
                                 const ReviewOptions& options);

// Declining by ID: as ApproveQueuedItem, for a row of the queue, ending in DeleteDBItem.
QueuedApproval DeclineQueuedItem(const QString& sID, const QString& sType, qint32 dbChoice,
                                 const QString& reason);

// Several rows at once, each through the same step as one row's button (ApproveDBItem or
// DeleteDBItem), in the order given.
enum class ReviewAction { Approve, Decline };
struct ReviewBatchOutcome {
    enum class Kind {
        Done,       // every row went through
        Cancelled,  // progress answered false: the rows from `done` on were not touched
        Refused,    // a row's step did not end in Done: refusal says why, the rows after it untouched
    };
    Kind kind = Kind::Done;
    int done = 0;               // rows approved or declined, the first `done` of the list
    ReviewOutcome refusal;      // the refused row's outcome
    ReviewRowTexts refusedRow;  // the row it stopped at
};
// progress runs before each row with the count done so far and the total; false cancels there.
using ReviewBatchProgress = std::function<bool(int done, int total)>;
ReviewBatchOutcome ReviewRows(ReviewAction action, const QVector<ReviewRowTexts>& rows,
                              const ReviewOptions& options, const QString& reason = QString(),
                              const ReviewBatchProgress& progress = {});

// The activity list for a row whose project changed: the project's own list, or nullopt-like
// false when the project has none (the cell keeps its list then).
bool ActivityListForProject(const cDBSettings& global, const QString& project, QString* tabList);

}  // namespace tlm

// Its members move by bytes, so a growing list of rows moves them without copying.
Q_DECLARE_TYPEINFO(tlm::ReviewItem, Q_RELOCATABLE_TYPE);

#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QVariant>
#include <QVector>
#include <functional>

#include "domain/list_common.h"

namespace tlm {

class cDBSettings;
struct cProject;
struct cTask;

// The administration grid's logic without widgets: which columns a section shows, how a list
// becomes grid rows and back, the save and the row buttons. Columns here count from 0; the grid's
// column n is the list matrix's column n.

enum class ListCellKind { Text, Combo, Currency, Date, Check, Button };
enum class ListComboSource { None, Members, Projects };

struct ListColumn {
    QString caption;
    ListCellKind kind = ListCellKind::Text;
    ListComboSource combo = ListComboSource::None;
    bool hidden = false;
};

struct ListLayout {
    qint32 section = 0;
    QVector<ListColumn> columns;
    int matrixColumns = 0;  // the leading columns that carry the list; buttons lie beyond
    QString caption;        // the window's
    QString heading;        // lblMain's
    int colorIndexColumn = -1;
    int colorButtonColumn = -1;
    int notifyColumn = -1;
    bool notifySingle = false;  // "Notify" for one member, else "Notify All Members"
};

using GridRows = QVector<QVector<QVariant>>;

// Sections 1, 2, 3 and 10 to 13.
bool IsListSection(qint32 section);
// An empty layout (no columns) for any other section.
ListLayout ListLayoutFor(qint32 section, const cDBSettings& settings);
// A combo's choices as a tab list, made from the lists in memory.
QString ComboListFor(ListComboSource source, const cDBSettings& settings);
// The count of entries of the section's list.
int ListCount(qint32 section, const cDBSettings& settings);

// The list's ToArray as grid values: money as Money, empty dates empty, check 0/1, the colour
// index as text. An empty list gives no rows and ToArray is not asked.
GridRows ListToGridRows(qint32 section, const cDBSettings& settings);
// The grid's rows as the matrix FromArray reads: one empty row more than the data, as the save
// has always allocated; the first `cols` columns only.
Matrix GridRowsToMatrix(const GridRows& rows, int cols);

struct ListSaveOutcome {
    bool saved = false;
    int failedRow = 0;  // 1-based grid row of a start after its finish, 0 when none
};
// Rebuilds the section's list from the grid's rows and writes it to its table. A start date after
// the finish date stops the save with the message and writes nothing, and so does a grid longer
// than the row counter allows (reported as an overflow). Any other section saves
// nothing and answers saved.
ListSaveOutcome SaveListFromGrid(qint32 section, const GridRows& rows, cDBSettings& settings);
QString StartAfterFinishMessage(int row);

// The colour picker numbers the category colours from 1 (Red) to 25 (Dark Maroon), which is what
// ColorCode stores; the name table counts one further, with "No color assigned." at 1.
// -1 and 0 are "No color assigned." and white.
QString CategoryColorName(int pickerIndex);
qint32 CategoryOleColor(int pickerIndex);
// Where a picker opened at `at` stands: moved back so that it lies fully on the screen.
QPoint PlaceOnScreen(QPoint at, QSize size, const QRect& screen);
// A cell's colour index: a number, or the previous row's index when the text is none.
int ColorIndexFromCell(const QVariant& cell, int previous);

// The row buttons that ask people to report. The real senders mail; tests record.
class ReportRequests {
  public:
    virtual ~ReportRequests() = default;
    virtual void OnProject(const cProject& project, const QString& recipients) = 0;
    virtual void OnTask(const cTask& task, const QString& recipients) = 0;
    virtual void OnMember(const QString& memberName) = 0;
};
ReportRequests& reportRequests();
void SetReportRequests(ReportRequests* requests);  // nullptr restores the senders

// The Notify button of a row: name is column 0, project column 1 (activities only). The picker
// gives the recipients when the settings let the user choose them; otherwise the user confirms
// the mail to all members. Does nothing for an empty name, or a row not saved yet.
void RequestReportFromRow(qint32 section, const QString& name, const QString& project,
                          const std::function<QString()>& pickRecipients);

// The recipients the member picker gives: each selected name's address, joined by ";".
QString GetSelectedMemberEmails(const QStringList& selectedNames, const cDBSettings& settings);

}  // namespace tlm

#include "admin/manager_list.h"

#include <QDate>
#include <QDateTime>
#include <algorithm>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/money.h"
#include "core/prompt.h"
#include "domain/domain_services.h"
#include "domain/option_keys.h"
#include "domain/value_names.h"
#include "notifications/senders.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

constexpr qint32 kFirstCustomSection = 10;
constexpr qint32 kLastCustomSection = 13;

bool IsCustomSection(qint32 section) {
    return section >= kFirstCustomSection && section <= kLastCustomSection;
}

QString CustomListTitle(qint32 section, const cDBSettings& settings) {
    return settings.GeneralSettings
        .GetValue(tpo::CustomFieldKey(tpo::kTitleCustomField, section - kFirstCustomSection + 1),
                  cGeneralSettings::kText)
        .toString();
}

ListColumn Col(const char* caption, ListCellKind kind = ListCellKind::Text,
               ListComboSource combo = ListComboSource::None) {
    return ListColumn{QString::fromLatin1(caption), kind, combo, false};
}

// Grid dates carry no time; the zero date and the other "no date" years show as an empty cell.
QVariant DateCell(const QVariant& value) {
    const QDateTime dt = value.toDateTime();
    if (!dt.isValid() || IsEmptyDate(dt))
        return QVariant();
    return dt.date();
}

GridRows MatrixToRows(const Matrix& m, const ListLayout& layout) {
    GridRows rows(m.Rows());
    for (int r = 0; r < m.Rows(); ++r) {
        QVector<QVariant>& row = rows[r];
        row.resize(m.Cols());
        for (int c = 0; c < m.Cols(); ++c) {
            const QVariant& v = m(r, c);
            switch (layout.columns.value(c).kind) {
                case ListCellKind::Date:
                    row[c] = DateCell(v);
                    break;
                case ListCellKind::Check:
                    row[c] = v.toInt() != 0 ? 1 : 0;
                    break;
                default:
                    // The hidden colour index is a text column: its number goes in as text.
                    row[c] = c == layout.colorIndexColumn ? QVariant(QString::number(v.toInt())) : v;
                    break;
            }
        }
    }
    return rows;
}

class SenderRequests : public ReportRequests {
  public:
    void OnProject(const cProject& project, const QString& recipients) override;
    void OnTask(const cTask& task, const QString& recipients) override;
    void OnMember(const QString& memberName) override;
};

SenderRequests g_senders;
ReportRequests* g_requests = nullptr;

}  // namespace

bool IsListSection(qint32 section) {
    return (section >= 1 && section <= 3) || IsCustomSection(section);
}

ListLayout ListLayoutFor(qint32 section, const cDBSettings& settings) {
    ListLayout l;
    l.section = section;
    const QString prefix = QStringLiteral("Administration Panel : ");
    switch (section) {
        case 1:
            l.columns = {ListColumn{settings.ProjectTitle, ListCellKind::Text, ListComboSource::None, false},
                         Col("Manager", ListCellKind::Combo, ListComboSource::Members),
                         Col("Rate", ListCellKind::Currency),
                         Col("Start Date", ListCellKind::Date),
                         Col("Finish Date", ListCellKind::Date),
                         Col("Description"),
                         Col("Project Code"),
                         Col("Color Code Index"),
                         Col("Color Code", ListCellKind::Button),
                         Col("Notify To Report", ListCellKind::Button)};
            l.columns[7].hidden = true;
            l.matrixColumns = 8;
            l.colorIndexColumn = 7;
            l.colorButtonColumn = 8;
            l.notifyColumn = 9;
            l.heading = settings.ProjectTitle + QStringLiteral(" List");
            l.caption = prefix + l.heading;
            break;
        case 2:
            l.columns = {ListColumn{settings.ActivityTitle, ListCellKind::Text, ListComboSource::None, false},
                         Col("Project", ListCellKind::Combo, ListComboSource::Projects),
                         Col("Rate", ListCellKind::Currency),
                         Col("Coordinator", ListCellKind::Combo, ListComboSource::Members),
                         Col("Due Date", ListCellKind::Date),
                         Col("Notify To Report", ListCellKind::Button)};
            l.matrixColumns = 5;
            l.notifyColumn = 5;
            l.heading = settings.ActivityTitle + QStringLiteral(" List");
            l.caption = prefix + l.heading;
            break;
        case 3:
            l.columns = {Col("Name"),
                         Col("Email"),
                         Col("Department"),
                         Col("Rate", ListCellKind::Currency),
                         Col("Admin Access", ListCellKind::Check),
                         Col("Notify To Report", ListCellKind::Button)};
            l.matrixColumns = 5;
            l.notifyColumn = 5;
            l.notifySingle = true;
            l.heading = QStringLiteral("Members list");
            l.caption = prefix + QStringLiteral("Members");
            break;
        default:
            if (!IsCustomSection(section))
                return ListLayout{};
            l.columns = {Col("Name")};
            l.matrixColumns = 1;
            l.heading = CustomListTitle(section, settings);
            l.caption = prefix + l.heading;
            break;
    }
    return l;
}

QString ComboListFor(ListComboSource source, const cDBSettings& settings) {
    switch (source) {
        case ListComboSource::Members:
            return settings.Members.ToStringTab();
        case ListComboSource::Projects:
            return settings.Projects.ToStringTab();
        case ListComboSource::None:
            break;
    }
    return QString();
}

int ListCount(qint32 section, const cDBSettings& settings) {
    switch (section) {
        case 1:
            return settings.Projects.Items.Count();
        case 2:
            return settings.Tasks.Items.Count();
        case 3:
            return settings.Members.Items.Count();
        default:
            return IsCustomSection(section)
                       ? settings.CustomLists[section - kFirstCustomSection].Items.Count()
                       : 0;
    }
}

GridRows ListToGridRows(qint32 section, const cDBSettings& settings) {
    if (ListCount(section, settings) == 0)
        return {};
    std::optional<Matrix> m;
    switch (section) {
        case 1:
            m = settings.Projects.ToArray();
            break;
        case 2:
            m = settings.Tasks.ToArray();
            break;
        case 3:
            m = settings.Members.ToArray();
            break;
        default:
            m = settings.CustomLists[section - kFirstCustomSection].ToArray();
            break;
    }
    if (!m)
        return {};
    return MatrixToRows(*m, ListLayoutFor(section, settings));
}

Matrix GridRowsToMatrix(const GridRows& rows, int cols) {
    Matrix m(int(rows.size()) + 1, cols);
    for (int r = 0; r < rows.size(); ++r) {
        const QVector<QVariant>& row = rows[r];
        for (int c = 0; c < cols && c < row.size(); ++c)
            m(r, c) = row[c];
    }
    return m;
}

QString StartAfterFinishMessage(int row) {
    return QStringLiteral("The Start date cannot be greater than the Finish date!\r\nRow: ") +
           QString::number(row);
}

ListSaveOutcome SaveListFromGrid(qint32 section, const GridRows& rows, cDBSettings& settings) {
    ListSaveOutcome out;
    if (!IsListSection(section)) {
        out.saved = true;
        return out;
    }
    const Matrix m = GridRowsToMatrix(rows, ListLayoutFor(section, settings).matrixColumns);
    // Past the row counter's limit the list would hold only the first rows, and the save by
    // comparison would then delete every later row from the table: refuse instead.
    if (section <= 3 && m.UBound1() > detail::kMaxArrayRow) {
        detail::ReportRowCounterOverflow(m, QStringLiteral("fManagerList.SaveSettings"));
        return out;
    }
    switch (section) {
        case 1:
            out.failedRow = settings.Projects.FromArray(m);
            if (out.failedRow > 0) {
                MsgBox(StartAfterFinishMessage(out.failedRow), PromptIcon::Critical);
                return out;
            }
            break;
        case 2:
            settings.Tasks.FromArray(m);
            break;
        case 3:
            settings.Members.FromArray(m);
            break;
        default: {
            QVariantList names;
            names.reserve(m.Rows());
            for (int r = 0; r < m.Rows(); ++r)
                names.append(m(r, 0));
            settings.CustomLists[section - kFirstCustomSection].FromArray(names);
            break;
        }
    }
    settings.SaveGlobalSettings(section);
    // Activities name their project; the projects' activity map follows a project save only.
    if (section == 1)
        settings.LoadTasksProjectsCollection();
    out.saved = true;
    return out;
}

QString CategoryColorName(int pickerIndex) {
    return GetCategoryColorName(pickerIndex <= 0 ? 1 : pickerIndex + 1);
}

qint32 CategoryOleColor(int pickerIndex) {
    return GetOleColorFromColorIndex(pickerIndex <= 0 ? 1 : pickerIndex + 1);
}

QPoint PlaceOnScreen(QPoint at, QSize size, const QRect& screen) {
    int x = at.x();
    int y = at.y();
    if (x + size.width() >= screen.right() + 1)
        x = screen.right() + 1 - size.width();
    if (y + size.height() >= screen.bottom() + 1)
        y = screen.bottom() + 1 - size.height();
    return QPoint(std::max(x, screen.left()), std::max(y, screen.top()));
}

int ColorIndexFromCell(const QVariant& cell, int previous) {
    bool ok = false;
    const qint16 index = ToInt16(cell.toString().trimmed(), &ok);
    return ok ? index : previous;
}

void SenderRequests::OnProject(const cProject& project, const QString& recipients) {
    SendEmailToMembersToRequestReportOnAProject(project, recipients);
}
void SenderRequests::OnTask(const cTask& task, const QString& recipients) {
    SendEmailToMembersToRequestReportOnATask(task, recipients);
}
void SenderRequests::OnMember(const QString& memberName) {
    SendEmailToMemberToReport(memberName);
}

ReportRequests& reportRequests() {
    return g_requests ? *g_requests : g_senders;
}

void SetReportRequests(ReportRequests* requests) {
    g_requests = requests;
}

void RequestReportFromRow(qint32 section, const QString& name, const QString& project,
                          const std::function<QString()>& pickRecipients) {
    cDBSettings* settings = DBSettings();
    if (!settings)
        return;
    const QString trimmedName = name.trimmed();
    if (trimmedName.isEmpty())
        return;
    if (section == 3) {
        if (MsgBox(QStringLiteral("Continue with notification email to member '") + name +
                       QStringLiteral("' to report ?"),
                   PromptIcon::Question, PromptButtons::YesNo) == PromptAnswer::Yes)
            reportRequests().OnMember(name);
        return;
    }
    if (section != 1 && section != 2)
        return;
    if (section == 2 && project.trimmed().isEmpty())
        return;

    QString recipients = settings->Members.AllEmails(true);
    const bool choose =
        settings->GeneralSettings.GetValue(tpo::kAllowSelectionOfMembersToReport, cGeneralSettings::kInteger)
            .toInt() != 0;
    if (choose) {
        recipients = pickRecipients ? pickRecipients() : QString();
    } else {
        const QString what = section == 1 ? QStringLiteral("project '") : QStringLiteral("task '");
        const QString question =
            QStringLiteral(
                "Continue with notification email to all members to report to the database relating to ") +
            what + name + QStringLiteral("'?");
        if (MsgBox(question, PromptIcon::Question, PromptButtons::YesNo) != PromptAnswer::Yes)
            recipients.clear();
    }
    if (recipients.isEmpty())
        return;
    // The saved list, not the grid: a row not saved yet finds nothing.
    if (section == 1) {
        if (const cProject* p = GetProjectObjectFromName(name))
            reportRequests().OnProject(*p, recipients);
    } else if (const cTask* t = GetTaskObjectFromName(project, name)) {
        reportRequests().OnTask(*t, recipients);
    }
}

QString GetSelectedMemberEmails(const QStringList& selectedNames, const cDBSettings& settings) {
    QStringList mails;
    for (const QString& name : selectedNames) {
        const cMember* m = settings.Members.Items.Find(name.toLower());
        if (m && !m->Email.isEmpty())
            mails.append(m->Email);
    }
    return mails.join(u';');
}

}  // namespace tlm

#include "domain/projects.h"

#include <QRandomGenerator>
#include <QTime>
#include <cmath>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"

namespace tlm {

namespace {

const QString kLabelRow = QStringLiteral("cProject.FromRecordset");

// The columns of tProjects, looked up once per walk instead of once per row.
struct ProjectColumns {
    explicit ProjectColumns(Recordset& rs)
        : id(rs.Fields(QStringLiteral("ID"))),
          name(rs.Fields(QStringLiteral("ProjectName"))),
          rate(rs.Fields(QStringLiteral("Rate"))),
          manager(rs.Fields(QStringLiteral("ProjectManager"))),
          color(rs.Fields(QStringLiteral("ColorCode"))),
          start(rs.Fields(QStringLiteral("StartDate"))),
          finish(rs.Fields(QStringLiteral("FinishDate"))),
          description(rs.Fields(QStringLiteral("Description"))),
          code(rs.Fields(QStringLiteral("ProjectCode"))) {}
    Recordset::Field id, name, rate, manager, color, start, finish, description, code;
};

void ReadProject(cProject& p, ProjectColumns& c, Recordset& rs) {
    for (const Recordset::Field* f : {&c.id, &c.name, &c.rate, &c.manager, &c.color}) {
        if (!f->IsValid()) {
            detail::ReportRecordset(rs, kLabelRow);
            return;
        }
    }
    p.ID = c.id.Value().toInt();
    p.ProjectName = DB::NullSafeValue(c.name.Value(), adotype::adVarChar).toString();
    p.Rate = Money::fromVariant(DB::NullSafeValue(c.rate.Value(), adotype::adCurrency)).value_or(Money{});
    p.ProjectManager = DB::NullSafeValue(c.manager.Value(), adotype::adVarChar).toString();
    const int color = DB::NullSafeValue(c.color.Value(), adotype::adInteger).toInt();
    if (color < -32768 || color > 32767) {
        detail::ReportFailure(errnum::kOverflow, QStringLiteral("Overflow"), kLabelRow);
        return;
    }
    p.ColorCode = qint16(color);
    // The later columns are optional: an older table without them still loads.
    if (c.start.IsValid())
        if (const auto d = detail::VariantToDate(c.start.Value()))
            p.StartDate = *d;
    if (c.finish.IsValid())
        if (const auto d = detail::VariantToDate(c.finish.Value()))
            p.FinishDate = *d;
    if (c.description.IsValid())
        p.Description = DB::NullSafeValue(c.description.Value(), adotype::adVarChar).toString();
    if (c.code.IsValid())
        p.ProjectCode = DB::NullSafeValue(c.code.Value(), adotype::adVarChar).toString();
}

// Reads from the current row to EOF; remembers where each kept row stands when a seeker is given.
Dictionary<cProject> LoadProjects(Recordset& rs, detail::RowSeeker* seeker) {
    return detail::LoadRows<cProject, ProjectColumns>(rs, seeker, ReadProject,
                                                      [](const cProject& p) { return p.ProjectName; });
}

QString Text(const QVariant& v) {
    return v.toString();
}

}  // namespace

void cProject::FromRecordset(Recordset& rs) {
    ProjectColumns c(rs);
    ReadProject(*this, c, rs);
}

QString cProject::ToStringValuesClient() const {
    return EncodeValue(ProjectName) + u',' + QString::number(ColorCode) + u',' +
           EncodeValue(fncGetDateTextOrEmpty(StartDate)) + u',' +
           EncodeValue(fncGetDateTextOrEmpty(FinishDate)) + u',' + Rate.toPlainString();
}


QString cProjects::GetProject(qint16 index) const {
    if (index < 1 || index > Items.Count())
        return QString();
    auto it = Items.begin();
    std::advance(it, index - 1);
    return it->item.ProjectName.trimmed();
}

QString cProjects::GetItem(qint16 index) const {
    return GetProject(index);
}

QString cProjects::GetCategory(qint16 index) const {
    if (index < 1 || index > Items.Count())
        return QString();
    auto it = Items.begin();
    std::advance(it, index - 1);
    return it->item.ProjectName;
}

std::optional<cProject> cProjects::RandomCategory() const {
    if (Items.isEmpty())
        return std::nullopt;
    QRandomGenerator gen(quint32(QTime::currentTime().msecsSinceStartOfDay()));
    const double scaled = gen.generateDouble() * Items.Count();
    int pos = int(std::nearbyint(scaled)) - 1;  // the default rounding mode is half to even
    if (pos < 0)
        pos = 0;
    if (pos >= Items.Count())
        pos = Items.Count() - 1;
    auto it = Items.begin();
    std::advance(it, pos);
    return it->item;
}

qint16 cProjects::FromArray(const Matrix& matrix) {
    Items = Dictionary<cProject>(CompareMode::Text);
    const int last = matrix.UBound1();
    for (int row = 0; row <= last && row <= detail::kMaxArrayRow; ++row) {
        const QString key = Text(matrix.Cell(row, 0)).trimmed();
        if (key.isEmpty() || Items.Exists(key))
            continue;
        cProject p;
        p.ProjectName = key;
        p.ProjectManager = Text(matrix.Cell(row, 1));
        p.Rate =
            Money::fromVariant(DB::NullSafeValue(matrix.Cell(row, 2), adotype::adCurrency)).value_or(Money{});
        if (const auto d = detail::VariantToDate(matrix.Cell(row, 3)))
            p.StartDate = *d;
        if (const auto d = detail::VariantToDate(matrix.Cell(row, 4)))
            p.FinishDate = *d;
        p.Description = Text(matrix.Cell(row, 5)).trimmed();
        p.ProjectCode = Text(matrix.Cell(row, 6)).trimmed();
        p.ColorCode = qint16(DB::NullSafeValue(matrix.Cell(row, 7), adotype::adInteger).toInt());
        // Only the zero date's year counts as "no date" here.
        if (p.StartDate.date().year() != 1899 && p.FinishDate.date().year() != 1899 &&
            p.StartDate > p.FinishDate)
            return qint16(row + 1);
        Items.Add(key, std::move(p));
    }
    detail::ReportRowCounterOverflow(matrix, QStringLiteral("cProjects.FromArray"));
    return 0;
}

std::optional<Matrix> cProjects::ToArray() const {
    if (Items.isEmpty()) {
        detail::ReportFailure(9, QStringLiteral("Subscript out of range"),
                              QStringLiteral("cProjects.GetArray"));
        return std::nullopt;
    }
    Matrix m(Items.Count(), 8);
    int row = 0;
    for (const auto& e : Items) {
        const cProject& p = e.item;
        m(row, 0) = p.ProjectName;
        m(row, 1) = p.ProjectManager;
        m(row, 2) = QVariant::fromValue(p.Rate);
        m(row, 3) = p.StartDate;
        m(row, 4) = p.FinishDate;
        m(row, 5) = p.Description;
        m(row, 6) = p.ProjectCode;
        m(row, 7) = p.ColorCode;
        ++row;
    }
    return m;
}

QString cProjects::ToStringTab() const {
    QStringList names;
    names.reserve(Items.Count());
    for (const auto& e : Items)
        names.append(e.item.ProjectName);
    return names.join(u'\t').trimmed() + QStringLiteral("\t ");
}

void cProjects::FromRecordset(Recordset* rs) {
    Items = Dictionary<cProject>(CompareMode::Text);
    if (!rs)
        return;
    Items = LoadProjects(*rs, nullptr);
}

void cProjects::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("cProjects.ToRecordSet");
    detail::RowSeeker seeker(rs);
    const Dictionary<cProject> old = LoadProjects(rs, &seeker);
    ProjectColumns c(rs);
    QString newProjects;

    for (const auto& e : Items) {
        const cProject& p = e.item;
        const cProject* was = old.Find(e.key);
        if (!detail::SeekOrAddRow(rs, seeker, was ? std::optional(was->ID) : std::nullopt, c.name,
                                  p.ProjectName, label))
            return;
        if (!was) {
            const QString line = p.ProjectName + QStringLiteral(" (Manager: ") + p.ProjectManager + u')';
            newProjects = newProjects.isEmpty() ? line : line + QStringLiteral("\r\n") + newProjects;
        }
        const auto written = [&](const Recordset::Field* field) {
            if (field == &c.manager)
                notificationSink().SendEmailNotificationToManagerWhenAssignedProject(p);
        };
        if (!detail::WriteRow(rs,
                              {{&c.rate, QVariant::fromValue(p.Rate)},
                               {&c.manager, p.ProjectManager},
                               {&c.color, int(p.ColorCode)},
                               {&c.start, p.StartDate},
                               {&c.finish, p.FinishDate},
                               {&c.description, p.Description},
                               {&c.code, p.ProjectCode}},
                              !was, label, written))
            return;
    }

    // The count includes the rows just added, so a swap of one project for another deletes.
    if (rs.RecordCount() > Items.Count()) {
        if (!detail::DeleteRowsGoneFromList(rs, seeker, old, Items, label))
            return;
    }
    if (!newProjects.isEmpty())
        notificationSink().SendEmailNotificationToMembersWhenNewProjectsAdded(newProjects);
}

QString cProjects::ToStringValuesClient() const {
    QStringList lines;
    for (const auto& e : Items)
        lines.append(e.item.ToStringValuesClient() + u':' + e.item.ToStringTasks(QStringLiteral(";")));
    return lines.join(QStringLiteral("\r\n"));
}

}  // namespace tlm

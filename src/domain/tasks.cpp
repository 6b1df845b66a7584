#include "domain/tasks.h"

#include <QLocale>

#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"
#include "domain/single_list.h"

namespace tlm {

namespace {

const QString kLabelLoad = QStringLiteral("cTasks.FromRecordset");

struct TaskColumns {
    explicit TaskColumns(Recordset& rs)
        : id(rs.Fields(QStringLiteral("ID"))),
          name(rs.Fields(QStringLiteral("ActivityName"))),
          project(rs.Fields(QStringLiteral("Project"))),
          rate(rs.Fields(QStringLiteral("Rate"))),
          coordinator(rs.Fields(QStringLiteral("Coordinator"))),
          due(rs.Fields(QStringLiteral("DueDate"))) {}
    Recordset::Field id, name, project, rate, coordinator, due;
};

void ReadTask(cTask& t, TaskColumns& c, Recordset& rs) {
    for (const Recordset::Field* f : {&c.id, &c.name, &c.rate, &c.project, &c.coordinator}) {
        if (!f->IsValid()) {
            detail::ReportRecordset(rs, kLabelLoad);
            return;
        }
    }
    t.ID = c.id.Value().toInt();
    t.ActivityName = DB::NullSafeValue(c.name.Value(), adotype::adVarChar).toString();
    t.Rate = Money::fromVariant(DB::NullSafeValue(c.rate.Value(), adotype::adCurrency)).value_or(Money{});
    t.Project = DB::NullSafeValue(c.project.Value(), adotype::adVarChar).toString();
    t.Coordinator = DB::NullSafeValue(c.coordinator.Value(), adotype::adVarChar).toString();
    if (c.due.IsValid())
        if (const auto d = detail::VariantToDate(c.due.Value()))
            t.DueDate = *d;
}

Dictionary<cTask> LoadTasks(Recordset& rs, detail::RowSeeker* seeker) {
    return detail::LoadRows<cTask, TaskColumns>(rs, seeker, ReadTask, [](const cTask& t) { return t.Key(); });
}

}  // namespace

void cTask::FromRecordset(Recordset& rs) {
    TaskColumns c(rs);
    ReadTask(*this, c, rs);
}

void cTasks::FromArray(const Matrix& matrix) {
    Items = Dictionary<cTask>(CompareMode::Text);
    const int last = matrix.UBound1();
    for (int row = 0; row <= last && row <= detail::kMaxArrayRow; ++row) {
        cTask t;
        t.ActivityName = matrix.Cell(row, 0).toString().trimmed();
        t.Project = matrix.Cell(row, 1).toString().trimmed();
        const QString key = t.Key();
        if (key.isEmpty() || Items.Exists(key))
            continue;
        t.Rate =
            Money::fromVariant(DB::NullSafeValue(matrix.Cell(row, 2), adotype::adCurrency)).value_or(Money{});
        t.Coordinator = matrix.Cell(row, 3).toString().trimmed();
        if (const auto d = detail::VariantToDate(matrix.Cell(row, 4)))
            t.DueDate = *d;
        Items.Add(key, std::move(t));
    }
    detail::ReportRowCounterOverflow(matrix, QStringLiteral("cTasks.FromArray"));
}

std::optional<Matrix> cTasks::ToArray() const {
    if (Items.isEmpty()) {
        detail::ReportFailure(9, QStringLiteral("Subscript out of range"), QStringLiteral("cTasks.GetArray"));
        return std::nullopt;
    }
    Matrix m(Items.Count(), 5);
    int row = 0;
    for (const auto& e : Items) {
        m(row, 0) = e.item.ActivityName;
        m(row, 1) = e.item.Project;
        m(row, 2) = QVariant::fromValue(e.item.Rate);
        m(row, 3) = e.item.Coordinator;
        m(row, 4) = e.item.DueDate;
        ++row;
    }
    return m;
}

void cTasks::FromRecordset(Recordset* rs) {
    Items = Dictionary<cTask>(CompareMode::Text);
    if (rs)
        Items = LoadTasks(*rs, nullptr);
}

void cTasks::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("cTasks.ToRecordSet");
    detail::RowSeeker seeker(rs);
    const Dictionary<cTask> old = LoadTasks(rs, &seeker);
    TaskColumns c(rs);
    QString newActivities;

    for (const auto& e : Items) {
        const cTask& t = e.item;
        const cTask* was = old.Find(e.key);
        if (!detail::SeekOrAddRow(rs, seeker, was ? std::optional(was->ID) : std::nullopt, c.name,
                                  t.ActivityName, label))
            return;
        if (!was) {
            const QString line = t.ActivityName + QStringLiteral(" (Coordinator: ") + t.Coordinator +
                                 QStringLiteral(", Project: ") + t.Project + u')';
            newActivities = newActivities.isEmpty() ? line : line + QStringLiteral("\r\n") + newActivities;
        }
        const auto written = [&](const Recordset::Field* field) {
            if (field == &c.coordinator)
                notificationSink().SendEmailNotificationToCoordinatorWhenAssignedTask(t);
        };
        if (!detail::WriteRow(rs,
                              {{&c.rate, QVariant::fromValue(t.Rate)},
                               {&c.project, t.Project},
                               {&c.coordinator, t.Coordinator},
                               {&c.due, t.DueDate}},
                              !was, label, written))
            return;
    }

    if (rs.RecordCount() > Items.Count()) {
        if (!detail::DeleteRowsGoneFromList(rs, seeker, old, Items, label))
            return;
    }
    if (!newActivities.isEmpty())
        notificationSink().SendEmailNotificationToMembersWhenNewTasksAdded(newActivities);
}

cSingleList cTasks::GetProjectsList() const {
    cSingleList list;
    for (const auto& e : Items)
        list.Items.Add(e.item.Project, e.item.Project);
    return list;
}


QString cTasks::ToStringTab() const {
    QStringList names;
    names.reserve(Items.Count());
    for (const auto& e : Items)
        names.append(e.item.ActivityName);
    return names.join(u'\t').trimmed() + QStringLiteral("\t ");
}


QString GetTasksForAProject(const cTasks& tasks, const QString& project) {
    if (tasks.Items.isEmpty())
        return QString();
    const QString wanted = project.toLower();
    QStringList names;
    for (const auto& e : tasks.Items)
        if (e.item.Project.toLower() == wanted)
            names.append(e.item.ActivityName);
    return names.join(QStringLiteral("\r\n"));
}

}  // namespace tlm

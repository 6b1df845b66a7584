#include "domain/list_common.h"

#include <algorithm>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"

namespace tlm {

namespace {

class SilentSink : public NotificationSink {
  public:
    void SendEmailNotificationToMembersWhenNewProjectsAdded(const QString&) override {}
    void SendEmailNotificationToMembersWhenNewTasksAdded(const QString&) override {}
    void SendEmailNotificationToManagerWhenAssignedProject(const cProject&) override {}
    void SendEmailNotificationToCoordinatorWhenAssignedTask(const cTask&) override {}
};

SilentSink g_silent;
NotificationSink* g_sink = &g_silent;

}  // namespace

NotificationSink& notificationSink() {
    return *g_sink;
}
void SetNotificationSink(NotificationSink* sink) {
    g_sink = sink ? sink : &g_silent;
}

namespace detail {

std::optional<QDateTime> VariantToDate(const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return std::nullopt;
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime();
    if (value.typeId() == QMetaType::QDate)
        return QDateTime(value.toDate(), QTime(0, 0));
    const QString text = value.toString().trimmed();
    if (text.isEmpty())
        return std::nullopt;
    static const char* const formats[] = {"yyyy-MM-dd HH:mm:ss", "yyyy-M-d H:mm:ss", "yyyy-M-d",
                                          "M/d/yyyy h:mm:ss AP", "M/d/yyyy H:mm:ss", "M/d/yyyy"};
    for (const char* f : formats) {
        const QDateTime dt = QDateTime::fromString(text, QString::fromLatin1(f));
        if (dt.isValid())
            return dt;
    }
    const QDateTime iso = QDateTime::fromString(text, Qt::ISODate);
    if (iso.isValid())
        return iso;
    return std::nullopt;
}

bool ReportRecordset(const Recordset& rs, const QString& label) {
    Failure f = rs.LastError();
    if (!f.isSet())
        f = Failure{
            dberr::kNoCurrentRecord,
            QStringLiteral("Either BOF or EOF is True, or the current record has been deleted. Requested "
                           "operation requires a current record."),
            0, QString()};
    f.label = label;
    subReportError(f);
    return false;
}

bool DeleteRows(Recordset& rs, RowSeeker& seeker, std::vector<std::pair<int, qint32>> gone,
                const QString& label) {
    std::sort(gone.begin(), gone.end());
    for (const auto& entry : gone) {
        if (!seeker.SeekId(entry.second)) {
            if (rs.LastError().isSet())
                return ReportRecordset(rs, label);
            continue;
        }
        if (!seeker.DeleteCurrent())
            return ReportRecordset(rs, label);
    }
    return true;
}

bool SeekOrAddRow(Recordset& rs, RowSeeker& seeker, std::optional<qint32> oldId, Recordset::Field& name,
                  const QString& nameValue, const QString& label) {
    const bool found = oldId ? seeker.SeekId(*oldId) : rs.AddNew() && name.SetValue(nameValue);
    return found || ReportRecordset(rs, label);
}

bool WriteRow(Recordset& rs, std::initializer_list<ColumnValue> columns, bool changed, const QString& label,
              const std::function<void(const Recordset::Field*)>& written, bool missingColumnsPass) {
    for (const auto& [field, value] : columns) {
        if ((!missingColumnsPass && !field->IsValid()) || rs.Eof())
            return ReportRecordset(rs, label);
        if (!IsFieldChanged(field->Value(), value))
            continue;
        changed = true;
        if (!field->SetValue(value))
            return ReportRecordset(rs, label);
        if (written)
            written(field);
    }
    return !changed || rs.Update() || ReportRecordset(rs, label);
}

bool ReportRowCounterOverflow(const Matrix& matrix, const QString& label) {
    if (matrix.UBound1() <= kMaxArrayRow)
        return false;
    ReportFailure(6, QStringLiteral("Overflow"), label);
    return true;
}

void ReportFailure(qint32 number, const QString& description, const QString& label) {
    subReportError(Failure{number, description, 0, label});
}

int RowSeeker::CurrentOf(int original) const {
    const auto before = std::lower_bound(deleted_.begin(), deleted_.end(), original);
    return original - int(before - deleted_.begin());
}

bool RowSeeker::StepTo(int target) {
    if (target < 0 || target >= rs_.RecordCount())
        return false;
    int cur = rs_.AbsolutePosition();
    if (afterDelete_) {
        // The row after a deleted one already sits under the cursor.
        afterDelete_ = false;
        if (target >= cur) {
            if (!rs_.MoveNext())
                return false;
        } else {
            if (!rs_.MovePrevious())
                return false;
            --cur;
        }
    } else if (rs_.Bof() || rs_.Eof()) {
        if (!rs_.MoveFirst())
            return false;
        cur = 0;
    }
    if (target < cur && target < cur - target) {
        if (!rs_.MoveFirst())
            return false;
        cur = 0;
    }
    for (; cur < target; ++cur)
        if (!rs_.MoveNext())
            return false;
    for (; cur > target; --cur)
        if (!rs_.MovePrevious())
            return false;
    return true;
}

bool RowSeeker::SeekId(qint32 id) {
    const int original = PlaceOf(id);
    if (original >= 0) {
        rs_.ClearError();
        if (StepTo(CurrentOf(original)) && !rs_.Eof() &&
            rs_.Fields(QStringLiteral("ID")).Value().toInt() == id)
            return true;
    }
    afterDelete_ = false;
    if (rs_.RecordCount() > 0 && !rs_.MoveFirst())
        return false;
    rs_.ClearError();
    return rs_.Find(QStringLiteral("ID = ") + QString::number(id));
}

bool RowSeeker::DeleteCurrent() {
    const int cur = rs_.AbsolutePosition();
    const qint32 id = rs_.Fields(QStringLiteral("ID")).Value().toInt();
    if (!rs_.Delete())
        return false;
    const int original = PlaceOf(id);
    if (original >= 0 && CurrentOf(original) == cur) {
        deleted_.insert(std::upper_bound(deleted_.begin(), deleted_.end(), original), original);
        places_.remove(id);
    } else {
        places_.clear();  // the places can no longer be trusted: search from here on
    }
    afterDelete_ = true;
    return true;
}

}  // namespace detail
}  // namespace tlm

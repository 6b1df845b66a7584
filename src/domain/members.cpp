#include "domain/members.h"

#include <algorithm>

#include "core/codecs.h"
#include "core/error_report.h"
#include "database/connection.h"
#include "database/recordset.h"

namespace tlm {

namespace {

const QString kLabelRow = QStringLiteral("cMember.FromRecordset");

struct MemberColumns {
    explicit MemberColumns(Recordset& rs)
        : id(rs.Fields(QStringLiteral("ID"))),
          name(rs.Fields(QStringLiteral("Name"))),
          rate(rs.Fields(QStringLiteral("Rate"))),
          email(rs.Fields(QStringLiteral("Email"))),
          department(rs.Fields(QStringLiteral("Department"))),
          admin(rs.Fields(QStringLiteral("AdminAccess"))) {}
    Recordset::Field id, name, rate, email, department, admin;
};

void ReadMember(cMember& m, MemberColumns& c, Recordset& rs) {
    for (const Recordset::Field* f : {&c.id, &c.name, &c.rate, &c.email, &c.department, &c.admin}) {
        if (!f->IsValid()) {
            detail::ReportRecordset(rs, kLabelRow);
            return;
        }
    }
    m.ID = c.id.Value().toInt();
    m.Name = DB::NullSafeValue(c.name.Value(), adotype::adVarChar).toString();
    m.Rate = Money::fromVariant(DB::NullSafeValue(c.rate.Value(), adotype::adCurrency)).value_or(Money{});
    m.Email = DB::NullSafeValue(c.email.Value(), adotype::adVarChar).toString();
    m.Department = DB::NullSafeValue(c.department.Value(), adotype::adVarChar).toString();
    m.AdminAccess = DB::NullSafeValue(c.admin.Value(), adotype::adInteger).toInt() != 0;
}

Dictionary<cMember> LoadMembers(Recordset& rs, detail::RowSeeker* seeker) {
    return detail::LoadRows<cMember, MemberColumns>(rs, seeker, ReadMember,
                                                    [](const cMember& m) { return m.Name.toLower(); });
}

}  // namespace

void cMember::FromRecordset(Recordset& rs) {
    MemberColumns c(rs);
    ReadMember(*this, c, rs);
}

QString cMembers::GetMemberFullNameFromEmail(const QString& email) const {
    const QString wanted = email.toUpper();
    for (const auto& e : Items)
        if (e.item.Email.trimmed().toUpper() == wanted)
            return e.item.Name;
    return QString();
}

QString cMembers::GetMatchingMemberFullName(const QString& rawName) const {
    if (rawName.trimmed().size() < 3)
        return QString();
    const QString wanted = rawName.toUpper();
    for (const auto& e : Items)
        if (e.item.Name.trimmed().toUpper().contains(wanted))
            return e.item.Name;
    return QString();
}

void cMembers::FromArray(const Matrix& matrix) {
    Items = Dictionary<cMember>(CompareMode::Text);
    const int last = matrix.UBound1();
    for (int row = 0; row <= last && row <= detail::kMaxArrayRow; ++row) {
        const QString key = matrix.Cell(row, 0).toString().trimmed().toLower();
        if (key.isEmpty() || Items.Exists(key))
            continue;
        cMember m;
        m.Name = matrix.Cell(row, 0).toString().trimmed();
        m.Email = matrix.Cell(row, 1).toString().trimmed();
        m.Department = matrix.Cell(row, 2).toString().trimmed();
        // No null-safe step here: a rate cell that is no number ends the call.
        const QVariant rate = matrix.Cell(row, 3);
        const bool blank = !rate.isValid() || rate.isNull() ||
                           (rate.typeId() == QMetaType::QString && rate.toString().trimmed().isEmpty());
        const std::optional<Money> money = blank ? std::optional<Money>(Money{}) : Money::fromVariant(rate);
        if (!money) {
            detail::ReportFailure(errnum::kTypeMismatch, QStringLiteral("Type mismatch"),
                                  QStringLiteral("cMembers.FromArray"));
            return;
        }
        m.Rate = *money;
        const QVariant admin = matrix.Cell(row, 4);
        const bool numeric = admin.typeId() == QMetaType::Bool || admin.typeId() == QMetaType::Int ||
                             admin.typeId() == QMetaType::LongLong || admin.typeId() == QMetaType::Double ||
                             admin.typeId() == QMetaType::Short ||
                             (admin.typeId() == QMetaType::QString && IsNumericText(admin.toString()));
        m.AdminAccess = numeric && admin.toDouble() != 0;
        Items.Add(key, std::move(m));
    }
    detail::ReportRowCounterOverflow(matrix, QStringLiteral("cMembers.FromArray"));
}

std::optional<Matrix> cMembers::ToArray() const {
    if (Items.isEmpty()) {
        detail::ReportFailure(9, QStringLiteral("Subscript out of range"),
                              QStringLiteral("cMembers.GetArray"));
        return std::nullopt;
    }
    Matrix m(Items.Count(), 5);
    int row = 0;
    for (const auto& e : Items) {
        m(row, 0) = e.item.Name;
        m(row, 1) = e.item.Email;
        m(row, 2) = e.item.Department;
        m(row, 3) = QVariant::fromValue(e.item.Rate);
        m(row, 4) = qint16(e.item.AdminAccess ? 1 : 0);
        ++row;
    }
    return m;
}

void cMembers::FromRecordset(Recordset* rs) {
    Items = Dictionary<cMember>(CompareMode::Text);
    if (rs)
        Items = LoadMembers(*rs, nullptr);
}

void cMembers::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("cMembers.ToRecordSet");
    detail::RowSeeker seeker(rs);
    const Dictionary<cMember> old = LoadMembers(rs, &seeker);
    MemberColumns c(rs);

    // Members carry no notification, so rows that exist are visited in table order (one pass
    // through the table) and new ones are added after them, in list order.
    std::vector<std::pair<int, const cMember*>> existing;
    std::vector<const cMember*> added;
    existing.reserve(size_t(Items.Count()));
    for (const auto& e : Items) {
        if (const cMember* was = old.Find(e.key))
            existing.emplace_back(seeker.PlaceOf(was->ID), &e.item);
        else
            added.push_back(&e.item);
    }
    std::stable_sort(existing.begin(), existing.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });

    const auto write = [&](const cMember& m, bool isNew) {
        return detail::WriteRow(rs,
                                {{&c.rate, QVariant::fromValue(m.Rate)},
                                 {&c.admin, m.AdminAccess},
                                 {&c.email, m.Email},
                                 {&c.department, m.Department}},
                                isNew, label);
    };
    for (const auto& [place, m] : existing) {
        Q_UNUSED(place);
        const cMember* was = old.Find(m->Name.toLower());
        if (!was || !seeker.SeekId(was->ID))
            return void(detail::ReportRecordset(rs, label));
        if (!write(*m, false))
            return;
    }
    for (const cMember* m : added) {
        if (!rs.AddNew() || !c.name.SetValue(m->Name))
            return void(detail::ReportRecordset(rs, label));
        if (!write(*m, true))
            return;
    }

    if (rs.RecordCount() > Items.Count()) {
        if (!detail::DeleteRowsGoneFromList(rs, seeker, old, Items, label))
            return;
    }
}

QString cMembers::ToStringTab() const {
    QStringList names;
    names.reserve(Items.Count());
    for (const auto& e : Items)
        names.append(e.item.Name);
    return names.join(u'\t').trimmed() + QStringLiteral("\t ");
}

QStringList cMembers::PopulateComboList() const {
    QStringList names;
    for (const auto& e : Items)
        if (!e.item.Name.trimmed().isEmpty())
            names.append(e.item.Name);
    return names;
}


}  // namespace tlm

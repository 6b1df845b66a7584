#include "domain/single_list.h"

#include <QRandomGenerator>
#include <cmath>

#include "core/error_report.h"
#include "database/recordset.h"

namespace tlm {

qint16 cSingleList::getItemIndex(const QString& text) const {
    qint16 i = 0;
    for (const auto& e : Items) {
        if (e.item == text)
            return i;
        ++i;
    }
    return qint16(Items.Count());
}

QString cSingleList::GetItem(qint16 index) const {
    if (index < 0 || index >= Items.Count())
        return QString();
    auto it = Items.begin();
    std::advance(it, index);
    return it->item.trimmed();
}

QString cSingleList::ToString(const QString& separator, bool sort) {
    if (sort && Items.Count() > 1)
        Items = Sort(Items, 1);
    QStringList parts;
    parts.reserve(Items.Count());
    for (const auto& e : Items)
        parts.append(e.item);
    return parts.join(separator).trimmed();
}

void cSingleList::FromString(const QString& text, const QString& separator) {
    Items = Dictionary<QString>(CompareMode::Text);
    if (text.isEmpty())
        return;
    const QStringList parts = separator.isEmpty() ? QStringList{text} : text.split(separator);
    for (const QString& part : parts)
        if (!part.isEmpty())
            Items.Add(part, part);
    Items = Sort(Items, 1);
}

std::optional<QString> cSingleList::RandomItem() const {
    if (Items.isEmpty())
        return std::nullopt;
    const double scaled = QRandomGenerator::global()->generateDouble() * (Items.Count() - 1);
    const int pos = int(std::nearbyint(scaled));
    auto it = Items.begin();
    std::advance(it, pos);
    return it->item;
}

void cSingleList::FromRecordset(Recordset* rs) {
    Items = Dictionary<QString>(CompareMode::Text);
    if (!rs)
        return;
    Recordset::Field field = rs->Fields(1);
    if (!field.IsValid()) {
        detail::ReportRecordset(*rs, QStringLiteral("SingleList.FromRecordset"));
        return;
    }
    while (!rs->Eof()) {
        const QVariant v = field.Value();
        const QString text = v.isNull() ? QString() : v.toString();
        Items.Add(text, text);
        if (!rs->MoveNext())
            break;
    }
    Items = Sort(Items, 1);
}

void cSingleList::FromArray(const QVariantList& values) {
    Items = Dictionary<QString>(CompareMode::Text);
    for (const QVariant& v : values) {
        const QString text = v.toString();
        if (!text.trimmed().isEmpty())
            Items.Add(text, text);
    }
}

std::optional<Matrix> cSingleList::ToArray() const {
    if (Items.isEmpty()) {
        detail::ReportFailure(9, QStringLiteral("Subscript out of range"),
                              QStringLiteral("SingleList.GetArray"));
        return std::nullopt;
    }
    int rows = 0;
    for (const auto& e : Items)
        if (!e.item.isEmpty())
            ++rows;
    Matrix m(rows, 1);
    int row = 0;
    for (const auto& e : Items)
        if (!e.item.isEmpty())
            m(row++, 0) = e.item;
    return m;
}

void cSingleList::ToRS(Recordset& rs) {
    const QString label = QStringLiteral("cSingleList.ToRS");
    cSingleList old;
    old.FromRecordset(&rs);
    Recordset::Field field = rs.Fields(1);
    if (!field.IsValid())
        return void(detail::ReportRecordset(rs, label));
    for (const auto& e : Items) {
        if (old.Items.Exists(e.item))
            continue;
        if (!rs.AddNew() || !field.SetValue(e.item) || !rs.Update())
            return void(detail::ReportRecordset(rs, label));
    }
    if (rs.RecordCount() <= Items.Count())
        return;
    const QString column = field.Name();
    for (const auto& e : old.Items) {
        if (Items.Exists(e.item))
            continue;
        rs.ClearError();
        if (!rs.MoveFirst())
            return void(detail::ReportRecordset(rs, label));
        // The item goes between the quotes as it stands: an apostrophe spoils the criterion.
        if (!rs.Find(column + QStringLiteral(" = '") + e.item + u'\'')) {
            if (rs.LastError().isSet())
                return void(detail::ReportRecordset(rs, label));
            continue;
        }
        if (!rs.Delete())
            return void(detail::ReportRecordset(rs, label));
    }
}

QString cSingleList::ToStringTab() const {
    QStringList parts;
    for (const auto& e : Items)
        if (!e.item.isEmpty())
            parts.append(e.item);
    return parts.join(u'\t').trimmed() + QStringLiteral("\t ");
}

QStringList cSingleList::PopulateComboList(bool addBlank) const {
    QStringList entries;
    for (const auto& e : Items)
        if (!e.item.trimmed().isEmpty())
            entries.append(e.item);
    if (addBlank)
        entries.append(QString());
    return entries;
}

}  // namespace tlm

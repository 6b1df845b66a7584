#include "domain/general_settings.h"

#include "core/codecs.h"
#include "database/recordset.h"
#include "domain/list_common.h"
#include "domain/single_list.h"

namespace tlm {

void cGeneralSettings::FromRecordset(Recordset* rs) {
    Items = Dictionary<QVariant>(CompareMode::Binary);
    if (!rs)
        return;
    Recordset::Field key = rs->Fields(1), value = rs->Fields(2);
    if (!key.IsValid() || !value.IsValid())
        return void(detail::ReportRecordset(*rs, QStringLiteral("cGeneralSettings.FromRecordSet")));
    while (!rs->Eof()) {
        const QString k = key.Value().toString();
        if (QVariant* existing = Items.Find(k))
            *existing = value.Value();
        else
            Items.Add(k, value.Value());
        if (!rs->MoveNext())
            break;
    }
}

void cGeneralSettings::SetValue(const QString& key, const QVariant& value) {
    if (QVariant* existing = Items.Find(key))
        *existing = value;
    else
        Items.Add(key, value);
}

QVariant cGeneralSettings::GetValue(const QString& key, qint16 type) const {
    const QVariant* v = Items.Find(key);
    const bool present = v && v->isValid() && !v->isNull();
    switch (type) {
        case kInteger: {
            if (!present)
                return qint16(0);
            bool ok = false;
            const qint16 n = ToInt16(v->toString(), &ok);
            return ok ? n : qint16(0);
        }
        case kDate: {
            if (!present)
                return ZeroDate();
            const auto d = detail::VariantToDate(*v);
            return d ? *d : ZeroDate();
        }
        case kText:
            return present ? v->toString() : QString();
        case kBoolean: {
            if (!present)
                return false;
            const QString t = v->toString().trimmed();
            if (t.compare(u"True", Qt::CaseInsensitive) == 0)
                return true;
            if (t.compare(u"False", Qt::CaseInsensitive) == 0)
                return false;
            return IsNumericText(t) && t.toDouble() != 0;
        }
        default:
            return QVariant();
    }
}

void cGeneralSettings::ToRecordSet(Recordset& rs) {
    const QString label = QStringLiteral("cGeneralSettings.ToRecordSet");
    cSingleList stored;
    stored.FromRecordset(&rs);
    Recordset::Field key = rs.Fields(1), value = rs.Fields(2);
    if (!key.IsValid() || !value.IsValid())
        return void(detail::ReportRecordset(rs, label));
    for (const auto& e : Items) {
        if (stored.Items.Exists(e.key)) {
            if (rs.RecordCount() > 0 && !rs.MoveFirst())
                return void(detail::ReportRecordset(rs, label));
            rs.ClearError();
            // The key stands between quotes as it is: an apostrophe spoils the criterion.
            if (!rs.Find(QStringLiteral("KeyID = '") + e.key + u'\'') && rs.LastError().isSet())
                return void(detail::ReportRecordset(rs, label));
        } else {
            if (!rs.AddNew() || !key.SetValue(e.key))
                return void(detail::ReportRecordset(rs, label));
        }
        QString text = e.item.isValid() && !e.item.isNull() ? e.item.toString() : QString();
        if (text.isEmpty())
            text = QStringLiteral(" ");
        if (!value.SetValue(text) || !rs.Update())
            return void(detail::ReportRecordset(rs, label));
    }
}

}  // namespace tlm

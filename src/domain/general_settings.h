#pragma once

#include <QString>
#include <QVariant>

#include "core/dictionary.h"

namespace tlm {

class Recordset;

// The tpo* key store over tGeneralSettings. Keys compare exactly; values are kept as given and
// converted on reading by the type the caller asks for.
class cGeneralSettings {
  public:
    // Type numbers of GetValue.
    static constexpr qint16 kInteger = 2;
    static constexpr qint16 kDate = 7;
    static constexpr qint16 kText = 8;
    static constexpr qint16 kBoolean = 11;

    Dictionary<QVariant> Items{CompareMode::Binary};

    // Replaces everything with the table's rows; the last of two rows with one key wins.
    void FromRecordset(Recordset* rs);
    void SetValue(const QString& key, const QVariant& value);
    // Never fails: an absent key or a value that does not convert reads as 0, the zero date,
    // empty text or false; an unknown type as an empty value.
    QVariant GetValue(const QString& key, qint16 type) const;
    // Writes every key (an empty value as one blank); never deletes a row.
    void ToRecordSet(Recordset& rs);
};

}  // namespace tlm

#pragma once

#include <QString>
#include <optional>

#include "core/dictionary.h"
#include "core/money.h"
#include "domain/list_common.h"

namespace tlm {

class Recordset;

// One row of tMembers: a person who reports time, known everywhere by full name.
struct cMember {
    qint32 ID = 0;
    QString Name;
    QString Email;
    QString Department;
    Money Rate;
    bool AdminAccess = false;

    void FromRecordset(Recordset& rs);
};

// All rows of tMembers, keyed by the lower-case name.
class cMembers {
  public:
    Dictionary<cMember> Items{CompareMode::Text};

    // The first member whose trimmed address equals the argument without regard to case.
    QString GetMemberFullNameFromEmail(const QString& email) const;
    // The first member whose name holds the argument (3 characters at least).
    QString GetMatchingMemberFullName(const QString& rawName) const;
    void FromArray(const Matrix& matrix);
    std::optional<Matrix> ToArray() const;
    void FromRecordset(Recordset* rs);
    // Brings the table to this list: adds, changes, deletes. Members are not told.
    void ToRecordSet(Recordset& rs);
    QString ToStringTab() const;
    // The names a multi-selection list shows, all of them selected.
    QStringList PopulateComboList() const;
    // The addresses joined by ";"; each skipped member leaves one trailing ";".
    QString AllEmails(bool excludeCurrentMember) const;
};

}  // namespace tlm

#pragma once
// Filling tMembers for the member benchmarks, through the program's own connection.
#include <QString>
#include <QVariantList>
#include <cstdio>

#include "database/connection.h"
#include "database/recordset.h"

namespace tlm::bench {

inline bool Exec(const QString& sql, const QVariantList& values = {}) {
    auto c = GetCommand();
    if (!c)
        return false;
    c->CommandText = sql;
    if (c->Execute(values) < 0) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(sql), qPrintable(c->LastError().description));
        return false;
    }
    return true;
}

// n members in a scrambled name order, in one transaction; seeding is never what is measured.
inline void SeedMembers(int n) {
    Exec(QStringLiteral("DELETE FROM tMembers"));
    Exec(QStringLiteral("BEGIN"));
    for (int i = 0; i < n; ++i)
        Exec(QStringLiteral(
                 "INSERT INTO tMembers (Name, Email, Department, Rate, AdminAccess) VALUES (?, ?, ?, ?, ?)"),
             {QStringLiteral("Member %1 %2").arg(i * 7919 % 1000003).arg(i),
              QStringLiteral("m%1@example.org").arg(i), QStringLiteral("Dept"), QStringLiteral("10"), 0});
    Exec(QStringLiteral("COMMIT"));
}

}  // namespace tlm::bench

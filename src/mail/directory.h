#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace tlm {

// One person from an address book: what a member import needs.
struct DirectoryEntry {
    QString name;
    QString mail;
    QString department;
    bool operator==(const DirectoryEntry&) const = default;
};

// vCard 2.1, 3.0 and 4.0: FN (or N when FN is missing), the preferred EMAIL (else the first),
// and the department from ORG (the unit after the organisation name). Cards with neither a
// name nor an address are skipped.
QList<DirectoryEntry> ParseVCards(const QByteArray& text);
// Empty list with error set when the file cannot be read or holds no card.
QList<DirectoryEntry> ReadVCardFile(const QString& path, QString* error = nullptr);

}  // namespace tlm

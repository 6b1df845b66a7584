#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace tlm {

// The kinds of address entry a member import tells apart.
enum class AddressEntryType {
    Contact,           // a person of an address file
    DirectoryUser,     // a person of the LDAP directory
    DistributionList,  // a group, whose members are taken one level deep
    Other,             // anything else (an organisation, a role): skipped without a message
};

// One entry from an address book: what a member import needs.
struct DirectoryEntry {
    QString name;
    QString mail;
    QString department;
    AddressEntryType type = AddressEntryType::Contact;
    QString id{};                     // the DN of a directory entry, the UID of a card
    QStringList memberRefs{};         // a card group's members as written: "urn:uuid:…", "mailto:…"
    QList<DirectoryEntry> members{};  // a group's members once resolved; a member group has none
    bool operator==(const DirectoryEntry&) const = default;
};

// vCard 2.1, 3.0 and 4.0: FN (or N when FN is missing), the preferred EMAIL (else the first),
// and the department from ORG (the unit after the organisation name). KIND "group" makes a
// group whose MEMBER lines are kept; another KIND than "individual" an entry of no use.
// Cards with neither a name nor an address are skipped.
QList<DirectoryEntry> ParseVCards(const QByteArray& text);
// The same, naming each card that cannot be read in `problems` ("<source>, card 3: …"): text that
// is not UTF-8 (without a Latin-1 CHARSET), a line that is no content line, a card never closed.
// Such cards are left out; the others are offered.
QList<DirectoryEntry> ParseVCards(const QByteArray& text, const QString& source, QStringList* problems);
// Address files larger than this are not read: a card of people is a few kilobytes.
inline constexpr qint64 kVCardFileLimit = 16 * 1024 * 1024;
// Empty list with error set when the file cannot be read, is larger than the limit or holds no card.
QList<DirectoryEntry> ReadVCardFile(const QString& path, QString* error = nullptr);

struct VCardFiles {
    QList<DirectoryEntry> entries;
    QStringList problems;  // files and cards that could not be read
};
// Several files at once. Each group's members are looked up among the cards of all the files,
// by UID or address; a member found nowhere that is an address stays as an entry without a name.
VCardFiles ReadVCardFiles(const QStringList& paths);
// One message for the files and cards that could not be read, at most 20 of them named; empty when
// there is none.
QString UnreadableCardsMessage(const QStringList& problems);
// At most 20 of `lines`, one a line, then "... and N more" for the rest: a message box of
// thousands of lines cannot be read or closed.
QString NamedWithCount(const QStringList& lines);

// Where a picker gets its entries: the dialog over the directory and the address files, or a
// double in tests. `AddressBook` gives the chosen entries, groups with their members, or nothing
// when the user cancelled.
class AddressBookSource {
  public:
    virtual ~AddressBookSource() = default;
    virtual std::optional<QList<DirectoryEntry>> AddressBook(const QString& title,
                                                             const QString& addLabel) = 0;
};

}  // namespace tlm

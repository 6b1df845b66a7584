#pragma once

#include <QStringList>
#include <QVector>
#include <optional>

#include "admin/manager_list.h"
#include "core/money.h"
#include "domain/members.h"
#include "mail/directory.h"

namespace tlm {

// The Import of the Members list: people and groups picked in the address book become members;
// people already in the list keep their row, the others become new rows. Nothing here writes to
// the table; the grid's next save does.

inline const QString kPickMembersTitle = QStringLiteral("Pick Members");
inline const QString kPickMembersAddLabel = QStringLiteral("Add");

// The picked entries as members, groups taken one level deep; nothing when nothing was picked.
// Without an address book the program ends, as it cannot do what was asked.
std::optional<cMembers> GetUsersFromGAL(AddressBookSource* book);
// Adds the entry's member under its name unless the list has that name (case ignored) or the
// member has none; the list is made when first needed.
void AddContactToList(std::optional<cMembers>& list, const DirectoryEntry& entry);
// A person's member (name, address, department); an empty member for any other kind of entry.
cMember MemberFromContact(const DirectoryEntry& entry);
// The saved members whose names were imported, matched by name without regard to case, in the
// saved list's order; they leave `imported`, which keeps the new people only. Nothing when none.
std::optional<cMembers> GetNewUsersToBeAdded(cMembers& imported, const cMembers& saved);

// A known member's row of the grid, written back from the saved member.
struct GridMemberRefresh {
    int row = 0;  // 0-based
    QString email;
    QString department;
    Money rate;
};
// For each known member with a name, the first grid row whose name cell is that name, as a whole
// text, case ignored. `gridNames` are the name cells from the first row to the last data row.
QVector<GridMemberRefresh> UpdateUserInfoInGrid(const cMembers& known, const QStringList& gridNames);
// The new members as grid rows: name, address, department, a rate of 0, admin access off.
GridRows NewMemberRows(const cMembers& imported);

struct MemberImport {
    QVector<GridMemberRefresh> refresh;
    GridRows newRows;  // go below the grid's last data row
};
// The whole import against the saved members and the grid's name cells; nothing when the user
// picked nothing.
std::optional<MemberImport> ImportMembers(AddressBookSource* book, const cMembers& saved,
                                          const QStringList& gridNames);

}  // namespace tlm

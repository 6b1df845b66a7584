#include "admin/member_import.h"

#include "core/startup.h"

namespace tlm {

std::optional<cMembers> GetUsersFromGAL(AddressBookSource* book) {
    if (!book) {
        subExitProgram();
        return std::nullopt;
    }
    const std::optional<QList<DirectoryEntry>> picked =
        book->AddressBook(kPickMembersTitle, kPickMembersAddLabel);
    if (!picked || picked->isEmpty())
        return std::nullopt;
    std::optional<cMembers> list;
    for (const DirectoryEntry& entry : *picked) {
        switch (entry.type) {
            case AddressEntryType::DistributionList:
                // One level: a group among the members comes as an entry of its own and adds no one.
                for (const DirectoryEntry& member : entry.members)
                    AddContactToList(list, member);
                break;
            case AddressEntryType::DirectoryUser:
            case AddressEntryType::Contact:
                AddContactToList(list, entry);
                break;
            case AddressEntryType::Other:
                break;
        }
    }
    return list;
}

void AddContactToList(std::optional<cMembers>& list, const DirectoryEntry& entry) {
    const cMember member = MemberFromContact(entry);
    if (member.Name.isEmpty())
        return;
    if (!list)
        list.emplace();
    if (!list->Items.Exists(member.Name))
        list->Items.Add(member.Name, member);
}

cMember MemberFromContact(const DirectoryEntry& entry) {
    cMember member;
    if (entry.type != AddressEntryType::DirectoryUser && entry.type != AddressEntryType::Contact)
        return member;
    member.Name = entry.name.trimmed();
    member.Email = entry.mail.trimmed();
    member.Department = entry.department.trimmed();
    return member;
}

std::optional<cMembers> GetNewUsersToBeAdded(cMembers& imported, const cMembers& saved) {
    std::optional<cMembers> known;
    if (saved.Items.isEmpty())
        return known;
    for (const auto& e : saved.Items) {
        const cMember& member = e.item;
        if (!imported.Items.Exists(member.Name))
            continue;
        if (!known)
            known.emplace();
        const QString key = member.Name.toLower();
        if (!known->Items.Exists(key))
            known->Items.Add(key, member);
        imported.Items.Remove(key);
    }
    return known;
}

QVector<GridMemberRefresh> UpdateUserInfoInGrid(const cMembers& known, const QStringList& gridNames) {
    QVector<GridMemberRefresh> out;
    for (const auto& e : known.Items) {
        const cMember& member = e.item;
        if (member.Name.isEmpty())
            continue;
        for (int row = 0; row < gridNames.size(); ++row) {
            if (gridNames[row].compare(member.Name, Qt::CaseInsensitive) == 0) {
                out.append(GridMemberRefresh{row, member.Email, member.Department, member.Rate});
                break;
            }
        }
    }
    return out;
}

GridRows NewMemberRows(const cMembers& imported) {
    GridRows rows;
    rows.reserve(imported.Items.Count());
    for (const auto& e : imported.Items) {
        const cMember& m = e.item;
        rows.append({m.Name, m.Email, m.Department, QVariant::fromValue(m.Rate), m.AdminAccess ? 1 : 0});
    }
    return rows;
}

std::optional<MemberImport> ImportMembers(AddressBookSource* book, const cMembers& saved,
                                          const QStringList& gridNames) {
    std::optional<cMembers> imported = GetUsersFromGAL(book);
    if (!imported)
        return std::nullopt;
    MemberImport out;
    if (const std::optional<cMembers> known = GetNewUsersToBeAdded(*imported, saved))
        out.refresh = UpdateUserInfoInGrid(*known, gridNames);
    if (!imported->Items.isEmpty())
        out.newRows = NewMemberRows(*imported);
    return out;
}

}  // namespace tlm

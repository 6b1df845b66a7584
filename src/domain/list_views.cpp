// What one list tells with the other lists in view: these read the installed set of lists, so
// they live beside none of the single lists and no list includes the set.
#include <QStringList>
#include <algorithm>

#include "core/codecs.h"
#include "domain/domain_services.h"
#include "domain/members.h"
#include "domain/projects.h"
#include "domain/shared_lists.h"
#include "domain/single_list.h"
#include "domain/tasks.h"

namespace tlm {

QString cMembers::AllEmails(bool excludeCurrentMember) const {
    const cSharedLists* global = SharedLists();
    const QString current = global ? global->CurrentMember.Name.toUpper() : QString();
    QStringList parts(std::max(1, Items.Count()));
    int next = 0;
    for (const auto& e : Items) {
        if (e.item.Email.isEmpty())
            continue;
        if (excludeCurrentMember && e.item.Name.toUpper() == current)
            continue;
        parts[next++] = e.item.Email;
    }
    return parts.join(u';');
}

QString cProject::ToStringTasks(const QString& separator) const {
    const cSharedLists* global = SharedLists();
    if (!global)
        return QString();
    QString out;
    for (const auto& e : global->Tasks.Items) {
        const cTask& t = e.item;
        if (t.Project != ProjectName)
            continue;
        const QString entry = EncodeValue(t.ActivityName) + u',' +
                              EncodeValue(fncGetDateTextOrEmpty(t.DueDate)) + u',' + t.Rate.toPlainString();
        out = out.isEmpty() ? entry : entry + separator + out;
    }
    return out.trimmed();
}

QString cTasks::ToString() const {
    const cSingleList projects = GetProjectsList();
    const cSharedLists* global = SharedLists();
    QStringList lines;
    // Colour and dates carry over from the previous project when a name has no project row.
    qint16 color = 0;
    QDateTime start = ZeroDate(), finish = ZeroDate();
    for (const auto& pe : projects.Items) {
        const QString& name = pe.item;
        if (HideExpiredProject(name))
            continue;
        QStringList entries;
        for (const auto& e : Items) {
            const cTask& t = e.item;
            if (t.Project != name)
                continue;
            // Asked with the project twice, as the client has always asked.
            if (HideExpiredTask(name, name))
                continue;
            entries.append(EncodeValue(t.ActivityName) + u',' + EncodeValue(DateTimeToText(t.DueDate)));
        }
        if (global)
            if (const cProject* p = global->Projects.Items.Find(name)) {
                color = p->ColorCode;
                start = p->StartDate;
                finish = p->FinishDate;
            }
        lines.append(EncodeValue(name) + u',' + QString::number(color) + u',' +
                     EncodeValue(DateTimeToText(start)) + u',' + EncodeValue(DateTimeToText(finish)) + u':' +
                     entries.join(u';'));
    }
    return lines.join(QStringLiteral("\r\n"));
}

QString GetTasksForAProject(const QString& project) {
    const cSharedLists* global = SharedLists();
    return global ? GetTasksForAProject(global->Tasks, project) : QString();
}

}  // namespace tlm

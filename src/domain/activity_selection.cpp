#include "domain/activity_selection.h"

#include "core/error_report.h"
#include "domain/list_common.h"
#include "domain/single_list.h"

namespace tlm {

QString cProjectClient::ToString() const {
    return EncodeValue(Name) + u',' + QString::number(ColorCode) + u',' +
           EncodeValue(fncGetDateTextOrEmpty(StartDate)) + u',' +
           EncodeValue(fncGetDateTextOrEmpty(FinishDate));
}

QString cTasksClient::ToString() const {
    return EncodeValue(Name) + u',' + EncodeValue(fncGetDateTextOrEmpty(DueDate));
}

qint16 cTasksPerProject::getItemIndex(const QString& name) const {
    qint16 i = 0;
    for (const auto& e : Items) {
        if (e.item.Name == name)
            return i;
        ++i;
    }
    return qint16(Items.Count());
}

QString cTasksPerProject::GetItem(qint16 index) const {
    if (index < 0 || index >= Items.Count())
        return QString();
    auto it = Items.begin();
    std::advance(it, index);
    return it->item.Name.trimmed();
}

QString cTasksPerProject::ToString(const QString& separator, bool sort) {
    if (sort && Items.Count() > 1)
        Items = Sort(Items, 1);
    QStringList parts;
    for (const auto& e : Items)
        parts.append(e.item.ToString());
    return parts.join(separator).trimmed();
}

void cTasksPerProject::FromString(const QString& text, const QString& separator) {
    if (text.isEmpty())
        return;
    for (const QString& part : text.split(separator)) {
        if (part.isEmpty())
            continue;
        const QStringList fields = part.split(u',');
        Task = cTasksClient();
        Task.Name = DecodeValue(fields.value(0));
        if (fields.size() > 1)
            Task.DueDate = FromTallyloomDateFormat(DecodeValue(fields[1]));
        Items.Add(Task.Name, Task);
    }
}

QStringList cTasksPerProject::PopulateComboList(bool addBlank) const {
    QStringList entries;
    for (const auto& e : Items)
        if (!e.item.Name.trimmed().isEmpty())
            entries.append(e.item.Name.trimmed());
    if (addBlank)
        entries.append(QString());
    return entries;
}

QString cTasksPerProject::ToStringTab() const {
    QStringList names;
    for (const auto& e : Items)
        if (!e.item.Name.isEmpty())
            names.append(e.item.Name);
    return names.join(u'\t').trimmed() + QStringLiteral("\t ");
}

cSingleList cTasksPerProjectList::GetProjectsList() const {
    cSingleList list;
    for (const auto& e : Items) {
        if (!e.item)
            continue;
        const QString& name = e.item->Project.Name;
        if (!name.isEmpty())
            list.Items.Add(name, name);
    }
    return list;
}

QString cTasksPerProjectList::ToString() {
    QStringList lines;
    for (const auto& e : Items) {
        if (!e.item)
            continue;
        lines.append(e.item->Project.ToString() + u':' + e.item->ToString(QStringLiteral(";"), false));
    }
    return lines.join(QStringLiteral("\r\n"));
}

void cTasksPerProjectList::FromString(const QString& text) {
    if (text.isEmpty())
        return;
    // The colour of a line that holds no number is the previous line's.
    qint16 color = 0;
    for (const QString& line : text.split(QStringLiteral("\r\n"))) {
        const QStringList halves = line.split(u':');
        if (halves.size() < 2) {
            detail::ReportFailure(9, QStringLiteral("Subscript out of range"),
                                  QStringLiteral("cTasksPerProjectList.FromString"));
            return;
        }
        const QStringList fields = halves[0].split(u',');
        auto entry = std::make_shared<cTasksPerProject>();
        entry->Project.Name = DecodeValue(fields.value(0));
        bool ok = false;
        const qint16 parsed = ToInt16(fields.value(1), &ok);
        if (ok)
            color = parsed;
        entry->Project.ColorCode = color;
        if (fields.size() > 2)
            entry->Project.StartDate = FromTallyloomDateFormat(DecodeValue(fields[2]));
        if (fields.size() > 3)
            entry->Project.FinishDate = FromTallyloomDateFormat(DecodeValue(fields[3]));
        entry->FromString(halves[1], QStringLiteral(";"));
        Current = entry;
        Items.Add(entry->Project.Name, entry);
    }
}

}  // namespace tlm

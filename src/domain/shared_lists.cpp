#include "domain/shared_lists.h"

#include <QLocale>

#include "core/codecs.h"

namespace tlm {

namespace {

const cSharedLists* g_lists = nullptr;

// Windows-style AM/PM markers of the fallback formats, in Qt's spelling.
QString QtFormat(QString format) {
    format.replace(QStringLiteral("tt"), QStringLiteral("AP"));
    return format;
}

}  // namespace

cSharedLists::cSharedLists() {
    GetDateTimeFormat();
}

void cSharedLists::GetDateTimeFormat() {
    const QLocale locale = QLocale::system();
    ShortDateFormat = locale.dateFormat(QLocale::ShortFormat);
    TimeFormat = locale.timeFormat(QLocale::LongFormat);
    // The zone is no part of a time the program shows.
    TimeFormat.remove(QStringLiteral(" t")).remove(QStringLiteral("t "));
    if (ShortDateFormat.isEmpty())
        ShortDateFormat = QStringLiteral("M/d/yyyy");
    if (TimeFormat.trimmed().isEmpty())
        TimeFormat = QStringLiteral("h:mm:ss tt");
    DateTimeFormat = ShortDateFormat + u' ' + TimeFormat;
}

void cSharedLists::LoadTasksProjectsCollection() {
    AllTasksProjects = Dictionary<cSingleList>(CompareMode::Text);
    if (Projects.Items.isEmpty() || Tasks.Items.isEmpty())
        return;
    for (int i = 1; i <= Projects.Items.Count() && i <= 32767; ++i) {
        const QString name = Projects.GetProject(qint16(i));
        cSingleList list;
        list.FromString(GetTasksForAProject(Tasks, name), QStringLiteral("\r\n"));
        list.Name = name;
        AllTasksProjects.Add(name, std::move(list));
    }
}

const cSharedLists* SharedLists() {
    return g_lists;
}
void SetSharedLists(const cSharedLists* lists) {
    g_lists = lists;
}

QString sCurrentUser() {
    return g_lists ? g_lists->UserName : QString();
}

QString DateTimeToText(const QDateTime& value) {
    const QString dateFormat = g_lists && !g_lists->ShortDateFormat.isEmpty()
                                   ? g_lists->ShortDateFormat
                                   : QLocale::system().dateFormat(QLocale::ShortFormat);
    const QString timeFormat = g_lists && !g_lists->TimeFormat.isEmpty()
                                   ? g_lists->TimeFormat
                                   : QLocale::system().timeFormat(QLocale::LongFormat);
    const bool zeroDay = value.date() == ZeroDate().date();
    const bool midnight = value.time() == QTime(0, 0);
    if (zeroDay && !midnight)
        return QLocale::system().toString(value.time(), QtFormat(timeFormat));
    if (midnight)
        return QLocale::system().toString(value.date(), QtFormat(dateFormat));
    return QLocale::system().toString(value.date(), QtFormat(dateFormat)) + u' ' +
           QLocale::system().toString(value.time(), QtFormat(timeFormat));
}

}  // namespace tlm

#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "core/dictionary.h"
#include "domain/members.h"
#include "domain/projects.h"
#include "domain/single_list.h"
#include "domain/tasks.h"
#include "notifications/templates.h"

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

// The in-memory picture of the shared database, one per process: the lists, the key store, the
// templates, the custom lists, the titles and the member running the program.
//
// The process's instance is registered with SetDBSettings by whoever builds it (main, or a test)
// and reached through DBSettings(); the domain services and list texts read it from there.
class cDBSettings {
  public:
    cDBSettings();

    cProjects Projects;
    cTasks Tasks;
    cMembers Members;
    cGeneralSettings GeneralSettings;
    cMessageTemplates MessageTemplates;
    // Project name to its activity names, built after loading.
    Dictionary<cSingleList> AllTasksProjects{CompareMode::Text};
    cMember CurrentMember;
    cSingleList CustomLists[4];  // tCustomList1..tCustomList4
    QString ProjectTitle = QStringLiteral("Project");
    QString ActivityTitle = QStringLiteral("Activity");
    QString ShortDateFormat;
    QString TimeFormat;
    QString DateTimeFormat;
    QStringList NotificationNames;  // the 16 display names
    QString UserName;               // the process-wide user name, as matched to a member

    void LoadTasksProjectsCollection();
    // Reads every table in order; ok is false when the database could not be reached.
    void LoadGlobalSettings(bool blnShowDialog, bool& ok);
    // A new database takes the built-in settings and templates over its rows of the same keys.
    void SaveInitialSettings();
    void GetDateTimeFormat();
    // 1 projects, 2 activities, 3 members, 4 templates, 5 and 9 settings, 10-13 custom lists,
    // 16 all of them; anything else saves nothing. Always answers false.
    bool SaveGlobalSettings(qint32 code);
    // Adds the user as a member when unknown (kept for the client; nothing here calls it).
    void AddCurrentUserToGlobalMembersList();
    void GetCurrentUser();
};

cDBSettings* DBSettings();
void SetDBSettings(cDBSettings* settings);
// The user name of the process (TLM_ADMIN, ReportedBy); empty before the load.
QString sCurrentUser();
// A date as the program shows it: the short date, the time when it has one, and only the time on
// the zero day.
QString DateTimeToText(const QDateTime& value);

}  // namespace tlm

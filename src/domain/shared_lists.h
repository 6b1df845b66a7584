#pragma once

#include <QDateTime>
#include <QString>

#include "core/dictionary.h"
#include "domain/general_settings.h"
#include "domain/members.h"
#include "domain/projects.h"
#include "domain/single_list.h"
#include "domain/tasks.h"

namespace tlm {

// The loaded shared database as the layers from the domain up read it: the lists, the key store,
// the custom lists, the titles, the display formats and the member running the program.
//
// The settings owner (cDBSettings) is one and installs itself with SetSharedLists when it is
// registered; a test may install one of its own. The domain never loads or saves it.
class cSharedLists {
  public:
    cSharedLists();
    virtual ~cSharedLists() = default;
    cSharedLists(const cSharedLists&) = default;
    cSharedLists& operator=(const cSharedLists&) = default;

    cProjects Projects;
    cTasks Tasks;
    cMembers Members;
    cGeneralSettings GeneralSettings;
    // Project name to its activity names, built after loading.
    Dictionary<cSingleList> AllTasksProjects{CompareMode::Text};
    cMember CurrentMember;
    cSingleList CustomLists[4];  // tCustomList1..tCustomList4
    QString ProjectTitle = QStringLiteral("Project");
    QString ActivityTitle = QStringLiteral("Activity");
    QString ShortDateFormat;
    QString TimeFormat;
    QString DateTimeFormat;
    QString UserName;  // the process-wide user name, as matched to a member

    void LoadTasksProjectsCollection();
    // The system's short date and long time formats, without the zone.
    void GetDateTimeFormat();
};

// The installed lists, or nullptr before anything was loaded.
const cSharedLists* SharedLists();
void SetSharedLists(const cSharedLists* lists);

// The user name of the process (TLM_ADMIN, ReportedBy); empty before the load.
QString sCurrentUser();
// A date as the program shows it: the short date, the time when it has one, and only the time on
// the zero day. The installed lists' formats, the system's without them.
QString DateTimeToText(const QDateTime& value);

}  // namespace tlm

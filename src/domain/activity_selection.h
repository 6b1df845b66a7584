#pragma once

#include <QDateTime>
#include <QString>
#include <memory>

#include "core/codecs.h"
#include "core/dictionary.h"

namespace tlm {

class cSingleList;

// A member's own selection of projects and activities, kept in the local settings as one text:
// one line per project, "name,colour,start,finish:activity,due;activity,due".
struct cProjectClient {
    QString Name;
    qint16 ColorCode = 0;
    QDateTime StartDate = ZeroDate();
    QDateTime FinishDate = ZeroDate();
    QString ToString() const;
};

struct cTasksClient {
    QString Name;
    QDateTime DueDate = ZeroDate();
    QString ToString() const;
};

class cTasksPerProject {
  public:
    Dictionary<cTasksClient> Items{CompareMode::Text};
    cTasksClient Task;
    cProjectClient Project;

    qint16 getItemIndex(const QString& name) const;
    QString GetItem(qint16 index) const;
    QString ToString(const QString& separator, bool sort);
    // Adds to what is there; an empty text adds nothing.
    void FromString(const QString& text, const QString& separator);
    QStringList PopulateComboList(bool addBlank) const;
    QString ToStringTab() const;
};

class cTasksPerProjectList {
  public:
    Dictionary<std::shared_ptr<cTasksPerProject>> Items{CompareMode::Text};
    std::shared_ptr<cTasksPerProject> Current;

    cSingleList GetProjectsList() const;
    QString ToString();
    // Adds the lines of the text; a project already present keeps its first line.
    void FromString(const QString& text);
};

}  // namespace tlm

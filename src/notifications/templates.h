#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

#include "core/dictionary.h"

namespace tlm {

class Recordset;

// One row of tNotificationTemplates: a body or a subject under its key.
struct cMessageTemplate {
    qint32 ID = 0;
    QString NotificationName;
    QVariant NotificationValue;
    bool Enabled = false;  // stored -1 or 1 both count as set

    void FromRecordset(Recordset& rs);
};

// One notification of the vocabulary: its place on the screen, its kind, key, subject key,
// default body resource and tag group. The print template has kind 0 and no subject.
struct TemplateInfo {
    int index;
    int kind;
    QString displayName;
    QString key;
    QString subjectKey;
    QString resource;
    int tagGroup;
};
const std::vector<TemplateInfo>& TemplateVocabulary();
// The 16 display names, indexes 0 to 15.
QStringList NotificationDisplayNames();
// The template of a kind (1..16 without 14), or nullptr.
const TemplateInfo* TemplateOfKind(int kind);
// The default subject text of a subject key, from the blank database's rows; empty when none.
QString DefaultTemplateSubject(const QString& subjectKey);
// The default body of a template key, from the compiled-in texts; empty when none.
QString DefaultTemplateBody(const QString& templateKey);

// All rows of tNotificationTemplates by name without regard to case. Every operation takes a key
// or a display name.
class cMessageTemplates {
  public:
    Dictionary<cMessageTemplate> Items{CompareMode::Text};

    bool IsChecked(const QString& name) const;
    // " " (one blank) for a name without a row.
    QVariant GetValue(const QString& name) const;
    // Sets the flag of an existing row; adds nothing.
    void SetNotificaionEnabledValue(const QString& name, bool enabled);
    // Sets the text, adding a disabled row when there is none.
    void SetValue(const QString& name, const QVariant& text);
    void FromRecordset(Recordset* rs);
    // Brings the table to the store, touching only rows that differ.
    void ToRecordSet(Recordset& rs);

  private:
    static QString ConvertDisplayNameToDBName(const QString& name);
};

// Fills every body and subject that is missing or blank with its default; changes memory only.
void LoadDefaultTemplates(cMessageTemplates& templates);

}  // namespace tlm

#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

#include "core/failure.h"

namespace tlm {

inline const QString kSettingsOrganization = QStringLiteral("Orrinwell");
inline const QString kSettingsApplication = QStringLiteral("TLM");

// Named text values per user, in the INI file of QSettings("Orrinwell", "TLM") read as text only
// (core/ini_format.h); a non-empty section is a group.
// The file is kept at mode 0600 and replaced atomically, so a crash never leaves half a file.
// On an empty application or key the failure is set and nothing is read or written.
bool SaveSetting(const QString& application, const QString& section, const QString& key, const QString& value,
                 Failure* failure = nullptr);
QString GetSetting(const QString& application, const QString& section, const QString& key,
                   const QString& defaultValue, Failure* failure = nullptr);
// The keys of one section in one go: read from one open of the file, written with one replacement
// of it, so a failure midway never leaves half a group.
class SettingsSection {
  public:
    SettingsSection(const QString& application, const QString& section);
    ~SettingsSection();
    SettingsSection(const SettingsSection&) = delete;
    SettingsSection& operator=(const SettingsSection&) = delete;
    QString get(const QString& key, const QString& defaultValue, Failure* failure = nullptr);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};
bool SaveSettingsGroup(const QString& application, const QString& section,
                       const QList<QPair<QString, QString>>& values, Failure* failure = nullptr);
// Path of the per-user settings file (for messages and tests).
QString LocalSettingsFilePath();

// What belongs to one user on one machine, above all where the shared database is.
// Shared with the members' client: names, texts and defaults are a contract.
class cMySettings {
  public:
    cMySettings();

    // Database location.
    qint32 DBChoice = 0;
    QString DBConnectionString;
    QString DatabaseInfo;
    // The five parts of DatabaseInfo, joined by "|" in this order; the password is plain text
    // and a "|" inside it shifts the fields (there is no escape).
    QString Server;
    QString Database;
    qint16 IntegratedSecurity = 0;
    QString UserName;
    QString Password;
    QString CurrentUser;  // written at each start by the global load, never read here

    // Titles (trimmed, default when empty).
    QString ProjectTitle;
    QString ActivityTitle;
    QString CustomFieldsTitle;
    QString CustomFieldName[10];  // CustomList1Name..CustomList4Name, CustomField5Name..CustomField10Name

    // Lists, kept as the text the client stores; the domain layer parses them.
    QString MyProjectsTasks;
    QString CustomFieldList[4];  // CustomField1List..CustomField4List

    QString DefaultValueForProject;
    QString DefaultValueForTask;
    QString DefaultValueCustomField[4];
    QDateTime LastReported;

    // The 16-bit flags by their stored names ("AllowTaskItems", ...), all of them present.
    qint16 flag(const QString& name) const { return flags_.value(name, 0); }
    void setFlag(const QString& name, qint16 value) { flags_.insert(name, value); }
    static const QStringList& FlagNames();

    void ReadSettings();
    void SaveSettings();
    void SaveAdminSettingsOnly();
    void ReadDatabaseInfo();
    QString WriteDatabaseInfo() const;

    // The key names of the ten custom titles, in order.
    static QString CustomNameKey(int index);  // 0..9

  private:
    QHash<QString, qint16> flags_;
};

}  // namespace tlm

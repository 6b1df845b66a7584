#include "core/local_settings.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include "core/codecs.h"
#include "core/error_report.h"
#include "core/ini_format.h"

namespace tlm {

namespace {

const QString kReadLabel = QStringLiteral("MySettings.ReadSettings");

// Flags read first, before the database values.
const QStringList& OptionFlags() {
    static const QStringList names = {
        QStringLiteral("UpdateStartDateWithProjectStartDate"),
        QStringLiteral("UpdateAppointmentEndDateWith"),
        QStringLiteral("UpdateTaskDueDateWith"),
        QStringLiteral("AppointmentEndDateFrom"),
        QStringLiteral("TaskDueDateFrom"),
        QStringLiteral("AllowManagerReview"),
        QStringLiteral("UseDefaultCalendarFolderOnly"),
        QStringLiteral("UseDefaultTaskFolderOnly"),
        QStringLiteral("AutoCheckForUpgradeAtStartup"),
        QStringLiteral("ShowConfirmationWhenSyncSuccess"),
        QStringLiteral("AllowTaskItems"),
        QStringLiteral("AllowAppointmentItems"),
        QStringLiteral("AllowColorCodeChange"),
        QStringLiteral("AllowUpdateToReportedData"),
        QStringLiteral("AllowWithdrawalOfReportedData"),
        QStringLiteral("AutoSyncToDB"),
        QStringLiteral("TagTaskToCategories"),
        QStringLiteral("TagProjectToCategories"),
        QStringLiteral("TagCustomFieldsToCategories"),
        QStringLiteral("AddProjectColorCodes"),
        QStringLiteral("ReportedItemsToSubFolder"),
        QStringLiteral("ReportIemsOnDueDateLapsedAutomatically"),
        QStringLiteral("ReportCompletedTaskItemsAutomatically"),
        QStringLiteral("MarkCompleteForReportedTasks"),
        QStringLiteral("DontAllowMultipleItemsReporting"),
        QStringLiteral("DontAllowChangesToReportedItem"),
        QStringLiteral("EnableDefaultValueForProjectTask"),
        QStringLiteral("EnableDefaultValueForCustomField1"),
        QStringLiteral("EnableDefaultValueForCustomField2"),
        QStringLiteral("EnableDefaultValueForCustomField3"),
        QStringLiteral("EnableDefaultValueForCustomField4"),
        QStringLiteral("showCustomFieldsToolbar"),
        QStringLiteral("showProjectTaskToolbar"),
        QStringLiteral("AllowPrivate"),
        QStringLiteral("AllowRecurring"),
        QStringLiteral("AskForConfirmationBeforeReporting"),
    };
    return names;
}

// Mandatory and active flags, read after the titles and lists.
const QStringList& FieldFlags() {
    static const QStringList names = [] {
        QStringList n = {QStringLiteral("ProjectMandatory"), QStringLiteral("ActivityMandatory")};
        for (int i = 1; i <= 4; ++i)
            n << QStringLiteral("CustomList%1Mandatory").arg(i);
        for (int i = 5; i <= 10; ++i)
            n << QStringLiteral("CustomField%1Mandatory").arg(i);
        for (int i = 1; i <= 4; ++i)
            n << QStringLiteral("CustomList%1Active").arg(i);
        for (int i = 5; i <= 10; ++i)
            n << QStringLiteral("CustomField%1Active").arg(i);
        return n;
    }();
    return names;
}

bool DefaultsToOne(const QString& flag) {
    static const QStringList ones = {QStringLiteral("showCustomFieldsToolbar"),
                                     QStringLiteral("showProjectTaskToolbar"), QStringLiteral("AllowPrivate"),
                                     QStringLiteral("AllowRecurring"),
                                     QStringLiteral("AskForConfirmationBeforeReporting")};
    return ones.contains(flag);
}

QString SettingsFile() {
    QSettings probe(IniStringsFormat(), QSettings::UserScope, kSettingsOrganization, kSettingsApplication);
    return probe.fileName();
}

// The file is created private before QSettings first writes it; QSettings then replaces it through
// a temporary file and rename, which keeps the mode.
void EnsurePrivateFile(const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QByteArray p = QFile::encodeName(path);
    const int fd = ::open(p.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd >= 0)
        ::close(fd);
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

bool CheckNames(const QString& application, const QString& key, Failure* failure, const QString& label) {
    if (application.trimmed().isEmpty()) {
        if (failure)
            *failure = Failure{errnum::kAppNameEmpty, QStringLiteral("AppName may not be empty"), 0, label};
        return false;
    }
    if (key.isEmpty()) {
        if (failure)
            *failure = Failure{errnum::kKeyEmpty, QStringLiteral("Key may not be empty"), 0, label};
        return false;
    }
    return true;
}

// One open store for a run of reads or writes; a single sync at the end.
class Store {
  public:
    explicit Store(const QString& application = kSettingsApplication)
        : settings_(IniStringsFormat(), QSettings::UserScope, kSettingsOrganization, application.trimmed()) {}

    QString get(const QString& key, const QString& def, Failure* failure = nullptr) {
        const QVariant v = settings_.value(key);
        if (!v.isValid())
            return def;
        if (v.typeId() != QMetaType::QString) {
            if (v.canConvert<QString>() && v.typeId() != QMetaType::QStringList)
                return v.toString();
            if (failure)
                *failure = Failure{errnum::kTypeMismatch, QStringLiteral("Registry data not a string"), 0,
                                   QStringLiteral("modRegistryEntry.GetSetting")};
            return def;
        }
        return v.toString();
    }
    void set(const QString& key, const QString& value) {
        const QString full = settings_.group().isEmpty() ? key : settings_.group() + u'/' + key;
        if (!before_.contains(full))
            before_.insert(full, settings_.contains(key) ? settings_.value(key) : QVariant());
        settings_.setValue(key, value);
    }
    QSettings& raw() { return settings_; }
    bool sync(Failure* failure, const QString& label) {
        EnsurePrivateFile(settings_.fileName());
        settings_.sync();
        QFile::setPermissions(settings_.fileName(), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        if (settings_.status() != QSettings::NoError) {
            // QSettings keeps unsaved values for the whole process and would write them with the next
            // save or show them to the next read: put back what the file still holds.
            const QString group = settings_.group();
            while (!settings_.group().isEmpty())
                settings_.endGroup();
            for (auto it = before_.cbegin(); it != before_.cend(); ++it) {
                if (it.value().isValid())
                    settings_.setValue(it.key(), it.value());
                else
                    settings_.remove(it.key());
            }
            if (!group.isEmpty())
                settings_.beginGroup(group);
            before_.clear();
            if (failure)
                *failure =
                    Failure{errnum::kSettingsWrite, QStringLiteral("Could not set key value"), 0, label};
            return false;
        }
        return true;
    }

  private:
    QSettings settings_;
    QHash<QString, QVariant> before_;  // each key's value before this store first set it
};

}  // namespace

QString LocalSettingsFilePath() {
    return SettingsFile();
}

bool SaveSetting(const QString& application, const QString& section, const QString& key, const QString& value,
                 Failure* failure) {
    return SaveSettingsGroup(application, section, {{key, value}}, failure);
}

bool SaveSettingsGroup(const QString& application, const QString& section,
                       const QList<QPair<QString, QString>>& values, Failure* failure) {
    const QString label = QStringLiteral("modRegistryEntry.SaveSetting");
    for (const auto& [key, value] : values) {
        if (!CheckNames(application, key, failure, label))
            return false;
    }
    Store store(application);
    if (!section.trimmed().isEmpty())
        store.raw().beginGroup(section.trimmed());
    for (const auto& [key, value] : values)
        store.set(key, value);
    if (!section.trimmed().isEmpty())
        store.raw().endGroup();
    return store.sync(failure, label);
}

QString GetSetting(const QString& application, const QString& section, const QString& key,
                   const QString& defaultValue, Failure* failure) {
    if (!CheckNames(application, key, failure, QStringLiteral("modRegistryEntry.GetSetting")))
        return defaultValue;
    return SettingsSection(application, section).get(key, defaultValue, failure);
}

struct SettingsSection::Impl {
    explicit Impl(const QString& app) : application(app), store(app) {}
    QString application;
    Store store;
};

SettingsSection::SettingsSection(const QString& application, const QString& section)
    : impl_(std::make_unique<Impl>(application)) {
    if (!section.trimmed().isEmpty())
        impl_->store.raw().beginGroup(section.trimmed());
}

SettingsSection::~SettingsSection() = default;

QString SettingsSection::get(const QString& key, const QString& defaultValue, Failure* failure) {
    if (!CheckNames(impl_->application, key, failure, QStringLiteral("modRegistryEntry.GetSetting")))
        return defaultValue;
    return impl_->store.get(key, defaultValue, failure);
}

cMySettings::cMySettings() {
    ProjectTitle = QStringLiteral("Project");
    ActivityTitle = QStringLiteral("Activity");
    CustomFieldsTitle = QStringLiteral("Custom Fields");
    for (int i = 0; i < 10; ++i)
        CustomFieldName[i] = QStringLiteral("Custom Field %1").arg(i + 1);
    LastReported = QDateTime::currentDateTime();
    for (const QString& f : OptionFlags())
        flags_.insert(f, DefaultsToOne(f) ? 1 : 0);
    for (const QString& f : FieldFlags())
        flags_.insert(f, 0);
}

const QStringList& cMySettings::FlagNames() {
    static const QStringList all = OptionFlags() + FieldFlags();
    return all;
}

QString cMySettings::CustomNameKey(int index) {
    return index < 4 ? QStringLiteral("CustomList%1Name").arg(index + 1)
                     : QStringLiteral("CustomField%1Name").arg(index + 1);
}

void cMySettings::ReadSettings() {
    Store store;
    auto readFlags = [&](const QStringList& names) -> bool {
        for (const QString& name : names) {
            const QString text =
                store.get(name, DefaultsToOne(name) ? QStringLiteral("1") : QStringLiteral("0"));
            bool ok = false;
            const qint16 v = ToInt16(text, &ok);
            if (!ok) {
                subReportError(
                    Failure{errnum::kTypeMismatch, QStringLiteral("Type mismatch"), 0, kReadLabel});
                return false;
            }
            flags_.insert(name, v);
        }
        return true;
    };
    if (!readFlags(OptionFlags()))
        return;

    // A damaged database value never stops the read: it leaves the default and the first run takes over.
    DatabaseInfo = store.get(QStringLiteral("DatabaseInfo"), QString());
    ReadDatabaseInfo();
    bool ok = false;
    const qint32 choice = ToInt32(store.get(QStringLiteral("DBChoice"), QStringLiteral("0")), &ok);
    if (ok)
        DBChoice = choice;
    DBConnectionString = store.get(QStringLiteral("DBConnectionString"), QString());
    const QString last = store.get(QStringLiteral("LastReported"), QString());
    QDateTime lastDate = QDateTime::fromString(last, SystemDateTimeFormat());
    // A two-digit year ("M/d/yy") reads as 19yy; 00-29 are this century, as DateSerial has them.
    if (lastDate.isValid() && !SystemShortDateFormat().contains(QLatin1String("yyyy")) &&
        lastDate.date().year() < 1930)
        lastDate = lastDate.addYears(100);
    if (!lastDate.isValid())  // as earlier builds wrote it
        lastDate = QDateTime::fromString(last, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!lastDate.isValid())
        lastDate = QDateTime::fromString(last, Qt::ISODate);
    if (lastDate.isValid())
        LastReported = lastDate;

    auto title = [&](const QString& key, const QString& def) {
        const QString v = store.get(key, def).trimmed();
        return v.isEmpty() ? def : v;
    };
    ProjectTitle = title(QStringLiteral("ProjectTitle"), QStringLiteral("Project"));
    ActivityTitle = title(QStringLiteral("ActivityTitle"), QStringLiteral("Activity"));
    CustomFieldsTitle = store.get(QStringLiteral("CustomFieldsTitle"), QStringLiteral("Custom Fields"));
    if (CustomFieldsTitle.isEmpty())
        CustomFieldsTitle = QStringLiteral("Custom Fields");
    for (int i = 0; i < 10; ++i)
        CustomFieldName[i] = title(CustomNameKey(i), QStringLiteral("Custom Field %1").arg(i + 1));
    MyProjectsTasks = store.get(QStringLiteral("MyProjectsTasks"), QString());
    for (int i = 0; i < 4; ++i)
        CustomFieldList[i] = store.get(QStringLiteral("CustomField%1List").arg(i + 1), QString());
    DefaultValueForProject = store.get(QStringLiteral("DefaultValueForProject"), QString());
    DefaultValueForTask = store.get(QStringLiteral("DefaultValueForTask"), QString());
    for (int i = 0; i < 4; ++i)
        DefaultValueCustomField[i] =
            store.get(QStringLiteral("DefaultValueCustomField%1").arg(i + 1), QString());
    readFlags(FieldFlags());
}

void cMySettings::ReadDatabaseInfo() {
    if (DatabaseInfo.isEmpty())
        return;
    const QStringList parts = DatabaseInfo.split(QLatin1Char('|'));
    if (parts.size() <= 1)
        return;
    // Fields by position. A short value fills what it has; the first missing field is reported and
    // it and the ones after it keep what they held.
    const auto missing = [] {
        subReportError(Failure{9, QStringLiteral("Subscript out of range"), 0,
                               QStringLiteral("MySettings.ReadDatabaseInfo")});
    };
    Server = parts[0];
    Database = parts[1];
    if (parts.size() < 3)
        return missing();
    bool ok = false;
    const qint16 integrated = ToInt16(parts[2], &ok);
    if (!ok) {
        subReportError(Failure{errnum::kTypeMismatch, QStringLiteral("Type mismatch"), 0,
                               QStringLiteral("MySettings.ReadDatabaseInfo")});
        return;
    }
    IntegratedSecurity = integrated;
    if (parts.size() < 4)
        return missing();
    UserName = parts[3];
    if (parts.size() < 5)
        return missing();
    Password = parts[4];
    RegisterSecret(Password);
}

QString cMySettings::WriteDatabaseInfo() const {
    return QStringList{Server, Database, QString::number(IntegratedSecurity), UserName, Password}.join(
        QLatin1Char('|'));
}

void cMySettings::SaveSettings() {
    RegisterSecret(Password);
    Store store;
    store.set(QStringLiteral("DatabaseInfo"), WriteDatabaseInfo());
    store.set(QStringLiteral("DBChoice"), QString::number(DBChoice));
    store.set(QStringLiteral("DBConnectionString"), DBConnectionString);
    store.set(QStringLiteral("LastReported"), LastReported.toString(SystemDateTimeFormat()));
    store.set(QStringLiteral("ProjectTitle"), ProjectTitle);
    store.set(QStringLiteral("ActivityTitle"), ActivityTitle);
    store.set(QStringLiteral("CustomFieldsTitle"), CustomFieldsTitle);
    for (int i = 0; i < 10; ++i)
        store.set(CustomNameKey(i), CustomFieldName[i]);
    store.set(QStringLiteral("MyProjectsTasks"), MyProjectsTasks);
    for (int i = 0; i < 4; ++i)
        store.set(QStringLiteral("CustomField%1List").arg(i + 1), CustomFieldList[i]);
    store.set(QStringLiteral("DefaultValueForProject"), DefaultValueForProject);
    store.set(QStringLiteral("DefaultValueForTask"), DefaultValueForTask);
    for (int i = 0; i < 4; ++i)
        store.set(QStringLiteral("DefaultValueCustomField%1").arg(i + 1), DefaultValueCustomField[i]);
    for (const QString& name : FlagNames()) {
        if (name == QLatin1String("AllowManagerReview"))
            continue;
        store.set(name, QString::number(flag(name)));
    }
    Failure failure;
    if (!store.sync(&failure, QStringLiteral("MySettings.SaveSettings")))
        subReportError(failure);
}

void cMySettings::SaveAdminSettingsOnly() {
    Store store;
    store.set(QStringLiteral("ProjectTitle"), ProjectTitle);
    store.set(QStringLiteral("ActivityTitle"), ActivityTitle);
    for (int i = 0; i < 10; ++i)
        store.set(CustomNameKey(i), CustomFieldName[i]);
    for (const char* name : {"AllowManagerReview", "AllowAppointmentItems", "AllowTaskItems"})
        store.set(QString::fromLatin1(name), QString::number(flag(QString::fromLatin1(name))));
    Failure failure;
    if (!store.sync(&failure, QStringLiteral("MySettings.SaveAdminSettingsOnly")))
        subReportError(failure);
}

}  // namespace tlm

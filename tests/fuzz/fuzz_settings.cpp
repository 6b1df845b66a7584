// The local settings file (INI form): written by this program, by the members' client, or by hand.
// Whatever it holds, reading it and saving what was read gives a file that reads the same again.
#include <QFile>

#include "core/codecs.h"
#include "core/local_settings.h"
#include "fuzz_support.h"
#include "mail/mail_profile.h"

using namespace tlm;

namespace {

QString Describe(const cMySettings& s) {
    // DatabaseInfo itself is written anew from its five parts; the parts are what must come back.
    QStringList parts = {QString::number(s.DBChoice),
                         s.DBConnectionString,
                         s.Server,
                         s.Database,
                         QString::number(s.IntegratedSecurity),
                         s.UserName,
                         s.Password,
                         s.ProjectTitle,
                         s.ActivityTitle,
                         s.CustomFieldsTitle,
                         s.MyProjectsTasks,
                         s.DefaultValueForProject,
                         s.DefaultValueForTask};
    for (int i = 0; i < 10; ++i)
        parts << s.CustomFieldName[i];
    for (int i = 0; i < 4; ++i)
        parts << s.CustomFieldList[i] << s.DefaultValueCustomField[i];
    for (const QString& name : cMySettings::FlagNames())
        parts << QString::number(s.flag(name));
    return parts.join(u'|');
}

QString Describe(const MailProfile& p) {
    return QStringList{p.senderName,
                       p.senderAddress,
                       p.host,
                       QString::number(p.port),
                       MailTlsModeName(p.tls),
                       p.user,
                       p.password,
                       QString::number(p.verifyCertificate),
                       QString::number(p.connectTimeoutSeconds),
                       p.errorReportMailbox}
        .join(u'|');
}

QString Describe(const DirectorySettings& d) {
    return QStringList{
        d.url, d.baseDn, d.bindDn, d.password, QString::number(d.startTls), QString::number(d.timeoutSeconds)}
        .join(u'|');
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // The dates of the file are in the system's short form; the US one has a two-digit year, the
    // hardest to read back.
    qputenv("LC_ALL", "en_US.UTF-8");
    fuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QString path = LocalSettingsFilePath();
    fuzz::WriteFile(path.mid(fuzz::Root().size() + 1),
                    QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));

    fuzz::ResetReports();
    cMySettings first;
    first.ReadSettings();
    // A flag that is no number stops the read where it stands; the save then leaves the flag it
    // never writes (AllowManagerReview) as it was, and the next read stops again elsewhere.
    const bool readWhole =
        fuzz::ReportCount() == 0 || !fuzz::LastReport().contains(QLatin1String("ReadSettings"));
    const MailProfile profile = LoadMailProfile();
    const DirectorySettings directory = LoadDirectorySettings();
    GetSetting(kSettingsApplication, QStringLiteral("Grid"), QStringLiteral("Columns"), QString());

    // Every save is a whole file write with a sync, a hundred times the read: the round trip runs
    // for one input in 32, chosen by its bytes so that a saved input repeats its run.
    if (qHashBits(data, size) % 32 != 0) {
        QFile::remove(path);
        return 0;
    }
    first.SaveSettings();
    const bool ownProfile = Describe(profile) != Describe(MailProfile{});
    const bool ownDirectory = Describe(directory) != Describe(DirectorySettings{});
    if (ownProfile)
        SaveMailProfile(profile);
    if (ownDirectory)
        SaveDirectorySettings(directory);

    fuzz::ResetReports();
    cMySettings second;
    second.ReadSettings();
    if (readWhole) {
        FUZZ_CHECK(Describe(second) == Describe(first),
                   Describe(first) + QStringLiteral("\n*** ") + Describe(second));
        // A second is the finest step the saved text keeps; a two-digit year keeps 1930 to 2029.
        const int year = first.LastReported.date().year();
        const auto seconds = [](const QDateTime& d) {
            return d.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
        };
        if (SystemShortDateFormat().contains(QLatin1String("yyyy")) || (year >= 1930 && year <= 2029))
            FUZZ_CHECK(seconds(second.LastReported) == seconds(first.LastReported),
                       seconds(first.LastReported) + QStringLiteral(" -> ") + seconds(second.LastReported));
    }
    if (ownProfile)
        FUZZ_CHECK(Describe(LoadMailProfile()) == Describe(profile), Describe(profile));
    if (ownDirectory)
        FUZZ_CHECK(Describe(LoadDirectorySettings()) == Describe(directory), Describe(directory));
    QFile::remove(path);
    return 0;
}

#include "settings/session.h"

#include <QFileInfo>

#include "core/file_services.h"
#include "core/process_state.h"
#include "database/connection.h"
#include "domain/list_common.h"
#include "mail/mail_profile.h"
#include "notifications/notification_engine.h"
#include "notifications/senders.h"

namespace tlm {

namespace {

SessionOutcome Outcome(SessionOutcome::Kind kind, const QString& where = QString(),
                       const Failure& failure = Failure()) {
    SessionOutcome out;
    out.kind = kind;
    out.where = where;
    out.failure = failure;
    return out;
}

}  // namespace

Session::Session(const SessionWiring& wiring) {
    // List saves and requests to report send their mails; mails to show go to the display given.
    InstallNotificationSenders(wiring.display);
    // Mail goes out on this session's delivery worker.
    SetMailDelivery(&delivery_);
    if (wiring.sendWaitingMail)
        delivery_.kick(LoadMailProfile());
}

Session::~Session() {
    Close();
}

bool Session::ReadLocalSettings() {
    Process().blnManagerProcess = true;
    local_ = std::make_unique<cMySettings>();
    Process().mySettings = local_.get();
    local_->ReadSettings();
    return local_->DBChoice == 0 && local_->DBConnectionString.isEmpty();
}

SessionOutcome Session::CheckExisting(DatabaseAccess access, const QString& defaultFolder) {
    using Kind = SessionOutcome::Kind;
    cMySettings& my = *local_;
    const bool mayCreate = access == DatabaseAccess::CreateFile;
    if (my.DBChoice == 0 && my.DBConnectionString.trimmed().isEmpty()) {
        if (!mayCreate || defaultFolder.isEmpty())
            return Outcome(Kind::NotConfigured);
        // As the first-run panel proposes it under make run.
        my.DBConnectionString = defaultFolder;
        my.SaveSettings();
    }
    if (my.DBChoice != 0 && my.DBConnectionString.trimmed().isEmpty())
        return Outcome(Kind::NoServerConnection);
    Failure failure;
    if (my.DBChoice == 0) {
        const QString file = fncStripTrailingSlash(my.DBConnectionString) + u'/' + kDatabaseFileName;
        if (!QFileInfo::exists(file))
            return mayCreate ? Outcome(Kind::Opened) : Outcome(Kind::FileMissing, file);
        Connection probe;
        if (!probe.Open(SqliteConnectionString(file), &failure))
            return Outcome(Kind::FileUnreadable, file, failure);
        return Outcome(Kind::Opened);
    }
    Connection probe;
    if (!probe.Open(my.DBConnectionString, &failure))
        return Outcome(Kind::ServerUnreachable, QString(), failure);
    return Outcome(Kind::Opened);
}

SessionOutcome Session::OpenDatabase(DatabaseAccess access, const QString& defaultFolder) {
    if (!local_)
        ReadLocalSettings();
    const bool interactive = access == DatabaseAccess::Interactive;
    if (!interactive) {
        const SessionOutcome checked = CheckExisting(access, defaultFolder);
        if (!checked.opened())
            return checked;
    }
    // Building the store touches no database; its load runs the connection flow. It is registered
    // first: the first-run panel edits it.
    global_ = std::make_unique<cDBSettings>();
    SetDBSettings(global_.get());
    bool ok = false;
    global_->LoadGlobalSettings(interactive, ok);
    if (!ok || !CurrentConnection())
        return Outcome(SessionOutcome::Kind::NotLoaded, fncGetDatabaseDisplayName());
    ui_ = std::make_unique<cUISettings>();
    SetUISettings(ui_.get());
    return Outcome(SessionOutcome::Kind::Opened);
}

void Session::Close() {
    if (closed_)
        return;
    closed_ = true;
    delivery_.shutdown();
    subCloseConnection();
    SetUISettings(nullptr);
    ui_.reset();
    SetDBSettings(nullptr);
    global_.reset();
    Process().mySettings = nullptr;
    local_.reset();
    SetMailDelivery(nullptr);
    SetNotificationDisplay(nullptr);
    SetNotificationSink(nullptr);
}

}  // namespace tlm

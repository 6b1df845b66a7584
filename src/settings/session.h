#pragma once

#include <QString>
#include <memory>

#include "core/failure.h"
#include "core/local_settings.h"
#include "desktop/ui_settings.h"
#include "mail/outbox.h"
#include "settings/global_settings.h"

namespace tlm {

class NotificationDisplay;

// How a session reaches its database.
enum class DatabaseAccess {
    // The screens: the connection flow, which may show the first-run panel of the installed
    // DatabaseDialogHost and create the database named there; it tells the user what failed itself.
    Interactive,
    // The tools: only a configured database that is there. Nothing is created and nobody is asked.
    ExistingOnly,
    // The demo: as ExistingOnly, but a configured folder without its file gets a new database, and
    // with nothing configured the default folder given to Open is taken (and saved).
    CreateFile,
};

// What opening came to. The session prints and shows nothing: a screen's user has been told by the
// connection flow, a tool words it from the kind.
struct SessionOutcome {
    enum class Kind {
        Opened,
        NotConfigured,       // no folder and no server chosen
        NoServerConnection,  // a server chosen with an empty connection
        FileMissing,         // the configured folder holds no database file (where)
        FileUnreadable,      // the file is there but cannot be opened as our database (where, failure)
        ServerUnreachable,   // the server refused or did not answer (failure)
        NotLoaded,           // connected, but the settings could not be read (where: the display name)
    };
    Kind kind = Kind::NotLoaded;
    QString where;    // the database file, or the database's display name
    Failure failure;  // the engine's words, not yet masked
    bool opened() const { return kind == Kind::Opened; }
};

// The engine's wiring a session installs for its whole life.
struct SessionWiring {
    // Where mails a list save asks to show go; nullptr: to the outbox.
    NotificationDisplay* display = nullptr;
    // Whether what an earlier run left in the outbox goes out at once (the screens do; a tool that
    // ends in a moment would only abort the transfer).
    bool sendWaitingMail = false;
};

// The process's engine objects, opened the same way by the screens and the tools: the local
// settings, the connection, the loaded global settings and window state, the notification senders
// and the mail delivery worker. Everything is registered process-wide while the session lives and
// released by Close, the last registered first. One session per process, used once.
class Session {
  public:
    explicit Session(const SessionWiring& wiring = {});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Reads and registers the local settings; answers whether this is a first run (a file
    // database without a folder).
    bool ReadLocalSettings();
    // Connects and loads the global settings; reads the local settings first when not done yet.
    // defaultFolder is read by CreateFile only.
    SessionOutcome OpenDatabase(DatabaseAccess access, const QString& defaultFolder = QString());
    // Ends the mail delivery (a transfer in progress stays in the outbox), closes the connection and
    // unregisters everything. Safe to call again.
    void Close();

    // Valid after ReadLocalSettings / a successful OpenDatabase.
    cMySettings& local() { return *local_; }
    cDBSettings& global() { return *global_; }
    cUISettings* ui() const { return ui_.get(); }
    OutboxSender& delivery() { return delivery_; }

  private:
    // The tools' checks before the connection flow, so that it never creates or asks.
    SessionOutcome CheckExisting(DatabaseAccess access, const QString& defaultFolder);

    std::unique_ptr<cMySettings> local_;
    std::unique_ptr<cDBSettings> global_;
    std::unique_ptr<cUISettings> ui_;
    OutboxSender delivery_;
    bool closed_ = false;
};

}  // namespace tlm

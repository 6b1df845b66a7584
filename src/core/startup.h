#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace tlm {

// Exit codes of tlm-manager.
enum ExitCode : int {
    kExitNormal = 0,           // the screen closed, or --help / --version
    kExitRefusedArgument = 2,  // no argument or a non-numeric one: silent
    kExitBadSection = 3,       // a number outside the 16-bit range: reported with label "Main"
    kExitStartFailed = 4,      // the global settings could not be loaded (the user has seen why)
    // The command-line tools (report, review, remind, outbox, demo):
    kExitUsage = 5,            // bad arguments, an unknown field, project or member: nothing touched
    kExitNoDatabase = 6,       // the database is not configured, or it could not be opened
    kExitNothingToDo = 7,      // no rows to export, or no unapproved item with that ID
    kExitWriteFailed = 8,      // the file could not be written; no file is left behind
    kExitStatementFailed = 9,  // the database refused the query or the update
    kExitMailNotKept = 10,     // a report was written, but its mail could not be kept or was refused
};

// The first words that start a command-line tool instead of a screen.
bool IsToolName(const QString& word);

struct CommandLine {
    enum Kind { Silent, Help, Version, Overflow, Section, Tool } kind = Silent;
    qint16 section = 0;
    QString text;           // the whole command line as one string
    QStringList arguments;  // for a tool: its name and options, as given
};

// The whole command line is one string: the arguments joined by a blank.
CommandLine ParseCommandLine(const QStringList& arguments);

QString UsageText();
QString VersionText();

// What Main needs from the layers above core; each later layer fills its part.
class StartupHooks {
  public:
    virtual ~StartupHooks() = default;
    // Reads the local settings; answers whether this is a first run (DBChoice 0, no folder).
    virtual bool ReadLocalSettings() = 0;
    // cDBSettings.LoadGlobalSettings(True, ok): may show the first-run panel.
    virtual bool LoadGlobalSettings() = 0;
    // subLoadSection: shows the section's window modal and returns when it closes.
    virtual void LoadSection(qint32 section) = 0;
    // DestroyAllObjects, minus ending the process: releases in the fixed order.
    virtual void DestroyAllObjects() = 0;
};

// The one way out: DestroyAllObjects, then the process ends with the code. The program installs a
// handler that releases its objects and exits; tests install one that records the call (the caller
// must then return as if the process had ended).
using ExitHandler = void (*)(int code);
void SetExitHandler(ExitHandler handler);  // nullptr restores the default (std::exit)
void subExitProgram(int code = kExitNormal);

// Main, after the command line has been found numeric: steps 7 to 16. Returns the exit code.
int RunMain(const CommandLine& commandLine, StartupHooks& hooks);

}  // namespace tlm

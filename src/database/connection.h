#pragma once

#include <QString>
#include <memory>

#include "database/dialect.h"
#include "database/link.h"
#include "database/schema.h"
#include "database/sql_compose.h"
#include "database/value_conversion.h"
// The flow's callers find the schema and provisioning routines with it.
#include "database/provisioning.h"

namespace tlm {

class Recordset;
class Command;

// The first-run dialog and the settings panel; the settings layer installs the real panel.
class DatabaseDialogHost {
  public:
    virtual ~DatabaseDialogHost() = default;
    // The settings window in section 14, modal, as the first-run dialog. Answers its saved flag.
    virtual bool ShowFirstRunDialog() = 0;
    // The settings window in setup mode; its save reconnects through DB::Initialize.
    virtual void ShowDBDialog() = 0;
};
// nullptr restores the built-in host, which saves nothing and shows nothing.
void SetDatabaseDialogHost(DatabaseDialogHost* host);

// The connection flow: it finds, creates and opens the process's one connection (CurrentConnection,
// link.h) and opens recordsets and commands on it. The DB.* routines live in tlm::DB, the others in
// tlm, as the callers name them.
namespace DB {
// Finds the configured database, asks for one on first run, creates one when there is none.
// Answers the connection string, or empty text.
QString GetCONN(bool& blnShowDialog);
// Opens the process's one connection unless it is open already.
void Initialize(bool& blnShowDialog);
// Shows the settings panel in setup mode.
void ShowDBDialog();
}  // namespace DB

// Opens a recordset on a statement or a bare table name; the whole result is read into memory.
// Read-only for loading, optimistic row by row, or batch (blnBatch, written by UpdateBatch).
// Answers nullptr on failure; the user has been told when blnShowDialog is true.
std::unique_ptr<Recordset> GetDBRecordset(const QString& strSQL, bool blnReadOnly = true,
                                          bool blnShowDialog = true, bool blnBatch = false);
// The same for a composed statement: a refused one is reported as the engine's error would be
// (when blnShowDialog is true) and nothing runs.
std::unique_ptr<Recordset> GetDBRecordset(const SqlText& statement, bool blnReadOnly = true,
                                          bool blnShowDialog = true, bool blnBatch = false);
// A command bound to the connection, or nullptr.
std::unique_ptr<Command> GetCommand();
// Closes and releases the connection; errors ignored.
void subCloseConnection();
// The configured folder and file name for DBChoice 0, else the server name.
QString fncGetDatabaseDisplayName();

}  // namespace tlm

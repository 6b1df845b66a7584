#pragma once

#include <QString>
#include <QStringList>

namespace tlm {

// `tlm-manager outbox`: the waiting and failed mails, as the outbox window shows them.
struct OutboxToolOptions {
    enum class Action { List, Show, Retry, Discard, Help };
    Action action = Action::List;
    QString id;
    bool all = false;  // retry --all
};
bool ParseOutboxOptions(const QStringList& args, OutboxToolOptions* options, QString* error);
QString OutboxUsageText();
// Runs the parsed command on the outbox folder; answers the exit code.
int RunOutboxTool(const OutboxToolOptions& options);

}  // namespace tlm

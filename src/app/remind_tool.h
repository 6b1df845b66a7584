#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace tlm {

// `tlm-manager remind`: the "Email Member to report" mail to every member under the period's
// threshold of reported hours.
struct RemindOptions {
    QString period;
    std::optional<double> belowHours;
    bool dryRun = false;
    bool help = false;
};
bool ParseRemindOptions(const QStringList& args, RemindOptions* options, QString* error);
QString RemindUsageText();
// Parses, opens the database and reminds; answers the exit code. args are those after "remind".
int RunRemindTool(const QStringList& args, int& argc, char** argv);

}  // namespace tlm

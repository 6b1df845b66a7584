#include "desktop/gui_section_loader.h"

#include "admin/manager_list_form.h"
#include "core/error_report.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "notifications/template_editor_form.h"
#include "reports/reports_form.h"
#include "settings/manager_settings_form.h"

namespace tlm {

namespace {

struct ScreenRow {
    SectionWindow window;
    ScreenOpener open;
};

// Every window of the section table, and the screen that shows it in this build.
// A row with nullptr is a screen still to come; its sections say so instead of opening.
const ScreenRow kScreens[] = {
    {SectionWindow::ManagerList, OpenManagerList},
    {SectionWindow::Templates, OpenTemplates},
    {SectionWindow::ManagerSettings, &OpenManagerSettings},
    {SectionWindow::Search, nullptr},
    {SectionWindow::Reports, OpenReports},
    {SectionWindow::ReviewReports, nullptr},
};

}  // namespace

ScreenOpener OpenerFor(SectionWindow window) {
    for (const ScreenRow& row : kScreens)
        if (row.window == window)
            return row.open;
    return nullptr;
}

QString NotAvailableText(qint32 section) {
    return QStringLiteral("Section %1 (%2) is not available in this build.")
        .arg(section)
        .arg(SectionDescription(section));
}

void subLoadSection(qint32 section) {
    subTraceAction(QStringLiteral("Loading section ") + QString::number(section));
    Process().lngCurrentSection = section;
    const SectionWindow window = WindowForSection(section);
    if (window == SectionWindow::ManagerSettings && section == 14)
        Process().blnDatabaseSetup = true;
    if (ScreenOpener open = OpenerFor(window)) {
        open(section);
        return;
    }
    MsgBox(NotAvailableText(section));
}

}  // namespace tlm

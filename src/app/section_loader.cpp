#include "app/section_loader.h"

#include "admin/manager_list_form.h"
#include "core/error_report.h"
#include "core/process_state.h"
#include "notifications/template_editor_form.h"
#include "reports/reports_form.h"
#include "review/review_form.h"
#include "search/search_form.h"
#include "settings/manager_settings_form.h"

namespace tlm {

namespace {

struct ScreenRow {
    SectionWindow window;
    ScreenOpener open;
};

// Every window of the section table and the screen that shows it.
const ScreenRow kScreens[] = {
    {SectionWindow::ManagerList, OpenManagerList},
    {SectionWindow::Templates, OpenTemplates},
    {SectionWindow::ManagerSettings, &OpenManagerSettings},
    {SectionWindow::Search, OpenSearch},
    {SectionWindow::Reports, OpenReports},
    {SectionWindow::ReviewReports, OpenReviewReports},
};

}  // namespace

ScreenOpener OpenerFor(SectionWindow window) {
    for (const ScreenRow& row : kScreens)
        if (row.window == window)
            return row.open;
    return nullptr;
}

void subLoadSection(qint32 section) {
    subTraceAction(QStringLiteral("Loading section ") + QString::number(section));
    Process().lngCurrentSection = section;
    const SectionWindow window = WindowForSection(section);
    if (window == SectionWindow::ManagerSettings && section == 14)
        Process().blnDatabaseSetup = true;
    OpenerFor(window)(section);
}

}  // namespace tlm

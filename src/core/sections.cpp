#include "core/sections.h"

#include <QStringList>

namespace tlm {

SectionWindow WindowForSection(qint32 section) {
    switch (section) {
        case 1:
        case 2:
        case 3:
        case 10:
        case 11:
        case 12:
        case 13:
            return SectionWindow::ManagerList;
        case 4:
            return SectionWindow::Templates;
        case 20:
            return SectionWindow::Search;
        case 21:
            return SectionWindow::Reports;
        case 22:
            return SectionWindow::ReviewReports;
        default:
            return SectionWindow::ManagerSettings;
    }
}

SettingsPanelRow SettingsPanelForSection(qint32 section) {
    switch (section) {
        case 0:
            return {QStringLiteral("ucAccessControl"), QStringLiteral("Access Control")};
        case 6:
            return {QStringLiteral("ucMyProjects"), QString()};
        case 8:
            return {QStringLiteral("ucNotificationOptions"), QStringLiteral("Notification Options")};
        case 9:
            return {QStringLiteral("ucFieldsOption"), QStringLiteral("Fields Option")};
        case 14:
            return {QStringLiteral("ucDatabaseSettings"), QStringLiteral("Database Settings")};
        case 15:
            return {QStringLiteral("ucMySettings"), QString()};
        case 18:
            return {QStringLiteral("ucAdvancedOptions"), QStringLiteral("Advanced Options")};
        case 19:
            return {QStringLiteral("ucAutomaticUpgrade"), QStringLiteral("Upgrade Options")};
        case 24:
            return {QStringLiteral("ucAuditOptions"), QStringLiteral("Audit Options")};
        case 25:
            return {QStringLiteral("ucReportingOptions"), QStringLiteral("Reporting Options")};
        default:
            return {};
    }
}

QString SectionDescription(qint32 section) {
    switch (section) {
        case 1:
            return QStringLiteral("Projects list");
        case 2:
            return QStringLiteral("Activities list");
        case 3:
            return QStringLiteral("Members list");
        case 4:
            return QStringLiteral("Notification templates");
        case 10:
        case 11:
        case 12:
        case 13:
            return QStringLiteral("Custom list %1").arg(section - 9);
        case 20:
            return QStringLiteral("Search");
        case 21:
            return QStringLiteral("Reports");
        case 22:
            return QStringLiteral("Review of reported items");
        default: {
            const SettingsPanelRow row = SettingsPanelForSection(section);
            if (!row.title.isEmpty())
                return row.title;
            if (!row.panel.isEmpty())
                return QStringLiteral("Settings panel %1 (not part of this program)").arg(row.panel);
            return QStringLiteral("Settings window without a panel");
        }
    }
}

QString SectionTableText() {
    static const int kSections[] = {0,  1,  2,  3,  4,  6,  8,  9,  10, 11, 12,
                                    13, 14, 15, 18, 19, 20, 21, 22, 24, 25};
    QStringList lines;
    for (int s : kSections)
        lines << QStringLiteral("  %1  %2").arg(s, 2).arg(SectionDescription(s));
    return lines.join(QLatin1Char('\n'));
}

}  // namespace tlm

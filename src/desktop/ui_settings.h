#pragma once

#include <QString>
#include <QtGlobal>

namespace tlm {

// How the review, search and reports windows were last left, per user. Each form reads its values
// when it loads and saves them when it unloads. A stored value that is no 16-bit number leaves the
// property as it was.
class cUISettings {
  public:
    // SearchUI
    qint16 Search_SubjectWidth = 150;
    qint16 Search_IDWidth = 50;
    qint16 Search_MemberWidth = 100;
    qint16 Search_ProjectWidth = 100;
    qint16 Search_TaskWidth = 100;
    qint16 Search_CostWidth = 100;
    qint16 Search_LastReportedWidth = 100;
    qint16 Search_SearchByIndex = 0;
    qint16 Search_ItemsTypeIndex = 2;
    qint16 Search_CostFunctionIndex = 0;
    qint16 Search_WindowState = 0;
    qint16 Search_Width = 12000;
    qint16 Search_Height = 8000;

    // ReportsUI
    qint16 Reports_TimePeriodIndex = 0;
    qint16 Reports_ReportTypeIndex = 2;
    qint16 Reports_FilterByIndex = 0;
    QString Reports_SelectedFieldsList_Tasks;
    QString Reports_SelectedFieldsList_Appointments;
    QString Reports_SelectedFieldsList_Common;
    qint16 Reports_WindowState = 0;
    qint16 Reports_Width = 12000;
    qint16 Reports_Height = 8000;

    // AuditUI (the review form)
    qint16 Audit_ReportTypeIndex = 2;
    qint16 Audit_Filterindex = 0;
    qint16 Audit_QueryByDate = 0;
    qint16 Audit_Between = 0;
    qint16 Audit_WindowState = 0;
    qint16 Audit_Width = 12000;
    qint16 Audit_Height = 8000;

    void ReadAuditUIValues();
    void SaveAuditUIValues();
    void ReadReportsUIValues();
    void SaveReportsUIValues();
    void SaveSearchUIValues();
    void ReadSearchUIValues();
};

// The process's one store, registered by whoever builds it (the program object); nullptr before.
cUISettings* UISettings();
void SetUISettings(cUISettings* settings);

}  // namespace tlm

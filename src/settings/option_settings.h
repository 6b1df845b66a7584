#pragma once

#include <QString>
#include <QStringList>
#include <array>

namespace tlm {

class cDBSettings;
class cMySettings;

// What each option panel shows, checks and saves, without a widget. Load reads the store; Check
// answers the message for the user, empty when the values can be saved; Save writes the keys, the
// local copies and the tables, in the order the panel has always saved them. A panel copies its
// controls in and out and shows the message.

// What members may do, and who may administer.
struct AccessControlValues {
    static constexpr int kFlags = 7;
    // Task item, appointment item, summary reports, add activity, add project, add custom list
    // values, analysis: the order of the panel's switches.
    std::array<bool, kFlags> flags{};
    QStringList allowed;     // member names with administration rights
    QStringList notAllowed;  // the others

    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    QString Check() const;
    // Members named in neither list keep their rights.
    void Save(cDBSettings& g, cMySettings* my) const;

    bool operator==(const AccessControlValues&) const = default;
};

// Which notification mails go out: one switch per template.
struct NotificationSwitchValues {
    static constexpr int kSwitches = 12;
    std::array<bool, kSwitches> on{};

    // The control name of each switch and its caption: the event's display name, or its key
    // without a store.
    static QString ControlName(int index);
    static QString Caption(const cDBSettings* g, int index);
    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    void Save(cDBSettings& g) const;

    bool operator==(const NotificationSwitchValues&) const = default;
};

// The project and activity words and the ten custom fields.
struct FieldsValues {
    QString projectTitle;
    QString activityTitle;
    bool mandatoryProject = false;
    bool mandatoryActivity = false;
    QString customFieldsTitle;
    std::array<bool, 10> available{};
    std::array<bool, 10> mandatory{};
    std::array<QString, 10> titles;
    std::array<bool, 4> customizable{};  // the four list fields only
    bool membersChooseProjects = false;

    // Empty titles show their defaults.
    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    // Titles as typed: two empty fields never collide, even where their defaults would.
    QString Check() const;
    // Empty project and activity titles become their defaults here, so the panel shows what was saved.
    void Save(cDBSettings& g, cMySettings* my);

    bool operator==(const FieldsValues&) const = default;
};

// Cost calculation and the date updates of reported items.
struct AdvancedValues {
    int rateFrom = 0;  // 0 project, 1 activity, 2 member
    bool memberChangesRate = false;
    int taskWork = 0;      // 0 actual work, 1 total work
    int rateInterval = 0;  // 0 hourly, 1 custom
    QString hours;         // the custom interval as typed
    bool editMailToReport = false;
    bool chooseRecipients = false;
    bool reportEditable = false;
    bool startFromProject = false;
    bool updateEndDate = false;
    int whichEndDate = 0;
    bool updateDueDate = false;
    int whichDueDate = 0;

    // Only the member's rate can be a member's to change; the hours count only for a custom interval.
    bool MemberRateApplies() const { return rateFrom == 2; }
    bool HoursApply() const { return rateInterval == 1; }
    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    QString Check() const;
    void Save(cDBSettings& g) const;

    bool operator==(const AdvancedValues&) const = default;
};

// Client upgrades from a shared folder.
struct UpgradeValues {
    bool allowUpgrade = false;
    QString path;  // the members' clients' path, kept as typed
    bool checkAtStartup = false;
    int installMode = 0;
    bool tellMember = false;

    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    void Save(cDBSettings& g) const;

    bool operator==(const UpgradeValues&) const = default;
};

// How reported timesheets are approved.
struct AuditValues {
    bool requiresApproval = false;
    bool editProjectActivity = false;
    bool editCost = false;
    bool notifyApproved = false;
    bool showApprovedMail = false;
    bool notifyDeclined = false;
    bool showDeclinedMail = false;
    bool removeDeclined = false;

    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    // The keys, then the two switches, which are the notification templates' own.
    void Save(cDBSettings& g, cMySettings* my) const;

    bool operator==(const AuditValues&) const = default;
};

// What members may do with reported items, and where copies go.
struct ReportingValues {
    static constexpr int kFlags = 8;
    // Hide expired projects, activities; refuse expired projects, activities; update, withdraw;
    // default calendar, default task folder only: the order of the panel's switches.
    std::array<bool, kFlags> flags{};
    bool preventShortItems = false;
    QString minimumMinutes;  // as typed
    QString hoursPerMonth;   // as typed
    bool copyTasks = false;
    QString taskFolder;  // the members' clients' folders, kept as typed
    bool copyAppointments = false;
    QString appointmentFolder;

    static QString ControlName(int index);
    static QString Caption(int index);
    void Load(const cDBSettings* g);  // nullptr reads as an empty store
    QString Check() const;
    void Save(cDBSettings& g) const;

    bool operator==(const ReportingValues&) const = default;
};

// A whole number within the range, or -1.
int WholeNumber(const QString& text, int low, int high);

}  // namespace tlm

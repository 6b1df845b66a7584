#include "settings/manager_settings_form.h"

#include <QAction>
#include <QHash>
#include <QToolBar>
#include <QVBoxLayout>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "core/sections.h"
#include "desktop/client_notify.h"
#include "desktop/window_services.h"
#include "settings/database_settings_form.h"
#include "settings/global_settings.h"
#include "settings/option_forms.h"

namespace tlm {

namespace {

const QString kTitlePrefix = QStringLiteral("Administration Panel : ");
// Panels the section table names but this program does not hold; adding one fails as a bad class.
const QStringList kPanelsNotInProgram = {QStringLiteral("ucMyProjects"), QStringLiteral("ucMySettings")};
constexpr qint32 kInvalidClassString = 711;

QHash<QString, SettingsPanelFactory>& Overrides() {
    static QHash<QString, SettingsPanelFactory> overrides;
    return overrides;
}

SettingsPanel* MakePanel(const QString& name, QWidget* parent) {
    if (const SettingsPanelFactory factory = Overrides().value(name))
        return factory(parent);
    if (name == QLatin1String("ucDatabaseSettings")) {
        auto* panel = new ucDatabaseSettings(parent);
        panel->blnFromMySettings = true;
        return panel;
    }
    return CreateOptionPanel(name, parent);
}

ManagerSettingsDriver g_driver;

QString TitleOr(const QString& title, const QString& fallback) {
    return title.trimmed().isEmpty() ? fallback : title.trimmed();
}

}  // namespace

void OverrideSettingsPanel(const QString& panelName, SettingsPanelFactory factory) {
    if (factory)
        Overrides().insert(panelName, std::move(factory));
    else
        Overrides().remove(panelName);
}

frmManagerSettings::frmManagerSettings(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmManagerSettings"));
    setWindowTitle(kTitlePrefix);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    toolbar_ = new QToolBar(this);
    toolbar_->setObjectName(QStringLiteral("Toolbar1"));
    toolbar_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    save_ = toolbar_->addAction(QStringLiteral("Save"));
    save_->setObjectName(QStringLiteral("Save"));
    exit_ = toolbar_->addAction(QStringLiteral("Exit"));
    exit_->setObjectName(QStringLiteral("Exit"));
    layout->addWidget(toolbar_);
    body_ = new QVBoxLayout;
    body_->setContentsMargins(6, 6, 6, 6);
    layout->addLayout(body_, 1);
    resize(WindowSizeFor(0));
    connect(save_, &QAction::triggered, this, [this] { Save(); });
    connect(exit_, &QAction::triggered, this, &frmManagerSettings::Exit);
}

frmManagerSettings::~frmManagerSettings() = default;

QAction* frmManagerSettings::toolbarButton(const QString& key) const {
    if (key == QLatin1String("Save"))
        return save_;
    if (key == QLatin1String("Exit"))
        return exit_;
    return nullptr;
}

QSize frmManagerSettings::WindowSizeFor(qint32 section) {
    // The project and activity lists panel is a wide two-list panel; every other panel is one column.
    return section == 6 ? QSize(760, 560) : QSize(620, 560);
}

void frmManagerSettings::Load() {
    clsAlwaysOnTop::MakeTopMost(this);
    subSetSetupControl();
}

void frmManagerSettings::subSetSetupControl() {
    const qint32 section = Process().lngCurrentSection;
    const SettingsPanelRow row = SettingsPanelForSection(section);
    // Until a panel is in place there is nothing to save.
    save_->setEnabled(false);
    if (row.panel.isEmpty()) {
        MsgBox(QString::number(section));
        return;
    }
    QString title = row.title;
    if (section == 15)
        title = QStringLiteral("Local Settings");
    if (section == 6) {
        // The store's titles once it is loaded, else the copies in the local settings.
        const cDBSettings* g = DBSettings();
        const cMySettings* s = Process().mySettings;
        const QString project = g ? g->ProjectTitle : s ? s->ProjectTitle : QString();
        const QString activity = g ? g->ActivityTitle : s ? s->ActivityTitle : QString();
        title = QStringLiteral("My ") + TitleOr(project, QStringLiteral("Project")) + u'\\' +
                TitleOr(activity, QStringLiteral("Activity")) + QStringLiteral(" Lists");
    }
    setWindowTitle(kTitlePrefix + title);
    if (kPanelsNotInProgram.contains(row.panel)) {
        subReportError(Failure{
            kInvalidClassString,
            QStringLiteral("Invalid class string. Looking for object with ProgID: TALLYLOOMM.") + row.panel,
            0, QStringLiteral("fManagerSettings.subSetSetupControl")});
        return;
    }
    currentItem_ = MakePanel(row.panel, this);
    if (currentItem_) {
        currentItem_->setObjectName(QStringLiteral("currentItem"));
        body_->addWidget(currentItem_);
        connect(currentItem_, &SettingsPanel::saveRequested, this, [this] { Save(); });
        currentItem_->subGetSettings();
        currentItem_->show();
        save_->setEnabled(true);
    }
    resize(WindowSizeFor(section));
}

bool frmManagerSettings::Save() {
    if (!currentItem_)
        return false;
    if (!currentItem_->SaveGlobalSettings())
        return false;
    subSendMessage(0);
    saved_ = true;
    accept();
    return true;
}

void frmManagerSettings::Exit() {
    saved_ = false;
    reject();
}

void frmManagerSettings::done(int result) {
    QDialog::done(result);
    clsAlwaysOnTop::MakeNormal(this);
}

bool ShowManagerSettingsModal() {
    frmManagerSettings form;
    form.Load();
    RunScreen(form, g_driver);
    return form.saved();
}

void OpenManagerSettings(qint32 section) {
    Process().lngCurrentSection = section;
    ShowManagerSettingsModal();
}

void SetManagerSettingsDriver(ManagerSettingsDriver driver) {
    g_driver = std::move(driver);
}

bool ManagerSettingsDialogHost::ShowFirstRunDialog() {
    return ShowManagerSettingsModal();
}

void ManagerSettingsDialogHost::ShowDBDialog() {
    ShowManagerSettingsModal();
}

void InstallManagerSettingsDialogHost() {
    static ManagerSettingsDialogHost host;
    SetDatabaseDialogHost(&host);
    // After a database setup the process goes on with everything loaded from the new database.
    SetDatabaseReloadHook([] {
        if (cDBSettings* g = DBSettings()) {
            bool loaded = false;
            g->LoadGlobalSettings(true, loaded);
        }
    });
}

}  // namespace tlm

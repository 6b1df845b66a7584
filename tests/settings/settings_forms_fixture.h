#pragma once

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStringList>
#include <QUuid>

#include "core/error_report.h"
#include "core/local_settings.h"
#include "core/process_state.h"
#include "core/prompt.h"
#include "core/startup.h"
#include "database/connection.h"
#include "database/provisioning.h"
#include "desktop/gui_dialogs.h"
#include "settings/database_settings_form.h"
#include "settings/database_setup.h"
#include "settings/manager_settings_form.h"
#include "support/test_env.h"

namespace tlm::test {

// Answers boxes from DialogScript only; a box nobody expected fails the test instead of blocking it.
class ScriptOnlyPrompter : public Prompter {
  public:
    PromptAnswer show(PromptIcon, PromptButtons buttons, const QString&, const QString& text) override {
        DialogScript::shownMessages().append(text);
        PromptAnswer answer;
        if (DialogScript::takeAnswer(&answer))
            return answer;
        ADD_FAILURE() << "unexpected message box: " << text.toStdString();
        return buttons == PromptButtons::Ok ? PromptAnswer::Ok : PromptAnswer::Cancel;
    }
};

class FormsPresenter : public ErrorPresenter {
  public:
    void showReport(const QString& reportText, bool) override { reports.append(reportText); }
    void showFriendly(const QString& friendlyText, const QString& reportText) override {
        reports.append(friendlyText + u'\n' + reportText);
    }
    QStringList reports;
};

inline int& FormExitCalls() {
    static int calls = 0;
    return calls;
}
inline void RecordFormExit(int) {
    ++FormExitCalls();
}

// A fresh process for each test: local settings, prompter, reporter, exit handler and dialog host.
class SettingsFormsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        FreshLocalSettings();
        subCloseConnection();
        ResetProcessStateForTests();
        ResetErrorReportingForTests();
        Process().mySettings = &settings;
        SetPrompter(&prompter);
        SetErrorPresenter(&presenter);
        SetExitHandler(&RecordFormExit);
        FormExitCalls() = 0;
        SetDatabaseDialogHost(&host);
        SetDatabaseReloadHook({});
        // A settings window that a test did not expect fails it and is closed, never waited on.
        SetManagerSettingsDriver([](frmManagerSettings& form) {
            ADD_FAILURE() << "unexpected settings window: " << form.windowTitle().toStdString();
        });
        DialogScript::clear();
        dir = NewTempDir(QStringLiteral("forms"));
    }

    void TearDown() override {
        subCloseConnection();
        for (const QString& name : std::as_const(pgDatabases))
            PgAdmin(QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(name));
        SetManagerSettingsDriver({});
        SetDatabaseReloadHook({});
        SetDatabaseDialogHost(nullptr);
        SetExitHandler(nullptr);
        SetErrorPresenter(nullptr);
        SetPrompter(nullptr);
        Process().mySettings = nullptr;
        DialogScript::clear();
    }

    template <typename W>
    static W* Child(QWidget* parent, const char* name) {
        W* w = parent->findChild<W*>(QString::fromLatin1(name));
        EXPECT_TRUE(w) << "no control " << name;
        return w;
    }
    static QString Text(QWidget* panel, const char* label) { return Child<QLabel>(panel, label)->text(); }
    static QColor Colour(QWidget* panel, const char* label) {
        return Child<QLabel>(panel, label)->palette().color(QPalette::WindowText);
    }
    static QColor Red() { return ucDatabaseSettings::ColourOf(StatusColour::Red); }
    static QColor Green() { return ucDatabaseSettings::ColourOf(StatusColour::Green); }

    // The form of a section, loaded and shown, as the modal runner would show it.
    static void Open(frmManagerSettings& form, qint32 section) {
        Process().lngCurrentSection = section;
        form.Load();
        form.show();
    }
    static ucDatabaseSettings* Panel(frmManagerSettings& form) {
        auto* panel = qobject_cast<ucDatabaseSettings*>(form.currentItem());
        EXPECT_TRUE(panel) << "the database panel is not in the form";
        return panel;
    }
    // The database panel as the settings command opens it on a configured machine.
    static ucDatabaseSettings* OpenSetupPanel(frmManagerSettings& form) {
        Process().blnDatabaseSetup = true;
        Open(form, 14);
        return Panel(form);
    }

    // The settings file: absent until something saves.
    static bool SettingsWritten() { return QFileInfo::exists(LocalSettingsFilePath()); }
    static cMySettings Stored() {
        cMySettings s;
        s.ReadSettings();
        return s;
    }

    // Every text the user could have seen.
    QString Seen(QWidget* panel = nullptr) const {
        QStringList all = DialogScript::shownMessages() + presenter.reports;
        if (panel)
            for (QLabel* l : panel->findChildren<QLabel*>())
                all.append(l->text());
        return all.join(u'\n');
    }

    // The live PostgreSQL server of the test run, in the panel's terms.
    static bool HavePostgres() { return !PostgresConnectionString().isEmpty(); }
    static ConnectionTarget Pg() { return ParseConnectionString(PostgresConnectionString()); }
    static QString PgServerField() { return Pg().host + u',' + QString::number(Pg().port); }
    QString NewPgName() {
        const QString name =
            QStringLiteral("TlmForms_") + QUuid::createUuid().toString(QUuid::Id128).left(10);
        pgDatabases.append(name);
        return name;
    }
    static bool PgAdmin(const QString& sql) {
        Connection c;
        if (!HavePostgres() || !c.Open(fncGetServerConnectionString(PostgresConnectionString())))
            return false;
        Failure f;
        return c.Execute(sql, {}, false, &f) >= 0;
    }
    // Fills the panel's server fields with a login; kind 0 is SQL Server, 1 PostgreSQL.
    static void FillServer(QWidget* panel, int kind, const QString& server, const QString& database,
                           const QString& user, const QString& password) {
        Child<QComboBox>(panel, "cboDatabaseTypes")->setCurrentIndex(1);
        Child<QComboBox>(panel, "cboServerKind")->setCurrentIndex(kind);
        Child<QLineEdit>(panel, "txtServer")->setText(server);
        Child<QLineEdit>(panel, "txtDatabase")->setText(database);
        Child<QCheckBox>(panel, "chkIntegratedSecurity")->setChecked(false);
        Child<QLineEdit>(panel, "txtUserName")->setText(user);
        Child<QLineEdit>(panel, "txtPassword")->setText(password);
    }
    // The same for the test server and a database name.
    static void FillPostgres(QWidget* panel, const QString& database, const QString& password) {
        FillServer(panel, 1, PgServerField(), database, Pg().user, password);
    }

    cMySettings settings;
    ScriptOnlyPrompter prompter;
    FormsPresenter presenter;
    ManagerSettingsDialogHost host;
    QString dir;
    QStringList pgDatabases;
};

}  // namespace tlm::test
